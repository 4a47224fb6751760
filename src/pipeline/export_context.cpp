#include "pipeline/export_context.h"

#include "base/error.h"
#include "base/file_names.h"
#include "base/raw_value_table.h"
#include "base/text.h"
#include "base/utf8.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdint>

namespace tidyreel {
namespace {

constexpr RawValueTable<ExportActionType, 3> actionRawValues{{"colorgrading", "youtube", "archive"}};

}  // namespace

std::string_view rawValue(ExportActionType type) {
    return actionRawValues.rawValue(type);
}

std::optional<ExportActionType> exportActionTypeFromRaw(std::string_view raw) {
    return actionRawValues.fromRaw(raw);
}

void ExportContext::log(LogEntryType type, const std::string& message) const {
    if (logger) {
        logger(type, message);
    }
}

void ExportContext::reportProgress(int current, int total, const std::string& taskName) const {
    reportProgress(ProcessingProgress(current, total, taskName));
}

void ExportContext::reportProgress(const ProcessingProgress& progress) const {
    if (progressUpdater) {
        progressUpdater(progress);
    }
}

void ExportContext::throwIfCancelled() const {
    if (stopToken.stop_requested()) {
        throw RunCancelled();
    }
}

std::string ExportContext::outputFileName(TimePoint now) const {
    const std::string base = prefixCharacters(fileNameBase(originalFileName), 15);
    const std::string stamp = formatLocalTime(now, "%y%m%d_%H%M");
    switch (actionType) {
        case ExportActionType::colorGrading:
            return stamp + "_cologr_" + base + "." + fileNameExtension(originalFileName);
        case ExportActionType::youtube:
            return "youtube_" + base + ".txt";
        case ExportActionType::archiving:
            return stamp + "_archiv_" + base + "." + fileNameExtension(originalFileName);
    }
    return base;
}

std::filesystem::path ExportContext::fcpxmlOutputURL(TimePoint now) const {
    const std::filesystem::path output = settings.outputDirectory / outputFileName(now);
    if (lowercased(fileNameExtension(originalFileName)) == "fcpxmld") {
        return output / "Info.fcpxml";
    }
    return output;
}

}  // namespace tidyreel

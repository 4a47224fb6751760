#include "description/description_log.h"

#include "base/utf8.h"
#include "pipeline/export_context.h"

#include <fmt/format.h>

namespace tidyreel {
namespace {

constexpr std::size_t descriptionPreviewLength = 50;

}  // namespace

std::string debugPreviewLine(std::string_view label, std::string_view text, std::size_t limit) {
    const std::string preview = prefixCharacters(text, limit);
    return fmt::format("DEBUG: {} = '{}'{}", label, preview, preview.size() < text.size() ? "..." : "");
}

void logDescriptionPreviews(const ExportContext& context, const std::vector<std::string>& descriptions) {
    if (!context.settings.debugMode) {
        return;
    }
    for (std::size_t i = 0; i < descriptions.size(); ++i) {
        context.log(LogEntryType::info, debugPreviewLine(fmt::format("Beschreibung {}", i + 1),
                                                         descriptions[i], descriptionPreviewLength));
    }
}

void logBaseURL(const ExportContext& context, const std::filesystem::path& base) {
    if (context.settings.debugMode) {
        context.log(LogEntryType::info, "DEBUG: Export Base-URL = " + base.string());
    }
}

std::string joinedFileNames(const std::vector<std::filesystem::path>& files) {
    std::string names;
    for (const std::filesystem::path& file : files) {
        names += (names.empty() ? "" : " & ") + file.filename().string();
    }
    return names;
}

void logWrittenFiles(const ExportContext& context, const std::vector<std::filesystem::path>& files) {
    if (!context.settings.debugMode) {
        return;
    }
    for (const std::filesystem::path& file : files) {
        context.log(LogEntryType::info, "  → " + file.string());
    }
}

}  // namespace tidyreel

#include "archive/media/archive_report.h"

#include "archive/media/archive_bundle.h"
#include "archive/media/bundled_asset_registry.h"
#include "base/language.h"
#include "fcpxml/media_path.h"

#include <fmt/format.h>

#include <algorithm>

namespace tidyreel {
namespace {

std::int64_t sourceSizes(const ArchiveExportContext& context) {
    std::int64_t total = 0;
    if (!context.bundledAssets) {
        return total;
    }
    for (const auto& [id, registration] : context.bundledAssets->snapshot()) {
        std::error_code status;
        const std::uintmax_t size =
            std::filesystem::file_size(MediaPath::path(registration.originalSrc), status);
        if (status) {
            context.log(LogEntryType::warning, "Größe für Asset " + id + " nicht ermittelbar");
        } else {
            total += static_cast<std::int64_t>(size);
        }
    }
    return total;
}

std::int64_t folderSize(const std::filesystem::path& folder) {
    std::int64_t total = 0;
    std::error_code status;
    for (auto it = std::filesystem::recursive_directory_iterator(folder, status);
         it != std::filesystem::recursive_directory_iterator(); it.increment(status)) {
        std::error_code sizeStatus;
        if (it->is_regular_file(sizeStatus)) {
            const std::uintmax_t size = it->file_size(sizeStatus);
            total += sizeStatus ? 0 : static_cast<std::int64_t>(size);
        }
    }
    return total;
}

// Drops trailing zeros of a fixed decimal and the point when nothing follows it.
std::string withoutTrailingZeros(std::string text) {
    if (text.find('.') != std::string::npos) {
        text.erase(text.find_last_not_of('0') + 1);
        if (text.back() == '.') {
            text.pop_back();
        }
    }
    return text;
}

std::string percentText(double percent) {
    return fmt::format("{:.1f}", percent);
}

// An archive larger than its sources says so in words, never as a negative saving.
std::string growthText(double saving) {
    return fmt::format("{} {}% {}", localized("Archiv", "archive"), percentText(-saving),
                       localized("größer als das Original", "larger than the original"));
}

// Per trimmed file whether it holds the source's own pictures or newly encoded ones.
void logCutMethods(const ArchiveExportContext& context) {
    if (!context.bundledAssets) {
        return;
    }
    for (const auto& [id, registration] : context.bundledAssets->snapshot()) {
        if (registration.isTrimmed) {
            context.log(LogEntryType::info,
                        fmt::format("  → {}: {}",
                                    std::filesystem::path(registration.relativePath).filename().string(),
                                    cutMethodText(registration.cut)));
        }
    }
}

}  // namespace

ArchiveReport computeArchiveReport(const ArchiveExportContext& context) {
    logCutMethods(context);
    const ArchiveReport report{Clock::now(), sourceSizes(context), folderSize(archiveMediaFolder(context))};
    const double saving = archiveSavingPercent(report);
    context.log(LogEntryType::success,
                fmt::format("Report: Original {} → Archiv {} ({})", formatFileByteCount(report.originalSize),
                            formatFileByteCount(report.archiveSize),
                            saving < 0 ? growthText(saving) : "\u2212" + percentText(saving) + "%"));
    return report;
}

std::string formatFileByteCount(std::int64_t bytes) {
    const double megabytes = static_cast<double>(bytes) / 1e6;
    std::string text = std::abs(megabytes) < 999.95
                           ? withoutTrailingZeros(fmt::format("{:.1f}", megabytes)) + " MB"
                           : withoutTrailingZeros(fmt::format("{:.2f}", megabytes / 1000.0)) + " GB";
    if (currentLanguage() == Language::german) {
        std::replace(text.begin(), text.end(), '.', ',');
    }
    return text;
}

double archiveSavingPercent(const ArchiveReport& report) {
    if (report.originalSize < 1) {
        return 0.0;
    }
    return static_cast<double>(report.originalSize - report.archiveSize) /
           static_cast<double>(report.originalSize) * 100.0;
}

std::string archiveReportLine(const ArchiveReport& report) {
    const double saving = archiveSavingPercent(report);
    return fmt::format("Original {} → Archiv {} → {}", formatFileByteCount(report.originalSize),
                       formatFileByteCount(report.archiveSize),
                       saving < 0 ? growthText(saving) : "Ersparnis " + percentText(saving) + "%");
}

std::string archiveNotificationBody(const std::optional<ArchiveReport>& report) {
    if (!report) {
        return localized("Projekt wurde erfolgreich archiviert", "Project was successfully archived");
    }
    const double saving = archiveSavingPercent(*report);
    const std::string sizes =
        formatFileByteCount(report->originalSize) + " → " + formatFileByteCount(report->archiveSize);
    return saving >= 0 ? sizes + " (\u2212" + percentText(saving) + "%)" : sizes;
}

}  // namespace tidyreel

#pragma once

#include "base/log_entry.h"
#include "pipeline/export_context.h"

#include <cstdint>
#include <optional>
#include <string>

namespace tidyreel {

/// The sizes of the last archive run: the original media it took and the bundle's `Media` folder.
struct ArchiveReport {
    TimePoint timestamp;            ///< when the report was made
    std::int64_t originalSize = 0;  ///< bytes of the registered sources
    std::int64_t archiveSize = 0;   ///< bytes in the bundle's `Media` folder

    bool operator==(const ArchiveReport&) const = default;
};

/// Measures the sources and the bundle's media and logs the "Report: Original … → Archiv …" line; a
/// source whose size cannot be read is a warning line and counts nothing.
ArchiveReport computeArchiveReport(const ArchiveExportContext& context);

/// A file byte count in decimal megabytes or gigabytes ("500 MB", "1.23 GB"; a decimal comma in German).
std::string formatFileByteCount(std::int64_t bytes);

/// (original − archive) ÷ original × 100, or 0 when the original is below one byte.
double archiveSavingPercent(const ArchiveReport& report);

/// The status line under the archive button: "Original … → Archiv … → Ersparnis …%".
std::string archiveReportLine(const ArchiveReport& report);

/// The completion notification's body: the sizes and the saving, or a fixed sentence without a report.
std::string archiveNotificationBody(const std::optional<ArchiveReport>& report);

}  // namespace tidyreel

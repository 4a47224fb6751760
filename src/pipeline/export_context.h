#pragma once

#include "base/log_entry.h"
#include "pipeline/run_settings.h"

#include <filesystem>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>
#include <string_view>

namespace tidyreel {

class XmlDocument;
class BundledAssetRegistry;

/// The workflow a run performs.
enum class ExportActionType { colorGrading, youtube, archiving };

/// The raw value of a workflow ("colorgrading", "youtube", "archive").
std::string_view rawValue(ExportActionType type);
/// The workflow with that raw value; no value for any other text.
std::optional<ExportActionType> exportActionTypeFromRaw(std::string_view raw);

/// Everything a task of one run receives: the run's settings (handed over whole when the run starts)
/// and what the run works on. The tasks read and change `xmlDocument` in place.
struct ExportContext {
    RunSettings settings;                      ///< taken once when the run started
    std::filesystem::path sourceURL;           ///< the loaded FCPXML document (a bundle's Info.fcpxml)
    std::string originalFileName;              ///< the name of the chosen file or bundle
    std::shared_ptr<XmlDocument> xmlDocument;  ///< the run's own freshly parsed document
    ExportActionType actionType = ExportActionType::colorGrading;  ///< the workflow being run
    std::string quillt1Text;          ///< text of the first description title clip
    std::string quillt2Text;          ///< text of the second description title clip
    Logger logger;                    ///< appends a line to the processing log
    ProgressUpdater progressUpdater;  ///< reports step progress; may be empty
    std::stop_token stopToken;        ///< set when the run is to stop (Ctrl-C, Cancel, quitting)
    /// Set by a task that did less than was asked; the run then closes with this warning.
    std::optional<std::string> closingWarning;

    virtual ~ExportContext() = default;

    /// Writes one log line through `logger` (dropped when there is none).
    void log(LogEntryType type, const std::string& message) const;
    /// Reports step progress through `progressUpdater` when there is one.
    void reportProgress(int current, int total, const std::string& taskName) const;
    /// Reports progress, also inside a step, through `progressUpdater` when there is one.
    void reportProgress(const ProcessingProgress& progress) const;

    /// Throws `RunCancelled` when a stop was requested; called between steps that take a while.
    void throwIfCancelled() const;

    /// The dated output name of this workflow at `now` (see `outputFileName` below).
    std::string outputFileName(TimePoint now = Clock::now()) const;
    /// Where the written FCPXML goes: a new bundle's Info.fcpxml for a bundle, else the file itself.
    std::filesystem::path fcpxmlOutputURL(TimePoint now = Clock::now()) const;
};

/// The archive run's context: the shared fields plus what only the archive tasks need.
struct ArchiveExportContext : ExportContext {
    std::string exportTimestamp;                          ///< local time of the run's start, "yyyyMMdd_HHmm"
    std::string projectName;                              ///< name of the first project, or "Untitled"
    std::shared_ptr<BundledAssetRegistry> bundledAssets;  ///< what has been placed in the bundle
    std::filesystem::path bundleURL;  ///< the bundle this run writes; empty: the default name (tests)
};

}  // namespace tidyreel

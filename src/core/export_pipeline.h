#pragma once

#include "archive/planning/archive_planning.h"
#include "pipeline/export_task.h"

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>
#include <vector>

namespace tidyreel {

/// What a run starts from: the workflow, the project and the run's settings, taken once when the run
/// is started.
struct PipelineRequest {
    ExportActionType actionType = ExportActionType::colorGrading;  ///< the workflow to run
    std::filesystem::path sourceURL;                               ///< the FCPXML document to read
    std::string originalFileName;                                  ///< the chosen file or bundle name
    RunSettings settings;                                          ///< everything else the run depends on
    std::stop_token stopToken;                                     ///< a stop request ends the run
    std::optional<std::string> sourceBytes;  ///< the project's bytes when it came from a pipe (read once)
};

/// Where a run reports to.
struct PipelineCallbacks {
    Logger logger;                    ///< appends a log line
    ProgressUpdater progressUpdater;  ///< reports step progress
    /// Called after the last archive task, before the closing line (the size report is made here).
    std::function<void(const ArchiveExportContext&)> archiveCompletion;
};

/// The fixed task list of the colour grading or description workflow.
std::vector<std::unique_ptr<ExportTask>> makeTaskList(ExportActionType actionType, bool exportChapterMarkers,
                                                      bool exportVideoDescription);
/// The fixed task list of the archive workflow.
std::vector<std::unique_ptr<ArchiveExportTask>> makeArchiveTaskList();

/// Throws `Error` ("Processing", `ProcessingError::outputInsideSource`) when `outputDirectory` lies inside
/// the bundle that holds `sourceURL`: results written there would change the project the editor handed over.
void refuseOutputInsideSourceBundle(const std::filesystem::path& sourceURL,
                                    const std::filesystem::path& outputDirectory);

/// Runs one workflow over a freshly parsed copy of the source document, tasks strictly in order;
/// throws the first failure (a task's time arithmetic failure as an `Error` of the "Time" domain;
/// `RunCancelled` on a stop request); files written before it stay, except an archive bundle this run
/// created: a failed or cancelled run leaves no half-filled bundle. Returns the warning the run closes
/// with when it did less than was asked.
std::optional<std::string> runExportPipeline(const PipelineRequest& request,
                                             const PipelineCallbacks& callbacks);

/// The archive run's analysis and planning only, over a freshly parsed copy of the source document,
/// logged through `logger`; nothing is written. Throws the first failure as `runExportPipeline` does.
ArchivePlanning planArchiveRun(const PipelineRequest& request, const Logger& logger);

}  // namespace tidyreel

#pragma once

#include "pipeline/export_task.h"

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <stop_token>
#include <string>
#include <vector>

namespace tidyreel {

/// The controller's values a run starts from, taken once when the run is started.
struct PipelineRequest {
    ExportActionType actionType = ExportActionType::colorGrading;  ///< the workflow to run
    std::optional<std::filesystem::path> outputDirectory;          ///< the chosen output folder, if any
    std::filesystem::path sourceURL;                               ///< the FCPXML document to read
    std::string originalFileName;                                  ///< the chosen file or bundle name
    double buffer = 10.0;                                          ///< trim handles in seconds
    double minSegment = 20.0;                                      ///< minimum segment in seconds
    std::string youtubeDescription1;                               ///< first saved description text
    std::string youtubeDescription2;                               ///< second saved description text
    RoleEffectMappings roleEffectMappings;                         ///< effects assigned to roles
    std::set<std::string> includedRoles;                           ///< roles taken into the archive
    bool exportChapterMarkers = false;                             ///< description workflow: chapters
    bool exportVideoDescription = false;                           ///< description workflow: texts
    bool debugMode = true;                                         ///< tasks write their "DEBUG: " lines
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

/// Throws `Error` ("Processing", 3) when `outputDirectory` lies inside the bundle that holds
/// `sourceURL`: results written there would change the project the editor handed over.
void refuseOutputInsideSourceBundle(const std::filesystem::path& sourceURL,
                                    const std::filesystem::path& outputDirectory);

/// Runs one workflow over a freshly parsed copy of the source document, tasks strictly in order;
/// throws the first failure unchanged (files written before it stay, except an archive bundle this run
/// created: a failed or cancelled run leaves no half-filled bundle), `RunCancelled` on a stop request.
void runExportPipeline(const PipelineRequest& request, const PipelineCallbacks& callbacks);

}  // namespace tidyreel

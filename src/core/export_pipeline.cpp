#include "core/export_pipeline.h"

#include "archive/media/archive_bundle.h"
#include "archive/media/bundled_asset_registry.h"
#include "archive/tasks/archive_bundle_write_task.h"
#include "archive/tasks/archive_verification.h"
#include "archive/tasks/clip_trimming_export_task.h"
#include "base/error.h"
#include "base/error_codes.h"
#include "base/file_names.h"
#include "base/language.h"
#include "description/chapter_marker_export_task.h"
#include "description/description_title_texts.h"
#include "description/video_description_export_task.h"
#include "fcpxml/project_document.h"
#include "fcpxml/xml.h"
#include "grading/role_effect_export_task.h"
#include "pipeline/fcpxml_write_task.h"
#include "platform/file_write.h"
#include "platform/folder_bookmark.h"

#include <algorithm>

namespace tidyreel {
namespace {

// Ends the folder access on every way out of the run, as long as it was granted.
class FolderAccessScope {
public:
    explicit FolderAccessScope(std::filesystem::path folder)
        : folder_(std::move(folder)), granted_(beginFolderAccess(folder_)) {}
    ~FolderAccessScope() {
        if (granted_) {
            endFolderAccess(folder_);
        }
    }
    FolderAccessScope(const FolderAccessScope&) = delete;
    FolderAccessScope& operator=(const FolderAccessScope&) = delete;

    bool granted() const { return granted_; }

private:
    std::filesystem::path folder_;
    bool granted_;
};

void logAccessDiagnosis(const Logger& logger, const std::filesystem::path& folder) {
    logger(LogEntryType::info, "┌─ DIAGNOSE: Security-Scoped-Resource-Zugriff");
    logger(LogEntryType::info, "│  Output-Ordner: " + folder.string());
    logger(LogEntryType::info, "│  startAccessingSecurityScopedResource() → TRUE (Scope aktiv)");
    logger(LogEntryType::info, "└─");
}

bool isInside(const std::filesystem::path& path, const std::filesystem::path& folder) {
    std::error_code status;
    const std::filesystem::path inner = std::filesystem::weakly_canonical(path, status);
    const std::filesystem::path outer = std::filesystem::weakly_canonical(folder, status);
    const auto [end, unused] = std::mismatch(outer.begin(), outer.end(), inner.begin(), inner.end());
    return !status && end == outer.end();
}

// A fresh copy of the run's project: the bytes read from a pipe, else the file.
std::shared_ptr<XmlDocument> loadSource(const PipelineRequest& request) {
    return request.sourceBytes ? parseProjectDocument(*request.sourceBytes)
                               : loadProjectDocument(request.sourceURL);
}

// The one place where a run's settings reach its context.
void fillContext(ExportContext& context, const PipelineRequest& request, const Logger& logger,
                 std::shared_ptr<XmlDocument> document) {
    context.settings = request.settings;
    context.sourceURL = request.sourceURL;
    context.originalFileName =
        request.originalFileName.empty() ? request.sourceURL.filename().string() : request.originalFileName;
    context.xmlDocument = std::move(document);
    context.actionType = request.actionType;
    context.logger = logger;
    context.stopToken = request.stopToken;
}

template <class Task, class Context>
void runTasks(const std::vector<std::unique_ptr<Task>>& tasks, Context& context) {
    for (const std::unique_ptr<Task>& task : tasks) {
        if (!task->isEnabled) {
            continue;
        }
        context.throwIfCancelled();
        if (context.settings.debugMode) {
            context.log(LogEntryType::info, "DEBUG: Starte Task: " + task->taskName);
        }
        withTimeErrors([&] { task->execute(context); });
    }
}

void runArchive(const PipelineRequest& request, const PipelineCallbacks& callbacks,
                std::shared_ptr<XmlDocument> document) {
    ArchiveExportContext context;
    fillContext(context, request, callbacks.logger, std::move(document));
    context.progressUpdater = callbacks.progressUpdater;
    const XmlElement project = context.xmlDocument->first("//project");
    context.projectName = project ? project.attribute("name").value_or("Untitled") : "Untitled";
    context.exportTimestamp = formatLocalTime(Clock::now(), "%Y%m%d_%H%M");
    context.bundledAssets = std::make_shared<BundledAssetRegistry>();
    context.bundleURL = chooseArchiveBundle(context);
    const bool newBundle = !pathExists(context.bundleURL);
    try {
        runTasks(makeArchiveTaskList(), context);
    } catch (...) {
        if (newBundle) {
            std::error_code ignored;
            std::filesystem::remove_all(context.bundleURL, ignored);
        }
        throw;
    }
    if (callbacks.archiveCompletion) {
        callbacks.archiveCompletion(context);
    }
    const int offline = context.bundledAssets->offlineAssetCount();
    if (offline == 0) {
        context.log(LogEntryType::success, "Pipeline abgeschlossen");
    } else {
        context.log(LogEntryType::info, "Pipeline abgeschlossen mit " + std::to_string(offline) +
                                            " Quellen nicht verfügbar/offline");
    }
}

std::optional<std::string> runPreProduction(const PipelineRequest& request,
                                            const PipelineCallbacks& callbacks,
                                            std::shared_ptr<XmlDocument> document,
                                            const DescriptionTitleTexts& titleTexts) {
    ExportContext context;
    fillContext(context, request, callbacks.logger, std::move(document));
    context.progressUpdater = callbacks.progressUpdater;
    context.quillt1Text = titleTexts.first;
    context.quillt2Text = titleTexts.second;
    runTasks(makeTaskList(request.actionType, request.settings.exportChapterMarkers,
                          request.settings.exportVideoDescription),
             context);
    return context.closingWarning;
}

}  // namespace

std::vector<std::unique_ptr<ExportTask>> makeTaskList(ExportActionType actionType, bool exportChapterMarkers,
                                                      bool exportVideoDescription) {
    std::vector<std::unique_ptr<ExportTask>> tasks;
    if (actionType == ExportActionType::colorGrading) {
        tasks.push_back(std::make_unique<RoleEffectExportTask>("Rollen-Effekte", true));
        tasks.push_back(std::make_unique<FCPXMLWriteTask>("FCPXML schreiben", true));
    } else if (actionType == ExportActionType::youtube) {
        tasks.push_back(std::make_unique<ChapterMarkerExportTask>(
            "Kapitelmarker", exportChapterMarkers, exportChapterMarkers && exportVideoDescription));
        tasks.push_back(std::make_unique<VideoDescriptionExportTask>(
            "Videobeschreibung", exportVideoDescription && !exportChapterMarkers));
    }
    return tasks;
}

std::vector<std::unique_ptr<ArchiveExportTask>> makeArchiveTaskList() {
    std::vector<std::unique_ptr<ArchiveExportTask>> tasks;
    tasks.push_back(std::make_unique<ClipTrimmingExportTask>("Clips schneiden", true));
    tasks.push_back(std::make_unique<ArchiveBundleWriteTask>("Bundle schreiben", true));
    tasks.push_back(std::make_unique<ArchiveVerifyTask>("Archiv prüfen", true));
    return tasks;
}

void refuseOutputInsideSourceBundle(const std::filesystem::path& sourceURL,
                                    const std::filesystem::path& outputDirectory) {
    const std::filesystem::path folder = sourceURL.parent_path();
    if (lowercasedExtension(folder) == ".fcpxmld" && isInside(outputDirectory, folder)) {
        throw Error(ProcessingError::domain, ProcessingError::outputInsideSource,
                    localized("Der Zielordner liegt im Bundle des Projekts: ",
                              "The output folder is inside the project's bundle: ") +
                        outputDirectory.string());
    }
}

std::optional<std::string> runExportPipeline(const PipelineRequest& request,
                                             const PipelineCallbacks& callbacks) {
    const std::filesystem::path& outputDirectory = request.settings.outputDirectory;
    if (outputDirectory.empty()) {
        throw Error(ProcessingError::domain, ProcessingError::noOutputFolder, "Kein Zielordner ausgewählt");
    }
    refuseOutputInsideSourceBundle(request.sourceURL, outputDirectory);
    const FolderAccessScope access(outputDirectory);
    // Only a granted security scope (macOS) has anything to report; without one the block would
    // describe a mechanism this system does not have.
    if (request.actionType == ExportActionType::archiving && access.granted()) {
        logAccessDiagnosis(callbacks.logger, outputDirectory);
    }
    callbacks.logger(LogEntryType::info, localized("Lese FCPXML...", "Parsing FCPXML..."));
    std::shared_ptr<XmlDocument> document = loadSource(request);
    // Every run reads the title texts, so the log shows them whichever workflow runs.
    const DescriptionTitleTexts titleTexts = readDescriptionTitleTexts(*document);
    if (request.settings.debugMode) {
        for (const std::string& line : titleTextDebugLines(titleTexts)) {
            callbacks.logger(LogEntryType::info, line);
        }
    }
    if (request.actionType == ExportActionType::archiving) {
        runArchive(request, callbacks, std::move(document));
        return std::nullopt;
    }
    return runPreProduction(request, callbacks, std::move(document), titleTexts);
}

ArchivePlanning planArchiveRun(const PipelineRequest& request, const Logger& logger) {
    ExportContext context;
    fillContext(context, request, logger, nullptr);
    return withTimeErrors([&] {
        context.xmlDocument = loadSource(request);
        return planArchive(context);
    });
}

}  // namespace tidyreel

#include "core/export_pipeline.h"

#include "archive/media/bundled_asset_registry.h"
#include "archive/tasks/archive_bundle_write_task.h"
#include "archive/tasks/archive_verification.h"
#include "archive/tasks/clip_trimming_export_task.h"
#include "base/error.h"
#include "base/error_codes.h"
#include "base/language.h"
#include "description/chapter_marker_export_task.h"
#include "description/description_title_texts.h"
#include "description/video_description_export_task.h"
#include "fcpxml/xml.h"
#include "grading/role_effect_export_task.h"
#include "pipeline/fcpxml_write_task.h"
#include "platform/folder_bookmark.h"

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

// The one place where a run's settings reach its context.
void fillContext(ExportContext& context, const PipelineRequest& request, const Logger& logger,
                 std::shared_ptr<XmlDocument> document) {
    static_cast<RunSettings&>(context) = request.settings;
    context.sourceURL = request.sourceURL;
    context.originalFileName =
        request.originalFileName.empty() ? request.sourceURL.filename().string() : request.originalFileName;
    context.xmlDocument = std::move(document);
    context.actionType = request.actionType;
    context.logger = logger;
}

template <class Task, class Context>
void runTasks(const std::vector<std::unique_ptr<Task>>& tasks, Context& context) {
    for (const std::unique_ptr<Task>& task : tasks) {
        if (!task->isEnabled) {
            continue;
        }
        if (context.debugMode) {
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
    runTasks(makeArchiveTaskList(), context);
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

std::optional<std::string> runExportPipeline(const PipelineRequest& request,
                                             const PipelineCallbacks& callbacks) {
    const std::filesystem::path& outputDirectory = request.settings.outputDirectory;
    if (outputDirectory.empty()) {
        throw Error(ProcessingError::domain, ProcessingError::noOutputFolder, "Kein Zielordner ausgewählt");
    }
    const FolderAccessScope access(outputDirectory);
    // Only a granted security scope (macOS) has anything to report; without one the block would
    // describe a mechanism this system does not have.
    if (request.actionType == ExportActionType::archiving && access.granted()) {
        logAccessDiagnosis(callbacks.logger, outputDirectory);
    }
    callbacks.logger(LogEntryType::info, localized("Lese FCPXML...", "Parsing FCPXML..."));
    std::shared_ptr<XmlDocument> document = XmlDocument::load(request.sourceURL);
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
        context.xmlDocument = XmlDocument::load(context.sourceURL);
        return planArchive(context);
    });
}

}  // namespace tidyreel

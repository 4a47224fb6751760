#include "core/export_pipeline.h"

#include "archive/media/archive_bundle.h"
#include "archive/media/bundled_asset_registry.h"
#include "archive/tasks/archive_bundle_write_task.h"
#include "archive/tasks/clip_trimming_export_task.h"
#include "base/error.h"
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
#include <cctype>

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

void logAccessDiagnosis(const Logger& logger, const std::filesystem::path& folder, bool granted) {
    logger(LogEntryType::info, "┌─ DIAGNOSE: Security-Scoped-Resource-Zugriff");
    logger(LogEntryType::info, "│  Output-Ordner: " + folder.string());
    logger(LogEntryType::info, std::string("│  startAccessingSecurityScopedResource() → ") +
                                   (granted ? "TRUE (Scope aktiv)" : "FALSE (kein Scope / bereits aktiv)"));
    logger(LogEntryType::info, "└─");
}

bool isInside(const std::filesystem::path& path, const std::filesystem::path& folder) {
    std::error_code status;
    const std::filesystem::path inner = std::filesystem::weakly_canonical(path, status);
    const std::filesystem::path outer = std::filesystem::weakly_canonical(folder, status);
    const auto [end, unused] = std::mismatch(outer.begin(), outer.end(), inner.begin(), inner.end());
    return !status && end == outer.end();
}

void fillContext(ExportContext& context, const PipelineRequest& request, const PipelineCallbacks& callbacks,
                 std::shared_ptr<XmlDocument> document) {
    context.sourceURL = request.sourceURL;
    context.outputDirectory = *request.outputDirectory;
    context.originalFileName =
        request.originalFileName.empty() ? request.sourceURL.filename().string() : request.originalFileName;
    context.xmlDocument = std::move(document);
    context.actionType = request.actionType;
    context.buffer = request.buffer;
    context.minSegment = request.minSegment;
    context.includedRoles = request.includedRoles;
    context.debugMode = request.debugMode;
    context.logger = callbacks.logger;
    context.progressUpdater = callbacks.progressUpdater;
    context.stopToken = request.stopToken;
}

template <class Task, class Context>
void runTasks(const std::vector<std::unique_ptr<Task>>& tasks, Context& context) {
    for (const std::unique_ptr<Task>& task : tasks) {
        if (!task->isEnabled) {
            continue;
        }
        context.throwIfCancelled();
        context.log(LogEntryType::info, "DEBUG: Starte Task: " + task->taskName);
        task->execute(context);
    }
}

void runArchive(const PipelineRequest& request, const PipelineCallbacks& callbacks,
                std::shared_ptr<XmlDocument> document) {
    ArchiveExportContext context;
    fillContext(context, request, callbacks, std::move(document));
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

void runPreProduction(const PipelineRequest& request, const PipelineCallbacks& callbacks,
                      std::shared_ptr<XmlDocument> document, const DescriptionTitleTexts& titleTexts) {
    ExportContext context;
    fillContext(context, request, callbacks, std::move(document));
    context.youtubeDescription1 = request.youtubeDescription1;
    context.youtubeDescription2 = request.youtubeDescription2;
    context.quillt1Text = titleTexts.first;
    context.quillt2Text = titleTexts.second;
    context.roleEffectMappings = request.roleEffectMappings;
    runTasks(makeTaskList(request.actionType, request.exportChapterMarkers, request.exportVideoDescription),
             context);
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
    return tasks;
}

void refuseOutputInsideSourceBundle(const std::filesystem::path& sourceURL,
                                    const std::filesystem::path& outputDirectory) {
    const std::filesystem::path folder = sourceURL.parent_path();
    std::string extension = folder.extension().string();
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    if (extension == ".fcpxmld" && isInside(outputDirectory, folder)) {
        throw Error("Processing", 3,
                    localized("Der Zielordner liegt im Bundle des Projekts: ",
                              "The output folder is inside the project's bundle: ") +
                        outputDirectory.string());
    }
}

void runExportPipeline(const PipelineRequest& request, const PipelineCallbacks& callbacks) {
    if (!request.outputDirectory) {
        throw Error("Processing", 1, "Kein Zielordner ausgewählt");
    }
    refuseOutputInsideSourceBundle(request.sourceURL, *request.outputDirectory);
    const FolderAccessScope access(*request.outputDirectory);
    if (request.actionType == ExportActionType::archiving) {
        logAccessDiagnosis(callbacks.logger, *request.outputDirectory, access.granted());
    }
    callbacks.logger(LogEntryType::info, localized("Lese FCPXML...", "Parsing FCPXML..."));
    std::shared_ptr<XmlDocument> document = request.sourceBytes ? parseProjectDocument(*request.sourceBytes)
                                                                : loadProjectDocument(request.sourceURL);
    // Every run reads the title texts, so the log shows them whichever workflow runs.
    const DescriptionTitleTexts titleTexts = readDescriptionTitleTexts(*document);
    if (request.debugMode) {
        for (const std::string& line : titleTextDebugLines(titleTexts)) {
            callbacks.logger(LogEntryType::info, line);
        }
    }
    if (request.actionType == ExportActionType::archiving) {
        runArchive(request, callbacks, std::move(document));
    } else {
        runPreProduction(request, callbacks, std::move(document), titleTexts);
    }
}

}  // namespace tidyreel

#include "core/content_view_model.h"

#include "archive/media/archive_report.h"
#include "base/file_names.h"
#include "base/language.h"
#include "core/write_permission.h"
#include "description/template_installer.h"
#include "fcpxml/project_document.h"
#include "grading/default_effect_installer.h"
#include "grading/effect_preset_parser.h"
#include "grading/role_effect_mapping.h"
#include "platform/file_write.h"
#include "platform/folder_bookmark.h"
#include "platform/notification_manager.h"
#include "platform/settings_store.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <QMetaObject>

#include <algorithm>
#include <cctype>
#include <charconv>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <iostream>

namespace tidyreel {
namespace {

// A tool named by the environment, else by the settings; empty when neither names one.
std::filesystem::path configuredTool(const char* environmentVariable, const std::string& settingKey) {
    if (const char* value = std::getenv(environmentVariable); value && *value) {
        return value;
    }
    return SettingsStore::stringValue(settingKey).value_or("");
}

// A tool's limit in seconds from the environment (a positive number, at most a billion seconds);
// `fallback` when the variable is unset or holds anything else.
std::chrono::milliseconds limitFromEnvironment(const char* variable, std::chrono::milliseconds fallback) {
    const char* value = std::getenv(variable);
    if (!value || !*value) {
        return fallback;
    }
    double seconds = 0;
    if (std::from_chars(value, value + std::strlen(value), seconds).ec != std::errc{} || !(seconds > 0) ||
        seconds > 1e9) {
        return fallback;
    }
    return std::chrono::milliseconds(static_cast<std::int64_t>(seconds * 1000.0));
}

/// The fixed texts of one workflow's start and end.
struct WorkflowTexts {
    const char* busyText;
    const char* startLine;
    const char* successLine;  ///< empty: the pipeline writes the closing line itself
    const char* failurePrefix;
};

WorkflowTexts textsOf(ExportActionType actionType) {
    switch (actionType) {
        case ExportActionType::colorGrading:
            return {"Color-Grading wird ausgeführt...", "Color-Grading gestartet",
                    "Color-Grading erfolgreich abgeschlossen", "Color-Grading fehlgeschlagen: "};
        case ExportActionType::youtube:
            return {"YouTube-Beschreibung wird erstellt...", "YouTube-Beschreibung gestartet",
                    "YouTube-Beschreibung erfolgreich erstellt", "YouTube-Beschreibung fehlgeschlagen: "};
        case ExportActionType::archiving:
            break;
    }
    return {"Trim & Archivierung wird ausgeführt...", "Trim & Archivierung gestartet", "",
            "Trim & Archivierung fehlgeschlagen: "};
}

// The timeline count is what grading changes; pictures elsewhere are named apart, so that the two
// are never mistaken for each other.
std::string roleCountLine(const VideoRole& role) {
    const std::string line = fmt::format("  → {}: {} Clips", role.name, role.clipCount);
    if (role.otherClipCount == 0) {
        return line;
    }
    return line + fmt::format(fmt::runtime(localized(" in der Timeline (+ {} im Browser oder in Compound-/"
                                                     "Multicam-Definitionen, nicht verändert)",
                                                     " in the timeline (+ {} in the browser or in compound/"
                                                     "multicam definitions, not changed)")),
                              role.otherClipCount);
}

std::string joinedRoles(const std::set<std::string>& roles) {
    return roles.empty() ? "keine" : fmt::format("{}", fmt::join(roles, ", "));
}

}  // namespace

ContentViewModel::ContentViewModel(RunMode runMode) : runMode_(runMode) {
    loadSettings();
    loadPersistentMappings();
    addLog(LogEntryType::info, "Tidyreel started");
    // The command line tells its outcome itself; only the desktop window asks to notify.
    if (runMode_ == RunMode::background) {
        NotificationManager::shared().requestAuthorization();
    }
}

ContentViewModel::~ContentViewModel() {
    // Quitting during a run stops its tool instead of waiting for a long encode to end.
    cancelRun();
    if (worker_.joinable()) {
        worker_.join();
    }
}

void ContentViewModel::addLog(LogEntryType type, const std::string& message) {
    logEntries_.push_back(LogEntry::make(type, message));
    if (isProcessing_) {
        processingStatus_ = message;
    }
    if (observer_.logAdded) {
        observer_.logAdded(logEntries_.back());
    }
}

void ContentViewModel::reportProgress(const ProcessingProgress& progress) {
    processingProgress_ = progress;
    processingStatus_ = fmt::format("{}: {} von {}", progress.taskName, progress.current, progress.total);
    if (observer_.progressChanged) {
        observer_.progressChanged(*processingProgress_);
    }
}

void ContentViewModel::loadSettings() {
    restoreBookmark();
    if (const std::optional<double> stored = SettingsStore::doubleValue("buffer"); stored && *stored > 0) {
        buffer_ = *stored;
    }
    if (const std::optional<double> stored = SettingsStore::doubleValue("minSegment");
        stored && *stored > 0) {
        minSegment_ = *stored;
    }
    exportChapterMarkers_ = SettingsStore::boolValue("exportChapterMarkers").value_or(false);
    exportVideoDescription_ = SettingsStore::boolValue("exportVideoDescription").value_or(false);
    youtubeDescription1_ = SettingsStore::stringValue("youtubeDescription1").value_or("");
    youtubeDescription2_ = SettingsStore::stringValue("youtubeDescription2").value_or("");
}

void ContentViewModel::restoreBookmark() {
    const std::optional<std::string> data = SettingsStore::bytesValue("outputDirectoryBookmark");
    if (!data) {
        return;
    }
    try {
        const ResolvedBookmark resolved = resolveFolderBookmark(*data);
        if (resolved.isStale) {
            addLog(LogEntryType::info, "Zielordner-Bookmark veraltet, wird erneuert...");
        }
        outputDirectory_ = resolved.folder;
        saveBookmark();
    } catch (const std::exception& error) {
        addLog(LogEntryType::error,
               std::string("Fehler beim Laden des Zielordner-Bookmarks: ") + error.what());
    }
}

void ContentViewModel::saveBookmark() {
    if (!outputDirectory_) {
        remember([&] { SettingsStore::remove("outputDirectoryBookmark"); });
        outputDirectoryBookmark_.reset();
        return;
    }
    try {
        outputDirectoryBookmark_ = createFolderBookmark(*outputDirectory_);
        SettingsStore::setBytes("outputDirectoryBookmark", *outputDirectoryBookmark_);
    } catch (const std::exception& error) {
        addLog(LogEntryType::error,
               std::string("Fehler beim Speichern des Zielordner-Bookmarks: ") + error.what());
    }
}

void ContentViewModel::loadFile(const std::filesystem::path& chosen) {
    // A bundle is a folder, and shells complete folder names with a trailing slash.
    const std::filesystem::path url = chosen.has_filename() ? chosen : chosen.parent_path();
    const bool isBundle = lowercasedExtension(url) == ".fcpxmld";
    const std::filesystem::path documentURL = isBundle ? url / "Info.fcpxml" : url;
    selectedFileURL_ = documentURL;
    fileLoadedAt_ = Clock::now();
    originalFileName_ = url.filename().string();
    addLog(LogEntryType::info, localized("Ausgewählt", "Selected") + ": " + url.filename().string());
    roleEffectMappings_.clear();
    includedRoles_.clear();
    discoverRoles(documentURL);
    notifyChanged();
}

void ContentViewModel::discoverRoles(const std::filesystem::path& url) {
    try {
        // A pipe or FIFO can be read only once: its bytes are kept for the runs.
        std::error_code status;
        streamedProject_.reset();
        if (!std::filesystem::is_regular_file(url, status)) {
            streamedProject_ = readFileBytes(url);
        }
        std::shared_ptr<XmlDocument> document =
            streamedProject_ ? parseProjectDocument(*streamedProject_) : loadProjectDocument(url);
        videoRoles_ = discoverVideoRoles(*document);
        addLog(LogEntryType::info, fmt::format("Gefunden: {} Video-Rollen", videoRoles_.size()));
        for (const VideoRole& role : videoRoles_) {
            addLog(LogEntryType::info, roleCountLine(role));
        }
        for (const VideoRole& role : videoRoles_) {
            if (const auto remembered = persistentEffectMappings_.find(role.name);
                remembered != persistentEffectMappings_.end()) {
                roleEffectMappings_[role.name] = remembered->second;
                addLog(LogEntryType::info, "  ↳ Auto-Effekt: " + role.name + " → " + remembered->second.name);
            }
        }
        includedRoles_.clear();
        for (const VideoRole& role : videoRoles_) {
            includedRoles_.insert(role.name);
        }
        // The document is kept as parsed: parsing the same bytes again would give the same tree.
        xmlDocument_ = std::move(document);
    } catch (const std::exception& error) {
        addLog(LogEntryType::error, std::string("Fehler beim Parsen der Rollen: ") + error.what());
        videoRoles_.clear();
        xmlDocument_.reset();
    }
}

void ContentViewModel::loadPersistentMappings() {
    persistentEffectMappings_.clear();
    const std::filesystem::path file = RoleEffectMapping::fileURL();
    if (!pathExists(file)) {
        return;
    }
    try {
        persistentEffectMappings_ = RoleEffectMapping::load();
    } catch (const Error& error) {
        // A damaged file must not stop the start, nor be overwritten by the next save: it is kept aside.
        if (error.domain() != "RoleEffectMapping") {
            addLog(LogEntryType::warning, std::string("⚠️ ") + error.what());
            return;
        }
        const std::filesystem::path aside = unusedPath(std::filesystem::path(file) += ".damaged");
        std::error_code status;
        std::filesystem::rename(file, aside, status);
        addLog(LogEntryType::warning,
               fmt::format("⚠️ {} {} ({})",
                           localized("Gespeicherte Effektzuordnungen beschädigt, beiseitegelegt als",
                                     "Remembered effect assignments damaged, kept aside as"),
                           status ? file.string() : aside.string(), error.what()));
    }
}

bool ContentViewModel::assignEffect(const std::string& role, const std::filesystem::path& file) {
    try {
        const EffectReference reference = EffectPresetParser::parse(file);
        roleEffectMappings_[role] = reference;
        addLog(LogEntryType::success, "Effekt zugewiesen: " + role + " → " + reference.name);
    } catch (const std::exception& error) {
        addLog(LogEntryType::error, std::string("Effekt konnte nicht gelesen werden: ") + error.what());
        return false;
    }
    savePersistentMappings();
    notifyChanged();
    return true;
}

void ContentViewModel::removeEffect(const std::string& role) {
    roleEffectMappings_.erase(role);
    addLog(LogEntryType::info, "Effekt entfernt von: " + role);
    savePersistentMappings();
    notifyChanged();
}

// A failed write stays out of the processing log: the assignments of this session still apply, and
// the log is about the editor's project. Standard error tells whoever watches the process.
void ContentViewModel::savePersistentMappings() {
    try {
        RoleEffectMapping::save(roleEffectMappings_);
    } catch (const std::exception& error) {
        std::cerr << "Tidyreel: role_effects.json: " << error.what() << std::endl;
    }
    persistentEffectMappings_ = roleEffectMappings_;
}

void ContentViewModel::deleteAllEffectMappings() {
    roleEffectMappings_.clear();
    savePersistentMappings();
    addLog(LogEntryType::info, "Alle Effektzuordnungen gelöscht");
    notifyChanged();
}

void ContentViewModel::clearFile() {
    selectedFileURL_.reset();
    fileLoadedAt_.reset();
    videoRoles_.clear();
    roleEffectMappings_.clear();
    includedRoles_.clear();
    addLog(LogEntryType::info, localized("Keine Datei ausgewählt", "No file selected"));
    notifyChanged();
}

void ContentViewModel::chooseOutputFolder(const std::filesystem::path& folder) {
    outputDirectory_ = folder;
    saveBookmark();
    const std::string name =
        folder.has_filename() ? folder.filename().string() : folder.parent_path().filename().string();
    addLog(LogEntryType::info, localized("Zielordner", "Output Folder") + ": " + name);
    notifyChanged();
}

void ContentViewModel::startColorGrading() {
    start(ExportActionType::colorGrading);
}

void ContentViewModel::startVideoDescription() {
    start(ExportActionType::youtube);
}

void ContentViewModel::startArchiving() {
    start(ExportActionType::archiving);
}

void ContentViewModel::start(ExportActionType actionType) {
    // A second run while one is busy would share the single worker; the window disables the buttons.
    if (!selectedFileURL_ || isProcessing_) {
        return;
    }
    if (actionType == ExportActionType::archiving) {
        if (std::optional<Error> refusal = writePermissionFailure(outputDirectory_)) {
            permissionAlertMessage_ = refusal->what();
            showPermissionAlert_ = true;
            lastRunError_ = std::move(refusal);
            addLog(LogEntryType::error, permissionAlertMessage_);
            notifyChanged();
            return;
        }
    }
    const WorkflowTexts texts = textsOf(actionType);
    isProcessing_ = true;
    processingStatus_ = texts.busyText;
    processingProgress_.reset();
    addLog(LogEntryType::info, texts.startLine);
    if (actionType == ExportActionType::archiving) {
        addLog(LogEntryType::info, "Eingeschlossene Rollen: " + joinedRoles(includedRoles_));
    }
    notifyChanged();
    PipelineRequest request = makeRequest(actionType);
    {
        const std::lock_guard guard(stopLock_);
        stopSource_ = std::stop_source();
        runActive_ = true;
        request.stopToken = stopSource_.get_token();
    }
    launch(std::move(request));
}

bool ContentViewModel::cancelRun() {
    const std::lock_guard guard(stopLock_);
    if (!runActive_) {
        return false;
    }
    stopSource_.request_stop();
    return true;
}

RunSettings ContentViewModel::runSettings() const {
    RunSettings settings;
    settings.outputDirectory = outputDirectory_.value_or(std::filesystem::path());
    settings.includedRoles = includedRoles_;
    settings.buffer = buffer_;
    settings.minSegment = minSegment_;
    settings.allowOffline = allowOffline_;
    settings.exportChapterMarkers = exportChapterMarkers_;
    settings.exportVideoDescription = exportVideoDescription_;
    settings.youtubeDescription1 = youtubeDescription1_;
    settings.youtubeDescription2 = youtubeDescription2_;
    settings.roleEffectMappings = roleEffectMappings_;
    settings.encoder = encoder();
    settings.tools = {configuredTool("TIDYREEL_FFMPEG", "ffmpegPath"),
                      configuredTool("TIDYREEL_FFPROBE", "ffprobePath")};
    settings.toolLimits = {limitFromEnvironment("TIDYREEL_FFPROBE_TIME_LIMIT", ToolLimits{}.ffprobeTime),
                           limitFromEnvironment("TIDYREEL_FFMPEG_SILENCE_LIMIT", ToolLimits{}.ffmpegSilence)};
    settings.debugMode = debugMode_;
    return settings;
}

PipelineRequest ContentViewModel::makeRequest(ExportActionType actionType) const {
    PipelineRequest request;
    request.actionType = actionType;
    request.sourceURL = *selectedFileURL_;
    request.originalFileName = originalFileName_;
    request.settings = runSettings();
    request.sourceBytes = streamedProject_;
    return request;
}

std::optional<ArchivePlanning> ContentViewModel::planArchiving() {
    if (!selectedFileURL_) {
        return std::nullopt;
    }
    try {
        lastRunError_.reset();
        return planArchiveRun(
            makeRequest(ExportActionType::archiving),
            [this](LogEntryType type, const std::string& message) { addLog(type, message); });
    } catch (const std::exception& failure) {
        lastRunError_ = asError(failure);
        addLog(LogEntryType::error,
               std::string(textsOf(ExportActionType::archiving).failurePrefix) + lastRunError_->what());
        return std::nullopt;
    }
}

PipelineCallbacks ContentViewModel::makeCallbacks() {
    PipelineCallbacks callbacks;
    // The sizes are measured where the run is; the report reaches the controller like a log line.
    callbacks.archiveCompletion = [this](const ArchiveExportContext& context) {
        const ArchiveReport report = computeArchiveReport(context);
        if (runMode_ == RunMode::blocking) {
            lastArchiveReport_ = report;
            return;
        }
        QMetaObject::invokeMethod(
            this, [this, report] { lastArchiveReport_ = report; }, Qt::QueuedConnection);
    };
    if (runMode_ == RunMode::blocking) {
        callbacks.logger = [this](LogEntryType type, const std::string& message) { addLog(type, message); };
        callbacks.progressUpdater = [this](const ProcessingProgress& progress) { reportProgress(progress); };
        return callbacks;
    }
    // Queued calls keep the order of the worker's reports; Qt drops them if the controller is gone.
    callbacks.logger = [this](LogEntryType type, const std::string& message) {
        QMetaObject::invokeMethod(
            this, [this, type, message] { addLog(type, message); }, Qt::QueuedConnection);
    };
    callbacks.progressUpdater = [this](const ProcessingProgress& progress) {
        QMetaObject::invokeMethod(
            this, [this, progress] { reportProgress(progress); }, Qt::QueuedConnection);
    };
    return callbacks;
}

void ContentViewModel::launch(PipelineRequest request) {
    const ExportActionType actionType = request.actionType;
    auto run = [request = std::move(request), callbacks = makeCallbacks()]() -> RunOutcome {
        try {
            return RunOutcome{std::nullopt, runExportPipeline(request, callbacks)};
        } catch (const std::exception& error) {
            return RunOutcome{asError(error), std::nullopt};
        }
    };
    if (runMode_ == RunMode::blocking) {
        finishRun(actionType, run());
        return;
    }
    if (worker_.joinable()) {
        worker_.join();
    }
    worker_ = std::jthread([this, actionType, run = std::move(run)] {
        const RunOutcome outcome = run();
        QMetaObject::invokeMethod(
            this, [this, actionType, outcome] { finishRun(actionType, outcome); }, Qt::QueuedConnection);
    });
}

void ContentViewModel::finishRun(ExportActionType actionType, const RunOutcome& outcome) {
    {
        const std::lock_guard guard(stopLock_);
        runActive_ = false;
    }
    const WorkflowTexts texts = textsOf(actionType);
    lastRunError_ = outcome.failure;
    isProcessing_ = false;
    if (actionType == ExportActionType::archiving) {
        processingProgress_.reset();
    }
    if (outcome.failure) {
        statusOf(actionType) = isCancellation(*outcome.failure) ? ActionStatus::cancelled()
                                                                : ActionStatus::error("Fehler aufgetreten");
        addLog(LogEntryType::error, std::string(texts.failurePrefix) + outcome.failure->what());
    } else if (outcome.closingWarning) {
        statusOf(actionType) = ActionStatus::successWithNote(Clock::now(), *outcome.closingWarning);
        addLog(LogEntryType::warning, *outcome.closingWarning);
    } else {
        statusOf(actionType) = ActionStatus::success(Clock::now());
        if (actionType != ExportActionType::archiving) {
            addLog(LogEntryType::success, texts.successLine);
        } else if (runMode_ == RunMode::background) {
            // Notifications belong to the desktop window; the command line reports on its own.
            NotificationManager::shared().sendNotification(
                localized("Archivierung abgeschlossen", "Archiving Complete"),
                archiveNotificationBody(lastArchiveReport_), true);
        }
    }
    notifyChanged();
}

ActionStatus& ContentViewModel::statusOf(ExportActionType actionType) {
    switch (actionType) {
        case ExportActionType::colorGrading:
            return colorGradingStatus_;
        case ExportActionType::youtube:
            return youtubeDescriptionStatus_;
        case ExportActionType::archiving:
            break;
    }
    return archivingStatus_;
}

std::optional<std::string> ContentViewModel::installTitles(const FolderChooser& chooseFolder) {
    try {
        TemplateInstaller::install(chooseFolder);
    } catch (const std::exception& error) {
        return error.what();
    }
    notifyChanged();
    return std::nullopt;
}

std::optional<std::string> ContentViewModel::installDefaultEffect(const FolderChooser& chooseFolder) {
    try {
        DefaultEffectInstaller::install(chooseFolder);
    } catch (const std::exception& error) {
        return error.what();
    }
    defaultEffectInstalled_ = true;
    notifyChanged();
    return std::nullopt;
}

bool ContentViewModel::quilltTemplatesInstalled() const {
    return SettingsStore::boolValue("quilltTemplatesInstalled").value_or(false);
}

void ContentViewModel::saveVideoDescriptions() {
    remember([&] {
        SettingsStore::setString("youtubeDescription1", youtubeDescription1_);
        SettingsStore::setString("youtubeDescription2", youtubeDescription2_);
        addLog(LogEntryType::success, "YouTube-Beschreibungen gespeichert");
    });
}

void ContentViewModel::setBuffer(double seconds) {
    buffer_ = seconds;
    remember([&] { SettingsStore::setDouble("buffer", seconds); });
    notifyChanged();
}

std::string ContentViewModel::encoder() const {
    return SettingsStore::stringValue("encoder").value_or("");
}

void ContentViewModel::setEncoder(const std::string& name) {
    remember([&] { SettingsStore::setString("encoder", name); });
    notifyChanged();
}

void ContentViewModel::setMinSegment(double seconds) {
    minSegment_ = seconds;
    remember([&] { SettingsStore::setDouble("minSegment", seconds); });
    notifyChanged();
}

void ContentViewModel::setExportChapterMarkers(bool on) {
    exportChapterMarkers_ = on;
    remember([&] { SettingsStore::setBool("exportChapterMarkers", on); });
    notifyChanged();
}

void ContentViewModel::setExportVideoDescription(bool on) {
    exportVideoDescription_ = on;
    remember([&] { SettingsStore::setBool("exportVideoDescription", on); });
    notifyChanged();
}

void ContentViewModel::setIncludedRoles(std::set<std::string> roles) {
    includedRoles_ = std::move(roles);
    notifyChanged();
}

void ContentViewModel::setSelectedWorkflow(WorkflowTab tab) {
    selectedWorkflow_ = tab;
    notifyChanged();
}

void ContentViewModel::setShowPermissionAlert(bool shown) {
    showPermissionAlert_ = shown;
    notifyChanged();
}

void ContentViewModel::remember(const std::function<void()>& write) {
    try {
        write();
    } catch (const std::exception& error) {
        addLog(LogEntryType::error, error.what());
    }
}

void ContentViewModel::notifyChanged() const {
    if (observer_.changed) {
        observer_.changed();
    }
}

}  // namespace tidyreel

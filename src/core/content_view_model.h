#pragma once

#include "archive/media/archive_report.h"
#include "base/error.h"
#include "base/log_entry.h"
#include "core/export_pipeline.h"
#include "fcpxml/role_discovery.h"
#include "fcpxml/xml.h"
#include "platform/template_installation.h"

#include <QObject>

#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <stop_token>
#include <string>
#include <thread>
#include <vector>

namespace tidyreel {

/// The tab the main window shows.
enum class WorkflowTab { preProduction, archiving };

/// Whether runs block the caller (command line, tests) or run on a worker thread (desktop window).
enum class RunMode { blocking, background };

/// The application's single controller: the loaded project, the user's choices and settings, the
/// processing log and statuses; starts the three workflows.
class ContentViewModel : public QObject {
public:
    /// Who wants to hear about changes; every callback is invoked on the controller's thread.
    struct Observer {
        std::function<void(const LogEntry&)> logAdded;                   ///< a log line was added
        std::function<void(const ProcessingProgress&)> progressChanged;  ///< a progress report arrived
        std::function<void()> changed;                                   ///< any other observed state changed
    };

    /// Loads the settings, the output folder and the remembered effects, writes the start line.
    explicit ContentViewModel(RunMode runMode = RunMode::background);
    ~ContentViewModel() override;

    /// Sets who hears about changes.
    void setObserver(Observer observer) { observer_ = std::move(observer); }

    /// Appends a line to the processing log; while a run is busy it also becomes the status text.
    void addLog(LogEntryType type, const std::string& message);
    /// Applies a progress report of the running task.
    void reportProgress(const ProcessingProgress& progress);
    /// The log as copied to the clipboard.
    std::string copyLogText() const { return tidyreel::copyLogText(logEntries_); }

    /// Loads an FCPXML file or a .fcpxmld bundle and discovers its roles.
    void loadFile(const std::filesystem::path& url);
    /// Forgets the loaded file; settings, remembered effects and statuses stay.
    void clearFile();
    /// Makes `folder` the output folder and remembers it across restarts.
    void chooseOutputFolder(const std::filesystem::path& folder);

    /// Reads an effect file and assigns it to `role`, as a drop on the role's row does, and remembers
    /// it; false (with an error line) when the file cannot be read, leaving the role's effect as it was.
    bool assignEffect(const std::string& role, const std::filesystem::path& file);
    /// Removes the role's effect and remembers that.
    void removeEffect(const std::string& role);
    /// Remembers exactly the current project's assignments for later projects and launches.
    void savePersistentMappings();
    /// Forgets every assignment, those of this project and the remembered ones.
    void deleteAllEffectMappings();

    /// Starts the colour grading workflow (nothing happens without a loaded file).
    void startColorGrading();
    /// Starts the video description workflow (nothing happens without a loaded file).
    void startVideoDescription();
    /// Starts the archive workflow after the output folder's write test.
    void startArchiving();
    /// Asks the running workflow to stop (the window's Cancel button, Ctrl-C, quitting): the running tool
    /// is stopped, partial outputs are removed and the run ends with a "cancelled" failure line. Safe
    /// to call from any thread; returns false when no run was busy.
    bool cancelRun();
    /// Analyses and plans the archive run with the current settings on a fresh copy of the project,
    /// writing nothing; the plan, or none (with the failure line) when there is no file or it fails.
    std::optional<ArchivePlanning> planArchiving();
    /// The settings a run started now would take, read once: the controller's choices, the encoder
    /// and the configured tools.
    RunSettings runSettings() const;

    /// Installs the QUILLT title templates into the folder `chooseFolder` gives; the error's
    /// description when the installation failed or was cancelled.
    std::optional<std::string> installTitles(const FolderChooser& chooseFolder);
    /// Installs the default effect into the folder `chooseFolder` gives; the error's description when
    /// the installation failed or was cancelled.
    std::optional<std::string> installDefaultEffect(const FolderChooser& chooseFolder);
    /// Whether the QUILLT titles were installed (the setting "quilltTemplatesInstalled").
    bool quilltTemplatesInstalled() const;
    /// Whether the default effect was installed since the program started.
    bool defaultEffectInstalled() const { return defaultEffectInstalled_; }

    /// Stores both description texts in the settings.
    void saveVideoDescriptions();
    void setBuffer(double seconds);
    void setMinSegment(double seconds);
    /// The encoder profile trimmed clips are written with, by its setting name ("libx265", "copy"),
    /// remembered.
    void setEncoder(const std::string& name);
    void setExportChapterMarkers(bool on);
    void setExportVideoDescription(bool on);
    void setYoutubeDescription1(std::string text) { youtubeDescription1_ = std::move(text); }
    void setYoutubeDescription2(std::string text) { youtubeDescription2_ = std::move(text); }
    void setIncludedRoles(std::set<std::string> roles);
    void setSelectedWorkflow(WorkflowTab tab);
    void setShowPermissionAlert(bool shown);
    /// Whether runs write their "DEBUG: " lines (the window always does; the command line on request).
    void setDebugMode(bool on) { debugMode_ = on; }

    WorkflowTab selectedWorkflow() const { return selectedWorkflow_; }
    const std::optional<std::filesystem::path>& selectedFileURL() const { return selectedFileURL_; }
    const std::optional<TimePoint>& fileLoadedAt() const { return fileLoadedAt_; }
    const std::vector<LogEntry>& logEntries() const { return logEntries_; }
    bool isProcessing() const { return isProcessing_; }
    const std::string& processingStatus() const { return processingStatus_; }
    const std::optional<ProcessingProgress>& processingProgress() const { return processingProgress_; }
    const std::vector<VideoRole>& videoRoles() const { return videoRoles_; }
    const RoleEffectMappings& roleEffectMappings() const { return roleEffectMappings_; }
    const std::shared_ptr<XmlDocument>& xmlDocument() const { return xmlDocument_; }
    const std::optional<std::filesystem::path>& outputDirectory() const { return outputDirectory_; }
    const std::optional<std::string>& outputDirectoryBookmark() const { return outputDirectoryBookmark_; }
    double buffer() const { return buffer_; }
    double minSegment() const { return minSegment_; }
    /// The remembered encoder profile's name, read from the settings each time (the command line writes it
    /// there too); empty for the platform's default.
    std::string encoder() const;
    /// Whether the next archive run may leave out missing sources (per run, not remembered).
    void setAllowOffline(bool allow) { allowOffline_ = allow; }
    const std::string& youtubeDescription1() const { return youtubeDescription1_; }
    const std::string& youtubeDescription2() const { return youtubeDescription2_; }
    bool exportChapterMarkers() const { return exportChapterMarkers_; }
    bool exportVideoDescription() const { return exportVideoDescription_; }
    const ActionStatus& colorGradingStatus() const { return colorGradingStatus_; }
    const ActionStatus& youtubeDescriptionStatus() const { return youtubeDescriptionStatus_; }
    const ActionStatus& archivingStatus() const { return archivingStatus_; }
    const std::set<std::string>& includedRoles() const { return includedRoles_; }
    /// The failure of the last finished run, whole (domain, code, description, user info), or why the last
    /// run was refused before it started (an output folder that cannot be written); none after a run that
    /// succeeded.
    const std::optional<Error>& lastRunError() const { return lastRunError_; }
    /// Sizes of the last archive run, when there was one.
    const std::optional<ArchiveReport>& lastArchiveReport() const { return lastArchiveReport_; }
    bool showPermissionAlert() const { return showPermissionAlert_; }
    const std::string& permissionAlertMessage() const { return permissionAlertMessage_; }
    bool debugMode() const { return debugMode_; }
    const std::string& originalFileName() const { return originalFileName_; }
    const RoleEffectMappings& persistentEffectMappings() const { return persistentEffectMappings_; }

private:
    /// How a run ended: a failure, or success with or without a closing warning.
    struct RunOutcome {
        std::optional<Error> failure;
        std::optional<std::string> closingWarning;
    };

    void loadSettings();
    void loadPersistentMappings();
    void restoreBookmark();
    void saveBookmark();
    void discoverRoles(const std::filesystem::path& url);
    void start(ExportActionType actionType);
    PipelineRequest makeRequest(ExportActionType actionType) const;
    PipelineCallbacks makeCallbacks();
    void launch(PipelineRequest request);
    void finishRun(ExportActionType actionType, const RunOutcome& outcome);
    ActionStatus& statusOf(ExportActionType actionType);
    void notifyChanged() const;
    /// Runs one settings write; a failure (a full disk) becomes an error line instead of ending the program.
    void remember(const std::function<void()>& write);

    RunMode runMode_;
    Observer observer_;
    std::jthread worker_;
    std::mutex stopLock_;          ///< guards the two fields below, which `cancelRun` reads from any thread
    std::stop_source stopSource_;  ///< the busy run's stop request
    bool runActive_ = false;       ///< whether a run is between its start and its end

    WorkflowTab selectedWorkflow_ = WorkflowTab::preProduction;
    std::optional<std::filesystem::path> selectedFileURL_;
    std::optional<TimePoint> fileLoadedAt_;
    std::vector<LogEntry> logEntries_;
    bool isProcessing_ = false;
    std::string processingStatus_;
    std::optional<ProcessingProgress> processingProgress_;
    std::vector<VideoRole> videoRoles_;
    RoleEffectMappings roleEffectMappings_;
    std::shared_ptr<XmlDocument> xmlDocument_;
    std::optional<std::filesystem::path> outputDirectory_;
    std::optional<std::string> outputDirectoryBookmark_;
    double buffer_ = 10.0;
    double minSegment_ = 20.0;
    bool allowOffline_ = false;
    std::string youtubeDescription1_;
    std::string youtubeDescription2_;
    bool exportChapterMarkers_ = false;
    bool exportVideoDescription_ = false;
    ActionStatus colorGradingStatus_ = ActionStatus::notExecuted();
    ActionStatus youtubeDescriptionStatus_ = ActionStatus::notExecuted();
    ActionStatus archivingStatus_ = ActionStatus::notExecuted();
    std::set<std::string> includedRoles_;
    std::optional<ArchiveReport> lastArchiveReport_;
    std::optional<Error> lastRunError_;
    bool showPermissionAlert_ = false;
    std::string permissionAlertMessage_;
    bool debugMode_ = true;
    std::string originalFileName_;
    RoleEffectMappings persistentEffectMappings_;
    bool defaultEffectInstalled_ = false;
    std::optional<std::string> streamedProject_;  ///< the loaded project's bytes when it came from a pipe
};

}  // namespace tidyreel

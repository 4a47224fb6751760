#include "core/content_view_model.h"

#include "base/language.h"
#include "core/core_support.h"
#include "fcpxml/media_path.h"
#include "platform/settings_store.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <signal.h>

#include <algorithm>
#include <chrono>
#include <thread>

namespace tidyreel {
namespace {

using test::CoreTest;
using test::messagesOf;
using Lines = std::vector<std::string>;
using ::testing::Contains;
using ::testing::Not;

class ControllerSettings : public CoreTest {};

TEST_F(ControllerSettings, DefaultsUntilPositiveNumbersAreStored) {
    ContentViewModel controller(RunMode::blocking);
    EXPECT_EQ(controller.buffer(), 10.0);
    EXPECT_EQ(controller.minSegment(), 20.0);
    EXPECT_FALSE(controller.exportChapterMarkers());
    EXPECT_FALSE(controller.exportVideoDescription());
    EXPECT_EQ(controller.youtubeDescription1(), "");
    EXPECT_FALSE(controller.outputDirectory());
    EXPECT_TRUE(controller.debugMode());
    EXPECT_EQ(messagesOf(controller.logEntries()), Lines{"Tidyreel started"});
    SettingsStore::setDouble("buffer", 0.0);
    SettingsStore::setDouble("minSegment", -4.0);
    EXPECT_EQ(ContentViewModel(RunMode::blocking).buffer(), 10.0);
    EXPECT_EQ(ContentViewModel(RunMode::blocking).minSegment(), 20.0);
    SettingsStore::setDouble("buffer", 3.5);
    SettingsStore::setDouble("minSegment", 12.0);
    EXPECT_EQ(ContentViewModel(RunMode::blocking).buffer(), 3.5);
    EXPECT_EQ(ContentViewModel(RunMode::blocking).minSegment(), 12.0);
}

TEST_F(ControllerSettings, ARunTakesEverySettingOnceWithTheEnvironmentBeforeTheStoredTools) {
    SettingsStore::setString("encoder", "hevc_videotoolbox");
    SettingsStore::setString("ffmpegPath", "/stored/ffmpeg");
    SettingsStore::setString("ffprobePath", "/stored/ffprobe");
    const test::ScopedEnvironment ffmpeg("TIDYREEL_FFMPEG", "/env/ffmpeg");
    const test::ScopedEnvironment ffprobe("TIDYREEL_FFPROBE", "");
    const test::ScopedEnvironment probeLimit("TIDYREEL_FFPROBE_TIME_LIMIT", "2.5");
    const test::ScopedEnvironment silenceLimit("TIDYREEL_FFMPEG_SILENCE_LIMIT", "-3");
    ContentViewModel controller(RunMode::blocking);
    controller.setBuffer(7.0);
    controller.setIncludedRoles({"A", "B"});
    controller.setExportChapterMarkers(true);
    const RunSettings taken = controller.runSettings();
    SettingsStore::setString("encoder", "libx265");
    controller.setBuffer(9.0);

    EXPECT_EQ(taken.encoder, "hevc_videotoolbox");
    EXPECT_EQ(taken.tools.ffmpeg, "/env/ffmpeg");
    EXPECT_EQ(taken.tools.ffprobe, "/stored/ffprobe");
    EXPECT_EQ(taken.toolLimits.ffprobeTime, std::chrono::milliseconds(2500));
    EXPECT_EQ(taken.toolLimits.ffmpegSilence, std::chrono::seconds(120))
        << "an unusable limit keeps the default";
    EXPECT_EQ(taken.buffer, 7.0);
    EXPECT_EQ(taken.minSegment, 20.0);
    EXPECT_EQ(taken.includedRoles, (std::set<std::string>{"A", "B"}));
    EXPECT_TRUE(taken.exportChapterMarkers);
    EXPECT_FALSE(taken.exportVideoDescription);
    EXPECT_TRUE(taken.outputDirectory.empty());
    EXPECT_EQ(controller.runSettings().encoder, "libx265");
}

TEST_F(ControllerSettings, ChangesAreWrittenAtOnceAndReadAtTheNextStart) {
    {
        ContentViewModel controller(RunMode::blocking);
        controller.setBuffer(4.5);
        controller.setMinSegment(30.0);
        controller.setExportChapterMarkers(true);
        controller.setYoutubeDescription1("Hallo 🎬");
        controller.setYoutubeDescription2("Hello");
        controller.saveVideoDescriptions();
        EXPECT_EQ(controller.logEntries().back().message, "YouTube-Beschreibungen gespeichert");
        EXPECT_EQ(controller.logEntries().back().type, LogEntryType::success);
    }
    ContentViewModel restarted(RunMode::blocking);
    EXPECT_EQ(restarted.buffer(), 4.5);
    EXPECT_EQ(restarted.minSegment(), 30.0);
    EXPECT_TRUE(restarted.exportChapterMarkers());
    EXPECT_FALSE(restarted.exportVideoDescription());
    EXPECT_EQ(restarted.youtubeDescription1(), "Hallo 🎬");
    EXPECT_EQ(restarted.youtubeDescription2(), "Hello");
}

class OutputFolderBookmark : public CoreTest {
protected:
    test::TempFolder folder;
};

TEST_F(OutputFolderBookmark, ChosenFolderComesBackSilently) {
    {
        ContentViewModel controller(RunMode::blocking);
        controller.chooseOutputFolder(folder / "");
        controller.chooseOutputFolder(folder.path());
        EXPECT_EQ(controller.logEntries().back().message, "Zielordner: " + folder.path().filename().string());
        EXPECT_TRUE(controller.outputDirectoryBookmark());
    }
    ContentViewModel restarted(RunMode::blocking);
    EXPECT_EQ(restarted.outputDirectory(), folder.path());
    EXPECT_EQ(messagesOf(restarted.logEntries()), Lines{"Tidyreel started"});
}

TEST_F(OutputFolderBookmark, AReplacedFolderIsStaleAndRenewedOnce) {
    const std::filesystem::path output = folder / "Export";
    std::filesystem::create_directory(output);
    ContentViewModel(RunMode::blocking).chooseOutputFolder(output);
    const std::optional<std::string> before = SettingsStore::bytesValue("outputDirectoryBookmark");
    std::filesystem::rename(output, folder / "Old Export");  // keeps the old inode alive and different
    std::filesystem::create_directory(output);

    ContentViewModel restarted(RunMode::blocking);
    EXPECT_EQ(messagesOf(restarted.logEntries()),
              (Lines{"Zielordner-Bookmark veraltet, wird erneuert...", "Tidyreel started"}));
    EXPECT_EQ(restarted.outputDirectory(), output);
    EXPECT_NE(SettingsStore::bytesValue("outputDirectoryBookmark"), before);
    EXPECT_EQ(messagesOf(ContentViewModel(RunMode::blocking).logEntries()), Lines{"Tidyreel started"});
}

// Which remembered folders fail to resolve is the bookmark's own test (tests/platform); here, what the
// controller makes of a failure.
TEST_F(OutputFolderBookmark, AVanishedFolderIsAnErrorLineAndNoFolder) {
    const std::filesystem::path output = folder / "Gone";
    std::filesystem::create_directory(output);
    ContentViewModel(RunMode::blocking).chooseOutputFolder(output);
    std::filesystem::remove(output);
    ContentViewModel restarted(RunMode::blocking);
    EXPECT_FALSE(restarted.outputDirectory());
    ASSERT_EQ(restarted.logEntries().size(), 2u);
    EXPECT_EQ(restarted.logEntries()[0].type, LogEntryType::error);
    EXPECT_TRUE(
        restarted.logEntries()[0].message.starts_with("Fehler beim Laden des Zielordner-Bookmarks: "));
}

class ControllerFiles : public CoreTest {
protected:
    void load(const std::string& project = test::minimalProject()) {
        test::writeTextFile(folder / "Projekt.fcpxml", project);
        controller.loadFile(folder / "Projekt.fcpxml");
    }
    std::filesystem::path output() const { return folder / "out"; }

    test::TempFolder folder;
    ContentViewModel controller{RunMode::blocking};
};

TEST_F(ControllerFiles, LoadingABundleUsesItsInfoFcpxmlAndKeepsTheBundleName) {
    const std::filesystem::path bundle = folder / "My Project.FCPXMLD";
    test::writeTextFile(bundle / "Info.fcpxml", test::minimalProject());
    controller.loadFile(bundle);
    EXPECT_EQ(controller.selectedFileURL(), bundle / "Info.fcpxml");
    EXPECT_EQ(controller.originalFileName(), "My Project.FCPXMLD");
    EXPECT_TRUE(controller.fileLoadedAt());
    EXPECT_TRUE(controller.xmlDocument());
    EXPECT_EQ(messagesOf(controller.logEntries()),
              (Lines{"Tidyreel started", "Ausgewählt: My Project.FCPXMLD", "Gefunden: 1 Video-Rollen",
                     "  → Video: 1 Clips"}));
    EXPECT_EQ(controller.includedRoles(), (std::set<std::string>{"Video"}));
}

TEST_F(ControllerFiles, AnUnreadableProjectEmptiesTheRoles) {
    load();
    load(test::minimalProject().substr(0, 300));
    EXPECT_TRUE(controller.videoRoles().empty());
    EXPECT_FALSE(controller.xmlDocument());
    EXPECT_EQ(controller.logEntries().back().type, LogEntryType::error);
    EXPECT_TRUE(controller.logEntries().back().message.starts_with("Fehler beim Parsen der Rollen: "));
}

TEST_F(ControllerFiles, ClearingKeepsSettingsAndStatuses) {
    load();
    controller.startColorGrading();  // fails: no output folder
    controller.clearFile();
    EXPECT_FALSE(controller.selectedFileURL());
    EXPECT_TRUE(controller.videoRoles().empty());
    EXPECT_TRUE(controller.includedRoles().empty());
    EXPECT_EQ(controller.colorGradingStatus(), ActionStatus::error("Fehler aufgetreten"));
    EXPECT_EQ(controller.logEntries().back().message, "Keine Datei ausgewählt");
}

TEST_F(ControllerFiles, TheLanguageRuleFollowsTheFirstPreferredLanguage) {
    setPreferredLanguages({"en-US", "de-DE"});
    load();
    EXPECT_EQ(controller.logEntries()[1].message, "Selected: Projekt.fcpxml");
    setPreferredLanguages({});
    controller.clearFile();
    EXPECT_EQ(controller.logEntries().back().message, "No file selected");
    setPreferredLanguages({"de-AT"});
    controller.clearFile();
    EXPECT_EQ(controller.logEntries().back().message, "Keine Datei ausgewählt");
}

using ControllerRuns = ControllerFiles;

TEST_F(ControllerRuns, StartsWithoutAFileDoNothing) {
    controller.startColorGrading();
    controller.startVideoDescription();
    controller.startArchiving();
    EXPECT_EQ(controller.logEntries().size(), 1u);
    EXPECT_FALSE(controller.showPermissionAlert());
    EXPECT_EQ(controller.archivingStatus(), ActionStatus::notExecuted());
}

TEST_F(ControllerRuns, ColourGradingWritesTheDatedRenamedCopy) {
    load();
    std::filesystem::create_directory(output());
    controller.chooseOutputFolder(output());
    const std::size_t before = controller.logEntries().size();
    controller.startColorGrading();

    EXPECT_FALSE(controller.isProcessing());
    EXPECT_TRUE(std::holds_alternative<ActionStatus::Success>(controller.colorGradingStatus().value));
    const Lines lines = messagesOf(controller.logEntries());
    const Lines run(lines.begin() + static_cast<std::ptrdiff_t>(before), lines.end());
    ASSERT_EQ(run.size(), 12u);
    EXPECT_EQ(Lines(run.begin(), run.begin() + 6),
              (Lines{"Color-Grading gestartet", "Lese FCPXML...", "DEBUG: Starte Task: Rollen-Effekte",
                     "DEBUG: Effekt-Export übersprungen (keine Effekte zugewiesen)",
                     "DEBUG: Starte Task: FCPXML schreiben", "Schreibe neue FCPXML..."}));
    EXPECT_TRUE(run[6].starts_with("DEBUG: outputDir = "));
    EXPECT_TRUE(run[10].starts_with("✓ FCPXML gespeichert: "));
    EXPECT_EQ(run[11], "Color-Grading erfolgreich abgeschlossen");
    EXPECT_EQ(controller.logEntries().back().type, LogEntryType::success);

    const std::vector<std::filesystem::path> written = test::filesIn(output());
    ASSERT_EQ(written.size(), 1u);
    EXPECT_TRUE(written[0].filename().string().ends_with("_cologr_Projekt.fcpxml"));
    const std::string name = XmlDocument::load(written[0])->first("//project").attribute("name").value_or("");
    EXPECT_TRUE(name.ends_with("_colorgrading_Film")) << name;
    EXPECT_EQ(test::readTextFile(folder / "Projekt.fcpxml"), test::minimalProject());
}

TEST_F(ControllerRuns, ColourGradingFailsWithoutAFolderBeforeParsingAndWritesNothingForABrokenProject) {
    load();
    controller.startColorGrading();
    EXPECT_THAT(messagesOf(controller.logEntries()), Not(Contains("Lese FCPXML...")));
    EXPECT_EQ(controller.logEntries().back().message,
              "Color-Grading fehlgeschlagen: Kein Zielordner ausgewählt");
    EXPECT_EQ(controller.logEntries().back().type, LogEntryType::error);
    EXPECT_EQ(controller.colorGradingStatus(), ActionStatus::error("Fehler aufgetreten"));
    ASSERT_TRUE(controller.lastRunError());
    EXPECT_TRUE(test::isError(*controller.lastRunError(), "Processing", 1, "Kein Zielordner ausgewählt"));

    std::filesystem::create_directory(output());
    controller.chooseOutputFolder(output());
    test::writeTextFile(folder / "Projekt.fcpxml", "<fcpxml><resources>");
    controller.startColorGrading();
    EXPECT_TRUE(controller.logEntries().back().message.starts_with("Color-Grading fehlgeschlagen: "));
    EXPECT_EQ(controller.lastRunError()->domain(), "XMLParser");
    EXPECT_TRUE(test::filesIn(output()).empty());
}

TEST_F(ControllerRuns, DescriptionWithBothSwitchesOffRunsNoTaskAndSucceeds) {
    load();
    controller.chooseOutputFolder(folder.path());
    controller.startVideoDescription();
    const Lines lines = messagesOf(controller.logEntries());
    EXPECT_TRUE(std::none_of(lines.begin(), lines.end(), [](const std::string& line) {
        return line.starts_with("DEBUG: Starte Task: ");
    }));
    EXPECT_EQ(lines.back(), "YouTube-Beschreibung erfolgreich erstellt");
    EXPECT_TRUE(std::holds_alternative<ActionStatus::Success>(controller.youtubeDescriptionStatus().value));
}

TEST_F(ControllerRuns, ArchivingWithoutAWritableOutputFolderShowsTheAlertAndRunsNothing) {
    load();
    controller.startArchiving();
    EXPECT_TRUE(controller.showPermissionAlert());
    EXPECT_EQ(controller.permissionAlertMessage(), "Kein Zielordner ausgewählt");
    EXPECT_EQ(controller.logEntries().back().message, "Kein Zielordner ausgewählt");
    EXPECT_EQ(controller.logEntries().back().type, LogEntryType::error);
    EXPECT_THAT(messagesOf(controller.logEntries()), Not(Contains("Trim & Archivierung gestartet")));
    EXPECT_EQ(controller.archivingStatus(), ActionStatus::notExecuted());
    ASSERT_TRUE(controller.lastRunError()) << "the refusal is kept like a run's failure";
    EXPECT_TRUE(test::isError(*controller.lastRunError(), "Processing", 1, "Kein Zielordner ausgewählt"));

    setPreferredLanguages({"en"});
    std::filesystem::create_directory(output());
    controller.chooseOutputFolder(output());
    std::filesystem::remove(output());
    controller.startArchiving();
    EXPECT_EQ(controller.permissionAlertMessage(),
              "Cannot write to selected output directory. Please choose another folder.");
    EXPECT_TRUE(test::isError(*controller.lastRunError(), "FileSystem", ENOENT,
                              "Cannot write to selected output directory. Please choose another folder."));
    EXPECT_FALSE(std::filesystem::exists(output()));
}

TEST_F(ControllerRuns, PlanningOnlyWritesNothingAndKeepsItsFailure) {
    EXPECT_FALSE(controller.planArchiving());
    load();
    EXPECT_TRUE(controller.planArchiving());
    EXPECT_FALSE(controller.lastRunError());
    test::writeTextFile(folder / "Projekt.fcpxml", "<fcpxml><resources>");
    EXPECT_FALSE(controller.planArchiving());
    EXPECT_TRUE(controller.logEntries().back().message.starts_with("Trim & Archivierung fehlgeschlagen: "));
    ASSERT_TRUE(controller.lastRunError());
    EXPECT_EQ(controller.lastRunError()->domain(), "XMLParser");
    EXPECT_EQ(test::filesIn(folder.path()), std::vector<std::filesystem::path>{folder / "Projekt.fcpxml"});
}

TEST_F(ControllerRuns, ArchivingWithNoRolesNamesNone) {
    load();
    controller.chooseOutputFolder(folder.path());
    controller.setIncludedRoles({});
    controller.startArchiving();
    const Lines lines = messagesOf(controller.logEntries());
    const auto started = std::find(lines.begin(), lines.end(), "Trim & Archivierung gestartet");
    ASSERT_NE(started, lines.end());
    EXPECT_EQ(*(started + 1), "Eingeschlossene Rollen: keine");
    // Without a security scope to report (Linux) the macOS diagnosis stays out of the log.
    EXPECT_EQ(*(started + 2), "Lese FCPXML...");
    EXPECT_EQ(std::count_if(
                  lines.begin(), lines.end(),
                  [](const std::string& line) { return line.find("SecurityScoped") != std::string::npos; }),
              0);
    for (const std::filesystem::path& left : test::filesIn(folder.path())) {
        EXPECT_FALSE(left.filename().string().starts_with(".permission_test_")) << left;
    }
}

TEST_F(ControllerRuns, ProgressReportsBecomeTheStatusLine) {
    controller.reportProgress({3, 12, "Clips schneiden"});
    EXPECT_EQ(controller.processingProgress(), (ProcessingProgress{3, 12, "Clips schneiden"}));
    EXPECT_EQ(controller.processingStatus(), "Clips schneiden: 3 von 12");
    controller.addLog(LogEntryType::info, "idle line");
    EXPECT_EQ(controller.processingStatus(), "Clips schneiden: 3 von 12");

    // A report inside the step keeps the step's status line and carries the fraction and the file.
    const ProcessingProgress within{3, 12, "Clips schneiden", 0.5, "A003.mov"};
    controller.reportProgress(within);
    EXPECT_EQ(controller.processingProgress(), within);
    EXPECT_EQ(controller.processingStatus(), "Clips schneiden: 3 von 12");
}

// A window's runs report through the event loop; an archive run keeps its report. The archived project's
// one asset is a sound file, archived by copying alone.
TEST_F(CoreTest, BackgroundRunsReportInOrderThroughTheEventLoop) {
    const auto application = test::makeApplication();
    test::TempFolder folder;
    test::writeTextFile(folder / "p.fcpxml", test::minimalProject());
    ContentViewModel controller(RunMode::background);
    controller.loadFile(folder / "p.fcpxml");
    std::filesystem::create_directories(folder / "out");
    controller.chooseOutputFolder(folder / "out");
    controller.startColorGrading();
    EXPECT_TRUE(controller.isProcessing());
    test::waitWhileProcessing(controller);
    Lines lines = messagesOf(controller.logEntries());
    const auto started = std::find(lines.begin(), lines.end(), "Color-Grading gestartet");
    ASSERT_NE(started, lines.end());
    EXPECT_EQ(*(started + 1), "Lese FCPXML...");
    EXPECT_EQ(lines.back(), "Color-Grading erfolgreich abgeschlossen");

    controller.loadFile(test::soundProject(folder.path()));
    const auto soundSize = static_cast<std::int64_t>(std::filesystem::file_size(folder / "Ton.wav"));
    controller.startArchiving();
    test::waitWhileProcessing(controller);
    ASSERT_TRUE(controller.lastArchiveReport());
    EXPECT_EQ(controller.lastArchiveReport()->originalSize, soundSize);
    EXPECT_EQ(controller.lastArchiveReport()->archiveSize, soundSize);
    EXPECT_TRUE(std::holds_alternative<ActionStatus::Success>(controller.archivingStatus().value));
    EXPECT_FALSE(controller.processingProgress());
    lines = messagesOf(controller.logEntries());
    EXPECT_EQ(
        Lines(lines.end() - 3, lines.end()),
        (Lines{"  ✓ Archiv geprüft: alle Medien im Bundle, vollständig lesbar, jeder Clip in seinem Medium",
               "Report: Original 0,6 MB → Archiv 0,6 MB (\u22120.0%)", "Pipeline abgeschlossen"}));
}

// The window's Cancel button: the running ffmpeg is stopped, the half-made bundle removed, and the run
// ends as cancelled.
TEST_F(CoreTest, CancelStopsTheRunningToolAndRemovesTheNewBundle) {
    const auto application = test::makeApplication();
    test::TempFolder folder;
    test::writeTextFile(folder / "Karte" / "A.mov", "stands in for a video");
    std::string project = test::readTextFile(test::fixture("archive/failing_cut.fcpxml"));
    project.replace(project.find("file://MEDIA"), 12, MediaPath::url(folder.path().string()));
    test::writeTextFile(folder / "p.fcpxml", project);
    const test::ScopedEnvironment ffprobe(
        "TIDYREEL_FFPROBE",
        test::writeScript(folder / "bin" / "ffprobe", "echo '{\"streams\":[{\"codec_name\":\"h264\"}]}'")
            .string());
    const test::ScopedEnvironment ffmpeg(
        "TIDYREEL_FFMPEG",
        test::writeScript(folder / "bin" / "ffmpeg",
                          "echo $$ > '" + (folder / "ffmpeg.pid").string() + "'\nexec sleep 60")
            .string());
    SettingsStore::setString("encoder", "libx265");
    ContentViewModel controller(RunMode::background);
    EXPECT_FALSE(controller.cancelRun()) << "nothing to cancel yet";
    controller.setAllowOffline(true);  // the fixture's sound file is offline on purpose
    controller.loadFile(folder / "p.fcpxml");
    std::filesystem::create_directories(folder / "out");
    controller.chooseOutputFolder(folder / "out");
    controller.startArchiving();
    for (int attempt = 0; attempt < 3000 && test::readTextFile(folder / "ffmpeg.pid").empty(); ++attempt) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    EXPECT_TRUE(controller.cancelRun());
    test::waitWhileProcessing(controller);
    EXPECT_EQ(messagesOf(controller.logEntries()).back(), "Trim & Archivierung fehlgeschlagen: Abgebrochen");
    EXPECT_EQ(controller.archivingStatus(), ActionStatus::cancelled());
    ASSERT_TRUE(controller.lastRunError());
    EXPECT_TRUE(test::isError(*controller.lastRunError(), "Processing", 6, "Abgebrochen"));
    EXPECT_NE(kill(std::stoi(test::readTextFile(folder / "ffmpeg.pid")), 0), 0) << "ffmpeg is gone";
    EXPECT_TRUE(test::filesIn(folder / "out").empty());
    EXPECT_EQ(test::readTextFile(folder / "Karte" / "A.mov"), "stands in for a video");
}

}  // namespace
}  // namespace tidyreel

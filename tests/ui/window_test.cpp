// Drives the real main window: drops, clicks, keys, sheets, pop-ups and runs, with screenshots of
// each state written to the build tree's screenshots folder.
#include "window_test_support.h"

#include "base/language.h"
#include "ui/info_popup.h"
#include "ui/settings_view.h"

#include <gmock/gmock.h>
#include <QAbstractButton>
#include <QCheckBox>
#include <QClipboard>
#include <QComboBox>
#include <QDoubleSpinBox>
#include <QFileDialog>
#include <QLabel>
#include <QListWidget>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QPointer>
#include <QProgressBar>
#include <QSettings>
#include <QTest>
#include <algorithm>
#include <csignal>
#include <iterator>
#include <set>

namespace tidyreel::test {
namespace {

using ::testing::Contains;
using ::testing::HasSubstr;

QString labelText(QLabel* label) {
    return label ? label->text() : QString();
}

std::filesystem::path shippedEffect() {
    return std::filesystem::path(TIDYREEL_SOURCE_DIR) / "resources/ClipwrightEffekt/ClipwrightEffekt.moef";
}

// Every visible control a user can reach needs a name a screen reader can say.
std::vector<std::string> unnamedControls(QWidget* top) {
    std::vector<std::string> unnamed;
    for (QWidget* widget : top->findChildren<QWidget*>()) {
        const bool control = qobject_cast<QAbstractButton*>(widget) || qobject_cast<QDoubleSpinBox*>(widget);
        auto* button = qobject_cast<QAbstractButton*>(widget);
        if (control && widget->isVisible() && widget->accessibleName().isEmpty() &&
            (!button || button->text().isEmpty())) {
            unnamed.push_back(widget->objectName().toStdString() + " (" + widget->metaObject()->className() +
                              ")");
        }
    }
    return unnamed;
}

// A folder panel with nothing typed in chooses the folder it shows.
void chooseInPanel(QFileDialog* panel, const std::filesystem::path& folder) {
    panel->setDirectory(QString::fromStdString(folder.string()));
    static_cast<QDialog*>(panel)->accept();
}

TEST_F(WindowTest, EmptyWindowSpeaksGermanAndEnglish) {
    EXPECT_EQ(labelText(find<QLabel>("projectDrop")), "⬇  FCPXML hier ablegen");
    EXPECT_EQ(labelText(find<QLabel>("folderName")), "Kein Ordner ausgewählt");
    EXPECT_EQ(labelText(find<QLabel>("noRoles")), "Keine Rollen gefunden. Bitte FCPXML laden.");
    EXPECT_EQ(find<QAbstractButton>("archivingTab")->text(), "Archivierung");
    EXPECT_FALSE(find<QAbstractButton>("startColorGrading")->isEnabled());
    EXPECT_EQ(labelText(find<QLabel>("statusText")), "noch nicht ausgeführt");
    EXPECT_EQ(unnamedControls(window_.get()), std::vector<std::string>{});
    screenshot(window_.get(), "01-empty-de");

    switchLanguage("en-US");
    EXPECT_EQ(labelText(find<QLabel>("projectDrop")), "⬇  Drop FCPXML here");
    EXPECT_EQ(labelText(find<QLabel>("folderName")), "No folder selected");
    EXPECT_EQ(find<QAbstractButton>("chooseFile")->text(), "Select File...");
    EXPECT_EQ(find<QAbstractButton>("archivingTab")->text(), "Archiving");
    EXPECT_EQ(find<QAbstractButton>("startColorGrading")->text(), "Execute Color Grading");
    screenshot(window_.get(), "02-empty-en");
}

TEST_F(WindowTest, ProjectAndEffectArriveByDrop) {
    drop(find<QWidget>("projectDrop"), fixture("notes.txt"));
    EXPECT_FALSE(viewModel_->selectedFileURL().has_value());

    drop(find<QWidget>("projectDrop"), fixture("60fps-rubric-markers.fcpxmld/"));
    EXPECT_EQ(viewModel_->originalFileName(), "60fps-rubric-markers.fcpxmld");
    EXPECT_EQ(labelText(find<QLabel>("fileName")), "60fps-rubric-markers.fcpxmld");
    find<QAbstractButton>("clearFile")->click();
    settle();
    EXPECT_TRUE(find<QLabel>("projectDrop")->isVisible());

    drop(find<QWidget>("projectDrop"), fixture("ui/two_roles.fcpxml"));
    ASSERT_EQ(viewModel_->videoRoles().size(), 2u);
    QWidget* interview = find<QWidget>("role:Interview");
    ASSERT_NE(interview, nullptr);
    auto* target = interview->findChild<QLabel*>("effectDrop");
    drop(target, folder_ / "look.txt");
    EXPECT_TRUE(viewModel_->roleEffectMappings().empty());
    drop(target, shippedEffect());
    ASSERT_EQ(viewModel_->roleEffectMappings().count("Interview"), 1u);
    EXPECT_EQ(viewModel_->roleEffectMappings().at("Interview").name, "ClipwrightEffekt");
    interview = find<QWidget>("role:Interview");
    EXPECT_EQ(labelText(interview->findChild<QLabel*>("effectDrop")), "✦ ClipwrightEffekt");
    EXPECT_TRUE(interview->findChild<QCheckBox*>()->isChecked());
    screenshot(window_.get(), "03-loaded-with-effect");
    switchLanguage("en-US");
    EXPECT_EQ(labelText(find<QWidget>("role:Interview")->findChild<QLabel*>("effectDrop")),
              "✦ ClipwrightEffekt");
    screenshot(window_.get(), "03-loaded-with-effect-en");
    switchLanguage("de-DE");
    interview = find<QWidget>("role:Interview");  // the rows are built anew with the texts

    // Unticking the role takes its effect away again.
    interview->findChild<QCheckBox*>()->click();
    settle();
    EXPECT_TRUE(viewModel_->roleEffectMappings().empty());
}

TEST_F(WindowTest, GradingAndDescriptionRunsReportInlineAndInTheLog) {
    viewModel_->chooseOutputFolder(folder_.path());
    drop(find<QWidget>("projectDrop"), fixture("ui/two_roles.fcpxml"));
    drop(find<QWidget>("role:Drone")->findChild<QLabel*>("effectDrop"), shippedEffect());

    find<QAbstractButton>("startColorGrading")->click();
    ASSERT_TRUE(waitFor([this] { return !viewModel_->isProcessing(); }));
    auto* grading = find<QWidget>("colorGrading");
    EXPECT_EQ(labelText(grading->findChild<QLabel*>("statusText")), "zuletzt: gerade eben");

    find<QCheckBox>("exportChapterMarkers")->click();
    EXPECT_TRUE(viewModel_->exportChapterMarkers());
    EXPECT_EQ(QSettings().value("exportChapterMarkers").toBool(), true);
    find<QAbstractButton>("startVideoDescription")->click();
    ASSERT_TRUE(waitFor([this] { return !viewModel_->isProcessing(); }));
    auto* description = find<QWidget>("videoDescription");
    EXPECT_EQ(labelText(description->findChild<QLabel*>("statusText")), "zuletzt: gerade eben");
    EXPECT_TRUE(std::filesystem::exists(folder_ / "youtube_two_roles.YT1.txt"));

    description->findChild<QAbstractButton*>("openLog")->click();
    settle();
    auto* lines = find<QListWidget>("logLines");
    ASSERT_NE(lines, nullptr);
    std::vector<std::string> shown;
    for (int row = 0; row < lines->count(); ++row) {
        shown.push_back(lines->item(row)->text().toStdString().substr(9));
    }
    EXPECT_THAT(shown, Contains("✅ Color-Grading erfolgreich abgeschlossen"));
    EXPECT_THAT(shown, Contains("✅ YouTube-Beschreibung erfolgreich erstellt"));
    find<QAbstractButton>("copyLog")->click();
    EXPECT_EQ(QApplication::clipboard()->text().toStdString(), viewModel_->copyLogText());
    const QPointer<QWidget> sheet = lines->window();
    screenshot(sheet, "04-log-sheet");
    QTest::keyClick(sheet, Qt::Key_Escape);
    settle();
    EXPECT_TRUE(sheet.isNull() || !sheet->isVisible());
}

TEST_F(WindowTest, ArchiveShowsOverlayProgressAndReport) {
    const std::filesystem::path project = twoRolesProject(folder_ / "media");
    // The real ffmpeg, paced to eight times real time and reporting ten times a second, so that even
    // the short encodes of this project last long enough for the bar to be seen moving inside them.
    const ScopedEnvironment pacedFFmpeg(
        "TIDYREEL_FFMPEG",
        writeScript(folder_ / "bin" / "ffmpeg", "exec ffmpeg -stats_period 0.1 -readrate 8 \"$@\"").string());
    viewModel_->chooseOutputFolder(folder_ / "out");
    std::filesystem::create_directories(folder_ / "out");
    drop(find<QWidget>("projectDrop"), project);
    find<QAbstractButton>("archivingTab")->click();
    settle();
    EXPECT_EQ(viewModel_->selectedWorkflow(), WorkflowTab::archiving);
    find<QDoubleSpinBox>("buffer")->setValue(5.0);
    EXPECT_EQ(QSettings().value("buffer").toDouble(), 5.0);
    // The encoding of trimmed clips: the platform's default first, the stream copy chosen and remembered.
    auto* encoder = find<QComboBox>("encoder");
    EXPECT_EQ(encoder->currentData().toString(), "libx265");
    const int copy = encoder->findData("copy");
    ASSERT_GE(copy, 0);
    encoder->setCurrentIndex(copy);
    emit encoder->activated(copy);
    settle();
    EXPECT_EQ(QSettings().value("encoder").toString(), "copy");
    EXPECT_EQ(viewModel_->encoder(), "copy");
    EXPECT_EQ(encoder->currentData().toString(), "copy");
    // This run re-encodes, so that the bar is seen moving inside the encodes.
    encoder->setCurrentIndex(encoder->findData("libx265"));
    emit encoder->activated(encoder->currentIndex());
    settle();
    EXPECT_EQ(viewModel_->encoder(), "libx265");
    find<QAbstractButton>("selectNone")->click();
    settle();
    EXPECT_TRUE(viewModel_->includedRoles().empty());
    find<QAbstractButton>("selectAll")->click();
    settle();
    EXPECT_EQ(viewModel_->includedRoles(), (std::set<std::string>{"Drone", "Interview"}));
    screenshot(window_.get(), "05-archiving-tab");
    switchLanguage("en-US");
    EXPECT_EQ(find<QAbstractButton>("startArchiving")->text(), "Archive");
    screenshot(window_.get(), "05-archiving-tab-en");
    switchLanguage("de-DE");

    find<QAbstractButton>("startArchiving")->click();
    settle();
    EXPECT_TRUE(viewModel_->isProcessing());
    EXPECT_TRUE(window_->findChild<QWidget*>("processingOverlay")->isVisible());
    // The bar and the file line as the overlay showed them whenever a report came from inside an encode.
    auto* bar = window_->findChild<QProgressBar*>("processingBar");
    auto* file = window_->findChild<QLabel*>("processingItem");
    std::vector<int> barValues;
    std::set<std::string> files;
    bool pictured = false;
    ASSERT_TRUE(waitFor([&] {
        const std::optional<ProcessingProgress>& progress = viewModel_->processingProgress();
        if (progress && progress->stepFraction > 0 && file->isVisible()) {
            barValues.push_back(bar->value());
            files.insert(file->text().toStdString());
            // The first encode about half done: its bar a quarter full.
            if (!pictured && bar->value() >= 200 && bar->value() < 500) {
                pictured = true;
                EXPECT_EQ(labelText(find<QLabel>("processingSteps")), "0 von 2");
                screenshot(window_.get(), "06-archive-overlay");
            }
        }
        return !viewModel_->isProcessing();
    }));
    EXPECT_FALSE(window_->findChild<QWidget*>("processingOverlay")->isVisible());
    EXPECT_TRUE(pictured);
    EXPECT_EQ(files, (std::set<std::string>{"Trimme Video: Drohne.mov", "Trimme Video: Interview.mov"}));
    // Two steps share the bar (0 to 1000): inside the first encode it stands at two or more places
    // between empty and half, and it never goes back.
    std::set<int> insideFirstEncode;
    std::copy_if(barValues.begin(), barValues.end(),
                 std::inserter(insideFirstEncode, insideFirstEncode.end()),
                 [](int value) { return value > 0 && value < 500; });
    EXPECT_GE(insideFirstEncode.size(), 2u);
    EXPECT_TRUE(std::is_sorted(barValues.begin(), barValues.end()));

    ASSERT_TRUE(viewModel_->lastArchiveReport().has_value());
    EXPECT_THAT(labelText(find<QLabel>("reportLine")).toStdString(), HasSubstr("Original "));
    EXPECT_THAT(labelText(find<QLabel>("reportLine")).toStdString(), HasSubstr(" → Ersparnis "));
    EXPECT_TRUE(std::filesystem::exists(folder_ / "out" / "archiv_Fenstertest.fcpxmld" / "Info.fcpxml"));
    screenshot(window_.get(), "07-archive-finished");
}

// Cancel on the overlay stops the running ffmpeg; the half-made bundle goes, the sources stay.
TEST_F(WindowTest, CancelOnTheOverlayStopsTheArchiveAndLeavesNothingBehind) {
    const std::filesystem::path project = twoRolesProject(folder_ / "media");
    const std::filesystem::path pidFile = folder_ / "ffmpeg.pid";
    const ScopedEnvironment ffmpeg(
        "TIDYREEL_FFMPEG",
        writeScript(folder_ / "bin" / "ffmpeg", "echo $$ > '" + pidFile.string() + "'\nexec sleep 60")
            .string());
    viewModel_->chooseOutputFolder(folder_ / "out");
    std::filesystem::create_directories(folder_ / "out");
    drop(find<QWidget>("projectDrop"), project);
    find<QAbstractButton>("archivingTab")->click();
    settle();
    find<QAbstractButton>("startArchiving")->click();
    ASSERT_TRUE(waitFor([&] { return !readTextFile(pidFile).empty(); }));
    auto* cancel = find<QAbstractButton>("cancelRun");
    EXPECT_TRUE(cancel->isVisible());
    cancel->click();
    ASSERT_TRUE(waitFor([this] { return !viewModel_->isProcessing(); }));
    EXPECT_FALSE(window_->findChild<QWidget*>("processingOverlay")->isVisible());
    EXPECT_NE(kill(std::stoi(readTextFile(pidFile)), 0), 0) << "ffmpeg is gone";
    EXPECT_TRUE(filesIn(folder_ / "out").empty());
    EXPECT_THAT(viewModel_->logEntries().back().message, HasSubstr("Abgebrochen"));
}

TEST_F(WindowTest, ArchiveWithoutOutputFolderShowsThePermissionAlert) {
    drop(find<QWidget>("projectDrop"), fixture("ui/two_roles.fcpxml"));
    find<QAbstractButton>("archivingTab")->click();
    settle();
    find<QAbstractButton>("startArchiving")->click();
    settle();
    auto* alert = find<QMessageBox>("permissionAlert");
    ASSERT_NE(alert, nullptr);
    EXPECT_EQ(alert->text(), "Keine Schreibberechtigung");
    EXPECT_EQ(alert->informativeText(), "Kein Zielordner ausgewählt");
    EXPECT_FALSE(viewModel_->isProcessing());
    screenshot(alert, "08-permission-alert");
    QTest::keyClick(alert, Qt::Key_Return);
    settle();
    EXPECT_FALSE(viewModel_->showPermissionAlert());
}

TEST_F(WindowTest, InformationPopupsOpenAndEscapeClosesThem) {
    const std::vector<std::pair<QString, QString>> popups = {
        {"rolesInfo", "Effekte pro Video-Rolle"},
        {"videoDescriptionInfo", "YouTube-Videobeschreibung"},
        {"clipTrimmingInfo", "Clips schneiden"},
        {"limitationsInfo", "Einschränkungen der Trim-Funktion"}};
    for (const auto& [button, title] : popups) {
        find<QAbstractButton>("archivingTab")->click();
        if (button == "rolesInfo" || button == "videoDescriptionInfo") {
            find<QAbstractButton>("preProductionTab")->click();
        }
        settle();
        find<QAbstractButton>(button)->click();
        settle();
        auto* popup = dynamic_cast<ui::InfoPopup*>(QApplication::activeModalWidget());
        ASSERT_NE(popup, nullptr) << button.toStdString();
        EXPECT_EQ(popup->windowTitle(), button == "clipTrimmingInfo" ? "Clips trimmen" : title);
        screenshot(popup, "09-popup-" + button.toStdString());
        QTest::keyClick(popup, Qt::Key_Escape);
        settle();
        EXPECT_EQ(QApplication::activeModalWidget(), nullptr) << button.toStdString();
    }

    switchLanguage("en-US");
    find<QAbstractButton>("clipTrimmingInfo")->click();
    settle();
    auto* popup = dynamic_cast<ui::InfoPopup*>(QApplication::activeModalWidget());
    ASSERT_NE(popup, nullptr);
    EXPECT_EQ(popup->windowTitle(), "Trim Clips");
    screenshot(popup, "09-popup-clipTrimmingInfo-en");
    QTest::keyClick(popup, Qt::Key_Escape);
    settle();
}

TEST_F(WindowTest, SettingsSheetEditsDescriptionsAndForgetsAssignments) {
    drop(find<QWidget>("projectDrop"), fixture("ui/two_roles.fcpxml"));
    drop(find<QWidget>("role:Drone")->findChild<QLabel*>("effectDrop"), shippedEffect());
    QTest::keyClick(find<QWidget>("settingsButton"), Qt::Key_Space);
    settle();
    auto* settings = find<ui::SettingsView>("settings");
    ASSERT_NE(settings, nullptr);
    EXPECT_EQ(labelText(settings->findChild<QLabel*>("rememberedMappings")), "Drone  →  ClipwrightEffekt");
    EXPECT_EQ(labelText(settings->findChild<QLabel*>("titlesState")), "Nicht installiert");

    QWidget* first = settings->findChild<QWidget*>("description1");
    first->findChild<QAbstractButton*>("editDescription")->click();
    first->findChild<QPlainTextEdit*>("descriptionText")->setPlainText("🎬 Hallo");
    first->findChild<QAbstractButton*>("cancelDescription")->click();
    settle();
    EXPECT_EQ(viewModel_->youtubeDescription1(), "");
    EXPECT_EQ(labelText(first->findChild<QLabel*>("storedDescription")), "Keine Beschreibung gesetzt");
    first->findChild<QAbstractButton*>("editDescription")->click();
    first->findChild<QPlainTextEdit*>("descriptionText")->setPlainText("🎬 Hallo");
    first->findChild<QAbstractButton*>("saveDescription")->click();
    settle();
    EXPECT_EQ(viewModel_->youtubeDescription1(), "🎬 Hallo");
    EXPECT_EQ(QSettings().value("youtubeDescription1").toString(), "🎬 Hallo");
    EXPECT_EQ(labelText(first->findChild<QLabel*>("storedDescription")), "🎬 Hallo");
    screenshot(settings, "10-settings");
    switchLanguage("en-US");
    screenshot(settings, "10-settings-en");
    switchLanguage("de-DE");

    settings->findChild<QAbstractButton*>("deleteMappings")->click();
    settle();
    EXPECT_TRUE(viewModel_->persistentEffectMappings().empty());
    EXPECT_EQ(labelText(settings->findChild<QLabel*>("rememberedMappings")),
              "Keine Effektzuordnungen gespeichert");
    EXPECT_EQ(unnamedControls(settings), std::vector<std::string>{});

    const QPointer<QWidget> sheet = settings;
    QTest::keyClick(settings, Qt::Key_Escape);
    settle();
    EXPECT_TRUE(sheet.isNull() || !sheet->isVisible());
}

TEST_F(WindowTest, InstallersAskForTheRightMotionFolder) {
    const std::filesystem::path titles = folder_ / "Motion Templates.localized" / "Titles.localized";
    const std::filesystem::path effects = folder_ / "Motion Templates.localized" / "Effekte";
    std::filesystem::create_directories(titles);
    std::filesystem::create_directories(effects);
    window_->openSettings();
    settle();
    auto* settings = find<ui::SettingsView>("settings");
    ASSERT_NE(settings, nullptr);

    // A wrong folder first: the alert offers to try again, and the second panel takes the right one.
    whenModal<QFileDialog>([&](QFileDialog* panel) {
        screenshot(panel, "11-titles-panel");
        whenModal<QMessageBox>([&](QMessageBox* box) {
            EXPECT_EQ(box->text(), "Falscher Ordner ausgewählt");
            EXPECT_THAT(box->informativeText().toStdString(), HasSubstr("Du hast gewählt: Effekte"));
            whenModal<QFileDialog>([&](QFileDialog* again) { chooseInPanel(again, titles); });
            box->buttons().at(0)->click();
        });
        chooseInPanel(panel, effects);
    });
    settings->findChild<QAbstractButton*>("installTitles")->click();
    settle();
    EXPECT_TRUE(std::filesystem::exists(titles / "Clipwright" / "QUILLT1" / "QUILLT1.moti"));
    EXPECT_TRUE(std::filesystem::exists(titles / "Clipwright" / "QUILLT2" / "QUILLT2.moti"));
    auto* result = find<QMessageBox>("installResult");
    ASSERT_NE(result, nullptr);
    EXPECT_EQ(result->text(), "Installation erfolgreich");
    EXPECT_THAT(result->informativeText().toStdString(), HasSubstr("Titel → Clipwright"));
    EXPECT_EQ(labelText(settings->findChild<QLabel*>("titlesState")), "✅ Installed");
    result->accept();
    settle();

    whenModal<QFileDialog>([](QFileDialog* panel) { panel->reject(); });
    settings->findChild<QAbstractButton*>("installEffect")->click();
    settle();
    result = find<QMessageBox>("installResult");
    ASSERT_NE(result, nullptr);
    EXPECT_EQ(result->text(), "Installation fehlgeschlagen");
    EXPECT_EQ(result->informativeText(), "Installation abgebrochen");
    result->accept();
    settle();

    whenModal<QFileDialog>([&](QFileDialog* panel) { chooseInPanel(panel, effects); });
    settings->findChild<QAbstractButton*>("installEffect")->click();
    settle();
    EXPECT_TRUE(
        std::filesystem::exists(effects / "Clipwright" / "ClipwrightEffekt" / "ClipwrightEffekt.moef"));
    EXPECT_EQ(labelText(settings->findChild<QLabel*>("effectState")), "✅ Installed");
    find<QMessageBox>("installResult")->accept();
}

TEST_F(WindowTest, KeyboardReachesTheControlsAndEnterPressesTheFocusedButton) {
    const auto focusName = [] {
        return QApplication::focusWidget() ? QApplication::focusWidget()->objectName().toStdString() : "";
    };
    find<QWidget>("preProductionTab")->setFocus();
    std::vector<std::string> order;
    for (int step = 0; step < 4; ++step) {
        order.push_back(focusName());
        QTest::keyClick(window_.get(), Qt::Key_Tab);
    }
    EXPECT_EQ(order,
              (std::vector<std::string>{"preProductionTab", "archivingTab", "settingsButton", "chooseFile"}));

    find<QWidget>("archivingTab")->setFocus();
    QTest::keyClick(window_.get(), Qt::Key_Return);
    ASSERT_TRUE(waitFor([this] { return viewModel_->selectedWorkflow() == WorkflowTab::archiving; }));
    EXPECT_TRUE(find<QAbstractButton>("archivingTab")->isChecked());
    EXPECT_FALSE(find<QAbstractButton>("preProductionTab")->isChecked());
    find<QWidget>("settingsButton")->setFocus();
    QTest::keyClick(window_.get(), Qt::Key_Enter);
    ASSERT_TRUE(waitFor([] { return dynamic_cast<ui::SettingsView*>(QApplication::activeModalWidget()); }));
    // Enter in the sheet presses its default button, "Fenster schließen".
    QTest::keyClick(QApplication::activeModalWidget(), Qt::Key_Return);
    settle();
    EXPECT_EQ(QApplication::activeModalWidget(), nullptr);
}

}  // namespace
}  // namespace tidyreel::test

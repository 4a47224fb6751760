#pragma once

#include <QWidget>

class QLabel;
class QMessageBox;
class QPushButton;
class QStackedWidget;

namespace tidyreel {
class ContentViewModel;
}

namespace tidyreel::ui {

class ArchivingRoleGroupView;
class ClipTrimmingGroupView;
class ColorGradingView;
class FileCard;
class InlineStatusView;
class OutputFolderCard;
class ProcessingLogView;
class ProcessingOverlayView;
class SettingsView;
class YouTubeDescriptionView;

/// The main window: workflow picker, settings button, the FCPXML and output folder cards, the tab's
/// workflows, the processing overlay and the write-permission alert, all bound to the controller.
class ContentView : public QWidget {
public:
    explicit ContentView(ContentViewModel& viewModel, QWidget* parent = nullptr);

    /// Shows the controller's current state in the current language.
    void refresh();
    /// Opens the settings sheet (the settings button does the same).
    void openSettings();
    /// Opens the processing log sheet (each status's log button does the same).
    void openLog();

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void closeEvent(QCloseEvent* event) override;

private:
    QWidget* makeTopRow();
    QWidget* makePreProductionPage();
    QWidget* makeArchivingPage();
    void scheduleRefresh();
    void refreshArchivingPage();
    void refreshPermissionAlert();

    ContentViewModel& viewModel_;
    bool refreshScheduled_ = false;
    QPushButton* preProductionTab_;
    QPushButton* archivingTab_;
    QPushButton* settingsButton_;
    FileCard* fileCard_;
    OutputFolderCard* folderCard_;
    QStackedWidget* pages_;
    QLabel* preProductionCaption_;
    ColorGradingView* colorGrading_;
    YouTubeDescriptionView* videoDescription_;
    QLabel* archivingCaption_;
    ClipTrimmingGroupView* clipTrimming_;
    ArchivingRoleGroupView* archivingRoles_;
    QPushButton* archive_;
    QPushButton* limitationsInfo_;
    InlineStatusView* archivingStatus_;
    ProcessingOverlayView* overlay_;
    QMessageBox* permissionAlert_ = nullptr;
    SettingsView* settings_ = nullptr;
    ProcessingLogView* logSheetView_ = nullptr;  ///< the log sheet's log while it is open
};

}  // namespace tidyreel::ui

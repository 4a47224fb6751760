#include "ui/content_view.h"

#include "core/content_view_model.h"
#include "ui/archiving_role_group_view.h"
#include "ui/clip_trimming_group_view.h"
#include "ui/color_grading_view.h"
#include "ui/file_card.h"
#include "ui/info_popup.h"
#include "ui/inline_status_view.h"
#include "ui/output_folder_card.h"
#include "ui/processing_log_view.h"
#include "ui/processing_overlay_view.h"
#include "ui/settings_view.h"
#include "ui/youtube_description_view.h"

#include <QCloseEvent>
#include <QDialog>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QMessageBox>
#include <QPointer>
#include <QPushButton>
#include <QScrollArea>
#include <QStackedWidget>
#include <QTimer>
#include <QVBoxLayout>

namespace tidyreel::ui {
namespace {

QLabel* makeCaption(QWidget* parent) {
    auto* caption = new QLabel(parent);
    caption->setWordWrap(true);
    caption->setStyleSheet("color: palette(dark);");
    return caption;
}

}  // namespace

ContentView::ContentView(ContentViewModel& viewModel, QWidget* parent)
    : QWidget(parent), viewModel_(viewModel) {
    setObjectName("contentView");
    // Tall enough for both tabs of a project with a few roles; more roles scroll.
    resize(760, 680);
    auto* outer = new QVBoxLayout(this);
    outer->addWidget(makeTopRow());
    fileCard_ = new FileCard(viewModel_, this);
    folderCard_ = new OutputFolderCard(viewModel_, this);
    outer->addWidget(fileCard_);
    outer->addWidget(folderCard_);
    pages_ = new QStackedWidget(this);
    pages_->addWidget(makePreProductionPage());
    pages_->addWidget(makeArchivingPage());
    auto* scroll = new QScrollArea(this);
    scroll->setWidgetResizable(true);
    scroll->setFrameShape(QFrame::NoFrame);
    scroll->setWidget(pages_);
    outer->addWidget(scroll, 1);
    overlay_ = new ProcessingOverlayView([this] { viewModel_.cancelRun(); }, this);

    ContentViewModel::Observer observer;
    observer.changed = [this] { scheduleRefresh(); };
    observer.logAdded = [this](const LogEntry&) { scheduleRefresh(); };
    observer.progressChanged = [this](const ProcessingProgress&) { scheduleRefresh(); };
    viewModel_.setObserver(std::move(observer));
    refresh();
}

QWidget* ContentView::makeTopRow() {
    auto* row = new QWidget(this);
    auto* layout = new QHBoxLayout(row);
    layout->setContentsMargins(0, 0, 0, 0);
    preProductionTab_ = new QPushButton(row);
    preProductionTab_->setObjectName("preProductionTab");
    archivingTab_ = new QPushButton(row);
    archivingTab_->setObjectName("archivingTab");
    for (QPushButton* segment : {preProductionTab_, archivingTab_}) {
        segment->setCheckable(true);
        segment->setMinimumWidth(150);
        segment->setStyleSheet(
            "QPushButton:checked { background: #2f6fd6; color: white; border: 1px solid #2459ad; "
            "border-radius: 4px; padding: 3px; }");
        layout->addWidget(segment);
    }
    // No button group: Tab stops at both segments, and the controller's tab decides which is checked.
    connect(preProductionTab_, &QPushButton::clicked, this,
            [this] { viewModel_.setSelectedWorkflow(WorkflowTab::preProduction); });
    connect(archivingTab_, &QPushButton::clicked, this,
            [this] { viewModel_.setSelectedWorkflow(WorkflowTab::archiving); });
    layout->addStretch(1);
    settingsButton_ = new QPushButton(symbolIcon("gear"), QString(), row);
    settingsButton_->setObjectName("settingsButton");
    connect(settingsButton_, &QPushButton::clicked, this, &ContentView::openSettings);
    layout->addWidget(settingsButton_);
    return row;
}

QWidget* ContentView::makePreProductionPage() {
    auto* page = new QWidget(this);
    auto* layout = new QVBoxLayout(page);
    layout->setContentsMargins(0, 0, 0, 0);
    preProductionCaption_ = makeCaption(page);
    colorGrading_ = new ColorGradingView(
        viewModel_, [this] { openLog(); }, page);
    videoDescription_ = new YouTubeDescriptionView(
        viewModel_, [this] { openLog(); }, page);
    layout->addWidget(preProductionCaption_);
    layout->addWidget(colorGrading_);
    layout->addWidget(videoDescription_);
    layout->addStretch(1);
    return page;
}

QWidget* ContentView::makeArchivingPage() {
    auto* page = new QWidget(this);
    auto* layout = new QVBoxLayout(page);
    layout->setContentsMargins(0, 0, 0, 0);
    archivingCaption_ = makeCaption(page);
    clipTrimming_ = new ClipTrimmingGroupView(viewModel_, page);
    archivingRoles_ = new ArchivingRoleGroupView(viewModel_, page);
    auto* actions = new QHBoxLayout;
    archive_ = new QPushButton(page);
    archive_->setObjectName("startArchiving");
    makeProminent(archive_);
    connect(archive_, &QPushButton::clicked, this, [this] { viewModel_.startArchiving(); });
    limitationsInfo_ = makeInfoButton(page);
    limitationsInfo_->setObjectName("limitationsInfo");
    connect(limitationsInfo_, &QPushButton::clicked, this,
            [this] { (new InfoPopup(limitationsContent(), this))->open(); });
    actions->addWidget(archive_, 1);
    actions->addWidget(limitationsInfo_);
    archivingStatus_ = new InlineStatusView([this] { openLog(); }, page);
    layout->addWidget(archivingCaption_);
    layout->addWidget(clipTrimming_);
    layout->addWidget(archivingRoles_);
    layout->addLayout(actions);
    layout->addWidget(archivingStatus_);
    layout->addStretch(1);
    return page;
}

// Changes come in bursts (a log line, its status, the progress); one repaint after the burst is enough,
// and a widget is never rebuilt from inside its own signal.
void ContentView::scheduleRefresh() {
    if (refreshScheduled_) {
        return;
    }
    refreshScheduled_ = true;
    QTimer::singleShot(0, this, [this] {
        refreshScheduled_ = false;
        refresh();
    });
}

void ContentView::refresh() {
    setWindowTitle("Tidyreel");
    preProductionTab_->setText("Pre-Production");
    archivingTab_->setText(tr2("Archivierung", "Archiving"));
    preProductionTab_->setChecked(viewModel_.selectedWorkflow() == WorkflowTab::preProduction);
    archivingTab_->setChecked(viewModel_.selectedWorkflow() == WorkflowTab::archiving);
    preProductionTab_->setAccessibleName("Workflow: Pre-Production");
    archivingTab_->setAccessibleName("Workflow: " + archivingTab_->text());
    settingsButton_->setText(tr2("Einstellungen", "Settings"));
    fileCard_->refresh();
    folderCard_->refresh();
    pages_->setCurrentIndex(viewModel_.selectedWorkflow() == WorkflowTab::preProduction ? 0 : 1);
    preProductionCaption_->setText(
        tr2("Während des Schnitts. Mehrfach nutzbar.", "During editing. Can be used multiple times."));
    colorGrading_->refresh();
    videoDescription_->refresh();
    refreshArchivingPage();
    if (viewModel_.isProcessing()) {
        overlay_->show(viewModel_.processingStatus(), viewModel_.processingProgress());
    } else {
        overlay_->hide();
    }
    refreshPermissionAlert();
    if (settings_) {
        settings_->refresh();
    }
    if (logSheetView_) {
        logSheetView_->refresh();
    }
}

void ContentView::refreshArchivingPage() {
    archivingCaption_->setText(tr2(
        "Nach Abschluß aller Bearbeitungen. Diese Aktion erzeugt Kopien Deiner Projektmedien und speichert "
        "sie an "
        "Deinem Ziel.",
        "After picture lock. This action creates copies of your pojects media files and saves them to the "
        "destination."));
    clipTrimming_->refresh();
    archivingRoles_->refresh();
    archive_->setText(tr2("Archivieren", "Archive"));
    archive_->setAccessibleName(archive_->text());
    archive_->setEnabled(viewModel_.selectedFileURL().has_value() && !viewModel_.isProcessing());
    retitleInfoButton(limitationsInfo_,
                      tr2("Einschränkungen der Trim-Funktion", "Trim Function Limitations"));
    archivingStatus_->show(viewModel_.archivingStatus(), viewModel_.lastArchiveReport());
}

void ContentView::refreshPermissionAlert() {
    if (!viewModel_.showPermissionAlert() || permissionAlert_) {
        return;
    }
    permissionAlert_ =
        new QMessageBox(QMessageBox::Warning, tr2("Keine Schreibberechtigung", "No Write Permission"),
                        tr2("Keine Schreibberechtigung", "No Write Permission"), QMessageBox::Ok, this);
    permissionAlert_->setObjectName("permissionAlert");
    permissionAlert_->setInformativeText(qs(viewModel_.permissionAlertMessage()));
    // Wide enough that a short reason stays on one line instead of wrapping under the title's width.
    permissionAlert_->setStyleSheet("QLabel#qt_msgbox_informativelabel { min-width: 260px; }");
    permissionAlert_->setAttribute(Qt::WA_DeleteOnClose);
    connect(permissionAlert_, &QMessageBox::finished, this, [this] {
        permissionAlert_ = nullptr;
        viewModel_.setShowPermissionAlert(false);
    });
    permissionAlert_->open();
}

void ContentView::openSettings() {
    if (settings_) {
        settings_->raise();
        return;
    }
    settings_ = new SettingsView(viewModel_, this);
    settings_->setAttribute(Qt::WA_DeleteOnClose);
    connect(settings_, &QDialog::finished, this, [this] { settings_ = nullptr; });
    settings_->open();
}

void ContentView::openLog() {
    if (logSheetView_) {
        logSheetView_->window()->raise();
        return;
    }
    auto* sheet = new QDialog(this);
    sheet->setObjectName("logSheet");
    sheet->setAttribute(Qt::WA_DeleteOnClose);
    sheet->setWindowTitle(tr2("Verarbeitungslog", "Processing Log"));
    sheet->resize(700, 420);
    auto* layout = new QVBoxLayout(sheet);
    logSheetView_ = new ProcessingLogView(viewModel_, sheet);
    layout->addWidget(logSheetView_, 1);
    auto* close = new QPushButton(tr2("Schließen", "Close"), sheet);
    close->setDefault(true);
    connect(close, &QPushButton::clicked, sheet, &QDialog::accept);
    layout->addWidget(close, 0, Qt::AlignRight);
    connect(sheet, &QDialog::finished, this, [this] { logSheetView_ = nullptr; });
    logSheetView_->refresh();
    sheet->open();
}

// Outside a dialog Qt has no default button; Enter presses the focused button as Space does.
void ContentView::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) {
        if (auto* button = qobject_cast<QAbstractButton*>(focusWidget()); button && button->isEnabled()) {
            button->animateClick();
            return;
        }
    }
    QWidget::keyPressEvent(event);
}

// Closing mid-run would leave a half-written archive: ask, then stop the run and close when it has ended.
void ContentView::closeEvent(QCloseEvent* event) {
    if (!viewModel_.isProcessing()) {
        event->accept();
        return;
    }
    event->ignore();
    const QMessageBox::StandardButton answer =
        QMessageBox::question(this, "Tidyreel",
                              tr2("Ein Arbeitsablauf läuft noch. Abbrechen und das Fenster schließen?",
                                  "A workflow is still running. Cancel it and close the window?"),
                              QMessageBox::Yes | QMessageBox::No, QMessageBox::No);
    if (answer != QMessageBox::Yes) {
        return;
    }
    viewModel_.cancelRun();
    auto* waiter = new QTimer(this);
    connect(waiter, &QTimer::timeout, this, [this, waiter] {
        if (!viewModel_.isProcessing()) {
            waiter->stop();
            close();
        }
    });
    waiter->start(50);
}

}  // namespace tidyreel::ui

#include "ui/processing_overlay_view.h"

#include "ui/ui_support.h"

#include <QEvent>
#include <QLabel>
#include <QPainter>
#include <QProgressBar>
#include <QPushButton>
#include <QVBoxLayout>

namespace tidyreel::ui {
namespace {

// The bar's finer scale: a long encode moves it in small steps, not only from one step to the next.
constexpr int kBarScale = 1000;

}  // namespace

ProcessingOverlayView::ProcessingOverlayView(std::function<void()> onCancel, QWidget* parent)
    : QWidget(parent) {
    setObjectName("processingOverlay");
    parent->installEventFilter(this);
    auto* outer = new QVBoxLayout(this);
    panel_ = new QWidget(this);
    panel_->setObjectName("overlayPanel");
    panel_->setAutoFillBackground(true);
    panel_->setFixedWidth(420);
    auto* layout = new QVBoxLayout(panel_);
    spinner_ = new QProgressBar(panel_);
    spinner_->setRange(0, 0);  // no range: the style animates it as a busy indicator
    spinner_->setTextVisible(false);
    spinner_->setMaximumHeight(8);
    // Short and centred, so that it reads as "busy" and is never taken for a second, full bar.
    spinner_->setFixedWidth(96);
    status_ = new QLabel(panel_);
    status_->setObjectName("processingStatus");
    status_->setWordWrap(true);
    status_->setAlignment(Qt::AlignCenter);
    item_ = new QLabel(panel_);
    item_->setObjectName("processingItem");
    item_->setAlignment(Qt::AlignCenter);
    bar_ = new QProgressBar(panel_);
    bar_->setObjectName("processingBar");
    bar_->setTextVisible(false);
    bar_->setRange(0, kBarScale);
    steps_ = new QLabel(panel_);
    steps_->setObjectName("processingSteps");
    steps_->setAlignment(Qt::AlignCenter);
    cancel_ = new QPushButton(panel_);
    cancel_->setObjectName("cancelRun");
    cancel_->setVisible(static_cast<bool>(onCancel));
    connect(cancel_, &QPushButton::clicked, this, std::move(onCancel));
    layout->addWidget(spinner_, 0, Qt::AlignCenter);
    layout->addWidget(status_);
    layout->addWidget(item_);
    layout->addWidget(bar_);
    layout->addWidget(steps_);
    layout->addWidget(cancel_, 0, Qt::AlignCenter);
    outer->addWidget(panel_, 0, Qt::AlignCenter);
    hide();
}

void ProcessingOverlayView::show(const std::string& status,
                                 const std::optional<ProcessingProgress>& progress) {
    status_->setText(qs(status));
    status_->setAccessibleName(status_->text());
    // Asked of the progress, not of the bar: a widget counts as hidden while the overlay is.
    const bool measured = progress && progress->total > 0;
    bar_->setVisible(measured);
    steps_->setVisible(measured);
    item_->setVisible(measured && !progress->itemName.empty());
    if (measured) {
        bar_->setValue(static_cast<int>(completedShare(*progress) * kBarScale));
        steps_->setText(QString::number(progress->current) + " von " + QString::number(progress->total));
        bar_->setAccessibleName(steps_->text());
        item_->setText(qs(progressCaption(*progress)));
        item_->setAccessibleName(item_->text());
    }
    cancel_->setText(tr2("Abbrechen", "Cancel"));
    cancel_->setAccessibleName(cancel_->text());
    setGeometry(parentWidget()->rect());
    raise();
    QWidget::show();
}

void ProcessingOverlayView::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.fillRect(rect(), QColor(0, 0, 0, 110));
}

// The overlay follows the window's size, so that it always covers all of it.
bool ProcessingOverlayView::eventFilter(QObject* watched, QEvent* event) {
    if (watched == parentWidget() && event->type() == QEvent::Resize) {
        setGeometry(parentWidget()->rect());
    }
    return QWidget::eventFilter(watched, event);
}

}  // namespace tidyreel::ui

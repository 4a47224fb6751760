#include "ui/processing_log_view.h"

#include "core/content_view_model.h"
#include "ui/ui_support.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QListWidget>
#include <QPushButton>
#include <QVBoxLayout>

namespace tidyreel::ui {

ProcessingLogView::ProcessingLogView(ContentViewModel& viewModel, QWidget* parent)
    : QWidget(parent), viewModel_(viewModel) {
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    lines_ = new QListWidget(this);
    lines_->setObjectName("logLines");
    lines_->setMinimumHeight(160);
    lines_->setFont(QFont("DejaVu Sans Mono", 9));
    layout->addWidget(lines_, 1);
    auto* buttons = new QHBoxLayout;
    copy_ = new QPushButton(this);
    copy_->setObjectName("copyLog");
    connect(copy_, &QPushButton::clicked, this,
            [this] { QGuiApplication::clipboard()->setText(qs(viewModel_.copyLogText())); });
    buttons->addStretch(1);
    buttons->addWidget(copy_);
    layout->addLayout(buttons);
}

void ProcessingLogView::refresh() {
    lines_->setAccessibleName(tr2("Verarbeitungslog", "Processing Log"));
    copy_->setText(tr2("In Zwischenablage", "Copy to Clipboard"));
    copy_->setAccessibleName(copy_->text());
    const std::vector<LogEntry>& entries = viewModel_.logEntries();
    if (entries.empty()) {
        lines_->clear();
        lines_->addItem(tr2("Keine Logeinträge", "No log entries"));
        return;
    }
    // The log only grows, so the lines already shown stay and only new ones are appended.
    if (lines_->count() > static_cast<int>(entries.size()) ||
        (lines_->count() == 1 && lines_->item(0)->text() != qs(copyLogLine(entries.front())))) {
        lines_->clear();
    }
    for (std::size_t index = static_cast<std::size_t>(lines_->count()); index < entries.size(); ++index) {
        lines_->addItem(qs(copyLogLine(entries[index])));
    }
    lines_->scrollToBottom();
}

}  // namespace tidyreel::ui

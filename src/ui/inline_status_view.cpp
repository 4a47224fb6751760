#include "ui/inline_status_view.h"

#include "ui/ui_support.h"

#include <QGridLayout>
#include <QLabel>
#include <QPushButton>

namespace tidyreel::ui {

InlineStatusView::InlineStatusView(std::function<void()> onOpenLog, QWidget* parent) : QWidget(parent) {
    auto* layout = new QGridLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    icon_ = new QLabel(this);
    text_ = new QLabel(this);
    text_->setObjectName("statusText");
    report_ = new QLabel(this);
    report_->setObjectName("reportLine");
    openLog_ = new QPushButton(this);
    openLog_->setObjectName("openLog");
    openLog_->setFlat(true);
    connect(openLog_, &QPushButton::clicked, this, std::move(onOpenLog));
    layout->addWidget(icon_, 0, 0);
    layout->addWidget(text_, 0, 1);
    layout->addWidget(openLog_, 0, 2);
    layout->addWidget(report_, 1, 1, 1, 2);
    layout->setColumnStretch(1, 1);
}

void InlineStatusView::show(const ActionStatus& status, const std::optional<ArchiveReport>& archiveReport) {
    icon_->setPixmap(symbolIcon(statusSymbol(status)).pixmap(16, 16));
    text_->setText(qs(statusText(status, Clock::now())));
    text_->setAccessibleName(text_->text());
    report_->setVisible(archiveReport.has_value());
    report_->setText(archiveReport ? qs(archiveReportLine(*archiveReport)) : QString());
    report_->setAccessibleName(report_->text());
    openLog_->setText(tr2("Log anzeigen", "Show log"));
    openLog_->setAccessibleName(openLog_->text());
}

}  // namespace tidyreel::ui

#pragma once

#include "archive/media/archive_report.h"
#include "base/log_entry.h"

#include <QWidget>

#include <functional>
#include <optional>

class QLabel;
class QPushButton;

namespace tidyreel::ui {

/// One workflow's last outcome under its start button, with the archive report when there is one and
/// a button that opens the processing log.
class InlineStatusView : public QWidget {
public:
    InlineStatusView(std::function<void()> onOpenLog, QWidget* parent = nullptr);

    /// Shows `status` (and the report line under it when `archiveReport` is given).
    void show(const ActionStatus& status, const std::optional<ArchiveReport>& archiveReport = std::nullopt);

private:
    QLabel* icon_;
    QLabel* text_;
    QLabel* report_;
    QPushButton* openLog_;
};

}  // namespace tidyreel::ui

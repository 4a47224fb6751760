#pragma once

#include "base/log_entry.h"

#include <QWidget>

#include <functional>
#include <optional>
#include <string>

class QLabel;
class QProgressBar;
class QPushButton;

namespace tidyreel::ui {

/// Covers the window while a run is busy: a spinner, the processing status, the file a long step works
/// on, the bar with "current von total", and a Cancel button.
class ProcessingOverlayView : public QWidget {
public:
    ProcessingOverlayView(std::function<void()> onCancel, QWidget* parent);

    /// Shows `status` and, when present, `progress`: the bar filled by the finished steps and the
    /// current step's fraction, and the file the step works on.
    void show(const std::string& status, const std::optional<ProcessingProgress>& progress);

protected:
    void paintEvent(QPaintEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    QWidget* panel_;
    QProgressBar* spinner_;
    QLabel* status_;
    QLabel* item_;
    QProgressBar* bar_;
    QLabel* steps_;
    QPushButton* cancel_;
};

}  // namespace tidyreel::ui

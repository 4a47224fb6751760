#pragma once

#include <QWidget>

class QListWidget;
class QPushButton;

namespace tidyreel {
class ContentViewModel;
}

namespace tidyreel::ui {

/// The processing log (time, symbol, message per line, or "Keine Logeinträge") with its "Copy to
/// Clipboard" button.
class ProcessingLogView : public QWidget {
public:
    explicit ProcessingLogView(ContentViewModel& viewModel, QWidget* parent = nullptr);

    /// Shows the controller's log, keeping the newest line in view.
    void refresh();

private:
    ContentViewModel& viewModel_;
    QListWidget* lines_;
    QPushButton* copy_;
};

}  // namespace tidyreel::ui

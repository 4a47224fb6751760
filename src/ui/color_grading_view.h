#pragma once

#include "ui/ui_support.h"

#include <functional>

class QLabel;
class QPushButton;

namespace tidyreel {
class ContentViewModel;
}

namespace tidyreel::ui {

class InlineStatusView;

/// The colour grading card: one row per video role (check box, name, clip count, effect drop
/// target), the start button and its status.
class ColorGradingView : public Card {
public:
    ColorGradingView(ContentViewModel& viewModel, std::function<void()> openLog, QWidget* parent = nullptr);

    /// Shows the controller's current roles, assignments and status.
    void refresh();

private:
    void rebuildRows();
    QWidget* makeRow(const std::string& role, int clipCount);

    ContentViewModel& viewModel_;
    QLabel* description_;
    QPushButton* info_;
    QWidget* rows_;
    QString shownRows_;  ///< the roles and assignments the rows were built for
    QPushButton* start_;
    InlineStatusView* status_;
};

}  // namespace tidyreel::ui

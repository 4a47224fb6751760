#pragma once

#include "ui/ui_support.h"

#include <functional>

class QCheckBox;
class QLabel;
class QPushButton;

namespace tidyreel {
class ContentViewModel;
}

namespace tidyreel::ui {

class InlineStatusView;

/// The video description card: the two switches, the start button and its status.
class YouTubeDescriptionView : public Card {
public:
    YouTubeDescriptionView(ContentViewModel& viewModel, std::function<void()> openLog,
                           QWidget* parent = nullptr);

    /// Shows the controller's switches and status.
    void refresh();

private:
    ContentViewModel& viewModel_;
    QLabel* description_;
    QPushButton* info_;
    QCheckBox* chapters_;
    QCheckBox* descriptions_;
    QPushButton* start_;
    InlineStatusView* status_;
};

}  // namespace tidyreel::ui

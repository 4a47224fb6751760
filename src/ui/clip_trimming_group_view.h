#pragma once

#include "ui/ui_support.h"

class QDoubleSpinBox;
class QLabel;
class QPushButton;

namespace tidyreel {
class ContentViewModel;
}

namespace tidyreel::ui {

/// The "Clips schneiden" card: the trim handles and the minimum segment, written to the settings on
/// every change.
class ClipTrimmingGroupView : public Card {
public:
    explicit ClipTrimmingGroupView(ContentViewModel& viewModel, QWidget* parent = nullptr);

    /// Shows the controller's values.
    void refresh();

private:
    QDoubleSpinBox* addField(int row, QLabel*& label);

    ContentViewModel& viewModel_;
    QPushButton* info_;
    QLabel* bufferLabel_ = nullptr;
    QDoubleSpinBox* buffer_;
    QLabel* minSegmentLabel_ = nullptr;
    QDoubleSpinBox* minSegment_;
};

}  // namespace tidyreel::ui

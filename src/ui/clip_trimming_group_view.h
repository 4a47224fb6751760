#pragma once

#include "ui/ui_support.h"

class QComboBox;
class QDoubleSpinBox;
class QLabel;
class QPushButton;

namespace tidyreel {
class ContentViewModel;
}

namespace tidyreel::ui {

/// The "Clips schneiden" card: the trim handles, the minimum segment and the encoding of trimmed clips,
/// written to the settings on every change.
class ClipTrimmingGroupView : public Card {
public:
    explicit ClipTrimmingGroupView(ContentViewModel& viewModel, QWidget* parent = nullptr);

    /// Shows the controller's values.
    void refresh();

private:
    QDoubleSpinBox* addField(int row, QLabel*& label);
    void refreshEncoder();

    ContentViewModel& viewModel_;
    QPushButton* info_;
    QLabel* bufferLabel_ = nullptr;
    QDoubleSpinBox* buffer_;
    QLabel* minSegmentLabel_ = nullptr;
    QDoubleSpinBox* minSegment_;
    QLabel* encoderLabel_ = nullptr;
    QComboBox* encoder_;
};

}  // namespace tidyreel::ui

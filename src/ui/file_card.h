#pragma once

#include "ui/ui_support.h"

class QLabel;
class QPushButton;
class QStackedWidget;

namespace tidyreel {
class ContentViewModel;
}

namespace tidyreel::ui {

class DropTarget;

/// The FCPXML card: without a file the drop zone and "Datei wählen..."; with one its name and a
/// clear button.
class FileCard : public Card {
public:
    explicit FileCard(ContentViewModel& viewModel, QWidget* parent = nullptr);

    /// Shows the controller's loaded file.
    void refresh();

private:
    ContentViewModel& viewModel_;
    QStackedWidget* pages_;
    DropTarget* dropZone_;
    QPushButton* choose_;
    QLabel* loadedIcon_;
    QLabel* fileName_;
    QPushButton* clear_;
};

}  // namespace tidyreel::ui

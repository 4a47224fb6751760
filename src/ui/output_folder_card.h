#pragma once

#include "ui/ui_support.h"

class QLabel;
class QPushButton;

namespace tidyreel {
class ContentViewModel;
}

namespace tidyreel::ui {

/// The output folder card: the folder's name or "Kein Ordner ausgewählt", and "Ordner wählen...".
class OutputFolderCard : public Card {
public:
    explicit OutputFolderCard(ContentViewModel& viewModel, QWidget* parent = nullptr);

    /// Shows the controller's output folder.
    void refresh();

private:
    ContentViewModel& viewModel_;
    QLabel* icon_;
    QLabel* folderName_;
    QPushButton* choose_;
};

}  // namespace tidyreel::ui

#pragma once

#include "ui/ui_support.h"

class QLabel;
class QPushButton;

namespace tidyreel {
class ContentViewModel;
}

namespace tidyreel::ui {

/// The "Auswahl Clips" card: which roles the archive run trims, with Select all and Select none.
class ArchivingRoleGroupView : public Card {
public:
    explicit ArchivingRoleGroupView(ContentViewModel& viewModel, QWidget* parent = nullptr);

    /// Shows the controller's roles and included roles.
    void refresh();

private:
    void rebuildRows();

    ContentViewModel& viewModel_;
    QLabel* description_;
    QPushButton* selectAll_;
    QPushButton* selectNone_;
    QWidget* rows_;
    QString shownRows_;  ///< the roles and selection the rows were built for
};

}  // namespace tidyreel::ui

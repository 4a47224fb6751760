#include "ui/archiving_role_group_view.h"

#include "core/content_view_model.h"

#include <QCheckBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

namespace tidyreel::ui {

ArchivingRoleGroupView::ArchivingRoleGroupView(ContentViewModel& viewModel, QWidget* parent)
    : Card("checkmark.square.stack", parent), viewModel_(viewModel) {
    setObjectName("archivingRoles");
    description_ = new QLabel(this);
    description_->setWordWrap(true);
    body()->addWidget(description_);
    auto* buttons = new QHBoxLayout;
    selectAll_ = new QPushButton(this);
    selectAll_->setObjectName("selectAll");
    selectNone_ = new QPushButton(this);
    selectNone_->setObjectName("selectNone");
    buttons->addWidget(selectAll_);
    buttons->addWidget(selectNone_);
    buttons->addStretch(1);
    body()->addLayout(buttons);
    connect(selectAll_, &QPushButton::clicked, this, [this] {
        std::set<std::string> all;
        for (const VideoRole& role : viewModel_.videoRoles()) {
            all.insert(role.name);
        }
        viewModel_.setIncludedRoles(std::move(all));
    });
    connect(selectNone_, &QPushButton::clicked, this, [this] { viewModel_.setIncludedRoles({}); });
    rows_ = new QWidget(this);
    new QVBoxLayout(rows_);
    rows_->layout()->setContentsMargins(0, 0, 0, 0);
    body()->addWidget(rows_);
}

void ArchivingRoleGroupView::refresh() {
    setTitle(tr2("Auswahl Clips", "Select Clips"));
    description_->setText(tr2("Es werden alle Clips der ausgewählten Rollen gekürzt.",
                              "All clips of the selected roles will be trimmed."));
    selectAll_->setText(tr2("Alle auswählen", "Select all"));
    selectNone_->setText(tr2("Keine auswählen", "Select none"));
    const bool hasRoles = !viewModel_.videoRoles().empty();
    selectAll_->setEnabled(hasRoles);
    selectNone_->setEnabled(hasRoles);
    rebuildRows();
}

// Rebuilding only when something shown changed keeps the keyboard focus where the user left it.
void ArchivingRoleGroupView::rebuildRows() {
    QString shown = tr2("de", "en");
    for (const VideoRole& role : viewModel_.videoRoles()) {
        shown += qs(role.name) + '\n' + QString::number(role.clipCount) + '\n' +
                 (viewModel_.includedRoles().contains(role.name) ? "1\n" : "0\n");
    }
    if (shown == shownRows_) {
        return;
    }
    shownRows_ = shown;
    clearRows(rows_);
    for (const VideoRole& role : viewModel_.videoRoles()) {
        auto* check =
            new QCheckBox(qs(role.name) + "  (" + QString::number(role.clipCount) + " Clips)", rows_);
        check->setObjectName(qs("include:" + role.name));
        check->setChecked(viewModel_.includedRoles().contains(role.name));
        check->setAccessibleName(check->text());
        connect(check, &QCheckBox::toggled, this, [this, name = role.name](bool on) {
            std::set<std::string> roles = viewModel_.includedRoles();
            on ? (void)roles.insert(name) : (void)roles.erase(name);
            viewModel_.setIncludedRoles(std::move(roles));
        });
        rows_->layout()->addWidget(check);
    }
    if (viewModel_.videoRoles().empty()) {
        rows_->layout()->addWidget(makeNoRolesPlaceholder(rows_));
    }
}

}  // namespace tidyreel::ui

#include "ui/color_grading_view.h"

#include "core/content_view_model.h"
#include "ui/drop_target.h"
#include "ui/info_popup.h"
#include "ui/inline_status_view.h"

#include <QCheckBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

namespace tidyreel::ui {

ColorGradingView::ColorGradingView(ContentViewModel& viewModel, std::function<void()> openLog,
                                   QWidget* parent)
    : Card("paintpalette", parent), viewModel_(viewModel) {
    setObjectName("colorGrading");
    info_ = makeInfoButton(header());
    info_->setObjectName("rolesInfo");
    header()->layout()->addWidget(info_);
    connect(info_, &QPushButton::clicked, this,
            [this] { (new InfoPopup(rolesInfoContent(), this))->open(); });
    description_ = new QLabel(this);
    description_->setWordWrap(true);
    body()->addWidget(description_);
    rows_ = new QWidget(this);
    new QVBoxLayout(rows_);
    rows_->layout()->setContentsMargins(0, 0, 0, 0);
    body()->addWidget(rows_);
    start_ = new QPushButton(this);
    start_->setObjectName("startColorGrading");
    makeProminent(start_);
    connect(start_, &QPushButton::clicked, this, [this] { viewModel_.startColorGrading(); });
    body()->addWidget(start_);
    status_ = new InlineStatusView(std::move(openLog), this);
    body()->addWidget(status_);
}

void ColorGradingView::refresh() {
    setTitle("Color-Grading");
    description_->setText(
        tr2("Wendet Effekte basierend auf FCP-Rollen an. Effekte per Drag & Drop pro Rolle zuordnen.",
            "Applies effects based on FCP roles. Assign effects per role via drag & drop."));
    retitleInfoButton(info_, title());
    rebuildRows();
    start_->setText(tr2("Color-Grading ausführen", "Execute Color Grading"));
    start_->setAccessibleName(start_->text());
    start_->setEnabled(viewModel_.selectedFileURL().has_value() && !viewModel_.isProcessing());
    status_->show(viewModel_.colorGradingStatus());
}

// Rebuilding only when something shown changed keeps the keyboard focus where the user left it.
void ColorGradingView::rebuildRows() {
    QString shown = tr2("de", "en");
    for (const VideoRole& role : viewModel_.videoRoles()) {
        const auto effect = viewModel_.roleEffectMappings().find(role.name);
        shown += qs(role.name) + '\n' + QString::number(role.clipCount) + '\n' +
                 (effect != viewModel_.roleEffectMappings().end() ? qs(effect->second.name) : QString()) +
                 '\n';
    }
    if (shown == shownRows_) {
        return;
    }
    shownRows_ = shown;
    clearRows(rows_);
    for (const VideoRole& role : viewModel_.videoRoles()) {
        rows_->layout()->addWidget(makeRow(role.name, role.clipCount));
    }
    if (viewModel_.videoRoles().empty()) {
        rows_->layout()->addWidget(makeNoRolesPlaceholder(rows_));
    }
}

QWidget* ColorGradingView::makeRow(const std::string& role, int clipCount) {
    const auto effect = viewModel_.roleEffectMappings().find(role);
    const bool assigned = effect != viewModel_.roleEffectMappings().end();
    auto* row = new QWidget(rows_);
    row->setObjectName(qs("role:" + role));
    auto* layout = new QHBoxLayout(row);
    layout->setContentsMargins(0, 0, 0, 0);
    // The check box says whether the role gets an effect; unticking it removes the assignment.
    auto* check = new QCheckBox(row);
    auto* name = new QLabel(qs(role), row);
    check->setChecked(assigned);
    check->setEnabled(assigned);
    check->setAccessibleName(tr2("Effekt für Rolle ", "Effect for role ") + qs(role));
    connect(check, &QCheckBox::toggled, this, [this, role](bool on) {
        if (!on) {
            viewModel_.removeEffect(role);
        }
    });
    auto* count = new QLabel(QString::number(clipCount) + " Clips", row);
    auto* target = new DropTarget(
        {".moef", ".effectspreset"},
        [this, role](const std::filesystem::path& file) { viewModel_.assignEffect(role, file); }, row);
    target->setObjectName("effectDrop");
    target->setMinimumWidth(220);
    target->setText(assigned ? "✦ " + qs(effect->second.name)
                             : tr2("Effekt hier ablegen", "Drop effect here"));
    target->setAccessibleName(qs(role) + ": " + target->text());
    layout->addWidget(check);
    layout->addWidget(name, 1);
    layout->addWidget(count);
    layout->addWidget(target);
    return row;
}

}  // namespace tidyreel::ui

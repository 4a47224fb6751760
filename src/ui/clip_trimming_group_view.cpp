#include "ui/clip_trimming_group_view.h"

#include "archive/media/encoder_profile.h"
#include "core/content_view_model.h"
#include "ui/info_popup.h"

#include <QAbstractItemView>
#include <QComboBox>
#include <QDoubleSpinBox>
#include <QGridLayout>
#include <QLabel>
#include <QPushButton>
#include <QSignalBlocker>

namespace tidyreel::ui {

ClipTrimmingGroupView::ClipTrimmingGroupView(ContentViewModel& viewModel, QWidget* parent)
    : Card("scissors", parent), viewModel_(viewModel) {
    setObjectName("clipTrimming");
    info_ = makeInfoButton(header());
    info_->setObjectName("clipTrimmingInfo");
    header()->layout()->addWidget(info_);
    connect(info_, &QPushButton::clicked, this,
            [this] { (new InfoPopup(clipTrimmingInfoContent(), this))->open(); });
    auto* grid = new QGridLayout;
    body()->addLayout(grid);
    buffer_ = addField(0, bufferLabel_);
    buffer_->setObjectName("buffer");
    minSegment_ = addField(1, minSegmentLabel_);
    minSegment_->setObjectName("minSegment");
    encoderLabel_ = new QLabel(this);
    encoder_ = new QComboBox(this);
    encoder_->setObjectName("encoder");
    encoder_->setSizeAdjustPolicy(QComboBox::AdjustToContents);
    encoderLabel_->setBuddy(encoder_);
    for (const EncoderProfile profile : kEncoderProfiles) {
        if (isEncoderProfileAvailable(profile)) {
            const std::string_view name = encoderProfileName(profile);
            encoder_->addItem(QString(), QString::fromUtf8(name.data(), static_cast<qsizetype>(name.size())));
        }
    }
    grid->addWidget(encoderLabel_, 2, 0);
    grid->addWidget(encoder_, 2, 1);
    connect(encoder_, &QComboBox::activated, this,
            [this](int index) { viewModel_.setEncoder(encoder_->itemData(index).toString().toStdString()); });
    connect(buffer_, &QDoubleSpinBox::valueChanged, this,
            [this](double value) { viewModel_.setBuffer(value); });
    connect(minSegment_, &QDoubleSpinBox::valueChanged, this,
            [this](double value) { viewModel_.setMinSegment(value); });
}

// The profiles this platform has, named for an editor, the remembered one chosen; the list is kept while
// it is open, as the window refreshes on every progress report.
void ClipTrimmingGroupView::refreshEncoder() {
    for (int index = 0; index < encoder_->count(); ++index) {
        const QString name = encoder_->itemData(index).toString();
        encoder_->setItemText(
            index, name == "copy" ? tr2("Original-Bilder (Stream-Copy)", "Original pictures (stream copy)")
                                  : QStringLiteral("HEVC (%1)").arg(name));
    }
    if (!encoder_->view()->isVisible()) {
        const QSignalBlocker quiet(encoder_);
        const std::string_view selected = encoderProfileName(selectedEncoderProfile(viewModel_.encoder()));
        encoder_->setCurrentIndex(
            encoder_->findData(QString::fromUtf8(selected.data(), static_cast<qsizetype>(selected.size()))));
    }
    encoderLabel_->setText(tr2("Geschnittene Clips:", "Trimmed clips:"));
    encoder_->setToolTip(
        tr2("Neu kodiert als HEVC, oder die Original-Bilder ohne Neukodierung: lange GOPs "
            "werden dabei bis zu den Keyframes erweitert.",
            "Re-encoded as HEVC, or the original pictures without re-encoding: long GOPs "
            "are then widened to their keyframes."));
    encoder_->setAccessibleName(encoderLabel_->text());
    encoder_->setAccessibleDescription(encoder_->toolTip());
}

QDoubleSpinBox* ClipTrimmingGroupView::addField(int row, QLabel*& label) {
    auto* grid = static_cast<QGridLayout*>(body()->itemAt(body()->count() - 1)->layout());
    label = new QLabel(this);
    auto* field = new QDoubleSpinBox(this);
    field->setRange(0.1, 3600.0);
    field->setDecimals(1);
    field->setSingleStep(1.0);
    label->setBuddy(field);
    grid->addWidget(label, row, 0);
    grid->addWidget(field, row, 1);
    grid->setColumnStretch(2, 1);
    return field;
}

void ClipTrimmingGroupView::refresh() {
    setTitle(tr2("Clips schneiden", "Trim Clips"));
    retitleInfoButton(info_, title());
    bufferLabel_->setText(tr2("Puffer (Sekunden):", "Trim handles (seconds):"));
    buffer_->setToolTip(tr2("Wie viele Sekunden vor/nach jedem Clip behalten werden.",
                            "How many seconds to keep before/after each clip."));
    buffer_->setAccessibleName(bufferLabel_->text());
    buffer_->setAccessibleDescription(buffer_->toolTip());
    minSegmentLabel_->setText(tr2("Min. Segment (Sekunden):", "Min. Segment (seconds):"));
    minSegment_->setToolTip(
        tr2("Minimale Länge eines beibehaltenen Segments.", "Minimum length of a retained segment."));
    minSegment_->setAccessibleName(minSegmentLabel_->text());
    minSegment_->setAccessibleDescription(minSegment_->toolTip());
    refreshEncoder();
    // Editing a field must not be interrupted by its own change coming back.
    if (!buffer_->hasFocus()) {
        const QSignalBlocker quiet(buffer_);
        buffer_->setValue(viewModel_.buffer());
    }
    if (!minSegment_->hasFocus()) {
        const QSignalBlocker quiet(minSegment_);
        minSegment_->setValue(viewModel_.minSegment());
    }
}

}  // namespace tidyreel::ui

#include "ui/info_popup.h"

#include "ui/ui_support.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QScrollArea>
#include <QVBoxLayout>

#include <algorithm>

namespace tidyreel::ui {
namespace {

QLabel* wrappedLabel(const QString& text, QWidget* parent) {
    auto* label = new QLabel(text, parent);
    label->setWordWrap(true);
    label->setTextInteractionFlags(Qt::TextSelectableByMouse);
    return label;
}

QString lineText(const PopupSection& section, std::size_t index) {
    switch (section.style) {
        case PopupSection::Style::bullets:
            return "•  " + section.lines[index];
        case PopupSection::Style::numbered:
            return QString::number(index + 1) + ".  " + section.lines[index];
        case PopupSection::Style::paragraph:
        case PopupSection::Style::sample:
            break;
    }
    return section.lines[index];
}

void addSection(const PopupSection& section, QVBoxLayout* layout, QWidget* parent) {
    auto* heading = new QLabel(section.heading, parent);
    QFont bold = heading->font();
    bold.setBold(true);
    heading->setFont(bold);
    layout->addSpacing(6);
    layout->addWidget(heading);
    for (std::size_t index = 0; index < section.lines.size(); ++index) {
        QLabel* line = wrappedLabel(lineText(section, index), parent);
        if (section.style == PopupSection::Style::sample) {
            line->setFrameShape(QFrame::StyledPanel);
            line->setStyleSheet("font-family: monospace; padding: 6px;");
        }
        layout->addWidget(line);
    }
}

}  // namespace

InfoPopup::InfoPopup(const PopupContent& content, QWidget* parent) : QDialog(parent) {
    setWindowTitle(content.title);
    setAccessibleName(content.title);
    setAttribute(Qt::WA_DeleteOnClose);
    auto* outer = new QVBoxLayout(this);

    auto* top = new QHBoxLayout;
    auto* title = new QLabel(content.title, this);
    QFont large = title->font();
    large.setBold(true);
    large.setPointSizeF(large.pointSizeF() * 1.3);
    title->setFont(large);
    auto* close = new QPushButton(symbolIcon("xmark.circle.fill"), QString(), this);
    close->setObjectName("closePopup");
    close->setFlat(true);
    close->setAccessibleName(tr2("Schließen", "Close"));
    close->setToolTip(close->accessibleName());
    close->setDefault(true);
    connect(close, &QPushButton::clicked, this, &QDialog::accept);
    top->addWidget(title, 1);
    top->addWidget(close);
    outer->addLayout(top);

    auto* scroll = new QScrollArea(this);
    scroll->setWidgetResizable(true);
    scroll->setFrameShape(QFrame::NoFrame);
    auto* page = new QWidget(scroll);
    auto* layout = new QVBoxLayout(page);
    layout->addWidget(wrappedLabel(content.lead, page));
    for (const PopupSection& section : content.sections) {
        addSection(section, layout, page);
    }
    if (!content.note.isEmpty()) {
        layout->addSpacing(6);
        QLabel* note = wrappedLabel(content.note, page);
        note->setStyleSheet("color: palette(mid); font-style: italic;");
        layout->addWidget(note);
    }
    layout->addStretch(1);
    scroll->setWidget(page);
    outer->addWidget(scroll, 1);
    fitHeightToText(top, layout);
}

// A short text gets a short pop-up, without an empty area below it; a long one scrolls inside the
// tallest.
void InfoPopup::fitHeightToText(QLayout* titleRow, QLayout* text) {
    constexpr int width = 520;
    constexpr int tallest = 560;
    const QMargins margins = layout()->contentsMargins();
    const int textWidth = width - margins.left() - margins.right();
    const int wanted = margins.top() + titleRow->sizeHint().height() + layout()->spacing() +
                       text->totalHeightForWidth(textWidth) + margins.bottom();
    resize(width, std::min(wanted, tallest));
}

}  // namespace tidyreel::ui

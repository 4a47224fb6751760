#include "ui/ui_support.h"

#include "base/language.h"

#include <QApplication>
#include <QHBoxLayout>
#include <QLabel>
#include <QLayout>
#include <QPushButton>
#include <QStyle>
#include <QVBoxLayout>

#include <map>

namespace tidyreel::ui {

void clearRows(QWidget* rows) {
    while (QLayoutItem* item = rows->layout()->takeAt(0)) {
        delete item->widget();
        delete item;
    }
}

QString tr2(std::string_view german, std::string_view english) {
    return qs(localized(german, english));
}

// The window names its symbols as the design does; the style's own icons stand in for them.
QIcon symbolIcon(std::string_view symbolName) {
    static const std::map<std::string_view, QStyle::StandardPixmap> icons = {
        {"gear", QStyle::SP_FileDialogDetailedView},
        {"doc.text", QStyle::SP_FileIcon},
        {"arrow.down.doc", QStyle::SP_ArrowDown},
        {"checkmark.circle.fill", QStyle::SP_DialogApplyButton},
        {"xmark.circle.fill", QStyle::SP_DialogCloseButton},
        {"folder", QStyle::SP_DirIcon},
        {"folder.fill", QStyle::SP_DirOpenIcon},
        {"folder.badge.plus", QStyle::SP_FileDialogNewFolder},
        {"info.circle", QStyle::SP_MessageBoxInformation},
        {"info.circle.fill", QStyle::SP_MessageBoxInformation},
        {"minus.circle", QStyle::SP_DialogNoButton},
        {"exclamationmark.triangle.fill", QStyle::SP_MessageBoxWarning},
        {"trash", QStyle::SP_TrashIcon},
        {"film.stack", QStyle::SP_MediaPlay},
        {"scissors", QStyle::SP_MediaSeekForward},
        {"archivebox", QStyle::SP_DriveHDIcon},
        {"paintpalette", QStyle::SP_DesktopIcon},
        {"text.bubble", QStyle::SP_FileDialogInfoView},
        {"wand.and.stars", QStyle::SP_CommandLink},
        {"pencil", QStyle::SP_FileDialogContentsView},
        {"list.bullet.rectangle", QStyle::SP_FileDialogListView},
        {"doc.badge.gearshape", QStyle::SP_DialogSaveButton},
        {"checkmark.square.stack", QStyle::SP_DialogYesButton},
        {"pencil.and.list.clipboard", QStyle::SP_FileDialogContentsView},
        {"text.alignleft", QStyle::SP_FileDialogListView},
    };
    const auto found = icons.find(symbolName);
    return QApplication::style()->standardIcon(found != icons.end() ? found->second : QStyle::SP_FileIcon);
}

Card::Card(std::string_view symbolName, QWidget* parent) : QFrame(parent) {
    setFrameShape(QFrame::StyledPanel);
    setObjectName("card");
    auto* layout = new QVBoxLayout(this);
    header_ = new QWidget(this);
    auto* headerLayout = new QHBoxLayout(header_);
    headerLayout->setContentsMargins(0, 0, 0, 0);
    auto* icon = new QLabel(header_);
    icon->setPixmap(symbolIcon(symbolName).pixmap(18, 18));
    title_ = new QLabel(header_);
    QFont bold = title_->font();
    bold.setBold(true);
    title_->setFont(bold);
    headerLayout->addWidget(icon);
    headerLayout->addWidget(title_, 1);
    layout->addWidget(header_);
    body_ = new QVBoxLayout;
    layout->addLayout(body_);
}

void Card::setTitle(const QString& title) {
    title_->setText(title);
    setAccessibleName(title);
}

QWidget* makeNoRolesPlaceholder(QWidget* parent) {
    auto* placeholder = new QWidget(parent);
    auto* layout = new QHBoxLayout(placeholder);
    auto* icon = new QLabel(placeholder);
    icon->setPixmap(symbolIcon("film.stack").pixmap(20, 20));
    auto* text =
        new QLabel(tr2("Keine Rollen gefunden. Bitte FCPXML laden.", "No roles found. Please load FCPXML."),
                   placeholder);
    text->setObjectName("noRoles");
    text->setEnabled(false);
    layout->addStretch(1);
    layout->addWidget(icon);
    layout->addWidget(text);
    layout->addStretch(1);
    return placeholder;
}

QString Card::title() const {
    return title_->text();
}

void makeProminent(QPushButton* button) {
    QFont bold = button->font();
    bold.setBold(true);
    button->setFont(bold);
    button->setMinimumHeight(32);
    button->setStyleSheet(
        "QPushButton { background: #2f6fd6; color: white; border-radius: 5px; padding: 4px 14px; }"
        "QPushButton:disabled { background: #9bb4dc; color: #eef2f8; }"
        "QPushButton:focus { border: 2px solid #0b3a8a; }");
}

QPushButton* makeInfoButton(QWidget* parent) {
    auto* button = new QPushButton(symbolIcon("info.circle"), QString(), parent);
    button->setFlat(true);
    button->setFixedSize(26, 26);
    return button;
}

void retitleInfoButton(QPushButton* button, const QString& about) {
    const QString help = tr2("Mehr Informationen anzeigen", "Show more information");
    button->setToolTip(help);
    button->setAccessibleName(help + ": " + about);
}

}  // namespace tidyreel::ui

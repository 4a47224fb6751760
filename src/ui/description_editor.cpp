#include "ui/description_editor.h"

#include "ui/ui_support.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QVBoxLayout>

namespace tidyreel::ui {

DescriptionEditor::DescriptionEditor(std::function<std::string()> stored,
                                     std::function<void(const std::string&)> save, QWidget* parent)
    : QWidget(parent), stored_(std::move(stored)), save_(std::move(save)) {
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    title_ = new QLabel(this);
    QFont bold = title_->font();
    bold.setBold(true);
    title_->setFont(bold);
    layout->addWidget(title_);
    auto* collapsed = new QWidget(this);
    collapsed_ = collapsed;
    auto* collapsedLayout = new QHBoxLayout(collapsed);
    collapsedLayout->setContentsMargins(0, 0, 0, 0);
    auto* icon = new QLabel(collapsed);
    icon->setPixmap(symbolIcon("text.alignleft").pixmap(16, 16));
    shown_ = new QLabel(collapsed);
    shown_->setWordWrap(true);
    shown_->setObjectName("storedDescription");
    edit_ = new QPushButton(symbolIcon("pencil"), QString(), collapsed);
    edit_->setObjectName("editDescription");
    collapsedLayout->addWidget(icon, 0, Qt::AlignTop);
    collapsedLayout->addWidget(shown_, 1);
    collapsedLayout->addWidget(edit_, 0, Qt::AlignTop);
    layout->addWidget(collapsed);

    auto* expanded = new QWidget(this);
    expanded_ = expanded;
    auto* expandedLayout = new QVBoxLayout(expanded);
    expandedLayout->setContentsMargins(0, 0, 0, 0);
    editor_ = new QPlainTextEdit(expanded);
    editor_->setObjectName("descriptionText");
    editor_->setTabChangesFocus(true);
    editor_->setMinimumHeight(90);
    auto* buttons = new QHBoxLayout;
    cancel_ = new QPushButton(expanded);
    cancel_->setObjectName("cancelDescription");
    saveButton_ = new QPushButton(expanded);
    saveButton_->setObjectName("saveDescription");
    buttons->addStretch(1);
    buttons->addWidget(cancel_);
    buttons->addWidget(saveButton_);
    expandedLayout->addWidget(editor_);
    expandedLayout->addLayout(buttons);
    layout->addWidget(expanded);
    expanded->hide();

    connect(edit_, &QPushButton::clicked, this, [this] {
        editor_->setPlainText(qs(stored_()));
        setExpanded(true);
    });
    connect(cancel_, &QPushButton::clicked, this, [this] { setExpanded(false); });
    connect(saveButton_, &QPushButton::clicked, this, [this] {
        save_(editor_->toPlainText().toStdString());
        setExpanded(false);
    });
}

void DescriptionEditor::refresh(const QString& title, const QString& placeholder) {
    title_->setText(title);
    editor_->setPlaceholderText(placeholder);
    editor_->setAccessibleName(title);
    const std::string text = stored_();
    shown_->setText(text.empty() ? tr2("Keine Beschreibung gesetzt", "No description set") : qs(text));
    shown_->setAccessibleName(title + ": " + shown_->text());
    edit_->setText(tr2("Bearbeiten", "Edit"));
    edit_->setAccessibleName(edit_->text() + ": " + title);
    cancel_->setText(tr2("Abbrechen", "Cancel"));
    saveButton_->setText(tr2("Speichern", "Save"));
    saveButton_->setAccessibleName(saveButton_->text() + ": " + title);
}

void DescriptionEditor::setExpanded(bool expanded) {
    collapsed_->setVisible(!expanded);
    expanded_->setVisible(expanded);
    (expanded ? static_cast<QWidget*>(editor_) : edit_)->setFocus();
}

}  // namespace tidyreel::ui

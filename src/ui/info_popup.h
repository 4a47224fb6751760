#pragma once

#include <QDialog>
#include <QString>

#include <vector>

class QLayout;

namespace tidyreel::ui {

/// One headed block of an information pop-up.
struct PopupSection {
    /// How the block's lines are set.
    enum class Style { bullets, numbered, paragraph, sample };

    QString heading;
    std::vector<QString> lines;
    Style style = Style::bullets;
};

/// Everything an information pop-up says, in the current language.
struct PopupContent {
    QString title;
    QString lead;
    std::vector<PopupSection> sections;
    QString note;  ///< empty: no note
};

/// The "info.circle" pop-ups: a title, a lead, headed sections and a note, closed with its
/// "xmark.circle.fill" button or Escape.
class InfoPopup : public QDialog {
public:
    InfoPopup(const PopupContent& content, QWidget* parent);

private:
    void fitHeightToText(QLayout* titleRow, QLayout* text);
};

/// The four pop-ups' texts.
PopupContent rolesInfoContent();
PopupContent videoDescriptionInfoContent();
PopupContent clipTrimmingInfoContent();
PopupContent limitationsContent();

}  // namespace tidyreel::ui

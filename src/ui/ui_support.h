#pragma once

#include <QFrame>
#include <QIcon>
#include <QString>

#include <string>
#include <string_view>

class QLabel;
class QPushButton;
class QVBoxLayout;

namespace tidyreel::ui {

/// A UTF-8 text as a QString.
inline QString qs(std::string_view text) {
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

/// The localized text of the language rule as a QString.
QString tr2(std::string_view german, std::string_view english);

/// Removes and deletes every row widget of `rows`' layout, so the rows can be built anew.
void clearRows(QWidget* rows);

/// The icon that stands for one of the window's symbol names ("gear", "folder", "info.circle", …).
QIcon symbolIcon(std::string_view symbolName);

/// A section's frame: a header with symbol and title above the section's own rows.
class Card : public QFrame {
public:
    explicit Card(std::string_view symbolName, QWidget* parent = nullptr);

    /// Sets the header's title (and the card's accessible name).
    void setTitle(const QString& title);
    /// The header's title.
    QString title() const;
    /// Where the section's rows go.
    QVBoxLayout* body() const { return body_; }
    /// The header row, for extra buttons on its right.
    QWidget* header() const { return header_; }

private:
    QWidget* header_;
    QLabel* title_;
    QVBoxLayout* body_;
};

/// The "film.stack" placeholder shown instead of role rows while no roles are known.
QWidget* makeNoRolesPlaceholder(QWidget* parent);

/// Makes `button` a main action button (bold, filled).
void makeProminent(QPushButton* button);

/// A small round "info.circle" button with the help text "Mehr Informationen anzeigen".
QPushButton* makeInfoButton(QWidget* parent);
/// Refreshes an info button's help text and accessible name in the current language.
void retitleInfoButton(QPushButton* button, const QString& about);

}  // namespace tidyreel::ui

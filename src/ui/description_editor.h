#pragma once

#include <QWidget>

#include <functional>
#include <string>

class QLabel;
class QPlainTextEdit;
class QPushButton;

namespace tidyreel::ui {

/// One expandable description editor of the settings sheet: collapsed it shows the stored text (or
/// "Keine Beschreibung gesetzt") and "Bearbeiten"; expanded an editor with "Abbrechen" and "Speichern".
class DescriptionEditor : public QWidget {
public:
    /// `stored` reads the controller's text, `save` stores an edited one.
    DescriptionEditor(std::function<std::string()> stored, std::function<void(const std::string&)> save,
                      QWidget* parent = nullptr);

    /// Sets the title and placeholder in the current language and shows the stored text.
    void refresh(const QString& title, const QString& placeholder);

private:
    void setExpanded(bool expanded);

    std::function<std::string()> stored_;
    std::function<void(const std::string&)> save_;
    QLabel* title_;
    QWidget* collapsed_;
    QWidget* expanded_;  ///< shown while editing (the own state `isExpanded`)
    QLabel* shown_;
    QPushButton* edit_;
    QPlainTextEdit* editor_;  ///< holds the own state `tempDescription`
    QPushButton* cancel_;
    QPushButton* saveButton_;
};

}  // namespace tidyreel::ui

#pragma once

#include <QDialog>

class QLabel;
class QPushButton;

namespace tidyreel {
class ContentViewModel;
}

namespace tidyreel::ui {

class Card;
class DescriptionEditor;
class ProcessingLogView;

/// The settings sheet: description texts, remembered effect assignments, the two installers, the
/// processing log, the FFmpeg licence notice and "Fenster schließen".
class SettingsView : public QDialog {
public:
    explicit SettingsView(ContentViewModel& viewModel, QWidget* parent = nullptr);

    /// Shows the controller's current state in the current language.
    void refresh();

private:
    QWidget* makeDescriptionSection();
    QWidget* makeMappingsSection();
    QWidget* makeInstallSection();
    QWidget* makeLogSection();
    QWidget* makeLicenseSection();
    void runInstaller(bool titles);

    ContentViewModel& viewModel_;
    Card* descriptions_;
    DescriptionEditor* description1_;
    DescriptionEditor* description2_;
    Card* mappings_;
    QLabel* mappingsText_;
    QLabel* mappingsHeading_;
    QLabel* mappingsList_;
    QPushButton* deleteMappings_;
    Card* install_;
    QLabel* titlesText_;
    QLabel* titlesState_;
    QPushButton* installTitles_;
    QLabel* effectText_;
    QLabel* effectState_;
    QPushButton* installEffect_;
    Card* log_;
    ProcessingLogView* logView_;
    Card* license_;
    QLabel* licenseText_;
    QLabel* sourceText_;
    QPushButton* close_;
};

}  // namespace tidyreel::ui

#include "ui/file_panels.h"

#include "ui/ui_support.h"

#include <QFileDialog>
#include <QFileInfo>
#include <QGridLayout>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>

namespace tidyreel::ui {
namespace {

// A project bundle is a folder here; picking it must load it, not step into it.
class ProjectFilePanel : public QFileDialog {
public:
    explicit ProjectFilePanel(QWidget* parent) : QFileDialog(parent) {
        setOption(QFileDialog::DontUseNativeDialog);
        setFileMode(QFileDialog::ExistingFile);
        setNameFilter("FCPXML (*.fcpxml *.fcpxmld)");
        setWindowTitle(tr2("Wähle eine FCPXML-Datei", "Choose an FCPXML file"));
    }

    void accept() override {
        const QStringList chosen = selectedFiles();
        if (chosen.size() == 1 && chosen.first().endsWith(".fcpxmld", Qt::CaseInsensitive) &&
            QFileInfo(chosen.first()).isDir()) {
            QDialog::accept();
            return;
        }
        QFileDialog::accept();
    }
};

std::optional<std::filesystem::path> firstChoice(QFileDialog& panel) {
    if (panel.exec() != QDialog::Accepted || panel.selectedFiles().isEmpty()) {
        return std::nullopt;
    }
    return std::filesystem::path(panel.selectedFiles().first().toStdString());
}

void prepareFolderPanel(QFileDialog& panel) {
    panel.setOption(QFileDialog::DontUseNativeDialog);
    panel.setFileMode(QFileDialog::Directory);
    panel.setOption(QFileDialog::ShowDirsOnly);
}

bool askToRetry(const TemplateFolderRule& rule, const std::filesystem::path& chosen, QWidget* parent) {
    QMessageBox alert(QMessageBox::Warning, "Tidyreel", "Falscher Ordner ausgewählt", QMessageBox::NoButton,
                      parent);
    alert.setInformativeText(qs(rule.wrongFolderInformation(chosen.filename().string())));
    QPushButton* retry = alert.addButton("Erneut versuchen", QMessageBox::AcceptRole);
    alert.addButton("Abbrechen", QMessageBox::RejectRole);
    alert.setDefaultButton(retry);
    alert.exec();
    return alert.clickedButton() == retry;
}

}  // namespace

std::optional<std::filesystem::path> chooseProjectFile(QWidget* parent) {
    ProjectFilePanel panel(parent);
    return firstChoice(panel);
}

std::optional<std::filesystem::path> chooseOutputFolder(QWidget* parent) {
    QFileDialog panel(parent, tr2("Wähle einen Zielordner", "Choose output folder"));
    prepareFolderPanel(panel);
    return firstChoice(panel);
}

std::optional<std::filesystem::path> chooseTemplateFolder(const TemplateFolderRule& rule, QWidget* parent) {
    while (true) {
        QFileDialog panel(parent, qs(rule.panelTitle));
        prepareFolderPanel(panel);
        panel.setOption(QFileDialog::ReadOnly);  // no new folders: the folder must be Motion's own
        if (rule.panelTitle.empty()) {
            panel.setLabelText(QFileDialog::Accept, "Auswählen");
        }
        if (const std::optional<std::filesystem::path> start = rule.startFolder()) {
            panel.setDirectory(qs(start->string()));
        }
        auto* message = new QLabel(qs(rule.panelMessage), &panel);
        message->setWordWrap(true);
        message->setObjectName("panelMessage");
        if (auto* grid = qobject_cast<QGridLayout*>(panel.layout())) {
            grid->addWidget(message, grid->rowCount(), 0, 1, grid->columnCount());
        }
        const std::optional<std::filesystem::path> chosen = firstChoice(panel);
        if (!chosen) {
            return std::nullopt;
        }
        if (rule.accepts(*chosen)) {
            return chosen;
        }
        if (!askToRetry(rule, *chosen, parent)) {
            return std::nullopt;
        }
    }
}

}  // namespace tidyreel::ui

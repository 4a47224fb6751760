#include "ui/settings_view.h"

#include "core/content_view_model.h"
#include "description/template_installer.h"
#include "grading/default_effect_installer.h"
#include "ui/description_editor.h"
#include "ui/file_panels.h"
#include "ui/processing_log_view.h"
#include "ui/ui_support.h"

#include <QGridLayout>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>
#include <QScrollArea>
#include <QVBoxLayout>

namespace tidyreel::ui {
namespace {

QLabel* wrapped(QWidget* parent) {
    auto* label = new QLabel(parent);
    label->setWordWrap(true);
    return label;
}

QLabel* linkLabel(const QString& url, QWidget* parent) {
    auto* label = new QLabel(QString("<a href=\"%1\">%1</a>").arg(url), parent);
    label->setOpenExternalLinks(true);
    label->setTextInteractionFlags(Qt::TextBrowserInteraction);
    label->setAccessibleName(url);
    return label;
}

}  // namespace

SettingsView::SettingsView(ContentViewModel& viewModel, QWidget* parent)
    : QDialog(parent), viewModel_(viewModel) {
    setObjectName("settings");
    resize(640, 760);
    auto* outer = new QVBoxLayout(this);
    auto* scroll = new QScrollArea(this);
    scroll->setWidgetResizable(true);
    scroll->setFrameShape(QFrame::NoFrame);
    auto* page = new QWidget(scroll);
    auto* layout = new QVBoxLayout(page);
    layout->addWidget(makeDescriptionSection());
    layout->addWidget(makeMappingsSection());
    layout->addWidget(makeInstallSection());
    layout->addWidget(makeLogSection());
    layout->addWidget(makeLicenseSection());
    layout->addStretch(1);
    scroll->setWidget(page);
    outer->addWidget(scroll, 1);
    close_ = new QPushButton(this);
    close_->setObjectName("closeSettings");
    close_->setDefault(true);
    connect(close_, &QPushButton::clicked, this, &QDialog::accept);
    auto* buttons = new QHBoxLayout;
    buttons->addStretch(1);
    buttons->addWidget(close_);
    outer->addLayout(buttons);
    refresh();
}

QWidget* SettingsView::makeDescriptionSection() {
    descriptions_ = new Card("text.bubble", this);
    description1_ = new DescriptionEditor([this] { return viewModel_.youtubeDescription1(); },
                                          [this](const std::string& text) {
                                              viewModel_.setYoutubeDescription1(text);
                                              viewModel_.saveVideoDescriptions();
                                          },
                                          descriptions_);
    description1_->setObjectName("description1");
    description2_ = new DescriptionEditor([this] { return viewModel_.youtubeDescription2(); },
                                          [this](const std::string& text) {
                                              viewModel_.setYoutubeDescription2(text);
                                              viewModel_.saveVideoDescriptions();
                                          },
                                          descriptions_);
    description2_->setObjectName("description2");
    descriptions_->body()->addWidget(description1_);
    descriptions_->body()->addWidget(description2_);
    return descriptions_;
}

QWidget* SettingsView::makeMappingsSection() {
    mappings_ = new Card("wand.and.stars", this);
    mappingsText_ = wrapped(mappings_);
    mappingsHeading_ = new QLabel(mappings_);
    mappingsList_ = wrapped(mappings_);
    mappingsList_->setObjectName("rememberedMappings");
    deleteMappings_ = new QPushButton(symbolIcon("trash"), QString(), mappings_);
    deleteMappings_->setObjectName("deleteMappings");
    connect(deleteMappings_, &QPushButton::clicked, this, [this] { viewModel_.deleteAllEffectMappings(); });
    mappings_->body()->addWidget(mappingsText_);
    mappings_->body()->addWidget(mappingsHeading_);
    mappings_->body()->addWidget(mappingsList_);
    mappings_->body()->addWidget(deleteMappings_, 0, Qt::AlignLeft);
    return mappings_;
}

QWidget* SettingsView::makeInstallSection() {
    install_ = new Card("doc.badge.gearshape", this);
    auto* grid = new QGridLayout;
    titlesText_ = wrapped(install_);
    titlesState_ = new QLabel(install_);
    titlesState_->setObjectName("titlesState");
    installTitles_ = new QPushButton(install_);
    installTitles_->setObjectName("installTitles");
    effectText_ = wrapped(install_);
    effectState_ = new QLabel(install_);
    effectState_->setObjectName("effectState");
    installEffect_ = new QPushButton(install_);
    installEffect_->setObjectName("installEffect");
    grid->addWidget(titlesText_, 0, 0);
    grid->addWidget(titlesState_, 0, 1);
    grid->addWidget(installTitles_, 0, 2);
    grid->addWidget(effectText_, 1, 0);
    grid->addWidget(effectState_, 1, 1);
    grid->addWidget(installEffect_, 1, 2);
    grid->setColumnStretch(0, 1);
    install_->body()->addLayout(grid);
    connect(installTitles_, &QPushButton::clicked, this, [this] { runInstaller(true); });
    connect(installEffect_, &QPushButton::clicked, this, [this] { runInstaller(false); });
    return install_;
}

QWidget* SettingsView::makeLogSection() {
    log_ = new Card("list.bullet.rectangle", this);
    logView_ = new ProcessingLogView(viewModel_, log_);
    log_->body()->addWidget(logView_);
    return log_;
}

QWidget* SettingsView::makeLicenseSection() {
    license_ = new Card("info.circle.fill", this);
    licenseText_ = wrapped(license_);
    sourceText_ = wrapped(license_);
    license_->body()->addWidget(licenseText_);
    license_->body()->addWidget(linkLabel("https://www.gnu.org/licenses/lgpl-3.0.html", license_));
    license_->body()->addWidget(linkLabel("https://ffmpeg.org", license_));
    license_->body()->addWidget(sourceText_);
    // Linux builds run the distribution's ffmpeg, whose source the distribution publishes.
    license_->body()->addWidget(linkLabel("https://sources.debian.org/src/ffmpeg/", license_));
    return license_;
}

void SettingsView::runInstaller(bool titles) {
    const FolderChooser chooser = [this, titles] {
        return chooseTemplateFolder(
            titles ? TemplateInstaller::folderRule() : DefaultEffectInstaller::folderRule(), this);
    };
    const std::optional<std::string> failure =
        titles ? viewModel_.installTitles(chooser) : viewModel_.installDefaultEffect(chooser);
    auto* alert = new QMessageBox(this);
    alert->setAttribute(Qt::WA_DeleteOnClose);
    alert->setObjectName("installResult");
    alert->setIcon(failure ? QMessageBox::Warning : QMessageBox::Information);
    alert->setText(failure ? tr2("Installation fehlgeschlagen", "Installation failed")
                           : tr2("Installation erfolgreich", "Installation Successful"));
    alert->setInformativeText(failure ? qs(*failure)
                                      : qs(titles ? TemplateInstaller::successMessage()
                                                  : DefaultEffectInstaller::successMessage()));
    alert->open();
    refresh();
}

void SettingsView::refresh() {
    setWindowTitle(tr2("Einstellungen", "Settings"));
    descriptions_->setTitle(tr2("Videobeschreibungen", "Video Descriptions"));
    description1_->refresh(
        tr2("Videobeschreibung 1", "Video Description 1"),
        tr2("Erster Beschreibungstext (inkl. Emojis 🎬✨)", "First description text (incl. emojis 🎬✨)"));
    description2_->refresh(
        tr2("Videobeschreibung 2", "Video Description 2"),
        tr2("Zweiter Beschreibungstext (inkl. Emojis 🌍📍)", "Second description text (incl. emojis 🌍📍)"));

    mappings_->setTitle(tr2("Farbkorrektur Rollen", "Color Grading Roles"));
    mappingsText_->setText(tr2(
        "Hier kannst du alle gespeicherten Effekt-Zuordnungen zu Rollen löschen. Diese werden normalerweise "
        "automatisch wiederverwendet, wenn du dieselben Rollen in einem neuen Projekt hast.",
        "Here you can delete all saved effect assignments to roles. These are normally automatically reused "
        "when "
        "you have the same roles in a new project."));
    mappingsHeading_->setText(tr2("Aktuell gespeicherte Zuordnungen:", "Currently saved assignments:"));
    QStringList remembered;
    for (const auto& [role, effect] : viewModel_.persistentEffectMappings()) {
        remembered << qs(role) + "  →  " + qs(effect.name);
    }
    mappingsHeading_->setVisible(!remembered.isEmpty());
    mappingsList_->setText(remembered.isEmpty()
                               ? tr2("Keine Effektzuordnungen gespeichert", "No effect assignments saved")
                               : remembered.join('\n'));
    mappingsList_->setAccessibleName(mappingsList_->text());
    deleteMappings_->setText(tr2("Alle Effektzuordnungen löschen", "Delete all effect assignments"));
    deleteMappings_->setEnabled(!remembered.isEmpty());

    install_->setTitle(tr2("Titel und Effekte installieren", "Install Titles and Effects"));
    titlesText_->setText(tr2("Installiert QUILLT1 und QUILLT2 Motion-Titel für YouTube-Beschreibungen.",
                             "Installs QUILLT1 and QUILLT2 Motion titles for YouTube descriptions."));
    titlesState_->setText(viewModel_.quilltTemplatesInstalled() ? "✅ Installed"
                                                                : tr2("Nicht installiert", "Not installed"));
    installTitles_->setText(tr2("QUILLT Titel installieren", "Install QUILLT Titles"));
    effectText_->setText(tr2("Installiert den Standard-Effekt für kostenlose Color-Grading Features.",
                             "Installs the default effect for free color grading features."));
    effectState_->setText(viewModel_.defaultEffectInstalled() ? "✅ Installed"
                                                              : tr2("Nicht installiert", "Not installed"));
    installEffect_->setText(tr2("Standard-Effekt installieren", "Install Default Effect"));

    log_->setTitle(tr2("Verarbeitungslog", "Processing Log"));
    logView_->refresh();

    license_->setTitle(tr2("Lizenzrechtliche Nutzung von FFmpeg", "FFmpeg License Information"));
    licenseText_->setText(
        tr2("Diese Software nutzt FFmpeg unter der GNU Lesser General Public License Version "
            "3.\n\nDen vollständigen Lizenztext finden Sie unter:",
            "This software uses FFmpeg under the GNU Lesser General Public License Version "
            "3.\n\nThe full license text can be found at:"));
    sourceText_->setText(
        tr2("FFmpeg ist Eigentum seiner Entwickler.\n\nDer verwendete FFmpeg-Quellcode kann unter "
            "folgender Adresse heruntergeladen werden:",
            "FFmpeg is property of its developers.\n\nThe FFmpeg source code used can be "
            "downloaded at:"));
    close_->setText(tr2("Fenster schließen", "Close Window"));
}

}  // namespace tidyreel::ui

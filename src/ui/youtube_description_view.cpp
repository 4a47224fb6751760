#include "ui/youtube_description_view.h"

#include "core/content_view_model.h"
#include "ui/info_popup.h"
#include "ui/inline_status_view.h"

#include <QCheckBox>
#include <QLabel>
#include <QPushButton>
#include <QSignalBlocker>
#include <QVBoxLayout>

namespace tidyreel::ui {

YouTubeDescriptionView::YouTubeDescriptionView(ContentViewModel& viewModel, std::function<void()> openLog,
                                               QWidget* parent)
    : Card("text.bubble", parent), viewModel_(viewModel) {
    setObjectName("videoDescription");
    info_ = makeInfoButton(header());
    info_->setObjectName("videoDescriptionInfo");
    header()->layout()->addWidget(info_);
    connect(info_, &QPushButton::clicked, this,
            [this] { (new InfoPopup(videoDescriptionInfoContent(), this))->open(); });
    description_ = new QLabel(this);
    description_->setWordWrap(true);
    body()->addWidget(description_);
    chapters_ = new QCheckBox(this);
    chapters_->setObjectName("exportChapterMarkers");
    connect(chapters_, &QCheckBox::toggled, this,
            [this](bool on) { viewModel_.setExportChapterMarkers(on); });
    descriptions_ = new QCheckBox(this);
    descriptions_->setObjectName("exportVideoDescription");
    connect(descriptions_, &QCheckBox::toggled, this,
            [this](bool on) { viewModel_.setExportVideoDescription(on); });
    body()->addWidget(chapters_);
    body()->addWidget(descriptions_);
    start_ = new QPushButton(this);
    start_->setObjectName("startVideoDescription");
    makeProminent(start_);
    connect(start_, &QPushButton::clicked, this, [this] { viewModel_.startVideoDescription(); });
    body()->addWidget(start_);
    status_ = new InlineStatusView(std::move(openLog), this);
    body()->addWidget(status_);
}

void YouTubeDescriptionView::refresh() {
    setTitle("Video Description");
    description_->setText(
        tr2("Erstellt Textdateien für YouTube-Uploads mit Kapitelmarkern und zweisprachiger Beschreibung.",
            "Creates text files for YouTube uploads with chapter markers and bilingual description."));
    retitleInfoButton(info_, title());
    const QSignalBlocker chaptersQuiet(chapters_);
    const QSignalBlocker descriptionsQuiet(descriptions_);
    chapters_->setText(tr2("Kapitelmarker einbeziehen", "Include chapter markers"));
    chapters_->setChecked(viewModel_.exportChapterMarkers());
    descriptions_->setText(
        tr2("Videobeschreibung (QUILLT) einbeziehen", "Include video description (QUILLT)"));
    descriptions_->setChecked(viewModel_.exportVideoDescription());
    start_->setText(tr2("YouTube-Beschreibung erstellen", "Create YouTube Description"));
    start_->setAccessibleName(start_->text());
    start_->setEnabled(viewModel_.selectedFileURL().has_value() && !viewModel_.isProcessing());
    status_->show(viewModel_.youtubeDescriptionStatus());
}

}  // namespace tidyreel::ui

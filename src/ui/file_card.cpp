#include "ui/file_card.h"

#include "core/content_view_model.h"
#include "ui/drop_target.h"
#include "ui/file_panels.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QStackedWidget>
#include <QVBoxLayout>

namespace tidyreel::ui {

FileCard::FileCard(ContentViewModel& viewModel, QWidget* parent)
    : Card("doc.text", parent), viewModel_(viewModel) {
    setObjectName("fileCard");
    pages_ = new QStackedWidget(this);
    body()->addWidget(pages_);

    auto* empty = new QWidget(pages_);
    auto* emptyLayout = new QHBoxLayout(empty);
    emptyLayout->setContentsMargins(0, 0, 0, 0);
    dropZone_ = new DropTarget(
        {".fcpxml", ".fcpxmld"}, [this](const std::filesystem::path& file) { viewModel_.loadFile(file); },
        empty);
    dropZone_->setObjectName("projectDrop");
    dropZone_->setMinimumHeight(56);
    choose_ = new QPushButton(empty);
    choose_->setObjectName("chooseFile");
    connect(choose_, &QPushButton::clicked, this, [this] {
        if (const std::optional<std::filesystem::path> file = chooseProjectFile(window())) {
            viewModel_.loadFile(*file);
        }
    });
    emptyLayout->addWidget(dropZone_, 1);
    emptyLayout->addWidget(choose_);
    pages_->addWidget(empty);

    auto* loaded = new QWidget(pages_);
    auto* loadedLayout = new QHBoxLayout(loaded);
    loadedLayout->setContentsMargins(0, 0, 0, 0);
    loadedIcon_ = new QLabel(loaded);
    loadedIcon_->setPixmap(symbolIcon("checkmark.circle.fill").pixmap(18, 18));
    fileName_ = new QLabel(loaded);
    fileName_->setObjectName("fileName");
    clear_ = new QPushButton(symbolIcon("xmark.circle.fill"), QString(), loaded);
    clear_->setObjectName("clearFile");
    clear_->setFlat(true);
    connect(clear_, &QPushButton::clicked, this, [this] { viewModel_.clearFile(); });
    loadedLayout->addWidget(loadedIcon_);
    loadedLayout->addWidget(fileName_, 1);
    loadedLayout->addWidget(clear_);
    pages_->addWidget(loaded);
}

void FileCard::refresh() {
    setTitle(tr2("FCPXML Datei", "FCPXML File"));
    const bool loaded = viewModel_.selectedFileURL().has_value();
    pages_->setCurrentIndex(loaded ? 1 : 0);
    dropZone_->setText("⬇  " + tr2("FCPXML hier ablegen", "Drop FCPXML here"));
    dropZone_->setAccessibleName(tr2("FCPXML hier ablegen", "Drop FCPXML here"));
    choose_->setText(tr2("Datei wählen...", "Select File..."));
    fileName_->setText(qs(viewModel_.originalFileName()));
    fileName_->setAccessibleName(fileName_->text());
    clear_->setAccessibleName(tr2("Datei entfernen", "Remove file"));
    clear_->setToolTip(clear_->accessibleName());
}

}  // namespace tidyreel::ui

#include "ui/output_folder_card.h"

#include "core/content_view_model.h"
#include "ui/file_panels.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>

namespace tidyreel::ui {

OutputFolderCard::OutputFolderCard(ContentViewModel& viewModel, QWidget* parent)
    : Card("folder", parent), viewModel_(viewModel) {
    setObjectName("outputFolderCard");
    auto* row = new QHBoxLayout;
    icon_ = new QLabel(this);
    folderName_ = new QLabel(this);
    folderName_->setObjectName("folderName");
    choose_ = new QPushButton(symbolIcon("folder.badge.plus"), QString(), this);
    choose_->setObjectName("chooseFolder");
    connect(choose_, &QPushButton::clicked, this, [this] {
        if (const std::optional<std::filesystem::path> folder = chooseOutputFolder(window())) {
            viewModel_.chooseOutputFolder(*folder);
        }
    });
    row->addWidget(icon_);
    row->addWidget(folderName_, 1);
    row->addWidget(choose_);
    body()->addLayout(row);
}

void OutputFolderCard::refresh() {
    setTitle(tr2("Zielordner", "Output Folder"));
    const std::optional<std::filesystem::path>& folder = viewModel_.outputDirectory();
    icon_->setPixmap(symbolIcon(folder ? "folder.fill" : "folder").pixmap(18, 18));
    folderName_->setText(folder ? qs(folder->filename().string())
                                : tr2("Kein Ordner ausgewählt", "No folder selected"));
    folderName_->setToolTip(folder ? qs(folder->string()) : QString());
    folderName_->setAccessibleName(title() + ": " + folderName_->text());
    choose_->setText(tr2("Ordner wählen...", "Select Folder..."));
}

}  // namespace tidyreel::ui

#include "ui/drop_target.h"

#include <QDragEnterEvent>
#include <QDropEvent>
#include <QMimeData>
#include <QUrl>

namespace tidyreel::ui {

DropTarget::DropTarget(QStringList extensions, std::function<void(const std::filesystem::path&)> onDrop,
                       QWidget* parent)
    : QLabel(parent), extensions_(std::move(extensions)), onDrop_(std::move(onDrop)) {
    setAcceptDrops(true);
    setAlignment(Qt::AlignCenter);
    setWordWrap(true);
    setHighlighted(false);
}

std::optional<std::filesystem::path> DropTarget::acceptedFileOf(const QMimeData* data,
                                                                const QStringList& extensions) {
    if (!data || !data->hasUrls() || data->urls().isEmpty() || !data->urls().first().isLocalFile()) {
        return std::nullopt;
    }
    QString path = data->urls().first().toLocalFile();
    // A dropped bundle is a folder, and folder URLs may end with a slash.
    while (path.size() > 1 && path.endsWith('/')) {
        path.chop(1);
    }
    for (const QString& extension : extensions) {
        if (path.endsWith(extension, Qt::CaseInsensitive)) {
            return std::filesystem::path(path.toStdString());
        }
    }
    return std::nullopt;
}

void DropTarget::dragEnterEvent(QDragEnterEvent* event) {
    if (acceptedFileOf(event->mimeData(), extensions_)) {
        setHighlighted(true);
        event->acceptProposedAction();
    }
}

void DropTarget::dragLeaveEvent(QDragLeaveEvent*) {
    setHighlighted(false);
}

void DropTarget::dropEvent(QDropEvent* event) {
    setHighlighted(false);
    if (const std::optional<std::filesystem::path> file = acceptedFileOf(event->mimeData(), extensions_)) {
        event->acceptProposedAction();
        onDrop_(*file);
    }
}

void DropTarget::setHighlighted(bool on) {
    setStyleSheet(on ? "QLabel { border: 2px dashed #2f6fd6; border-radius: 6px; padding: 6px; "
                       "background: #e4edfb; }"
                     : "QLabel { border: 1px dashed #8a8a8a; border-radius: 6px; padding: 6px; }");
}

}  // namespace tidyreel::ui

#pragma once

#include <QLabel>
#include <QStringList>

#include <filesystem>
#include <functional>
#include <optional>

class QMimeData;

namespace tidyreel::ui {

/// A dashed area that takes one dropped file (or bundle folder) with one of the accepted extensions
/// and hands it to `onDrop`; other drops are refused.
class DropTarget : public QLabel {
public:
    DropTarget(QStringList extensions, std::function<void(const std::filesystem::path&)> onDrop,
               QWidget* parent = nullptr);

    /// The dropped path when it has one of `extensions` (".fcpxml", …), compared without case.
    static std::optional<std::filesystem::path> acceptedFileOf(const QMimeData* data,
                                                               const QStringList& extensions);

protected:
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dragLeaveEvent(QDragLeaveEvent* event) override;
    void dropEvent(QDropEvent* event) override;

private:
    void setHighlighted(bool on);

    QStringList extensions_;
    std::function<void(const std::filesystem::path&)> onDrop_;
};

}  // namespace tidyreel::ui

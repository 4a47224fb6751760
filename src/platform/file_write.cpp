#include "platform/file_write.h"
#include "base/error_codes.h"

#include "base/language.h"

#include <fmt/format.h>
#include <QSaveFile>

namespace tidyreel {

void writeFileAtomically(const std::filesystem::path& file, std::string_view bytes) {
    QSaveFile saveFile(QString::fromStdString(file.string()));
    const bool written = saveFile.open(QIODevice::WriteOnly) &&
                         saveFile.write(bytes.data(), static_cast<qint64>(bytes.size())) ==
                             static_cast<qint64>(bytes.size()) &&
                         saveFile.commit();
    if (!written) {
        const std::string reason = saveFile.errorString().toStdString();
        saveFile.cancelWriting();
        throw Error(FileSystemError::domain, static_cast<int>(saveFile.error()),
                    fmt::format("{}: {} ({})",
                                localized("Datei konnte nicht geschrieben werden", "Could not write file"),
                                file.string(), reason));
    }
}

bool pathExists(const std::filesystem::path& path) noexcept {
    std::error_code status;
    return std::filesystem::exists(path, status);
}

Error fileSystemError(const std::string& what, const std::filesystem::path& path, std::error_code reason) {
    return Error(FileSystemError::domain, reason.value(),
                 fmt::format("{}: {} ({})", what, path.string(), reason.message()));
}

}  // namespace tidyreel

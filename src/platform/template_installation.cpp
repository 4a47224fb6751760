#include "platform/template_installation.h"

#include "base/language.h"
#include "platform/file_write.h"
#include "platform/process_runner.h"
#include "platform/system_paths.h"

#include <QDir>
#include <QUuid>

#include <algorithm>
#include <iostream>

namespace tidyreel {

bool TemplateFolderRule::accepts(const std::filesystem::path& folder) const {
    const std::string name =
        folder.has_filename() ? folder.filename().string() : folder.parent_path().filename().string();
    if (std::find(acceptedNames.begin(), acceptedNames.end(), name) == acceptedNames.end()) {
        return false;
    }
    std::cout << consolePrefix << "✅ Korrekter Ordner gewählt: " << folder.string() << std::endl;
    return true;
}

std::string TemplateFolderRule::wrongFolderInformation(const std::string& chosenName) const {
    return "Bitte wähle den Ordner '" + acceptedNames.at(0) + "' (oder '" + acceptedNames.at(1) + "' / '" +
           acceptedNames.at(2) + "') aus.\n\nDu hast gewählt: " + chosenName;
}

std::optional<std::filesystem::path> TemplateFolderRule::startFolder() const {
    const std::filesystem::path home = QDir::homePath().toStdString();
    std::error_code status;
    if (std::filesystem::is_directory(home / typicalFolder, status)) {
        return home / typicalFolder;
    }
    if (std::filesystem::is_directory(home / typicalFolder.parent_path(), status)) {
        return home / typicalFolder.parent_path();
    }
    return std::nullopt;
}

std::optional<std::filesystem::path> bundledResource(const std::string& fileName) {
    const std::filesystem::path folder = executableFolder();
    for (const std::filesystem::path& candidate :
         {folder / "resources" / fileName, folder / ".." / "share" / "tidyreel" / fileName}) {
        std::error_code status;
        if (std::filesystem::is_regular_file(candidate, status)) {
            return candidate.lexically_normal();
        }
    }
    return std::nullopt;
}

ScratchFolder::ScratchFolder()
    : path_(std::filesystem::temp_directory_path() /
            QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper().toStdString()) {
    createFolders(path_);
}

ScratchFolder::~ScratchFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

int unzipArchive(const std::filesystem::path& archive, const std::filesystem::path& folder) {
    ProcessRequest request;
    request.executable = "/usr/bin/unzip";
    request.arguments = {"-o", "-q", archive.string(), "-d", folder.string()};
    return runProcess(request).exitStatus;
}

void createFolders(const std::filesystem::path& folder) {
    std::error_code status;
    std::filesystem::create_directories(folder, status);
    if (status) {
        throw fileSystemError(localized("Ordner konnte nicht angelegt werden", "Could not create folder"),
                              folder, status);
    }
}

// The copy goes to a hidden folder beside the target first, so that a full disk leaves the installed
// version as it was instead of a folder with empty templates that Motion would list.
bool replaceFolderWithCopy(const std::filesystem::path& source, const std::filesystem::path& target) {
    std::error_code status;
    if (!std::filesystem::is_directory(source, status)) {
        throw fileSystemError(localized("Vorlage nicht gefunden", "Template not found"), source,
                              std::make_error_code(std::errc::no_such_file_or_directory));
    }
    const std::filesystem::path staged = temporarySibling(target);
    std::filesystem::copy(source, staged, std::filesystem::copy_options::recursive, status);
    if (status) {
        std::error_code ignored;
        std::filesystem::remove_all(staged, ignored);
        throw fileSystemError(localized("Ordner konnte nicht kopiert werden", "Could not copy folder"),
                              target, status);
    }
    const bool replaced = pathExists(target);
    if (replaced && std::filesystem::remove_all(target, status) == static_cast<std::uintmax_t>(-1)) {
        std::error_code ignored;
        std::filesystem::remove_all(staged, ignored);
        throw fileSystemError(
            localized("Alte Version konnte nicht gelöscht werden", "Could not remove the old version"),
            target, status);
    }
    std::filesystem::rename(staged, target, status);
    if (status) {
        throw fileSystemError(localized("Ordner konnte nicht umbenannt werden", "Could not rename folder"),
                              target, status);
    }
    return replaced;
}

}  // namespace tidyreel

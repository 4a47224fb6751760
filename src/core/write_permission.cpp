#include "core/write_permission.h"

#include "base/error.h"
#include "base/language.h"
#include "base/uuid.h"
#include "platform/file_write.h"
#include "platform/folder_bookmark.h"

namespace tidyreel {

std::optional<Error> writePermissionFailure(const std::optional<std::filesystem::path>& outputDirectory) {
    if (!outputDirectory) {
        return Error(ProcessingError::domain, ProcessingError::noOutputFolder,
                     localized("Kein Zielordner ausgewählt", "No output directory selected"));
    }
    const std::filesystem::path testFile = *outputDirectory / (".permission_test_" + newUuid() + ".tmp");
    const bool granted = beginFolderAccess(*outputDirectory);
    std::optional<Error> failure;
    try {
        writeFileAtomically(testFile, "permission_test");
        std::error_code ignored;
        std::filesystem::remove(testFile, ignored);
    } catch (const Error& error) {
        failure = Error(
            error.domain(), error.code(),
            localized(
                "Der gewählte Zielordner kann nicht beschrieben werden. Bitte wähle einen anderen Ordner.",
                "Cannot write to selected output directory. Please choose another folder."));
    }
    if (granted) {
        endFolderAccess(*outputDirectory);
    }
    return failure;
}

}  // namespace tidyreel

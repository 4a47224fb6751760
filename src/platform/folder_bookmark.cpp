#include "platform/folder_bookmark.h"

#include "base/error.h"
#include "base/error_codes.h"
#include "base/language.h"

#include <sys/stat.h>
#include <nlohmann/json.hpp>

#include <cerrno>
#include <cstring>

namespace tidyreel {
namespace {

struct FolderIdentity {
    std::uint64_t device = 0;
    std::uint64_t inode = 0;
};

FolderIdentity identityOf(const std::filesystem::path& folder) {
    struct stat info {};
    if (::stat(folder.c_str(), &info) != 0) {
        const int code = errno;
        throw Error(BookmarkError::domain, code,
                    localized("Ordner nicht gefunden: ", "Folder not found: ") + folder.string() + " (" +
                        std::strerror(code) + ")");
    }
    if (!S_ISDIR(info.st_mode)) {
        throw Error(BookmarkError::domain, ENOTDIR,
                    localized("Kein Ordner: ", "Not a folder: ") + folder.string());
    }
    return {static_cast<std::uint64_t>(info.st_dev), static_cast<std::uint64_t>(info.st_ino)};
}

}  // namespace

std::string createFolderBookmark(const std::filesystem::path& folder) {
    const std::filesystem::path absolute = std::filesystem::absolute(folder).lexically_normal();
    const FolderIdentity identity = identityOf(absolute);
    const nlohmann::json data = {
        {"path", absolute.string()}, {"device", identity.device}, {"inode", identity.inode}};
    return data.dump();
}

ResolvedBookmark resolveFolderBookmark(const std::string& data) {
    const nlohmann::json bookmark = nlohmann::json::parse(data, nullptr, false);
    if (!bookmark.is_object() || !bookmark.contains("path") || !bookmark["path"].is_string() ||
        !bookmark.contains("device") || !bookmark["device"].is_number_unsigned() ||
        !bookmark.contains("inode") || !bookmark["inode"].is_number_unsigned()) {
        throw Error(BookmarkError::domain, BookmarkError::unreadableData,
                    localized("Ungültige Bookmark-Daten", "Invalid bookmark data"));
    }
    const std::filesystem::path folder = bookmark["path"].get<std::string>();
    const FolderIdentity identity = identityOf(folder);
    const bool isStale = identity.device != bookmark["device"].get<std::uint64_t>() ||
                         identity.inode != bookmark["inode"].get<std::uint64_t>();
    return {folder, isStale};
}

bool beginFolderAccess(const std::filesystem::path&) {
    return false;
}

void endFolderAccess(const std::filesystem::path&) {}

}  // namespace tidyreel

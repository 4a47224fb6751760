#pragma once

#include <filesystem>
#include <string>

namespace tidyreel {

/// A remembered folder, resolved again: the folder and whether the remembered data is out of date.
struct ResolvedBookmark {
    std::filesystem::path folder;  ///< the folder the bookmark names now
    bool isStale = false;          ///< the path now names a different folder: renew the bookmark
};

/// Remembers a folder across restarts: its absolute path plus its device and inode; throws `Error`
/// when the folder cannot be examined.
std::string createFolderBookmark(const std::filesystem::path& folder);

/// Resolves bookmark data; throws `Error` when the data is unreadable or the folder is gone.
ResolvedBookmark resolveFolderBookmark(const std::string& data);

/// Begins access to a folder the user granted; nothing to do on this platform, so never granted now.
bool beginFolderAccess(const std::filesystem::path& folder);
/// Ends access begun with `beginFolderAccess`.
void endFolderAccess(const std::filesystem::path& folder);

}  // namespace tidyreel

#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace tidyreel {

/// The outcome of the write test of the output folder.
struct WritePermission {
    bool ok = false;                     ///< a file could be written and removed
    std::optional<std::string> message;  ///< why not, in the user's language
};

/// Writes and removes a hidden test file in the folder to learn whether a run could write there.
WritePermission testWritePermission(const std::optional<std::filesystem::path>& outputDirectory);

}  // namespace tidyreel

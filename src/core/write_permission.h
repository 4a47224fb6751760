#pragma once

#include "base/error.h"

#include <filesystem>
#include <optional>

namespace tidyreel {

/// Writes and removes a hidden test file in the folder to learn whether a run could write there: no
/// value when it could, else why not in the user's language ("Processing" `noOutputFolder` without a
/// folder, "FileSystem" with the system's error code when the write failed).
std::optional<Error> writePermissionFailure(const std::optional<std::filesystem::path>& outputDirectory);

}  // namespace tidyreel

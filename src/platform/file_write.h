#pragma once

#include "base/error.h"

#include <filesystem>
#include <string>
#include <string_view>
#include <system_error>

namespace tidyreel {

/// Writes `bytes` to `file` through a temporary file renamed into place, so that a failed write never
/// leaves a half-written file under the final name; replaces an existing file; throws `Error`.
void writeFileAtomically(const std::filesystem::path& file, std::string_view bytes);

/// Whether anything exists at the path (a broken symbolic link counts as nothing); never throws.
bool pathExists(const std::filesystem::path& path) noexcept;

/// An `Error` of the file system domain: what failed, on which path, and the system's reason.
Error fileSystemError(const std::string& what, const std::filesystem::path& path, std::error_code reason);

}  // namespace tidyreel

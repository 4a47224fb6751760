#pragma once

#include "base/error.h"

#include <filesystem>
#include <string>
#include <string_view>
#include <system_error>

namespace tidyreel {

/// What the name of every file Tidyreel writes under a temporary name holds, so that a later run can
/// tell its own leftovers (from a crash or a power cut) from the user's files.
inline constexpr std::string_view kTemporaryMarker = ".tidyreel-partial-";

/// Writes `bytes` to `file` through a temporary file in the same folder that is written, flushed to
/// the disk and closed, every step checked, and only then renamed over `file`. On any failure (a full
/// disk) the old file stays as it was, the temporary one is removed, and `Error` ("FileSystem", errno)
/// carries the system's reason. The path is used byte for byte.
void writeFileAtomically(const std::filesystem::path& file, std::string_view bytes);

/// A free temporary name beside `file` that keeps its extension (ffmpeg picks its muxer by it):
/// "." + stem + `kTemporaryMarker` + a UUID + extension.
std::filesystem::path temporarySibling(const std::filesystem::path& file);

/// The name a file written under a temporary name (`temporarySibling`) will take, for messages about it:
/// "C0001_trimmed.mov" for ".C0001_trimmed.tidyreel-partial-<uuid>.mov"; any other name as it is.
std::string eventualName(const std::filesystem::path& file);

/// Removes the temporary files an interrupted run left in `folder` (not below it); returns how many.
int removeTemporaryLeftovers(const std::filesystem::path& folder);

/// `wanted` when nothing is there (not even a broken link), else the first free "stem 2.ext",
/// "stem 3.ext", …: no result replaces an earlier one or a source.
std::filesystem::path unusedPath(const std::filesystem::path& wanted);

/// Whether anything exists at the path (a broken symbolic link counts as nothing); never throws.
bool pathExists(const std::filesystem::path& path) noexcept;

/// An `Error` of the file system domain: what failed, on which path, and the system's reason.
Error fileSystemError(const std::string& what, const std::filesystem::path& path, std::error_code reason);

}  // namespace tidyreel

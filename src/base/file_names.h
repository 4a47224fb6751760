#pragma once

#include <filesystem>
#include <string>

namespace tidyreel {

/// The name part of a file name: everything before the last "." (the whole name without one).
std::string fileNameBase(const std::string& fileName);
/// The extension of a file name as written, without the dot; empty without one.
std::string fileNameExtension(const std::string& fileName);
/// The extension of a path with its dot, in ASCII lower case (".mov"); empty without one.
std::string lowercasedExtension(const std::filesystem::path& path);

}  // namespace tidyreel

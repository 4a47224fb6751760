#pragma once

#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>

namespace tidyreel::bench {

/// The folder `name` below the temporary folder, created on first use, for the media a benchmark makes.
inline std::filesystem::path benchFolder(const std::string& name) {
    const std::filesystem::path path = std::filesystem::temp_directory_path() / name;
    std::filesystem::create_directories(path);
    return path;
}

/// Runs a shell command line (the tools that make benchmark media); throws when it fails.
inline void shell(const std::string& line) {
    if (std::system(line.c_str()) != 0) {
        throw std::runtime_error("failed: " + line);
    }
}

}  // namespace tidyreel::bench

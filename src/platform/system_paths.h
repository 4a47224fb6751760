#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace tidyreel {

/// The user's preferred languages, most preferred first, as the system reports them.
std::vector<std::string> systemPreferredLanguages();

/// The folder that holds the running executable.
std::filesystem::path executableFolder();

/// The application's support folder ("…/Tidyreel" in the user's data location); not created here.
std::filesystem::path applicationSupportFolder();

}  // namespace tidyreel

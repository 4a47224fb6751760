#pragma once

#include "test_support.h"

#include <string>
#include <vector>

namespace tidyreel::test {

/// What a finished command printed and how it ended.
struct CommandResult {
    int exitStatus = -1;
    std::string standardOutput;
    std::string standardError;
};

/// Runs the built `tidyreel` with `arguments` (no shell), with the given user folders, and waits.
CommandResult runTidyreel(const std::vector<std::string>& arguments, const IsolatedUserFolders& folders);

}  // namespace tidyreel::test

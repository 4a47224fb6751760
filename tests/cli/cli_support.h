#pragma once

#include "test_support.h"

#include <functional>
#include <string>
#include <vector>

namespace tidyreel::test {

/// What a finished command printed and how it ended.
struct CommandResult {
    int exitStatus = -1;
    std::string standardOutput;
    std::string standardError;
};

/// Runs the built `tidyreel` with `arguments` (no shell), with the given user folders, and waits;
/// `whileRunning` is called about every 100 ms meanwhile.
CommandResult runTidyreel(const std::vector<std::string>& arguments, const IsolatedUserFolders& folders,
                          const std::function<void()>& whileRunning = {});

/// Runs `tidyreel` as `runTidyreel` does, but no file it writes may grow (`ulimit -f 0`), as on a full
/// volume: every write fails with EFBIG.
CommandResult runTidyreelOnFullDisk(const std::vector<std::string>& arguments,
                                    const IsolatedUserFolders& folders);

}  // namespace tidyreel::test

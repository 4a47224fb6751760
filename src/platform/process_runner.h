#pragma once

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tidyreel {

/// One run of an external program: its argument vector (never a shell) and where its output goes.
struct ProcessRequest {
    std::filesystem::path executable;                          ///< the program
    std::vector<std::string> arguments;                        ///< passed unchanged
    std::optional<std::filesystem::path> workingDirectory;     ///< inherited when absent
    bool captureStandardOutput = false;                        ///< false: standard output is dropped
    std::function<void(std::string_view)> standardErrorChunk;  ///< each chunk of standard error as it arrives
    std::function<void()> whileRunning;                        ///< called about every 200 ms while it runs
};

/// How a run ended.
struct ProcessResult {
    int exitStatus = 0;          ///< the exit status; 255 when the program crashed
    std::string standardOutput;  ///< captured standard output (empty unless requested)
};

/// Runs a program to its end, draining standard error while it runs so that a chatty program never
/// stalls on a full pipe; throws `Error` (domain "Process") when it cannot be started.
ProcessResult runProcess(const ProcessRequest& request);

}  // namespace tidyreel

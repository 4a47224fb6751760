#pragma once

#include <chrono>
#include <filesystem>
#include <functional>
#include <optional>
#include <stop_token>
#include <string>
#include <string_view>
#include <vector>

namespace tidyreel {

/// One run of an external program: its argument vector (never a shell) and where its output goes.
struct ProcessRequest {
    std::filesystem::path executable;                          ///< the program
    std::vector<std::string> arguments;                        ///< passed unchanged, byte for byte
    std::optional<std::filesystem::path> workingDirectory;     ///< inherited when absent
    bool captureStandardOutput = false;                        ///< false: standard output is dropped
    std::function<void(std::string_view)> standardErrorChunk;  ///< each chunk of standard error as it arrives
    std::function<void()> whileRunning;                        ///< called about every 100 ms while it runs
    std::stop_token stopToken;                                 ///< a stop request ends the program
    std::optional<std::chrono::milliseconds> timeLimit;        ///< the longest the program may run
    std::optional<std::chrono::milliseconds> silenceLimit;     ///< the longest it may stay silent on stderr
};

/// How a run ended.
struct ProcessResult {
    /// Why the program ended.
    enum class Ending { exited, timeLimit, silenceLimit };

    int exitStatus = 0;              ///< the exit status; 255 when the program crashed or was stopped
    Ending ending = Ending::exited;  ///< whether the runner had to stop it, and why
    std::string standardOutput;      ///< captured standard output (empty unless requested; bounded)
    std::string standardErrorTail;   ///< the last `kStandardErrorTailBytes` of standard error
};

/// How much of a program's standard error a result keeps: a chatty tool must not fill the memory.
inline constexpr std::size_t kStandardErrorTailBytes = 64 * 1024;

/// Runs a program to its end, draining its output while it runs so that a chatty program never stalls
/// on a full pipe. The program runs in its own process group and dies with the runner's thread. A stop
/// request, or a time or silence limit passed, stops it: SIGINT (ffmpeg then closes its output
/// cleanly), SIGTERM after a grace period, SIGKILL after another. Throws `Error` (domain "Process")
/// when it cannot be started and `RunCancelled` when it was stopped on request.
ProcessResult runProcess(const ProcessRequest& request);

}  // namespace tidyreel

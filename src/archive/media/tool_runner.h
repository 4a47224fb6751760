#pragma once

#include "pipeline/export_context.h"

#include <chrono>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tidyreel {

/// Called while a tool runs with how far it has got: seconds of media written, or bytes copied.
using ToolProgress = std::function<void(double)>;

/// Splits a tool's standard error into lines at "\r" and "\n" as it arrives in chunks, carrying a
/// partial line over to the next chunk (a progress report may be cut anywhere between two reads).
class LineSplitter {
public:
    /// Hands every line the chunk completes to `line`; empty lines are dropped.
    void feed(std::string_view chunk, const std::function<void(std::string_view)>& line);

private:
    static constexpr std::size_t kLineLimit = 4096;  ///< a longer line is cut, never buffered whole
    std::string partial_;
};

/// The ffmpeg to run: the run's configured one, then the one next to the executable, then the first on
/// `PATH`; throws `Error` ("ffmpeg", −1) when there is none.
std::filesystem::path locateFFmpeg(const ToolPaths& tools);

/// The ffprobe to run, looked for like ffmpeg; throws `ProbeError`.
std::filesystem::path locateFFprobe(const ToolPaths& tools);

/// Runs the context's ffmpeg with `arguments`, logging the command line first; on a non-zero exit logs the
/// last 10 lines of its standard error and throws `Error` ("ffmpeg", status); stopped when silent for longer
/// than the run's `toolLimits.ffmpegSilence` (ffmpeg reports progress about twice a second), and with
/// `RunCancelled` on the context's stop request. `progress` hears the media time ffmpeg reports while it
/// encodes.
void runFFmpeg(const std::vector<std::string>& arguments, const std::string& label,
               const std::optional<std::filesystem::path>& workingDirectory, const ExportContext& context,
               const ToolProgress& progress = {});

/// Copies one file with the system's copy tool (no extended attributes) under a temporary name, renamed
/// to `target` once it holds all the source's bytes; on failure logs its standard error and exit code and
/// throws `Error` ("cp", status, "stderr"), leaving nothing behind. `progress` hears the bytes written.
void runCopy(const std::filesystem::path& source, const std::filesystem::path& target,
             const ExportContext& context, const ToolProgress& progress = {});

/// Throws `Error` ("Source", 1) when something other than a regular file (a symbolic link to one counts)
/// is at `source`: a FIFO or a device would hang a tool or never end. A missing source passes.
void requireRegularFile(const std::filesystem::path& source);

/// The command line as logged: arguments joined with spaces, those holding a space in double quotes.
std::string loggedCommandLine(const std::vector<std::string>& arguments);

/// The last `count` non-empty lines of a tool's standard error, or "<nicht dekodierbar>" when it is not
/// UTF-8.
std::string standardErrorTail(std::string_view standardError, std::size_t count = 10);

/// The last "time=HH:MM:SS.ss" ffmpeg reported in a piece of its standard error, in seconds.
std::optional<double> ffmpegProgressTime(std::string_view standardError);

}  // namespace tidyreel

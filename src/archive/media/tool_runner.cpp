#include "archive/media/tool_runner.h"

#include "archive/media/media_probe.h"
#include "base/error.h"
#include "base/error_codes.h"
#include "base/language.h"
#include "base/text.h"
#include "base/utf8.h"
#include "platform/file_write.h"
#include "platform/process_runner.h"
#include "platform/system_paths.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <sstream>

namespace tidyreel {
namespace {

bool isExecutableFile(const std::filesystem::path& path) {
    std::error_code status;
    return !path.empty() && std::filesystem::is_regular_file(path, status) &&
           (std::filesystem::status(path, status).permissions() & std::filesystem::perms::owner_exec) !=
               std::filesystem::perms::none;
}

std::optional<std::filesystem::path> onSearchPath(const std::string& name) {
    const char* path = std::getenv("PATH");
    std::istringstream folders(path ? path : "");
    std::string folder;
    while (std::getline(folders, folder, ':')) {
        if (!folder.empty() && isExecutableFile(std::filesystem::path(folder) / name)) {
            return std::filesystem::path(folder) / name;
        }
    }
    return std::nullopt;
}

// The configured tool, the one shipped next to the executable, or the system's.
std::optional<std::filesystem::path> locateTool(const std::string& name,
                                                const std::filesystem::path& configured) {
    if (isExecutableFile(configured)) {
        return configured;
    }
    if (const std::filesystem::path shipped = executableFolder() / name; isExecutableFile(shipped)) {
        return shipped;
    }
    return onSearchPath(name);
}

std::uintmax_t fileSizeOrZero(const std::filesystem::path& file) {
    std::error_code status;
    const std::uintmax_t size = std::filesystem::file_size(file, status);
    return status ? 0 : size;
}

void removeFileQuietly(const std::filesystem::path& file) {
    std::error_code ignored;
    std::filesystem::remove(file, ignored);
}

// A copy counts once it holds as many bytes as its source; then it takes the final name.
void placeCopy(const std::filesystem::path& source, const std::filesystem::path& partial,
               const std::filesystem::path& target) {
    std::error_code status;
    const std::uintmax_t expected = std::filesystem::file_size(source, status);
    if (!status && fileSizeOrZero(partial) != expected) {
        throw Error(
            CopyError::domain, CopyError::incomplete,
            fmt::format("{}: {}", localized("Kopie unvollständig", "Copy incomplete"), target.string()));
    }
    std::filesystem::rename(partial, target, status);
    if (status) {
        throw fileSystemError(localized("Kopie nicht umbenannt", "Copy not renamed"), target, status);
    }
}

}  // namespace

void LineSplitter::feed(std::string_view chunk, const std::function<void(std::string_view)>& line) {
    for (const char c : chunk) {
        if (c == '\r' || c == '\n') {
            if (!partial_.empty()) {
                line(partial_);
                partial_.clear();
            }
        } else if (partial_.size() < kLineLimit) {
            partial_ += c;
        }
    }
}

std::filesystem::path locateFFmpeg(const ToolPaths& tools) {
    if (auto found = locateTool("ffmpeg", tools.ffmpeg)) {
        return *found;
    }
    throw Error(FfmpegError::domain, FfmpegError::notFound, "ffmpeg binary nicht im App-Bundle gefunden");
}

std::filesystem::path locateFFprobe(const ToolPaths& tools) {
    if (auto found = locateTool("ffprobe", tools.ffprobe)) {
        return *found;
    }
    throw ProbeError("ffprobe binary nicht im App-Bundle gefunden");
}

void runFFmpeg(const std::vector<std::string>& arguments, const std::string& label,
               const std::optional<std::filesystem::path>& workingDirectory, const ExportContext& context,
               const ToolProgress& progress) {
    const std::filesystem::path ffmpeg = locateFFmpeg(context.settings.tools);
    context.throwIfCancelled();
    context.log(LogEntryType::info, fmt::format("    {}: ffmpeg {}", label, loggedCommandLine(arguments)));
    ProcessRequest request;
    request.executable = ffmpeg;
    request.arguments = arguments;
    request.workingDirectory = workingDirectory;
    request.stopToken = context.stopToken;
    request.silenceLimit = context.settings.toolLimits.ffmpegSilence;
    LineSplitter lines;
    request.standardErrorChunk = [&](std::string_view chunk) {
        lines.feed(chunk, [&](std::string_view line) {
            if (const std::optional<double> seconds = ffmpegProgressTime(line); seconds && progress) {
                progress(*seconds);
            }
        });
    };
    const ProcessResult result = runProcess(request);
    if (result.ending == ProcessResult::Ending::silenceLimit) {
        const double seconds = std::chrono::duration<double>(*request.silenceLimit).count();
        context.log(
            LogEntryType::error,
            fmt::format("    ffmpeg: {} {:g} s",
                        localized("angehalten, keine Ausgabe seit", "stopped, no output for"), seconds));
        throw Error(FfmpegError::domain, result.exitStatus,
                    fmt::format("ffmpeg stalled for {:g} s", seconds));
    }
    if (result.exitStatus == 0) {
        return;
    }
    context.log(LogEntryType::error,
                "    ffmpeg stderr (tail):\n" + standardErrorTail(result.standardErrorTail));
    throw Error(FfmpegError::domain, result.exitStatus,
                fmt::format("ffmpeg failed with status {}", result.exitStatus));
}

void runCopy(const std::filesystem::path& source, const std::filesystem::path& target,
             const ExportContext& context, const ToolProgress& progress) {
    context.throwIfCancelled();
    requireRegularFile(source);
    // The copy is made under a temporary name and only renamed into place once it is whole, so that an
    // interrupted or failed copy never leaves a truncated file under the final name.
    const std::filesystem::path partial = temporarySibling(target);
#ifdef __APPLE__
    std::vector<std::string> arguments{"-X", "--", source.string(), partial.string()};
#else
    // GNU cp copies no extended attributes unless asked to. "--": a source named "-x.mov" is no option.
    std::vector<std::string> arguments{"--", source.string(), partial.string()};
#endif
    ProcessRequest request;
    request.executable = "/bin/cp";
    request.arguments = std::move(arguments);
    request.stopToken = context.stopToken;
    if (progress) {
        request.whileRunning = [&] { progress(static_cast<double>(fileSizeOrZero(partial))); };
    }
    ProcessResult result;
    try {
        result = runProcess(request);
        if (result.exitStatus == 0) {
            placeCopy(source, partial, target);
            return;
        }
    } catch (...) {
        removeFileQuietly(partial);
        throw;
    }
    removeFileQuietly(partial);
    const std::string& bytes = result.standardErrorTail;
    const std::string text = isValidUTF8(bytes) ? bytes : "<nicht dekodierbar>";
    context.log(LogEntryType::error, "     /bin/cp stderr: " + trimmedWhitespace(text));
    context.log(LogEntryType::error, fmt::format("     /bin/cp exit code: {}", result.exitStatus));
    throw Error(CopyError::domain, result.exitStatus,
                fmt::format("/bin/cp failed with status {}", result.exitStatus), {{"stderr", text}});
}

void requireRegularFile(const std::filesystem::path& source) {
    // A missing source is left to the copy tool, which says so in its own words.
    std::error_code status;
    const std::filesystem::file_status type = std::filesystem::status(source, status);
    if (std::filesystem::exists(type) && !std::filesystem::is_regular_file(type)) {
        throw Error(SourceError::domain, SourceError::notRegularFile,
                    fmt::format("{}: {}",
                                localized("Quelle ist keine reguläre Datei", "Source is not a regular file"),
                                source.string()));
    }
}

std::string loggedCommandLine(const std::vector<std::string>& arguments) {
    std::string line;
    for (const std::string& argument : arguments) {
        if (!line.empty()) {
            line += ' ';
        }
        line += argument.find(' ') == std::string::npos ? argument : "\"" + argument + "\"";
    }
    return line;
}

std::string standardErrorTail(std::string_view standardError, std::size_t count) {
    if (!isValidUTF8(standardError)) {
        return "<nicht dekodierbar>";
    }
    std::vector<std::string_view> lines;
    std::size_t start = 0;
    while (start <= standardError.size()) {
        const std::size_t end = std::min(standardError.find('\n', start), standardError.size());
        if (end > start) {
            lines.push_back(standardError.substr(start, end - start));
        }
        start = end + 1;
    }
    const std::size_t first = lines.size() > count ? lines.size() - count : 0;
    std::string tail;
    for (std::size_t i = first; i < lines.size(); ++i) {
        tail += (i == first ? "" : "\n");
        tail += lines[i];
    }
    return tail;
}

std::optional<double> ffmpegProgressTime(std::string_view standardError) {
    const std::size_t at = standardError.rfind("time=");
    if (at == std::string_view::npos) {
        return std::nullopt;
    }
    const char* cursor = standardError.data() + at + 5;
    const char* end = standardError.data() + standardError.size();
    long hours = 0;
    long minutes = 0;
    double seconds = 0;
    auto parsed = std::from_chars(cursor, end, hours);
    if (parsed.ec != std::errc{} || parsed.ptr == end || *parsed.ptr != ':') {
        return std::nullopt;
    }
    parsed = std::from_chars(parsed.ptr + 1, end, minutes);
    if (parsed.ec != std::errc{} || parsed.ptr == end || *parsed.ptr != ':') {
        return std::nullopt;
    }
    if (std::from_chars(parsed.ptr + 1, end, seconds).ec != std::errc{}) {
        return std::nullopt;
    }
    return static_cast<double>(hours) * 3600.0 + static_cast<double>(minutes) * 60.0 + seconds;
}

}  // namespace tidyreel

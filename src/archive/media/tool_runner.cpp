#include "archive/media/tool_runner.h"

#include "archive/media/media_probe.h"
#include "base/error.h"
#include "base/error_codes.h"
#include "platform/process_runner.h"
#include "platform/system_paths.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <mutex>
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

// A tool's standard error, appended from the runner's callback and read after the run, under one lock.
class StandardErrorBuffer {
public:
    void append(std::string_view chunk) {
        const std::lock_guard guard(lock_);
        bytes_.append(chunk);
    }
    std::string text() const {
        const std::lock_guard guard(lock_);
        return bytes_;
    }

private:
    mutable std::mutex lock_;
    std::string bytes_;
};

std::string trimmedWhitespace(const std::string& text) {
    const std::size_t first = text.find_first_not_of(" \t\r\n");
    if (first == std::string::npos) {
        return "";
    }
    return text.substr(first, text.find_last_not_of(" \t\r\n") - first + 1);
}

std::uintmax_t fileSizeOrZero(const std::filesystem::path& file) {
    std::error_code status;
    const std::uintmax_t size = std::filesystem::file_size(file, status);
    return status ? 0 : size;
}

}  // namespace

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
    const std::filesystem::path ffmpeg = locateFFmpeg(context.tools);
    context.log(LogEntryType::info, fmt::format("    {}: ffmpeg {}", label, loggedCommandLine(arguments)));
    StandardErrorBuffer standardError;
    ProcessRequest request{ffmpeg, arguments, workingDirectory, false, {}, {}};
    request.standardErrorChunk = [&](std::string_view chunk) {
        standardError.append(chunk);
        if (progress) {
            if (const std::optional<double> seconds = ffmpegProgressTime(chunk)) {
                progress(*seconds);
            }
        }
    };
    const int status = runProcess(request).exitStatus;
    if (status == 0) {
        return;
    }
    context.log(LogEntryType::error, "    ffmpeg stderr (tail):\n" + standardErrorTail(standardError.text()));
    throw Error(FfmpegError::domain, status, fmt::format("ffmpeg failed with status {}", status));
}

void runCopy(const std::filesystem::path& source, const std::filesystem::path& target,
             const ExportContext& context, const ToolProgress& progress) {
    StandardErrorBuffer standardError;
#ifdef __APPLE__
    std::vector<std::string> arguments{"-X", source.string(), target.string()};
#else
    // GNU cp copies no extended attributes unless asked to.
    std::vector<std::string> arguments{source.string(), target.string()};
#endif
    ProcessRequest request{"/bin/cp", std::move(arguments), std::nullopt, false, {}, {}};
    request.standardErrorChunk = [&](std::string_view chunk) { standardError.append(chunk); };
    if (progress) {
        request.whileRunning = [&] { progress(static_cast<double>(fileSizeOrZero(target))); };
    }
    const int status = runProcess(request).exitStatus;
    if (status == 0) {
        return;
    }
    const std::string bytes = standardError.text();
    const std::string text = isValidUTF8(bytes) ? bytes : "<nicht dekodierbar>";
    context.log(LogEntryType::error, "     /bin/cp stderr: " + trimmedWhitespace(text));
    context.log(LogEntryType::error, fmt::format("     /bin/cp exit code: {}", status));
    throw Error(CopyError::domain, status, fmt::format("/bin/cp failed with status {}", status),
                {{"stderr", text}});
}

void reportStepProgress(const ExportContext& context, int step, int steps, double fraction,
                        const std::string& text) {
    const int part = static_cast<int>(std::clamp(fraction, 0.0, 1.0) * 99.0);
    context.reportProgress(step * 100 + part, steps * 100, text);
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

bool isValidUTF8(std::string_view bytes) {
    std::size_t i = 0;
    while (i < bytes.size()) {
        const auto lead = static_cast<unsigned char>(bytes[i]);
        const std::size_t length = lead < 0x80   ? 1
                                   : lead < 0xC2 ? 0
                                   : lead < 0xE0 ? 2
                                   : lead < 0xF0 ? 3
                                   : lead < 0xF5 ? 4
                                                 : 0;
        if (length == 0 || i + length > bytes.size()) {
            return false;
        }
        for (std::size_t k = 1; k < length; ++k) {
            if ((static_cast<unsigned char>(bytes[i + k]) >> 6) != 0x2) {
                return false;
            }
        }
        // Overlong forms, UTF-16 surrogates and code points beyond U+10FFFF.
        const auto second = length > 1 ? static_cast<unsigned char>(bytes[i + 1]) : 0x80;
        if ((lead == 0xE0 && second < 0xA0) || (lead == 0xED && second > 0x9F) ||
            (lead == 0xF0 && second < 0x90) || (lead == 0xF4 && second > 0x8F)) {
            return false;
        }
        i += length;
    }
    return true;
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

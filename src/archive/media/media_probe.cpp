#include "archive/media/media_probe.h"

#include "archive/media/probe_json.h"
#include "archive/media/tool_runner.h"
#include "base/utf8.h"
#include "platform/process_runner.h"

#include <fmt/format.h>

namespace tidyreel {
namespace {

const char* const kNoStream = "No video stream found in ffprobe output";
const char* const kNoDuration = "duration_ts/time_base nicht in ffprobe output gefunden";
const char* const kDurationEntries = "stream=time_base,duration_ts:format=duration";

std::vector<std::string> probeArguments(const std::string& entries, const std::filesystem::path& file,
                                        const std::string& streams = "v:0") {
    return {"-v",    "error",         "-select_streams",
            streams, "-show_entries", entries,
            "-of",   "json",          std::filesystem::absolute(file).string()};
}

}  // namespace

ProbeSetup probeSetupOf(const ExportContext& context) {
    ProbeSetup setup = probeSetupOf(context.settings);
    setup.stopToken = context.stopToken;
    return setup;
}

ProbeSetup probeSetupOf(const RunSettings& settings) {
    return {settings.tools, settings.toolLimits.ffprobeTime, {}};
}

namespace FFProbe {

std::string runProbe(const std::vector<std::string>& arguments, const ProbeSetup& setup) {
    ProcessRequest request;
    request.executable = locateFFprobe(setup.tools);
    request.arguments = arguments;
    request.captureStandardOutput = true;
    // A source that never ends (a device, a stalled network share) must not hold the run forever.
    request.timeLimit = setup.timeLimit;
    request.stopToken = setup.stopToken;
    const ProcessResult result = runProcess(request);
    if (result.ending == ProcessResult::Ending::timeLimit) {
        throw ProbeError(
            fmt::format("ffprobe stopped after {} s",
                        std::chrono::duration_cast<std::chrono::seconds>(*request.timeLimit).count()));
    }
    if (result.exitStatus != 0) {
        std::string standardError = result.standardErrorTail;
        // The tool's closing line break would leave an empty line in the log.
        while (!standardError.empty() && (standardError.back() == '\n' || standardError.back() == '\r')) {
            standardError.pop_back();
        }
        throw ProbeError(fmt::format("ffprobe failed (status {}): {}", result.exitStatus,
                                     isValidUTF8(standardError) ? standardError : "?"));
    }
    return result.standardOutput;
}

std::vector<std::string> codecProbeArguments(const std::filesystem::path& file) {
    return probeArguments("stream=codec_name,codec_tag_string,start_pts:stream_tags=encoder", file);
}

std::vector<std::string> durationProbeArguments(const std::filesystem::path& file) {
    return probeArguments(kDurationEntries, file);
}

ProbeResult probeCodec(const std::filesystem::path& file, const ProbeSetup& setup) {
    return parseCodecProbe(runProbe(codecProbeArguments(file), setup));
}

Rational probeDuration(const std::filesystem::path& file, const ProbeSetup& setup) {
    return parseDurationProbe(runProbe(durationProbeArguments(file), setup));
}

Rational probeSoundDuration(const std::filesystem::path& file, const ProbeSetup& setup) {
    return parseDurationProbe(runProbe(probeArguments(kDurationEntries, file, "a:0"), setup));
}

bool hasAudioStream(const std::filesystem::path& file, const ProbeSetup& setup) {
    try {
        return !probeStreamCodecs(file, setup).audio.empty();
    } catch (const RunCancelled&) {
        throw;
    } catch (const Error&) {
        return false;
    }
}

StreamCodecs probeStreamCodecs(const std::filesystem::path& file, const ProbeSetup& setup) {
    const nlohmann::json document =
        parsedProbeObject(runProbe({"-v", "error", "-show_entries", "stream=codec_type,codec_name", "-of",
                                    "json", std::filesystem::absolute(file).string()},
                                   setup));
    StreamCodecs codecs;
    const auto streams = document.find("streams");
    if (streams == document.end() || !streams->is_array()) {
        return codecs;
    }
    for (const nlohmann::json& stream : *streams) {
        const std::string type = stream.is_object() ? probeText(stream, "codec_type", "") : "";
        const std::string codec = stream.is_object() ? probeText(stream, "codec_name", "unknown") : "unknown";
        if (type == "audio") {
            codecs.audio.push_back(codec);
        } else if (type == "video" && codecs.video.empty()) {
            codecs.video = codec;
        }
    }
    return codecs;
}

ProbeResult parseCodecProbe(std::string_view text) {
    const std::optional<nlohmann::json> stream = firstProbeStream(parsedProbeObject(text));
    if (!stream) {
        throw ProbeError(kNoStream);
    }
    ProbeResult result;
    result.codecName = probeText(*stream, "codec_name", "unknown");
    result.codecTagString = probeText(*stream, "codec_tag_string", "unknown");
    result.startPts = probeInteger(*stream, "start_pts");
    if (const auto tags = stream->find("tags"); tags != stream->end() && tags->is_object()) {
        if (const auto encoder = tags->find("encoder"); encoder != tags->end() && encoder->is_string()) {
            result.encoderTag = encoder->get<std::string>();
        }
    }
    return result;
}

Rational parseDurationProbe(std::string_view text) {
    const nlohmann::json document = parsedProbeObject(text);
    const std::optional<nlohmann::json> stream = firstProbeStream(document);
    if (!stream) {
        throw ProbeError(kNoDuration);
    }
    const std::optional<ProbeTimeBase> timeBase = parsedProbeTimeBase(probeText(*stream, "time_base", ""));
    const std::optional<std::int64_t> durationTs = probeInteger(*stream, "duration_ts");
    if (!timeBase || !durationTs) {
        // Matroska and WebM keep no stream length, only the file's.
        const auto format = document.find("format");
        if (const std::optional<Rational> fileLength =
                format != document.end() && format->is_object()
                    ? probeDecimalSeconds(probeText(*format, "duration", ""))
                    : std::nullopt) {
            return *fileLength;
        }
        throw ProbeError(kNoDuration);
    }
    std::int64_t product = 0;
    const auto value = __builtin_mul_overflow(*durationTs, timeBase->numerator, &product)
                           ? std::nullopt
                           : detail::reduced(product, timeBase->denominator);
    if (!value) {
        throw ProbeError(kNoDuration);
    }
    return Rational(value->numerator, value->denominator);
}

}  // namespace FFProbe

bool isAVFoundationProRes4444(const ProbeResult& probe) {
    return probe.codecName == "prores" && probe.codecTagString == "ap4h" && probe.encoderTag &&
           probe.encoderTag->find("ProRes 4444") != std::string::npos && probe.startPts == 0;
}

}  // namespace tidyreel

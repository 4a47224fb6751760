#include "archive/media/media_probe.h"

#include "archive/media/tool_runner.h"
#include "base/utf8.h"
#include "platform/process_runner.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

namespace tidyreel {
namespace {

using nlohmann::json;

const char* const kNoStream = "No video stream found in ffprobe output";
const char* const kNoDuration = "duration_ts/time_base nicht in ffprobe output gefunden";
const char* const kDurationEntries = "stream=time_base,duration_ts:format=duration";

std::vector<std::string> probeArguments(const std::string& entries, const std::filesystem::path& file,
                                        const std::string& streams = "v:0") {
    return {"-v",    "error",         "-select_streams",
            streams, "-show_entries", entries,
            "-of",   "json",          std::filesystem::absolute(file).string()};
}

// Runs ffprobe and returns its standard output.
std::string runProbe(const std::vector<std::string>& arguments, const ProbeSetup& setup) {
    ProcessRequest request;
    request.executable = locateFFprobe(setup.tools);
    request.arguments = arguments;
    request.captureStandardOutput = true;
    request.stopToken = setup.stopToken;
    // A source that never ends (a device, a stalled network share) must not hold the run forever.
    request.timeLimit = setup.timeLimit;
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

json parsedObject(std::string_view text) {
    json document = json::parse(text, nullptr, false);
    if (document.is_discarded() || !document.is_object()) {
        throw ProbeError("ffprobe output not parseable as JSON");
    }
    return document;
}

// The first stream object; no value when there is none.
std::optional<json> firstStream(const json& document) {
    const auto streams = document.find("streams");
    if (streams == document.end() || !streams->is_array() || streams->empty() ||
        !streams->front().is_object()) {
        return std::nullopt;
    }
    return streams->front();
}

// A signed 64-bit integer given as a JSON integer, a whole JSON number, or a text of decimal digits.
std::optional<std::int64_t> int64Value(const json& stream, const char* key) {
    const auto value = stream.find(key);
    if (value == stream.end()) {
        return std::nullopt;
    }
    if (value->is_number_integer()) {
        if (value->is_number_unsigned() &&
            value->get<std::uint64_t>() > static_cast<std::uint64_t>(INT64_MAX)) {
            return std::nullopt;
        }
        return value->get<std::int64_t>();
    }
    if (value->is_number_float()) {
        const double number = value->get<double>();
        if (number >= -9223372036854775808.0 && number < 9223372036854775808.0) {
            return static_cast<std::int64_t>(number);
        }
        return std::nullopt;
    }
    if (value->is_string()) {
        return detail::parseInt64(value->get<std::string>());
    }
    return std::nullopt;
}

// A stream time base "numerator/denominator" with a non-zero denominator.
struct TimeBase {
    std::int64_t numerator;
    std::int64_t denominator;
};

std::optional<TimeBase> parsedTimeBase(const std::string& text) {
    const std::size_t slash = text.find('/');
    if (slash == std::string::npos) {
        return std::nullopt;
    }
    const std::optional<std::int64_t> numerator = detail::parseInt64(text.substr(0, slash));
    const std::optional<std::int64_t> denominator = detail::parseInt64(text.substr(slash + 1));
    if (!numerator || !denominator || *denominator == 0) {
        return std::nullopt;
    }
    return TimeBase{*numerator, *denominator};
}

std::string textOr(const json& object, const char* key, const std::string& fallback) {
    const auto value = object.find(key);
    return value != object.end() && value->is_string() ? value->get<std::string>() : fallback;
}

}  // namespace

ProbeSetup probeSetupOf(const ExportContext& context) {
    return {context.settings.tools, context.settings.toolLimits.ffprobeTime, context.stopToken};
}

namespace FFProbe {

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
        return firstStream(parsedObject(runProbe(probeArguments("stream=index", file, "a:0"), setup)))
            .has_value();
    } catch (const RunCancelled&) {
        throw;
    } catch (const Error&) {
        return false;
    }
}

ProbeResult parseCodecProbe(std::string_view text) {
    const std::optional<json> stream = firstStream(parsedObject(text));
    if (!stream) {
        throw ProbeError(kNoStream);
    }
    ProbeResult result;
    result.codecName = textOr(*stream, "codec_name", "unknown");
    result.codecTagString = textOr(*stream, "codec_tag_string", "unknown");
    result.startPts = int64Value(*stream, "start_pts");
    if (const auto tags = stream->find("tags"); tags != stream->end() && tags->is_object()) {
        if (const auto encoder = tags->find("encoder"); encoder != tags->end() && encoder->is_string()) {
            result.encoderTag = encoder->get<std::string>();
        }
    }
    return result;
}

Rational parseDurationProbe(std::string_view text) {
    const std::optional<json> stream = firstStream(parsedObject(text));
    if (!stream) {
        throw ProbeError(kNoDuration);
    }
    const std::optional<TimeBase> timeBase = parsedTimeBase(textOr(*stream, "time_base", ""));
    const std::optional<std::int64_t> durationTs = int64Value(*stream, "duration_ts");
    if (!timeBase || !durationTs) {
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

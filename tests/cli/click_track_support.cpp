#include "cli/click_track_support.h"

#include "archive/media/tool_runner.h"
#include "platform/process_runner.h"
#include "test_support.h"

#include <fmt/format.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <stdexcept>

namespace tidyreel::test {

namespace {

// A click's first sample rises above half of full scale; a coded click (AAC) spreads a little, but its
// neighbours stay far below that.
const int kClickThreshold = 16384;
// Samples passed over after a click is found, so that its other samples are not taken for a new one.
const long kClickLength = 100;
// A white picture's mean luma is 235, a dark one's about 30.
const double kFlashLuma = 128;

std::string toolOutput(const std::filesystem::path& tool, const std::vector<std::string>& arguments) {
    ProcessRequest request;
    request.executable = tool;
    request.arguments = arguments;
    request.captureStandardOutput = true;
    std::string errors;
    request.standardErrorChunk = [&](std::string_view chunk) { errors.append(chunk); };
    const ProcessResult result = runProcess(request);
    if (result.exitStatus != 0) {
        throw std::runtime_error(tool.filename().string() + " failed: " + errors);
    }
    return result.standardOutput;
}

std::string ffprobeOutput(const std::vector<std::string>& arguments) {
    return toolOutput(locateFFprobe({}), arguments);
}

std::vector<std::string> csvFields(const std::string& line) {
    std::vector<std::string> fields;
    std::size_t from = 0;
    while (true) {
        const std::size_t comma = line.find(',', from);
        fields.push_back(line.substr(from, comma - from));
        if (comma == std::string::npos) {
            return fields;
        }
        from = comma + 1;
    }
}

// "1/12800", as ffprobe writes a time base.
Rational timeBaseFrom(const std::string& text) {
    const std::size_t slash = text.find('/');
    return Rational(std::stoll(text.substr(0, slash)), std::stoll(text.substr(slash + 1)));
}

// Sound sample `n` starts a click when it is one of the first three at or after the start of a flashing
// frame, `delay` samples on.
std::string clickExpression(const FlashPattern& pattern, long delay) {
    const Rational perFrame = pattern.frame * kClickSampleRate;
    const std::string sample = fmt::format("(n-{})", delay);
    const std::string frame =
        fmt::format("floor({}*{}/{})", sample, perFrame.denominator(), perFrame.numerator());
    const std::string intoFrame =
        fmt::format("({}-{}*{}/{})", sample, frame, perFrame.numerator(), perFrame.denominator());
    const std::string click =
        fmt::format("eq(mod({},{}),{})*lt({},3)", frame, pattern.period, pattern.first, intoFrame);
    return delay == 0 ? click : click + "+0.1*sin(2*PI*1000*n/" + std::to_string(kClickSampleRate) + ")";
}

}  // namespace

std::vector<Rational> FlashPattern::flashTimes(int seconds) const {
    std::vector<Rational> times;
    for (long index = first; Rational(index) * frame < seconds; index += period) {
        times.push_back(Rational(index) * frame);
    }
    return times;
}

void makeFlashClickVideo(const std::filesystem::path& file, int seconds, const FlashPattern& pattern,
                         const std::vector<long>& clickDelays,
                         const std::vector<std::string>& codecArguments) {
    std::vector<std::string> arguments{
        "-nostdin",
        "-v",
        "error",
        "-y",
        "-f",
        "lavfi",
        "-i",
        fmt::format("color=c=0x101010:s=320x180:r={}:d={},drawbox=c=white:t=fill:enable='eq(mod(n,{}),{})'",
                    pattern.rate, seconds, pattern.period, pattern.first)};
    for (const long delay : clickDelays) {
        arguments.insert(arguments.end(),
                         {"-f", "lavfi", "-i",
                          fmt::format("aevalsrc=exprs='{}':s={}:d={}", clickExpression(pattern, delay),
                                      kClickSampleRate, seconds)});
    }
    arguments.insert(arguments.end(), {"-map", "0:v"});
    for (std::size_t stream = 1; stream <= clickDelays.size(); ++stream) {
        arguments.insert(arguments.end(), {"-map", std::to_string(stream) + ":a"});
    }
    arguments.insert(arguments.end(), codecArguments.begin(), codecArguments.end());
    arguments.insert(arguments.end(), {"-t", std::to_string(seconds), file.string()});
    toolOutput(locateFFmpeg({}), arguments);
}

ShownPictures decodePictures(const std::filesystem::path& file) {
    const std::string text = ffprobeOutput(
        {"-v", "error", "-f", "lavfi", "-i", "movie='" + file.string() + "',signalstats", "-show_entries",
         "stream=time_base:frame=pts:frame_tags=lavfi.signalstats.YAVG", "-of", "csv"});
    std::vector<std::pair<std::int64_t, double>> frames;
    Rational timeBase;
    for (const std::string& line : splitLines(text)) {
        const std::vector<std::string> fields = csvFields(line);
        if (fields.size() == 3 && fields[0] == "frame") {
            frames.emplace_back(std::stoll(fields[1]), std::stod(fields[2]));
        } else if (fields.size() == 2 && fields[0] == "stream") {
            timeBase = timeBaseFrom(fields[1]);
        }
    }
    ShownPictures pictures;
    for (const auto& [pts, luma] : frames) {
        pictures.starts.push_back(Rational(pts) * timeBase);
        if (luma > kFlashLuma) {
            pictures.flashes.push_back(pictures.starts.back());
        }
    }
    return pictures;
}

ClickTrack decodeClickTrack(const std::filesystem::path& file, int audioIndex) {
    const std::string stream = "a:" + std::to_string(audioIndex);
    // The first decoded frame's time: a decoder that drops priming samples returns none for the first
    // packets.
    const std::string probed = ffprobeOutput({"-v", "error", "-select_streams", stream, "-show_entries",
                                              "stream=time_base:frame=pts", "-read_intervals", "%+#20", "-of",
                                              "csv", file.string()});
    std::optional<std::int64_t> firstPts;
    Rational timeBase;
    for (const std::string& line : splitLines(probed)) {
        const std::vector<std::string> fields = csvFields(line);
        if (fields.size() == 2 && fields[0] == "frame" && !firstPts) {
            firstPts = std::stoll(fields[1]);
        } else if (fields.size() == 2 && fields[0] == "stream") {
            timeBase = timeBaseFrom(fields[1]);
        }
    }
    if (!firstPts) {
        throw std::runtime_error("no sound in " + file.string() + " " + stream);
    }
    const std::string bytes =
        toolOutput(locateFFmpeg({}), {"-nostdin", "-v", "error", "-i", file.string(), "-map", "0:" + stream,
                                      "-c:a", "pcm_s16le", "-f", "s16le", "-"});
    ClickTrack track;
    track.start = Rational(*firstPts) * timeBase;
    track.samples = static_cast<long>(bytes.size() / sizeof(std::int16_t));
    for (long index = 0; index < track.samples; ++index) {
        std::int16_t sample = 0;
        std::memcpy(&sample, bytes.data() + index * sizeof(std::int16_t), sizeof(sample));
        if (std::abs(sample) >= kClickThreshold) {
            track.clicks.push_back(index);
            index += kClickLength;
        }
    }
    return track;
}

int audioStreamCount(const std::filesystem::path& file) {
    return static_cast<int>(splitLines(ffprobeOutput({"-v", "error", "-select_streams", "a", "-show_entries",
                                                      "stream=index", "-of", "csv=p=0", file.string()}))
                                .size());
}

}  // namespace tidyreel::test

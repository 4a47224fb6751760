#include "archive/media/encoder_profile.h"

#include "base/file_names.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <cmath>

namespace tidyreel {
namespace {

void append(std::vector<std::string>& arguments, std::vector<std::string> more) {
    arguments.insert(arguments.end(), std::make_move_iterator(more.begin()),
                     std::make_move_iterator(more.end()));
}

// Picks a segment's frames out of what is read from `seek` on. ffmpeg counts the frames' timestamps from
// the keyframe reading starts at (the seek time rounded onto the stream's clock), so moving them by the
// whole number of clock ticks from that keyframe to the segment's start puts the start exactly at 0. The
// fps filter then gives every frame slot the last frame starting before the slot's middle (a frame a
// little late or early on a phone's clock still fills its own slot), and the trim keeps the segment's
// number of slots.
std::string segmentFilters(std::size_t index, const SegmentCut& cut, Rational seek,
                           const std::optional<Rational>& frameDuration, bool withAudio) {
    const HalfOpenRange& segment = cut.segment;
    const Rational toStart = segment.start - std::min(cut.readFrom, segment.start);
    const std::string picked =
        frameDuration
            ? fmt::format("fps=fps={}:start_time=0:round=near,trim=end_frame={}",
                          (Rational::one() / *frameDuration).description(), framesIn(segment, *frameDuration))
            : "trim=start=0:duration=" + ffmpegSeconds(segment.length().doubleValue()) +
                  ",setpts=PTS-STARTPTS";
    std::string filters =
        fmt::format("[{0}:v:0]setpts=PTS-round({1}/TB),{2}[v{0}];", index, toStart.description(), picked);
    if (withAudio) {
        filters += fmt::format("[{0}:a:0]atrim=start={1}:duration={2},asetpts=PTS-STARTPTS[a{0}];", index,
                               ffmpegSeconds((segment.start - seek).doubleValue()),
                               ffmpegSeconds(segment.length().doubleValue()));
    }
    return filters;
}

}  // namespace

std::string_view encoderProfileName(EncoderProfile profile) {
    switch (profile) {
        case EncoderProfile::hevcVideoToolbox:
            return "hevc_videotoolbox";
        case EncoderProfile::copy:
            return "copy";
        case EncoderProfile::libx265:
            break;
    }
    return "libx265";
}

std::optional<EncoderProfile> encoderProfileNamed(std::string_view name) {
    for (const EncoderProfile profile : kEncoderProfiles) {
        if (encoderProfileName(profile) == name) {
            return profile;
        }
    }
    return std::nullopt;
}

EncoderProfile defaultEncoderProfile() {
#ifdef __APPLE__
    return EncoderProfile::hevcVideoToolbox;
#else
    return EncoderProfile::libx265;
#endif
}

bool isEncoderProfileAvailable(EncoderProfile profile) {
#ifdef __APPLE__
    return true;
#else
    return profile != EncoderProfile::hevcVideoToolbox;
#endif
}

EncoderProfile selectedEncoderProfile(std::string_view name) {
    return encoderProfileNamed(name).value_or(defaultEncoderProfile());
}

std::string ffmpegSeconds(double seconds) {
    return fmt::format("{:.6f}", seconds);
}

std::string seekSeconds(Rational seconds, SeekRounding rounding) {
    const double micros = (seconds * 1000000).doubleValue();
    const auto whole =
        static_cast<std::int64_t>(rounding == SeekRounding::up ? std::ceil(micros) : std::floor(micros));
    return fmt::format("{}.{:06}", whole / 1000000, whole % 1000000);
}

std::vector<std::string> outputTail(const std::filesystem::path& output) {
    std::vector<std::string> tail;
    if (lowercasedExtension(output) == ".m4v") {
        tail = {"-f", "ipod"};
    }
    append(tail, {"-y", output.string()});
    return tail;
}

std::vector<std::string> streamCopyArguments(const std::filesystem::path& input,
                                             const std::filesystem::path& output, double start,
                                             double duration) {
    std::vector<std::string> arguments{"-ss",
                                       ffmpegSeconds(start),
                                       "-i",
                                       input.string(),
                                       "-t",
                                       ffmpegSeconds(duration),
                                       "-map",
                                       "0:v:0",
                                       "-map",
                                       "0:a?",
                                       "-c",
                                       "copy",
                                       "-avoid_negative_ts",
                                       "make_zero"};
    append(arguments, outputTail(output));
    return arguments;
}

std::vector<std::string> videoToolboxArguments(const std::filesystem::path& input,
                                               const std::filesystem::path& output, double start,
                                               double duration) {
    std::vector<std::string> arguments{"-i",
                                       input.string(),
                                       "-ss",
                                       ffmpegSeconds(start),
                                       "-t",
                                       ffmpegSeconds(duration),
                                       "-c:v",
                                       "hevc_videotoolbox",
                                       "-tag:v",
                                       "hvc1",
                                       "-q:v",
                                       "65",
                                       "-b:v",
                                       "0",
                                       "-bf",
                                       "0",
                                       "-spatial_aq",
                                       "1",
                                       "-c:a",
                                       "aac",
                                       "-b:a",
                                       "320k",
                                       "-avoid_negative_ts",
                                       "make_zero",
                                       "-map",
                                       "0:v:0",
                                       "-map",
                                       "0:a?"};
    append(arguments, outputTail(output));
    return arguments;
}

std::vector<std::string> concatArguments(const std::filesystem::path& output) {
    std::vector<std::string> arguments{"-f",  "concat", "-i",   "concat_list.txt", "-map",
                                       "0",   "-map",   "-0:d", "-ignore_unknown", "-c",
                                       "copy"};
    append(arguments, outputTail(output));
    return arguments;
}

Rational seekTime(Rational time) {
    return time.snappedToFrameGridFloor(Rational(1, 1000000));
}

std::vector<std::string> x265Arguments(const std::filesystem::path& input,
                                       const std::filesystem::path& output,
                                       const std::vector<SegmentCut>& cuts,
                                       const std::optional<Rational>& frameDuration, bool withAudio) {
    std::vector<std::string> arguments{"-nostdin"};
    std::string filters;
    std::string joined;
    for (std::size_t i = 0; i < cuts.size(); ++i) {
        const Rational seek = seekTime(std::min(cuts[i].readFrom, cuts[i].segment.start));
        // Reading stops one frame after the segment; the filters decide exactly what is kept.
        const Rational readLength = cuts[i].segment.end - seek + frameDuration.value_or(Rational::zero());
        append(arguments, {"-ss", ffmpegSeconds(seek.doubleValue()), "-t",
                           ffmpegSeconds(readLength.doubleValue()), "-i", input.string()});
        filters += segmentFilters(i, cuts[i], seek, frameDuration, withAudio);
        joined += withAudio ? fmt::format("[v{0}][a{0}]", i) : fmt::format("[v{0}]", i);
    }
    filters += fmt::format("{}concat=n={}:v=1:a={}[v]{}", joined, cuts.size(), withAudio ? 1 : 0,
                           withAudio ? "[a]" : "");
    append(arguments, {"-filter_complex", filters, "-map", "[v]"});
    if (withAudio) {
        append(arguments, {"-map", "[a]"});
    }
    // The source's timecode (a stream tag of its video) is carried over, so the file keeps its origin.
    append(arguments,
           {"-map_metadata:s:v:0", "0:s:v:0", "-c:v", "libx265", "-preset", "medium", "-crf", "20",
            "-x265-params", "bframes=0:log-level=error", "-pix_fmt", "yuv420p10le", "-tag:v", "hvc1"});
    if (withAudio) {
        append(arguments, {"-c:a", "aac", "-b:a", "320k"});
    }
    append(arguments, outputTail(output));
    return arguments;
}

std::int64_t framesIn(const HalfOpenRange& segment, Rational frameDuration) {
    return static_cast<std::int64_t>(std::llround((segment.length() / frameDuration).doubleValue()));
}

}  // namespace tidyreel

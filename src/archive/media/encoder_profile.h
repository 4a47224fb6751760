#pragma once

#include "archive/planning/interval_merger.h"
#include "time/rational.h"

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tidyreel {

/// How re-encoded segments are made.
enum class EncoderProfile {
    hevcVideoToolbox,  ///< macOS hardware HEVC: one ffmpeg run per segment, joined by the concat demuxer
    libx265,           ///< software HEVC: all segments of a file in one frame-exact ffmpeg run
    copy,              ///< no re-encoding: segments are stream-copied, long-GOP ones widened to keyframes
};

/// Every profile, in the order `--help` lists them.
inline constexpr EncoderProfile kEncoderProfiles[] = {EncoderProfile::libx265,
                                                      EncoderProfile::hevcVideoToolbox, EncoderProfile::copy};

/// The profile's name as the setting "encoder" and `--encoder` write it ("hevc_videotoolbox", "libx265",
/// "copy").
std::string_view encoderProfileName(EncoderProfile profile);
/// The profile with that name; no value for any other text.
std::optional<EncoderProfile> encoderProfileNamed(std::string_view name);
/// The platform's profile: VideoToolbox on macOS, libx265 elsewhere.
EncoderProfile defaultEncoderProfile();
/// Whether this platform has the profile's encoder: VideoToolbox exists only on macOS.
bool isEncoderProfileAvailable(EncoderProfile profile);
/// The profile a run's encoder setting names, else the platform's (also for an empty name).
EncoderProfile selectedEncoderProfile(std::string_view name);

/// Seconds as ffmpeg reads them: six decimals, independent of the locale.
std::string ffmpegSeconds(double seconds);

/// Which way a seek time is rounded to the microsecond ffmpeg seeks by: down, so that the seek never lands
/// after a keyframe; up, so that it lands on the keyframe at that time, not on the one before.
enum class SeekRounding { down, up };
/// `seconds` as an ffmpeg seek time, rounded the given way.
std::string seekSeconds(Rational seconds, SeekRounding rounding);

/// "-f ipod" for an .m4v output, then "-y" and the output.
std::vector<std::string> outputTail(const std::filesystem::path& output);

/// Cut by stream copy: seek on the input, copy video and any audio.
std::vector<std::string> streamCopyArguments(const std::filesystem::path& input,
                                             const std::filesystem::path& output, double start,
                                             double duration);

/// Cut by re-encoding with the VideoToolbox HEVC encoder.
std::vector<std::string> videoToolboxArguments(const std::filesystem::path& input,
                                               const std::filesystem::path& output, double start,
                                               double duration);

/// Joins the segment files named in "concat_list.txt" (relative to the working folder) by stream copy.
std::vector<std::string> concatArguments(const std::filesystem::path& output);

/// One segment to cut and where reading its source begins: a keyframe at or before the frame shown at the
/// segment's start, so that this frame decodes even when it is a leading frame of a later keyframe.
struct SegmentCut {
    HalfOpenRange segment;
    Rational readFrom;
};

/// Where ffmpeg is asked to seek for a read from `time`: that time rounded down to the microseconds it
/// prints, so that the seek never lands after the keyframe it aims at.
Rational seekTime(Rational time);

/// Cuts and joins all segments of one file with libx265 in one run. Each segment is read from its
/// `readFrom` keyframe and picked out by timestamp: with a known frame duration, every frame slot of the
/// segment shows the source frame starting nearest before the slot's middle (variable-rate sources become
/// constant-rate on the plan's frame grid), and the segment keeps exactly its number of frames, so the joined
/// pieces line up with the plan. Audio is cut to the same times and encoded once, so no priming gap sits
/// between the pieces.
std::vector<std::string> x265Arguments(const std::filesystem::path& input,
                                       const std::filesystem::path& output,
                                       const std::vector<SegmentCut>& cuts,
                                       const std::optional<Rational>& frameDuration, bool withAudio);

/// The number of frames of `frameDuration` in a segment: its length on the frame grid, rounded.
std::int64_t framesIn(const HalfOpenRange& segment, Rational frameDuration);

}  // namespace tidyreel

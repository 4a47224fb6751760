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

/// Cuts and joins all segments of one file with libx265 in one run. Each segment is read from half a
/// frame before its start (fast seek, then exact decoding) and keeps exactly its number of frames, so
/// every kept frame lands on the frame grid of the output and the joined pieces line up exactly; audio
/// is cut to the same times and encoded once, so no priming gap sits between the pieces.
std::vector<std::string> x265Arguments(const std::filesystem::path& input,
                                       const std::filesystem::path& output,
                                       const std::vector<Segment>& segments,
                                       const std::optional<Rational>& frameDuration, bool withAudio);

/// The number of frames of `frameDuration` in a segment: its length on the frame grid, rounded.
std::int64_t framesIn(const Segment& segment, Rational frameDuration);

}  // namespace tidyreel

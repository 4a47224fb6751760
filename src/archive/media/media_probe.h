#pragma once

#include "base/error.h"
#include "base/error_codes.h"
#include "pipeline/export_context.h"
#include "pipeline/run_settings.h"
#include "time/rational.h"

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <stop_token>
#include <string>
#include <string_view>
#include <vector>

namespace tidyreel {

/// What ffprobe says about the first video stream of a file.
struct ProbeResult {
    std::string codecName = "unknown";       ///< `codec_name`
    std::string codecTagString = "unknown";  ///< `codec_tag_string` (the four-character code)
    std::optional<std::int64_t> startPts;    ///< `start_pts`
    std::optional<std::string> encoderTag;   ///< the stream tag `encoder`

    bool operator==(const ProbeResult&) const = default;
};

/// A failed probe; its description is the message.
class ProbeError : public Error {
public:
    /// A probe error with this message.
    explicit ProbeError(const std::string& message)
        : Error(MediaProbeError::domain, MediaProbeError::failed, message) {}
};

/// How ffprobe runs: which one, how long it may take, and the stop request of the run it serves (a stop
/// ends the probe at once with `RunCancelled`).
struct ProbeSetup {
    ToolPaths tools;                                                 ///< the configured ffprobe
    std::chrono::milliseconds timeLimit = ToolLimits{}.ffprobeTime;  ///< stopped as failed after this
    std::stop_token stopToken;                                       ///< the run's stop request
};

/// The probe setup of a run: its ffprobe and time limit, stopped with the run.
ProbeSetup probeSetupOf(const ExportContext& context);
/// The probe setup of these settings' ffprobe and time limit, for work outside a run (never stopped).
ProbeSetup probeSetupOf(const RunSettings& settings);

namespace FFProbe {

/// Runs ffprobe as `setup` says with `arguments` and returns its standard output; stopped after the
/// setup's time limit and on its stop request (`RunCancelled`); throws `ProbeError` on failure.
std::string runProbe(const std::vector<std::string>& arguments, const ProbeSetup& setup);

/// Codec facts of the file's first video stream, read with the run's ffprobe; throws `ProbeError`.
ProbeResult probeCodec(const std::filesystem::path& file, const ProbeSetup& setup);
/// Exact length of the file's first video stream; throws `ProbeError`.
Rational probeDuration(const std::filesystem::path& file, const ProbeSetup& setup);
/// Exact length of the file's first sound stream; throws `ProbeError`.
Rational probeSoundDuration(const std::filesystem::path& file, const ProbeSetup& setup);
/// Whether the file has an audio stream; false when ffprobe cannot tell (a stop request still throws).
bool hasAudioStream(const std::filesystem::path& file, const ProbeSetup& setup);
/// The codecs of a file's streams, read in one probe.
struct StreamCodecs {
    std::string video;               ///< the first video stream's ("h264"); empty without one
    std::vector<std::string> audio;  ///< the audio streams' in order ("pcm_s24le", "aac")
};

/// The codecs of the file's first video stream and of all its audio streams; throws `ProbeError`.
StreamCodecs probeStreamCodecs(const std::filesystem::path& file, const ProbeSetup& setup);

/// The nine arguments of the codec probe.
std::vector<std::string> codecProbeArguments(const std::filesystem::path& file);
/// The nine arguments of the duration probe.
std::vector<std::string> durationProbeArguments(const std::filesystem::path& file);
/// Reads the codec probe's JSON output; throws `ProbeError`.
ProbeResult parseCodecProbe(std::string_view json);
/// Reads the duration probe's JSON output; throws `ProbeError`.
Rational parseDurationProbe(std::string_view json);

}  // namespace FFProbe

/// ProRes 4444 written by AVFoundation, the one source that is cut by stream copy.
bool isAVFoundationProRes4444(const ProbeResult& probe);

}  // namespace tidyreel

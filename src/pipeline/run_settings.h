#pragma once

#include "pipeline/effect_reference.h"

#include <chrono>
#include <filesystem>
#include <set>
#include <string>

namespace tidyreel {

/// The external tools a run uses, as configured when it started (`TIDYREEL_FFMPEG` / `TIDYREEL_FFPROBE`,
/// else the settings "ffmpegPath" / "ffprobePath"); empty: the one next to the executable, else on `PATH`.
struct ToolPaths {
    std::filesystem::path ffmpeg;   ///< the configured ffmpeg, or empty
    std::filesystem::path ffprobe;  ///< the configured ffprobe, or empty
};

/// How long the external tools may take before they are stopped as failed; taken when the run starts
/// from `TIDYREEL_FFPROBE_TIME_LIMIT` and `TIDYREEL_FFMPEG_SILENCE_LIMIT` (seconds) when they are set.
struct ToolLimits {
    std::chrono::milliseconds ffprobeTime{60'000};  ///< the longest one ffprobe run may take
    std::chrono::milliseconds ffmpegSilence{
        120'000};  ///< the longest ffmpeg may stay silent on standard error
};

/// Everything besides the project that determines a run: taken once when the run starts and handed to
/// its context as a whole, so that nothing below reads the settings store while the run works.
struct RunSettings {
    std::filesystem::path outputDirectory;  ///< the chosen output folder; empty when none is chosen
    std::set<std::string> includedRoles;    ///< roles the user left enabled (archive)
    double buffer = 10.0;                   ///< trim handle length in seconds (archive)
    double minSegment = 20.0;               ///< minimum segment length in seconds (archive)
    bool allowOffline = false;              ///< archive: leave out missing sources (with a warning)
    bool exportChapterMarkers = false;      ///< description workflow: the chapter list
    bool exportVideoDescription = false;    ///< description workflow: the description texts
    std::string youtubeDescription1;        ///< first description text from the settings
    std::string youtubeDescription2;        ///< second description text from the settings
    RoleEffectMappings roleEffectMappings;  ///< the effect assigned to each role
    std::string encoder;                    ///< the encoder profile's name; empty: the platform's
    ToolPaths tools;                        ///< the configured ffmpeg and ffprobe
    ToolLimits toolLimits;                  ///< when a tool that hangs is stopped
    bool debugMode = true;                  ///< tasks write their "DEBUG: " lines
};

}  // namespace tidyreel

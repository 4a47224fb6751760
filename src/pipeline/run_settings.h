#pragma once

#include "pipeline/effect_reference.h"

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

/// Everything besides the project that determines a run: taken once when the run starts and handed to
/// its context as a whole, so that nothing below reads the settings store while the run works.
struct RunSettings {
    std::filesystem::path outputDirectory;  ///< the chosen output folder; empty when none is chosen
    std::set<std::string> includedRoles;    ///< roles the user left enabled (archive)
    double buffer = 10.0;                   ///< trim handle length in seconds (archive)
    double minSegment = 20.0;               ///< minimum segment length in seconds (archive)
    bool exportChapterMarkers = false;      ///< description workflow: the chapter list
    bool exportVideoDescription = false;    ///< description workflow: the description texts
    std::string youtubeDescription1;        ///< first description text from the settings
    std::string youtubeDescription2;        ///< second description text from the settings
    RoleEffectMappings roleEffectMappings;  ///< the effect assigned to each role
    std::string encoder;                    ///< the encoder profile's name; empty: the platform's
    ToolPaths tools;                        ///< the configured ffmpeg and ffprobe
    bool debugMode = true;                  ///< tasks write their "DEBUG: " lines
};

}  // namespace tidyreel

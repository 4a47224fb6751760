#pragma once

#include "time/rational.h"

#include <filesystem>
#include <string>
#include <vector>

namespace tidyreel::test {

/// The sound rate of every click track.
inline constexpr long kClickSampleRate = 48000;

/// Where a flash-and-click file flashes: one white frame every `period` frames, the first at frame
/// `first`, on an otherwise dark picture.
struct FlashPattern {
    std::string rate;  ///< frames per second as ffmpeg reads them: "25", "30000/1001"
    Rational frame;    ///< how long one frame shows
    long period = 0;
    long first = 0;

    /// The start times of the flashes in the first `seconds` of a file.
    std::vector<Rational> flashTimes(int seconds) const;
};

/// Makes a 320x180 file of `seconds` that flashes as `pattern` says, with one sound stream per entry of
/// `clickDelays` at 48 kHz: silence with a click of three full-scale samples, starting `delay` samples after
/// the first sample at or after each flash's start. A stream with a non-zero delay also carries a quiet
/// 1 kHz tone, so that no two streams sound alike. `codecArguments` are the output options.
void makeFlashClickVideo(const std::filesystem::path& file, int seconds, const FlashPattern& pattern,
                         const std::vector<long>& clickDelays,
                         const std::vector<std::string>& codecArguments);

/// The first video stream of a file as a player shows it (edit lists applied): when each picture and each
/// flash starts, in seconds from the file's start.
struct ShownPictures {
    std::vector<Rational> starts;
    std::vector<Rational> flashes;
};

ShownPictures decodePictures(const std::filesystem::path& file);

/// One sound stream of a file decoded as a player plays it: when its first sample plays, how many samples
/// it has, and the index of each click's first sample.
struct ClickTrack {
    Rational start;
    long samples = 0;
    std::vector<long> clicks;

    /// When the sample at `index` plays, in seconds from the file's start.
    Rational timeOf(long index) const { return start + Rational(index, kClickSampleRate); }
};

/// Decodes the sound stream `audioIndex` (0 for the first) of a file.
ClickTrack decodeClickTrack(const std::filesystem::path& file, int audioIndex);

/// How many sound streams a file has.
int audioStreamCount(const std::filesystem::path& file);

}  // namespace tidyreel::test

#pragma once

#include "time/rational.h"

#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace tidyreel {
class XmlDocument;
}

namespace tidyreel::test {

/// Runs a shell command line (test media tools only); true when it exits with 0.
bool runShell(const std::string& commandLine);

/// A tiny 160x90 test file at `rate` frames per second ("25", "30000/1001") whose frame n has the uniform
/// grey level (n × 37 + shift) mod 256, so that a frame can be told from its neighbours by its brightness.
/// `extraArguments` are output options (codec, audio, timecode).
void makeTestVideo(const std::filesystem::path& file, int seconds, int shift,
                   const std::string& extraArguments, const std::string& rate = "25");

/// Like `makeTestVideo`, but H.264 in MP4 at a variable rate, as phones record: 2 s at 30 fps, then 2 s at
/// 24 fps, and so on (timestamps on a 1/600 s clock), with a sine tone.
void makeVariableRateVideo(const std::filesystem::path& file, int seconds);

/// The mean grey level of frame `index` of a video file (−1 when it cannot be read).
double frameBrightness(const std::filesystem::path& file, long index);

/// The MD5 of decoded frame `index` of a video file, in its own pixel format (empty when it cannot be read).
std::string frameMD5(const std::filesystem::path& file, long index);

/// The MD5 of every decoded frame of a video file, in its own pixel format, in the order they come out.
std::vector<std::string> frameMD5s(const std::filesystem::path& file);

/// The index of the frame shown in the slot of `frame` seconds at `time` (seconds from the file's start):
/// the last one starting before the slot's middle, by the file's real frame timestamps.
long shownFrame(const std::filesystem::path& file, Rational time, Rational frame);

/// Expects the archived clip to show, at `newStart`, the frame the source showed at `oldStart` (times with
/// the timecode `origin`), told from both neighbours by brightness.
void expectSameFrame(const std::filesystem::path& source, Rational oldStart,
                     const std::filesystem::path& archived, Rational newStart, Rational origin,
                     Rational frame, const std::string& what);

/// The start of the first frame of `frame` seconds at or after `seconds` (counted from zero).
Rational frameStartAtOrAfter(double seconds, Rational frame);

/// The `start` of the project's asset clip named `name`.
Rational clipStart(const XmlDocument& document, const std::string& name);

/// One ffprobe entry of the first video stream (for example "duration_ts", "codec_name", "tag:timecode").
std::string videoStreamEntry(const std::filesystem::path& file, const std::string& entry);

/// A fingerprint of a file's bytes.
std::size_t fileChecksum(const std::filesystem::path& file);

/// The sources an end-to-end test hands the binary, checksummed when named here. Tidyreel reads its
/// sources and never writes them: when the guard goes out of scope at the end of the test, every source
/// must still hold the bytes it had (a test failure names each one that changed).
class UnchangedSources {
public:
    explicit UnchangedSources(const std::vector<std::filesystem::path>& sources);
    ~UnchangedSources();
    UnchangedSources(const UnchangedSources&) = delete;
    UnchangedSources& operator=(const UnchangedSources&) = delete;

    /// The checksum `source` had when it was named.
    std::size_t checksumOf(const std::filesystem::path& source) const { return checksums_.at(source); }

private:
    std::map<std::filesystem::path, std::size_t> checksums_;
};

}  // namespace tidyreel::test

#pragma once

#include "time/rational.h"

#include <filesystem>
#include <string>

namespace tidyreel::test {

/// Runs a shell command line (test media tools only); true when it exits with 0.
bool runShell(const std::string& commandLine);

/// A tiny 160x90 test file at `rate` frames per second ("25", "30000/1001") whose frame n has the uniform
/// grey level (n × 37 + shift) mod 256, so that a frame can be told from its neighbours by its brightness.
/// `extraArguments` are output options (codec, audio, timecode).
void makeTestVideo(const std::filesystem::path& file, int seconds, int shift,
                   const std::string& extraArguments, const std::string& rate = "25");

/// The mean grey level of frame `index` of a video file (−1 when it cannot be read).
double frameBrightness(const std::filesystem::path& file, long index);

/// The MD5 of decoded frame `index` of a video file, in its own pixel format (empty when it cannot be read).
std::string frameMD5(const std::filesystem::path& file, long index);

/// One ffprobe entry of the first video stream (for example "duration_ts", "codec_name", "tag:timecode").
std::string videoStreamEntry(const std::filesystem::path& file, const std::string& entry);

/// Expects the archived clip to show, at `newStart`, the frame the source showed at `oldStart` (times with
/// the timecode `origin`), told from both neighbours by brightness.
void expectSameFrame(const std::filesystem::path& source, Rational oldStart,
                     const std::filesystem::path& archived, Rational newStart, Rational origin,
                     Rational frame, const std::string& what);

/// A fingerprint of a file's bytes.
std::size_t fileChecksum(const std::filesystem::path& file);

}  // namespace tidyreel::test

#pragma once

#include "archive/media/media_probe.h"
#include "time/rational.h"

#include <filesystem>
#include <vector>

namespace tidyreel {

/// Which of `starts` (keyframe times since the file's start) the file cannot be decoded from without the
/// decoder complaining, by index, ascending. After an H.264 I picture that is no IDR (x264's open GOPs) the
/// decoder still expects the pictures before it; a player seeking there starts the same way. Each start
/// is decoded for a quarter of a second (the decoder speaks up at the first pictures), all in one ffmpeg run,
/// and one by one only when that run complains. Throws `RunCancelled` on a stop request.
std::vector<std::size_t> startsThatComplain(const std::filesystem::path& file,
                                            const std::vector<Rational>& starts, const ProbeSetup& setup);

}  // namespace tidyreel

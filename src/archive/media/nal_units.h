#pragma once

#include "archive/media/video_packets.h"
#include "time/rational.h"

#include <cstdint>
#include <filesystem>
#include <span>
#include <vector>

namespace tidyreel {

/// H.264 and HEVC pictures as MP4 and MOV store them: NAL units, each behind a four-byte length (the length
/// size every camera and encoder writes).

/// Where each NAL unit's header begins in a sample, in order. Throws `Error` (StreamCopy, picturesDiffer)
/// when the lengths do not exactly fill the sample or a unit is shorter than its header (`headerBytes`:
/// one in H.264, two in HEVC).
std::vector<std::size_t> nalUnitHeaderOffsets(std::span<const std::uint8_t> sample, std::size_t headerBytes);

/// Whether an H.264 sample holds an IDR picture, where decoding can begin without anything before it. False
/// for a sample that cannot be read as NAL units.
bool isH264IDRPicture(std::span<const std::uint8_t> sample);

/// Whether the packet of sorted `packets` shown at `time` in `file` is an H.264 IDR picture, read from its
/// bytes: decoding can begin there without trying. False where there is none or its bytes cannot be read.
bool showsH264IDRPictureAt(const std::filesystem::path& file, const std::vector<VideoPacket>& packets,
                           Rational time);

}  // namespace tidyreel

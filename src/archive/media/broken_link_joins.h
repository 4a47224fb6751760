#pragma once

#include "archive/media/media_probe.h"
#include "archive/media/video_packets.h"
#include "time/rational.h"

#include <cstdint>
#include <filesystem>
#include <span>
#include <string>
#include <vector>

namespace tidyreel {

/// HEVC counts its pictures on through a CRA keyframe (clean random access) that does not begin the stream.
/// Where a copy joins a range that starts at one to the range before, the decoder would go on counting from
/// that range's pictures and give the pictures around the join out of order. Marked as a broken link (BLA),
/// the same picture tells the decoder that a new sequence begins there: it gives out every picture before it
/// and counts afresh, as at the stream's start. The range's leading pictures are left out by the copy, as a
/// broken link allows. Only the NAL unit type in each slice's header changes, in place.

/// Whether the stream of this codec needs its joins marked.
bool joinsNeedMarking(const std::string& videoCodec);

/// Marks an HEVC picture as MP4 and MOV store it (NAL units behind four-byte lengths) as a broken link when
/// it is a CRA picture: every slice's NAL unit type becomes BLA_W_LP. True when it was one. Throws `Error`
/// (picturesDiffer) when the sample cannot be read as NAL units, and leaves it as it was.
bool markBrokenLink(std::span<std::uint8_t> sample);

/// Marks the keyframe shown at each of `joins` (seconds from the file's start, ascending, none at zero) in
/// the written file `file` as a broken link where it is a CRA picture. Reads only the packets at the joins;
/// throws `Error` (joinNotDecodable when a join has no keyframe or cannot be written), `ProbeError`, and
/// `RunCancelled` on a stop request.
void markJoinsAsBrokenLinks(const std::filesystem::path& file, const std::vector<Rational>& joins,
                            const ProbeSetup& probe);

}  // namespace tidyreel

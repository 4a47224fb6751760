#pragma once

#include "archive/media/media_probe.h"
#include "archive/media/video_packets.h"
#include "archive/planning/keyframe_widening.h"
#include "archive/planning/segment_planning.h"

#include <optional>
#include <string>
#include <vector>

namespace tidyreel {

/// Whether and how the plan's source can be cut by stream copy, decided without cutting anything.
struct StreamCopyDecision {
    std::vector<HalfOpenRange> ranges;  ///< the kept ranges widened to keyframe cuts, in order
    WideningCost added;                 ///< how much longer they are than the planned segments, and why
    std::optional<std::string> reencodeReason;  ///< why it must be re-encoded instead; then no ranges
    std::vector<VideoPacket> sourcePackets;     ///< the source's shown packets around the segments' ends (or
                                                ///< all), which the ranges were chosen from
    std::string videoCodec;                     ///< the source's first video stream's
    std::vector<std::string> audioCodecs;       ///< the source's sound streams, each cut with the pictures
    VideoClock clock;                           ///< how the source's video counts time
};

/// Whether every picture of this codec (ffprobe's name) is a keyframe: ProRes, DNxHD/DNxHR, MJPEG, PNG,
/// TIFF. (AVC-Intra is H.264 of IDR pictures only.)
bool isIntraFrameCodec(const std::string& codec);

/// Decides the stream copy of the plan's source: its codec, then its packets around the segments' ends (the
/// whole file's when those do not show every picture there), from which the keyframes and their
/// closedness (leading pictures in decoding order) are read; each segment widens outward to keyframes a copy
/// can cut at (closed ones; open ones too where the codec lets their leading pictures be left out; the
/// file's end at worst), and an H.264 range's start further back while decoding from it complains (the
/// file's start at worst). Throws `ProbeError`, `RunCancelled`.
StreamCopyDecision planStreamCopy(const TrimPlan& plan, const ProbeSetup& probe);

}  // namespace tidyreel

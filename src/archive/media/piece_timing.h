#pragma once

#include "archive/media/video_packets.h"
#include "archive/planning/interval_merger.h"
#include "time/rational.h"

#include <cstddef>
#include <string>
#include <vector>

namespace tidyreel {

/// Where one segment's frames lie in the file that joins all segments, measured from their timestamps.
struct PieceTiming {
    Rational plannedStart;  ///< the sum of the earlier segments' planned lengths
    Rational nominal;       ///< the segment's planned length
    Rational start;         ///< presentation time of its first frame
    Rational length;        ///< up to the next piece's first frame, or to the end of the file's last frame

    /// How far its first frame lies from where the plan put it.
    Rational offset() const { return start - plannedStart; }
    /// How much longer than planned it came out.
    Rational drift() const { return length - nominal; }
};

/// Splits a joined file's frames (sorted by presentation time) into one piece per segment, each of the
/// segment's number of frames of `frameDuration` (the last one may hold fewer, where the source ended);
/// throws `Error` (Trim, frameCount) when the file holds more frames, or no frame of the last segment, as it
/// is then no frame-exact join of the segments.
std::vector<PieceTiming> measurePieces(const std::vector<VideoPacket>& frames,
                                       const std::vector<HalfOpenRange>& segments, Rational frameDuration);

/// The log line of piece `number` (counting from 1): planned and measured length, drift, and the measured
/// offset of its first frame in frames and seconds.
std::string pieceTimingLine(std::size_t number, const PieceTiming& piece, Rational frameDuration);

}  // namespace tidyreel

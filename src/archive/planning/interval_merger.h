#pragma once

#include "time/rational.h"

#include <vector>

namespace tidyreel {

/// A stretch of media time from `start` to `end` (exclusive), start < end.
struct Segment {
    Rational start;  ///< first media time
    Rational end;    ///< end of the stretch

    /// end − start.
    Rational length() const { return end - start; }
    bool operator==(const Segment&) const = default;
};

/// The sum of the segments' lengths.
Rational totalLength(const std::vector<Segment>& segments);

namespace IntervalMerger {

/// Pads every interval by the buffers (clamped to 0 and to the asset duration), sorts them and joins
/// those whose gap is at most `gopSlack`; the result is ascending and disjoint.
std::vector<Segment> merge(std::vector<Segment> intervals, Rational assetDuration, Rational frontBuffer,
                           Rational backBuffer, Rational gopSlack);

}  // namespace IntervalMerger

}  // namespace tidyreel

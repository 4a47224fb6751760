#pragma once

#include "time/half_open_range.h"
#include "time/rational.h"

#include <vector>

namespace tidyreel {

namespace IntervalMerger {

/// Pads every interval by the buffers (clamped to 0 and to the asset duration), sorts them and joins
/// those whose gap is at most `gopSlack`; the result is ascending and disjoint.
std::vector<HalfOpenRange> merge(std::vector<HalfOpenRange> intervals, Rational assetDuration,
                                 Rational frontBuffer, Rational backBuffer, Rational gopSlack);

}  // namespace IntervalMerger

}  // namespace tidyreel

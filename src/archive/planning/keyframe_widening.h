#pragma once

#include "archive/planning/interval_merger.h"
#include "time/rational.h"

#include <functional>
#include <optional>
#include <vector>

namespace tidyreel {

/// The earliest presentation time of any picture decoded from the keyframe at this time on: the keyframe's
/// own time in a closed GOP, earlier in an open one (its leading pictures show before it but need it to
/// decode).
using CleanEnd = std::function<Rational(Rational keyframe)>;

/// Widens each segment outward to pieces a stream copy can cut: the start moves back to the last keyframe
/// at or before it, the end forward to the clean end of the first later keyframe that lies at or after the
/// segment's end (or to `fileEnd` when there is none). A copied piece starts decoding at its keyframe and
/// stops before the next one it names, so none of its pictures needs a frame the piece leaves out.
/// `keyframes` are ascending times since the file's start; `cleanEnd` is asked only about keyframes at or
/// after a segment's end. Pieces that overlap or touch are merged; the result is ascending and disjoint.
/// No value when a segment starts before the stream's first keyframe.
std::optional<std::vector<Segment>> widenToKeyframes(const std::vector<Segment>& segments,
                                                     const std::vector<Rational>& keyframes,
                                                     const CleanEnd& cleanEnd, Rational fileEnd);

}  // namespace tidyreel

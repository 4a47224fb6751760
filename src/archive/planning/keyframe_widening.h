#pragma once

#include "archive/planning/interval_merger.h"
#include "time/rational.h"

#include <functional>
#include <optional>
#include <vector>

namespace tidyreel {

/// Whether no picture decoded from the keyframe at this time on shows before it. In an open GOP the
/// keyframe's leading pictures do: they need the pictures before the keyframe to decode, and they are
/// decoded after pictures that show later, so a copy can neither start nor end cleanly there.
using IsClosedKeyframe = std::function<bool(Rational keyframe)>;

/// Widens each segment outward to pieces a stream copy can cut: the start moves back to the last keyframe
/// at or before it, the end forward to the first keyframe at or after it (or to `fileEnd` when there is
/// none); keyframes with leading pictures are passed over for the next closed one further out. A copied
/// piece starts decoding at its keyframe and stops before the next one, so none of its pictures needs a
/// frame the piece leaves out. `keyframes` are ascending times since the file's start; `isClosed` is asked
/// only about keyframes from a segment's ends outward, up to the first closed one. Pieces that overlap or
/// touch are merged; the result is ascending and disjoint. No value when a segment has no closed keyframe at
/// or before its start.
std::optional<std::vector<HalfOpenRange>> widenToKeyframes(const std::vector<HalfOpenRange>& segments,
                                                           const std::vector<Rational>& keyframes,
                                                           const IsClosedKeyframe& isClosed,
                                                           Rational fileEnd);

}  // namespace tidyreel

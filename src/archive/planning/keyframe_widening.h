#pragma once

#include "archive/planning/interval_merger.h"
#include "time/rational.h"

#include <functional>
#include <optional>
#include <vector>

namespace tidyreel {

/// What widening segments to pieces a stream copy can cut adds to them, in seconds, and why.
struct WideningCost {
    Rational total;          ///< how much longer the pieces are than the segments
    Rational overOpenGOPs;   ///< of it, what passing over open keyframes a copy cannot cut at adds
    Rational toCleanStarts;  ///< of it, what moving starts back to keyframes decoding cleanly begins at adds
};

/// Where a copy can be cut at the keyframe at this time. A copy that begins there shows from the keyframe
/// on: its leading pictures (open GOP: decoded after it, shown before it, needing pictures before it) are
/// left out. A copy that stops before it in decoding order shows up to the returned time: the keyframe's
/// own for a closed one, that of its first leading picture for an open one. No value: no cut there (an
/// open keyframe whose leading pictures later pictures may refer to).
using CutAtKeyframe = std::function<std::optional<Rational>(Rational keyframe)>;

/// Widens each segment outward to pieces a stream copy can cut: the start moves back to the last keyframe
/// at or before it, the end forward to the first cut at or after it (or to `fileEnd` when there is none);
/// keyframes without a cut are passed over for the next one further out. A copied piece starts decoding at
/// its keyframe and stops before the next one, so none of its pictures needs a frame the piece leaves out.
/// `keyframes` are ascending times since the file's start; `cutAt` is asked only about keyframes from a
/// segment's ends outward, up to the first that serves. Pieces that overlap or touch are merged; the result
/// is ascending and disjoint. No value when a segment has no keyframe to start from at or before its start.
std::optional<std::vector<HalfOpenRange>> widenToKeyframes(const std::vector<HalfOpenRange>& segments,
                                                           const std::vector<Rational>& keyframes,
                                                           const CutAtKeyframe& cutAt, Rational fileEnd);

}  // namespace tidyreel

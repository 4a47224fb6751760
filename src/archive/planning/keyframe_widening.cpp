#include "archive/planning/keyframe_widening.h"

#include <algorithm>

namespace tidyreel {
namespace {

// The last keyframe at or before `start`; none when the stream's first keyframe comes later.
std::optional<Rational> startKeyframe(Rational start, const std::vector<Rational>& keyframes) {
    const auto after = std::upper_bound(keyframes.begin(), keyframes.end(), start);
    return after == keyframes.begin() ? std::nullopt : std::optional<Rational>(*std::prev(after));
}

Rational widenedEnd(Rational end, const std::vector<Rational>& keyframes, const CleanEnd& cleanEnd,
                    Rational fileEnd) {
    // Keyframes before the end cannot end the piece: their clean end lies before them.
    for (auto key = std::lower_bound(keyframes.begin(), keyframes.end(), end); key != keyframes.end();
         ++key) {
        const Rational clean = cleanEnd(*key);
        if (clean >= end) {
            return clean;
        }
    }
    return fileEnd;
}

}  // namespace

std::optional<std::vector<Segment>> widenToKeyframes(const std::vector<Segment>& segments,
                                                     const std::vector<Rational>& keyframes,
                                                     const CleanEnd& cleanEnd, Rational fileEnd) {
    std::vector<Segment> widened;
    for (const Segment& segment : segments) {
        const std::optional<Rational> start = startKeyframe(segment.start, keyframes);
        if (!start) {
            return std::nullopt;
        }
        const Segment piece{*start, widenedEnd(segment.end, keyframes, cleanEnd, fileEnd)};
        if (!widened.empty() && piece.start <= widened.back().end) {
            widened.back().end = std::max(widened.back().end, piece.end);
        } else {
            widened.push_back(piece);
        }
    }
    return widened;
}

}  // namespace tidyreel

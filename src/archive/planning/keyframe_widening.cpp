#include "archive/planning/keyframe_widening.h"

#include <algorithm>

namespace tidyreel {
namespace {

std::optional<Rational> startKeyframe(Rational start, const std::vector<Rational>& keyframes,
                                      const IsClosedKeyframe& isClosed) {
    auto key = std::upper_bound(keyframes.begin(), keyframes.end(), start);
    while (key != keyframes.begin()) {
        --key;
        if (isClosed(*key)) {
            return *key;
        }
    }
    return std::nullopt;
}

Rational endKeyframe(Rational end, const std::vector<Rational>& keyframes, const IsClosedKeyframe& isClosed,
                     Rational fileEnd) {
    auto key = std::lower_bound(keyframes.begin(), keyframes.end(), end);
    for (; key != keyframes.end(); ++key) {
        if (isClosed(*key)) {
            return *key;
        }
    }
    return fileEnd;
}

}  // namespace

std::optional<std::vector<HalfOpenRange>> widenToKeyframes(const std::vector<HalfOpenRange>& segments,
                                                           const std::vector<Rational>& keyframes,
                                                           const IsClosedKeyframe& isClosed,
                                                           Rational fileEnd) {
    std::vector<HalfOpenRange> widened;
    for (const HalfOpenRange& segment : segments) {
        const std::optional<Rational> start = startKeyframe(segment.start, keyframes, isClosed);
        if (!start) {
            return std::nullopt;
        }
        const Rational end = endKeyframe(segment.end, keyframes, isClosed, fileEnd);
        if (!widened.empty() && *start <= widened.back().end) {
            widened.back().end = std::max(widened.back().end, end);
        } else {
            widened.push_back({*start, end});
        }
    }
    return widened;
}

}  // namespace tidyreel

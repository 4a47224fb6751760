#include "archive/planning/keyframe_widening.h"

#include <algorithm>

namespace tidyreel {
namespace {

// How many keyframes a boundary may move over: its own, and one GOP further when that one is open.
constexpr int kKeyframeTries = 2;

std::optional<Rational> startKeyframe(Rational start, const std::vector<Rational>& keyframes,
                                      const IsClosedKeyframe& isClosed) {
    auto key = std::upper_bound(keyframes.begin(), keyframes.end(), start);
    for (int tries = 0; tries < kKeyframeTries && key != keyframes.begin(); ++tries) {
        --key;
        if (isClosed(*key)) {
            return *key;
        }
    }
    return std::nullopt;
}

std::optional<Rational> endKeyframe(Rational end, const std::vector<Rational>& keyframes,
                                    const IsClosedKeyframe& isClosed, Rational fileEnd) {
    auto key = std::lower_bound(keyframes.begin(), keyframes.end(), end);
    for (int tries = 0; tries < kKeyframeTries && key != keyframes.end(); ++tries, ++key) {
        if (isClosed(*key)) {
            return *key;
        }
    }
    return key == keyframes.end() ? std::optional<Rational>(fileEnd) : std::nullopt;
}

}  // namespace

std::optional<std::vector<HalfOpenRange>> widenToKeyframes(const std::vector<HalfOpenRange>& segments,
                                                           const std::vector<Rational>& keyframes,
                                                           const IsClosedKeyframe& isClosed,
                                                           Rational fileEnd) {
    std::vector<HalfOpenRange> widened;
    for (const HalfOpenRange& segment : segments) {
        const std::optional<Rational> start = startKeyframe(segment.start, keyframes, isClosed);
        const std::optional<Rational> end = endKeyframe(segment.end, keyframes, isClosed, fileEnd);
        if (!start || !end) {
            return std::nullopt;
        }
        if (!widened.empty() && *start <= widened.back().end) {
            widened.back().end = std::max(widened.back().end, *end);
        } else {
            widened.push_back({*start, *end});
        }
    }
    return widened;
}

}  // namespace tidyreel

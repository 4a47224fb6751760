#include "archive/planning/keyframe_widening.h"

#include <algorithm>

namespace tidyreel {
namespace {

std::optional<Rational> startKeyframe(Rational start, const std::vector<Rational>& keyframes,
                                      const CutAtKeyframe& cutAt) {
    auto key = std::upper_bound(keyframes.begin(), keyframes.end(), start);
    while (key != keyframes.begin()) {
        --key;
        if (cutAt(*key)) {
            return *key;
        }
    }
    return std::nullopt;
}

struct EndCut {
    Rational shownUntil;  ///< the piece's end
    Rational keyframe;    ///< the keyframe it stops before (the file's end when none)
};

// A keyframe at or after the end can still have leading pictures shown before it: its cut must not fall
// short of the end.
EndCut endCut(Rational end, const std::vector<Rational>& keyframes, const CutAtKeyframe& cutAt,
              Rational fileEnd) {
    auto key = std::lower_bound(keyframes.begin(), keyframes.end(), end);
    for (; key != keyframes.end(); ++key) {
        if (const std::optional<Rational> cut = cutAt(*key); cut && *cut >= end) {
            return {*cut, *key};
        }
    }
    return {fileEnd, fileEnd};
}

}  // namespace

std::optional<std::vector<HalfOpenRange>> widenToKeyframes(const std::vector<HalfOpenRange>& segments,
                                                           const std::vector<Rational>& keyframes,
                                                           const CutAtKeyframe& cutAt, Rational fileEnd) {
    std::vector<HalfOpenRange> widened;
    // A piece that starts at the keyframe the one before stops at continues it: together they need not
    // leave out that keyframe's leading pictures.
    std::optional<Rational> lastEndKeyframe;
    for (const HalfOpenRange& segment : segments) {
        const std::optional<Rational> start = startKeyframe(segment.start, keyframes, cutAt);
        if (!start) {
            return std::nullopt;
        }
        const EndCut end = endCut(segment.end, keyframes, cutAt, fileEnd);
        if (!widened.empty() && (*start <= widened.back().end || *start == lastEndKeyframe)) {
            if (end.shownUntil > widened.back().end) {
                widened.back().end = end.shownUntil;
                lastEndKeyframe = end.keyframe;
            }
        } else {
            widened.push_back({*start, end.shownUntil});
            lastEndKeyframe = end.keyframe;
        }
    }
    return widened;
}

}  // namespace tidyreel

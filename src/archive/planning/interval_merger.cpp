#include "archive/planning/interval_merger.h"

#include <algorithm>

namespace tidyreel {

namespace IntervalMerger {

std::vector<HalfOpenRange> merge(std::vector<HalfOpenRange> intervals, Rational assetDuration,
                                 Rational frontBuffer, Rational backBuffer, Rational gopSlack) {
    std::vector<HalfOpenRange> merged;
    if (intervals.empty()) {
        return merged;
    }
    std::stable_sort(intervals.begin(), intervals.end(),
                     [](const HalfOpenRange& a, const HalfOpenRange& b) { return a.start < b.start; });
    for (HalfOpenRange& interval : intervals) {
        interval.start = std::max(interval.start - frontBuffer, Rational::zero());
        interval.end = std::min(interval.end + backBuffer, assetDuration);
    }
    HalfOpenRange current = intervals.front();
    for (std::size_t i = 1; i < intervals.size(); ++i) {
        const HalfOpenRange& next = intervals[i];
        if (current.end + gopSlack < next.start) {
            merged.push_back(current);
            current = next;
        } else {
            current.end = std::max(current.end, next.end);
        }
    }
    merged.push_back(current);
    return merged;
}

}  // namespace IntervalMerger

}  // namespace tidyreel

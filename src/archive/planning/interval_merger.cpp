#include "archive/planning/interval_merger.h"

#include <algorithm>

namespace tidyreel {

Rational totalLength(const std::vector<Segment>& segments) {
    Rational total;
    for (const Segment& segment : segments) {
        total = total + segment.length();
    }
    return total;
}

namespace IntervalMerger {

std::vector<Segment> merge(std::vector<Segment> intervals, Rational assetDuration, Rational frontBuffer,
                           Rational backBuffer, Rational gopSlack) {
    std::vector<Segment> merged;
    if (intervals.empty()) {
        return merged;
    }
    std::stable_sort(intervals.begin(), intervals.end(),
                     [](const Segment& a, const Segment& b) { return a.start < b.start; });
    for (Segment& interval : intervals) {
        interval.start = std::max(interval.start - frontBuffer, Rational::zero());
        interval.end = std::min(interval.end + backBuffer, assetDuration);
    }
    Segment current = intervals.front();
    for (std::size_t i = 1; i < intervals.size(); ++i) {
        const Segment& next = intervals[i];
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

#pragma once

#include "time/rational.h"

#include <vector>

namespace tidyreel {

/// A stretch of time from `start` (included) to `end` (excluded). Every range Tidyreel plans with is
/// half-open, so that two ranges that touch share no instant and their lengths add up.
struct HalfOpenRange {
    Rational start;  ///< the first instant of the stretch
    Rational end;    ///< the first instant after the stretch

    /// end − start.
    Rational length() const { return end - start; }
    /// Whether `time` lies inside: at its start or after, and before its end.
    bool contains(Rational time) const { return time >= start && time < end; }
    bool operator==(const HalfOpenRange&) const = default;
};

/// The sum of the ranges' lengths.
Rational totalLength(const std::vector<HalfOpenRange>& ranges);

}  // namespace tidyreel

#pragma once

#include "fcpxml/xml.h"
#include "time/rational.h"

#include <optional>
#include <vector>

namespace tidyreel {

/// One point of a retimed clip's map: a time of the clip's own timeline and the media time it shows.
struct TimeMapPoint {
    Rational time;   ///< local (clip) time
    Rational value;  ///< media time

    bool operator==(const TimeMapPoint&) const = default;
};

/// A clip's retiming as piecewise linear points, sorted ascending by time.
struct TimeMap {
    std::vector<TimeMapPoint> points;  ///< sorted ascending by time

    /// The media time at local time `t`: clamped to the first and last value, never extrapolated.
    Rational interpolate(Rational t) const;
};

/// A constant speed change: the map (0, 0) → (timelineEnd, sourceEnd).
struct LinearSpeedMap {
    Rational factor;       ///< media seconds per timeline second (2: double speed)
    Rational timelineEnd;  ///< time of the second point
    Rational sourceEnd;    ///< value of the second point

    bool operator==(const LinearSpeedMap&) const = default;
};

/// The kind of one clip's retiming.
struct TimeMapKind {
    enum class Case { linear, none, nonLinear };
    Case kind = Case::none;  ///< which kind
    Rational factor;         ///< the speed factor of a linear map (zero otherwise)

    static TimeMapKind linear(Rational factor) { return {Case::linear, factor}; }
    static TimeMapKind none() { return {Case::none, {}}; }
    static TimeMapKind nonLinear() { return {Case::nonLinear, {}}; }
    bool operator==(const TimeMapKind&) const = default;
};

/// The verdict over all clips of one asset: may its media be trimmed despite retiming?
struct TimeMapStatus {
    enum class Case { linearConsistent, noTimeMap, nonLinearRamp, linearMixed };
    Case kind = Case::noTimeMap;  ///< which verdict
    Rational factor;              ///< the one factor of `linearConsistent` (zero otherwise)

    static TimeMapStatus linearConsistent(Rational factor) { return {Case::linearConsistent, factor}; }
    static TimeMapStatus noTimeMap() { return {Case::noTimeMap, {}}; }
    static TimeMapStatus nonLinearRamp() { return {Case::nonLinearRamp, {}}; }
    static TimeMapStatus linearMixed() { return {Case::linearMixed, {}}; }
    bool operator==(const TimeMapStatus&) const = default;
};

/// The kind of a clip's retiming: none without a `timeMap` child, linear for a simple (0,0)→(t,v) map.
TimeMapKind timeMapKind(XmlElement clip);

/// Folds the kinds of an asset's clips, in walk order, into the asset's status.
class TimeMapStatusBuilder {
public:
    /// Takes the kind of the next clip.
    void add(const TimeMapKind& kind);
    /// The status of the kinds added so far (`noTimeMap` for none).
    TimeMapStatus status() const;

private:
    bool nonLinear_ = false;
    bool mixed_ = false;
    std::optional<Rational> firstFactor_;
};

/// The status of an asset from the kinds of its clips in walk order.
TimeMapStatus timeMapStatus(const std::vector<TimeMapKind>& kinds);

namespace FCPXMLTime {

/// The clip's `timeMap` with its readable points sorted by time; no value without a map or points.
std::optional<TimeMap> buildTimeMap(XmlElement clip);
/// The clip's map when it is exactly (0,0) → (t,v) with t, v > 0; no value otherwise.
std::optional<LinearSpeedMap> linearSpeedMap(XmlElement clip);
/// Whether the clip has a `timeMap` child that is not a simple linear map.
bool hasNonLinearTimeMap(XmlElement clip);
/// The media time of the clip's `start`, through its time map when it has one.
Rational clipSourceStart(XmlElement clip);
/// The media time of the clip's `start` + `duration`, through its time map when it has one.
Rational clipSourceEnd(XmlElement clip);

}  // namespace FCPXMLTime

}  // namespace tidyreel

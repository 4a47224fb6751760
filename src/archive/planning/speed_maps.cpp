#include "archive/planning/speed_maps.h"

#include "fcpxml/fcpxml_time.h"

#include <algorithm>

namespace tidyreel {
namespace {

// The readable points of the clip's first `timeMap` child in document order; no value without a map.
// `interp` is not read: every map is treated as piecewise linear.
std::optional<std::vector<TimeMapPoint>> readPoints(XmlElement clip) {
    const XmlElement map = clip.firstChild("timeMap");
    if (!map) {
        return std::nullopt;
    }
    std::vector<TimeMapPoint> points;
    for (XmlElement point : map.children()) {
        if (point.name() != "timept") {
            continue;
        }
        const auto time = Rational::fromFCPXML(point.attribute("time").value_or(""));
        const auto value = Rational::fromFCPXML(point.attribute("value").value_or(""));
        if (time && value) {
            points.push_back({*time, *value});
        }
    }
    return points;
}

Rational mappedThroughClipMap(XmlElement clip, Rational localTime) {
    const std::optional<TimeMap> map = FCPXMLTime::buildTimeMap(clip);
    return map ? map->interpolate(localTime) : localTime;
}

}  // namespace

Rational TimeMap::interpolate(Rational t) const {
    if (points.empty()) {
        return t;
    }
    if (points.size() == 1 || t <= points.front().time) {
        return points.front().value;
    }
    if (t >= points.back().time) {
        return points.back().value;
    }
    for (std::size_t i = 0; i + 1 < points.size(); ++i) {
        const TimeMapPoint& from = points[i];
        const TimeMapPoint& to = points[i + 1];
        if (from.time <= t && t < to.time) {
            if (from.time == to.time) {
                return from.value;
            }
            return from.value + (t - from.time) / (to.time - from.time) * (to.value - from.value);
        }
    }
    return points.back().value;
}

TimeMapKind timeMapKind(XmlElement clip) {
    if (!clip.firstChild("timeMap")) {
        return TimeMapKind::none();
    }
    if (const std::optional<LinearSpeedMap> linear = FCPXMLTime::linearSpeedMap(clip)) {
        return TimeMapKind::linear(linear->factor);
    }
    return TimeMapKind::nonLinear();
}

void TimeMapStatusBuilder::add(const TimeMapKind& kind) {
    if (kind.kind == TimeMapKind::Case::nonLinear) {
        nonLinear_ = true;
    } else if (kind.kind == TimeMapKind::Case::linear) {
        mixed_ = mixed_ || (firstFactor_ && *firstFactor_ != kind.factor);
        firstFactor_ = firstFactor_.value_or(kind.factor);
    }
}

TimeMapStatus TimeMapStatusBuilder::status() const {
    if (nonLinear_) {
        return TimeMapStatus::nonLinearRamp();
    }
    if (!firstFactor_) {
        return TimeMapStatus::noTimeMap();
    }
    return mixed_ ? TimeMapStatus::linearMixed() : TimeMapStatus::linearConsistent(*firstFactor_);
}

TimeMapStatus timeMapStatus(const std::vector<TimeMapKind>& kinds) {
    TimeMapStatusBuilder builder;
    for (const TimeMapKind& kind : kinds) {
        builder.add(kind);
    }
    return builder.status();
}

namespace FCPXMLTime {

std::optional<TimeMap> buildTimeMap(XmlElement clip) {
    std::optional<std::vector<TimeMapPoint>> points = readPoints(clip);
    if (!points || points->empty()) {
        return std::nullopt;
    }
    std::stable_sort(points->begin(), points->end(),
                     [](const TimeMapPoint& a, const TimeMapPoint& b) { return a.time < b.time; });
    return TimeMap{std::move(*points)};
}

std::optional<LinearSpeedMap> linearSpeedMap(XmlElement clip) {
    const std::optional<std::vector<TimeMapPoint>> points = readPoints(clip);
    if (!points || points->size() != 2) {
        return std::nullopt;
    }
    const TimeMapPoint& origin = (*points)[0];
    const TimeMapPoint& end = (*points)[1];
    if (origin.time != Rational::zero() || origin.value != Rational::zero() || end.time <= Rational::zero() ||
        end.value <= Rational::zero()) {
        return std::nullopt;
    }
    return LinearSpeedMap{end.value / end.time, end.time, end.value};
}

bool hasNonLinearTimeMap(XmlElement clip) {
    return clip.firstChild("timeMap") && !linearSpeedMap(clip);
}

Rational clipSourceStart(XmlElement clip) {
    return mappedThroughClipMap(clip, time(clip, "start"));
}

Rational clipSourceEnd(XmlElement clip) {
    return mappedThroughClipMap(clip, time(clip, "start") + time(clip, "duration"));
}

}  // namespace FCPXMLTime

}  // namespace tidyreel

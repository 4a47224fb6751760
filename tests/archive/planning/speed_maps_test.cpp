#include "archive/planning/speed_maps.h"

#include "archive/archive_support.h"

#include <gtest/gtest.h>

namespace tidyreel {
namespace {

// One asset-clip with the given timeMap points (each "time,value"), start 2s and duration 3s.
XmlElement clipWithMap(std::shared_ptr<XmlDocument>& keep, const std::vector<std::string>& points) {
    std::string map = "<timeMap>";
    for (const std::string& point : points) {
        const std::size_t comma = point.find(',');
        map += "<timept time=\"" + point.substr(0, comma) + "\" value=\"" + point.substr(comma + 1) +
               "\" interp=\"smooth2\"/>";
    }
    map += "</timeMap>";
    keep =
        test::projectWith("", "<asset-clip ref=\"r1\" start=\"2s\" duration=\"3s\">" + map + "</asset-clip>");
    return keep->first("//asset-clip");
}

TEST(TimeMapInterpolation, ClampsAtBothEndsAndInterpolatesBetweenTheNeighbouringPoints) {
    const TimeMap map{{{0, 0}, {10, 20}}};
    EXPECT_EQ(map.interpolate(3), Rational(6));
    EXPECT_EQ(map.interpolate(10), Rational(20));
    EXPECT_EQ(map.interpolate(12), Rational(20));
    EXPECT_EQ(map.interpolate(-4), Rational(0));
    EXPECT_EQ(map.interpolate(Rational(1001, 30000)), Rational(1001, 15000));
    EXPECT_EQ(TimeMap{}.interpolate(7), Rational(7));
    EXPECT_EQ((TimeMap{{{5, 9}}}).interpolate(0), Rational(9));
    EXPECT_EQ((TimeMap{{{5, 9}}}).interpolate(100), Rational(9));
    const TimeMap ramp{{{0, 0}, {5, 5}, {10, 20}}};
    EXPECT_EQ(ramp.interpolate(7), Rational(11));
    EXPECT_EQ(ramp.interpolate(5), Rational(5));
    // A repeated time jumps: the later point wins.
    EXPECT_EQ((TimeMap{{{0, 0}, {5, 5}, {5, 8}, {10, 13}}}).interpolate(5), Rational(8));
}

TEST(SpeedMapReading, TwoPointsFromZeroAreLinear) {
    std::shared_ptr<XmlDocument> document;
    const XmlElement clip = clipWithMap(document, {"0s,0s", "10s,20s"});
    const auto linear = FCPXMLTime::linearSpeedMap(clip);
    ASSERT_TRUE(linear);
    EXPECT_EQ(*linear, (LinearSpeedMap{2, 10, 20}));
    EXPECT_EQ(timeMapKind(clip), TimeMapKind::linear(2));
    EXPECT_FALSE(FCPXMLTime::hasNonLinearTimeMap(clip));
    EXPECT_EQ(FCPXMLTime::clipSourceStart(clip), Rational(4));
    EXPECT_EQ(FCPXMLTime::clipSourceEnd(clip), Rational(10));
}

// Linearity is judged on the points as written: the first one must be the origin.
TEST(SpeedMapReading, RampsShiftedOriginsAndUnsortedPointsAreNonLinear) {
    std::shared_ptr<XmlDocument> document;
    for (const auto& points : std::vector<std::vector<std::string>>{{"0s,0s", "5s,5s", "10s,20s"},
                                                                    {"0s,2s", "10s,12s"},
                                                                    {"0s,0s", "10s,0s"},
                                                                    {"0s,0s", "-10s,5s"},
                                                                    {"3s,3s"},
                                                                    {"10s,20s", "0s,0s"}}) {
        const XmlElement clip = clipWithMap(document, points);
        EXPECT_EQ(timeMapKind(clip), TimeMapKind::nonLinear()) << points.front() << " " << points.back();
        EXPECT_TRUE(FCPXMLTime::hasNonLinearTimeMap(clip));
        EXPECT_FALSE(FCPXMLTime::linearSpeedMap(clip));
    }
    // For interpolation the points are sorted by time.
    EXPECT_EQ(FCPXMLTime::buildTimeMap(clipWithMap(document, {"10s,20s", "0s,0s"}))->points.front(),
              (TimeMapPoint{0, 0}));
}

TEST(SpeedMapReading, UnreadablePointsAreSkippedAndAMapWithoutAnyLeavesTimesUnmapped) {
    std::shared_ptr<XmlDocument> document;
    XmlElement clip = clipWithMap(document, {"0s,0s", "abc,5s", "10s,20s"});
    EXPECT_EQ(timeMapKind(clip), TimeMapKind::linear(2));
    EXPECT_EQ(FCPXMLTime::buildTimeMap(clip)->points.size(), 2u);
    clip = clipWithMap(document, {"x,0s", "1s,y"});
    EXPECT_FALSE(FCPXMLTime::buildTimeMap(clip));
    EXPECT_EQ(timeMapKind(clip), TimeMapKind::nonLinear());
    EXPECT_EQ(FCPXMLTime::clipSourceStart(clip), Rational(2));
    EXPECT_EQ(FCPXMLTime::clipSourceEnd(clip), Rational(5));
}

TEST(SpeedMapReading, ClipWithoutMap) {
    std::shared_ptr<XmlDocument> document = test::projectWith("", "<asset-clip ref=\"r1\" start=\"2s\"/>");
    const XmlElement clip = document->first("//asset-clip");
    EXPECT_EQ(timeMapKind(clip), TimeMapKind::none());
    EXPECT_FALSE(FCPXMLTime::hasNonLinearTimeMap(clip));
    EXPECT_EQ(FCPXMLTime::clipSourceEnd(clip), Rational(2));
}

TEST(TimeMapStatusOfAsset, CombinesTheKindsOfItsClips) {
    using K = TimeMapKind;
    EXPECT_EQ(timeMapStatus({}), TimeMapStatus::noTimeMap());
    EXPECT_EQ(timeMapStatus({K::none(), K::none()}), TimeMapStatus::noTimeMap());
    EXPECT_EQ(timeMapStatus({K::linear(2), K::none(), K::linear(2)}), TimeMapStatus::linearConsistent(2));
    EXPECT_EQ(timeMapStatus({K::linear(2), K::linear(Rational(1, 2))}), TimeMapStatus::linearMixed());
    EXPECT_EQ(timeMapStatus({K::linear(2), K::linear(Rational(1, 2)), K::nonLinear()}),
              TimeMapStatus::nonLinearRamp());
    EXPECT_EQ(timeMapStatus({K::nonLinear(), K::linear(2)}), TimeMapStatus::nonLinearRamp());
}

}  // namespace
}  // namespace tidyreel

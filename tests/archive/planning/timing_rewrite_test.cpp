#include "archive/planning/timing_rewrite.h"

#include "archive/archive_support.h"
#include "base/error.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

namespace tidyreel {
namespace {

using test::LogCollector;
using ::testing::Contains;
using ::testing::ElementsAre;

const std::vector<HalfOpenRange> kTwoSegments{{10, 20}, {40, 55}};

TEST(Remap, MovesTimesByTheEarlierSegments) {
    EXPECT_EQ(remap(12, kTwoSegments, {}, std::nullopt), Rational(2));
    EXPECT_EQ(remap(40, kTwoSegments, {}, std::nullopt), Rational(10));
    EXPECT_EQ(remap(20, kTwoSegments, {}, std::nullopt), Rational(10));
    EXPECT_EQ(remap(55, kTwoSegments, {}, std::nullopt), Rational(25));
    EXPECT_FALSE(remap(30, kTwoSegments, {}, std::nullopt));
    EXPECT_FALSE(remap(56, kTwoSegments, {}, std::nullopt));
    EXPECT_FALSE(remap(9, kTwoSegments, {}, std::nullopt));
}

TEST(Remap, OnlyEarlierDriftsMoveTimes) {
    const std::vector<Rational> drifts{Rational(1, 2), 0};
    EXPECT_EQ(remap(45, kTwoSegments, drifts, std::nullopt), Rational(31, 2));
    EXPECT_EQ(remap(15, kTwoSegments, drifts, std::nullopt), Rational(5));
    // A short drift list counts the missing entries as 0.
    EXPECT_EQ(remap(45, kTwoSegments, {}, std::nullopt), Rational(15));
}

TEST(Remap, SnapsToTheFrameGridHalvesAwayFromZero) {
    const std::vector<HalfOpenRange> one{{0, 100}};
    const Rational frame(1, 25);
    EXPECT_EQ(remap(Rational(201, 100), one, {}, frame), Rational(2));
    EXPECT_EQ(remap(Rational(203, 100), one, {}, frame), Rational(51, 25));
    EXPECT_EQ(remap(Rational(202, 100), one, {}, frame), Rational(51, 25));
}

// Rewrites one trimmed asset "r1" of a document and keeps the log.
class TimingRewrite : public ::testing::Test {
protected:
    void rewrite(const std::string& spine, const std::vector<HalfOpenRange>& segments,
                 std::vector<Rational> drifts = {}, std::optional<Rational> probed = std::nullopt,
                 const std::string& assetStart = "0s") {
        document = test::projectWith(
            "<asset id=\"r1\" start=\"" + assetStart +
                "\" duration=\"100s\" hasVideo=\"1\" format=\"f1\"><media-rep kind=\"original-media\" "
                "duration=\"100s\" src=\"file:///m/a.mov\"/></asset>",
            spine);
        const TrimPlan plan{"r1",        "/m/a.mov", "file:///m/a.mov", 100,
                            false,       segments,   segments,          *Rational::fromFCPXML(assetStart),
                            std::nullopt};
        std::map<std::string, TrimmedAsset> trimmed{
            {"r1", TrimmedAsset{plan, "/b/Media/a_trimmed.mov", drifts}}};
        ExportContext context;
        context.logger = log.logger();
        rewriteTiming(trimmed, *document, context, [&](const std::filesystem::path&) -> Rational {
            if (!probed) {
                throw Error("ProbeError", 1, "kaputt");
            }
            return *probed;
        });
    }

    std::string attribute(const std::string& xpath, const char* name) const {
        return document->first(xpath).attribute(name).value_or("<none>");
    }

    std::shared_ptr<XmlDocument> document;
    LogCollector log;
};

TEST_F(TimingRewrite, MovesStartsLanesMarkersAndAudio) {
    rewrite(
        "<asset-clip ref=\"r1\" name=\"A\" offset=\"0s\" start=\"3600s\" duration=\"5s\"/>"
        "<asset-clip ref=\"r1\" name=\"B\" offset=\"5s\" start=\"95s\" duration=\"2s\" audioStart=\"93s\">"
        "<chapter-marker start=\"95s\" value=\"K\"/><marker start=\"96s\" value=\"M\"/>"
        "<keyword start=\"94s\" duration=\"3s\" value=\"W\"/><rating start=\"95s\" value=\"favorite\"/>"
        "<adjust-volume><param name=\"amount\"><keyframeAnimation><keyframe time=\"96s\" value=\"-3dB\"/>"
        "</keyframeAnimation></param></adjust-volume>"
        "<title lane=\"1\" offset=\"95s\" name=\"T\"><marker start=\"1s\"/></title></asset-clip>",
        {{90, 100}}, {}, Rational(10));
    EXPECT_EQ(attribute("//asset-clip[@name='B']", "start"), "5s");
    EXPECT_EQ(attribute("//asset-clip[@name='B']", "audioStart"), "3s");
    EXPECT_EQ(attribute("//chapter-marker", "start"), "5s");
    // Everything in the clip's local time moves with it; the title's own marker counts in the title's time.
    EXPECT_EQ(attribute("//asset-clip/marker", "start"), "6s");
    EXPECT_EQ(attribute("//keyword", "start"), "4s");
    EXPECT_EQ(attribute("//rating", "start"), "5s");
    EXPECT_EQ(attribute("//keyframe", "time"), "6s");
    EXPECT_EQ(attribute("//title/marker", "start"), "1s");
    EXPECT_EQ(attribute("//title", "offset"), "5s");
    EXPECT_EQ(attribute("//asset-clip[@name='B']", "offset"), "5s");
    EXPECT_EQ(attribute("//asset-clip[@name='A']", "start"), "3600s");
    EXPECT_EQ(attribute("//asset", "duration"), "10s");
    EXPECT_EQ(attribute("//media-rep", "duration"), "10s");
    EXPECT_THAT(log.lines(),
                Contains("❌   ✗ r1 asset-clip @ 3600s: liegt außerhalb aller Segmente — FCP wird diesen "
                         "Clip nicht auflösen können!"));
    EXPECT_THAT(log.lines(),
                Contains("ℹ️        ↳ Lane-Kind <title lane=1 name='T'>: offset 95s → 5s"));
    EXPECT_THAT(log.lines(), Contains("ℹ️   → r1 asset-clip: audioStart 93s → 3s"));
    EXPECT_THAT(log.lines(), Contains("ℹ️   → r1 asset-clip: start 95s → 5s"));
    EXPECT_THAT(log.lines(), Contains("ℹ️   → r1: ffprobe Dauer = 10s"));
    EXPECT_THAT(log.lines(),
                Contains("ℹ️   → r1: Source-Frame-Grid 1/25s (0.04s/Frame) — start-Snap aktiv"));
}

TEST_F(TimingRewrite, MarkersOnMediaCutAwayStayOnTheirClip) {
    rewrite(
        "<asset-clip ref=\"r1\" start=\"95s\" duration=\"2s\">"
        "<marker start=\"80s\" value=\"Vorher\"/><marker start=\"91s\" value=\"Griff\"/>"
        "<chapter-marker start=\"99s\" value=\"Danach\"/><keyword start=\"98s\" value=\"Rand\"/>"
        "</asset-clip>",
        {{90, 98}}, {}, Rational(8));
    EXPECT_EQ(attribute("//asset-clip", "start"), "5s");
    // Before the kept media: on the clip's first frame; after it: on its last frame.
    EXPECT_EQ(attribute("//marker[@value='Vorher']", "start"), "5s");
    EXPECT_EQ(attribute("//chapter-marker", "start"), "174/25s");
    // Markers in the kept handles stay where they were on the media, hidden as before.
    EXPECT_EQ(attribute("//marker[@value='Griff']", "start"), "1s");
    EXPECT_EQ(attribute("//keyword", "start"), "8s");
    EXPECT_THAT(log.lines(),
                Contains("⚠️        ↳ <marker value='Vorher'> @ 80s: lay on media cut away → "
                         "kept on the clip at 5s"));
    EXPECT_THAT(log.lines(),
                Contains("⚠️        ↳ <chapter-marker value='Danach'> @ 99s: lay on media cut away → "
                         "kept on the clip at 174/25s"));
    EXPECT_EQ(std::count_if(log.lines().begin(), log.lines().end(),
                            [](const std::string& line) { return line.starts_with("⚠️"); }),
              2);
}

TEST_F(TimingRewrite, LinearlyRetimedClipsRewriteTheirMap) {
    rewrite(
        "<asset-clip ref=\"r1\" name=\"Fast\" start=\"10s\" duration=\"5s\"><timeMap>"
        "<timept time=\"0s\" value=\"0s\" interp=\"linear\"/><timept time=\"50s\" value=\"100s\"/></timeMap>"
        "</asset-clip>",
        {{16, 40}}, {}, Rational(24));
    EXPECT_EQ(attribute("//asset-clip", "start"), "2s");
    const std::vector<XmlElement> points = document->xpath("//timept");
    ASSERT_EQ(points.size(), 2u);
    EXPECT_EQ(points[1].attribute("time"), "12s");
    EXPECT_EQ(points[1].attribute("value"), "24s");
    EXPECT_EQ(points[1].attribute("interp"), "smooth2");
    EXPECT_THAT(
        log.lines(),
        Contains("ℹ️   → r1 asset-clip: TimeMap neu geschrieben (Source 0..24s, Timeline 0..12s)"));
}

TEST_F(TimingRewrite, FailedProbeUsesTheNominalLength) {
    rewrite("<asset-clip ref=\"r1\" start=\"12s\" duration=\"1s\"/>", kTwoSegments, {1, 0});
    EXPECT_EQ(attribute("//asset", "duration"), "25s");
    EXPECT_THAT(log.lines(), Contains("❌   → r1: ffprobe fehlgeschlagen (kaputt), nutze nominale Dauer 25s"));
    EXPECT_THAT(
        log.lines(),
        Contains("ℹ️   → r1: Multi-Segment-Drifts (Seg1=1s, Seg2=0s), Gesamt=1s — start-Werte "
                 "werden segmentweise korrigiert"));
}

TEST_F(TimingRewrite, SingleSegmentDriftIsLoggedButMovesNothing) {
    rewrite("<asset-clip ref=\"r1\" start=\"10s\" duration=\"1s\"/>", {{8, 30}}, {}, Rational(562, 25));
    EXPECT_EQ(attribute("//asset-clip", "start"), "2s");
    EXPECT_THAT(
        log.lines(),
        Contains("ℹ️   → r1: Keyframe-Snap-Drift = 12/25s (0.48s) — start-Werte werden korrigiert"));
}

TEST_F(TimingRewrite, BrowserClipsAndOtherAssetsKeepTheirTimes) {
    rewrite("<asset-clip ref=\"r2\" start=\"95s\" duration=\"1s\"/>", {{90, 100}}, {}, Rational(10));
    XmlElement browser = document->first("//event").appendChild("asset-clip");
    browser.setAttribute("ref", "r1");
    browser.setAttribute("start", "95s");
    EXPECT_EQ(attribute("//spine/asset-clip", "start"), "95s");
    EXPECT_EQ(document->first("//event/asset-clip").attribute("start"), "95s");
}

TEST_F(TimingRewrite, TimecodeOriginStaysAndTimesMoveWithinTheFile) {
    rewrite(
        "<asset-clip ref=\"r1\" start=\"3650s\" duration=\"2s\"><chapter-marker "
        "start=\"3651s\"/></asset-clip>",
        {{0, 21}, {40, 60}}, {}, Rational(41), "3600s");
    EXPECT_EQ(attribute("//asset-clip", "start"), "3631s");
    EXPECT_EQ(attribute("//chapter-marker", "start"), "3632s");
    EXPECT_EQ(attribute("//asset", "start"), "3600s");
}

}  // namespace
}  // namespace tidyreel

#include "description/chapter_marker_reader.h"

#include "base/error.h"
#include "base/language.h"
#include "description/description_test_support.h"
#include "fcpxml/xml.h"
#include "test_support.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>

namespace tidyreel {
namespace {

using Markers = std::vector<ChapterMarker>;

Markers markersOf(const std::string& xml) {
    return readChapterMarkers(*XmlDocument::parse(xml));
}

Markers markersInSpine(const std::string& spine, const std::string& sequence = "tcStart=\"0s\"") {
    return markersOf(test::projectXml(spine, "", sequence));
}

Markers markersInFixture(const std::string& name) {
    return readChapterMarkers(*XmlDocument::load(test::fixture(name)));
}

// One asset clip in the main spine at 10s that uses 3600s…3660s of its source.
Markers markersOnMainClip(const std::string& markerStart) {
    return markersInSpine(
        R"(<asset-clip ref="r2" offset="10s" start="3600s" duration="60s"><chapter-marker start=")" +
        markerStart + R"(" duration="1/25s" value="Intro"/></asset-clip>)");
}

TEST(ChapterMarkerPosition, MapsMarkersOfEveryKindOfClipToATimelineWithAStartTimecode) {
    // "Verworfen" lies in a trimmed-away part of its clip.
    EXPECT_EQ(markersInFixture("description_tour.fcpxml"), (Markers{{"Anfahrt", Fraction(0)},
                                                                    {"Gipfel & Kreuz", Fraction(161, 2)},
                                                                    {"Aussicht vom Gipfel", Fraction(95)},
                                                                    {"Abstieg", Fraction(120)},
                                                                    {"Brotzeit", Fraction(151)},
                                                                    {"Hütte", Fraction(180)},
                                                                    {"Heimweg", Fraction(240)}}));
    // A malformed start timecode counts as 0, like any malformed time.
    EXPECT_EQ(markersInSpine(R"(<chapter-marker start="3600s" value="Raw"/>)", "tcStart=\"01:00:00:00\""),
              (Markers{{"Raw", Fraction(3600)}}));
}

TEST(ChapterMarkerPosition, KeepsOnlyMarkersInTheUsedRangeOfTheirClip) {
    EXPECT_EQ(markersOnMainClip("7211/2s"), (Markers{{"Intro", Fraction(31, 2)}}));
    EXPECT_EQ(markersOnMainClip("3600s"), (Markers{{"Intro", Fraction(10)}}));
    EXPECT_EQ(markersOnMainClip("91499/25s"), (Markers{{"Intro", Fraction(1749, 25)}}));
    EXPECT_TRUE(markersOnMainClip("3660s").empty());      // exactly start + duration
    EXPECT_TRUE(markersOnMainClip("89999/25s").empty());  // one frame before the clip's start
    EXPECT_TRUE(markersInSpine("<gap offset=\"0s\" duration=\"5s\"/>").empty());
}

TEST(ChapterMarkerPosition, TakesAMarkersOwnOffsetAsWritten) {
    const auto markers = markersInSpine(R"(<asset-clip offset="100s" start="3600s" duration="5s">
                                             <chapter-marker offset="12s" start="9999s" value="Own"/>
                                             <chapter-marker offset="twelve" start="3601s" value="Bad own"/>
                                           </asset-clip>)",
                                        "tcStart=\"3600s\"");
    EXPECT_EQ(markers, (Markers{{"Own", Fraction(12)}}));
}

TEST(ChapterMarkerPosition, KeepsTheRawStartOutsideAnyTimeline) {
    EXPECT_EQ(markersOf(R"(<fcpxml><event><asset-clip offset="50s" start="10s" duration="5s">
                             <chapter-marker start="100s" value="In the browser"/></asset-clip></event></fcpxml>)"),
              (Markers{{"In the browser", Fraction(100)}}));
}

TEST(ChapterMarkerSelection, KeepsCompleteMarkersSortedByPositionAndEqualPositionsInDocumentOrder) {
    EXPECT_EQ(markersInFixture("description/marker_rules.fcpxml"),
              (Markers{{"", Fraction(2)},
                       {"  Spaced  ", Fraction(3)},
                       {"Inside", Fraction(5)},
                       {"Early", Fraction(10)},
                       {"Same A", Fraction(20)},
                       {"Same B", Fraction(20)},
                       {"Odd", Fraction(21)},
                       {"Late", Fraction(40)},
                       {"Third", Fraction(181, 3)},
                       {"No duration", Fraction(5410)},
                       {"Malformed duration", Fraction(5410)},
                       {"Malformed start", Fraction(9010)}}));
    EXPECT_TRUE(markersOf(R"(<chapter-marker start="1s" value="Root"/>)").empty());
}

TEST(ChapterMarkerSelection, FailsClearlyInsteadOfWrappingAHugeTime) {
    setPreferredLanguages({"en"});
    try {
        markersInSpine(R"(<asset-clip offset="9223372036854775807s" start="0s" duration="60s">
                            <chapter-marker start="1s" value="Overflow"/></asset-clip>)");
        FAIL() << "no error";
    } catch (const Error& error) {
        EXPECT_EQ(error.domain(), "ChapterMarker");
        EXPECT_EQ(error.code(), 1);
        EXPECT_TRUE(std::string(error.what())
                        .starts_with("Chapter marker 'Overflow': position cannot be computed exactly"))
            << error.what();
    }
}

TEST(ChapterMarkerSamples, ReadsRealExports) {
    // A retimed clip: 2757197/24000 − 245846/2400 + 442800/2400, about 196.9 s.
    EXPECT_EQ(markersInFixture("orchetect__DAWFileKit__24.fcpxml"),
              (Markers{{"Shot_08", Fraction(1575579, 8000)}}));
    // The title states source time 600.6s…664.63s, its chapter marker lies at 3633.2s.
    EXPECT_TRUE(markersInFixture("orchetect__DAWFileKit__BasicMarkers.fcpxml").empty());
}

TEST(ChapterTimestamp, DropsFractionsAndNeverWrapsHours) {
    EXPECT_EQ(chapterTimestamp(Fraction(0)), "00:00:00");
    EXPECT_EQ(chapterTimestamp(Fraction(1499, 25)), "00:00:59");
    EXPECT_EQ(chapterTimestamp(Fraction(3599)), "00:59:59");
    EXPECT_EQ(chapterTimestamp(Fraction(3600)), "01:00:00");
    EXPECT_EQ(chapterTimestamp(Fraction(100 * 3600)), "100:00:00");
    EXPECT_EQ(chapterTimestamp(Fraction(std::numeric_limits<std::int64_t>::max())), "2562047788015215:30:07");
    EXPECT_EQ(chapterTimestamp(Fraction(-90)), "-00:01:30");
    EXPECT_EQ(chapterTimestamp(Fraction(-1, 2)), "00:00:00");
    EXPECT_EQ(chapterTimestamp(Fraction(std::numeric_limits<std::int64_t>::min())),
              "-2562047788015215:30:08");
}

}  // namespace
}  // namespace tidyreel

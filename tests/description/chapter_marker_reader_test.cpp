#include "description/chapter_marker_reader.h"

#include "core/error.h"
#include "core/language.h"
#include "description/description_test_support.h"
#include "fcpxml/xml.h"
#include "test_support.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>

namespace tidyreel {
namespace {

using test::projectXml;

std::vector<ChapterMarker> markersOf(const std::string& xml) {
    return readChapterMarkers(*XmlDocument::parse(xml));
}

std::vector<ChapterMarker> markersInSpine(const std::string& spine,
                                          const std::string& sequence = "tcStart=\"0s\"") {
    return markersOf(projectXml(spine, "", sequence));
}

// One asset clip in the main spine at 10s that uses 3600s…3660s of its source.
std::vector<ChapterMarker> markersOnMainClip(const std::string& markerStart) {
    return markersInSpine(R"(<asset-clip ref="r2" offset="10s" start="3600s" duration="60s">
                               <chapter-marker start=")" +
                          markerStart + R"(" duration="1/25s" value="Intro"/>
                             </asset-clip>)");
}

TEST(ChapterMarkerPosition, MapsAMainSpineClipsSourceTimeToTheTimeline) {
    EXPECT_EQ(markersOnMainClip("3605s"), (std::vector<ChapterMarker>{{"Intro", Fraction(15)}}));
    EXPECT_EQ(markersOnMainClip("7211/2s"), (std::vector<ChapterMarker>{{"Intro", Fraction(31, 2)}}));
    EXPECT_TRUE(markersInSpine("<gap offset=\"0s\" duration=\"5s\"/>").empty());
}

TEST(ChapterMarkerPosition, KeepsOnlyMarkersInTheUsedRangeOfTheirClip) {
    EXPECT_EQ(markersOnMainClip("3600s"), (std::vector<ChapterMarker>{{"Intro", Fraction(10)}}));
    EXPECT_EQ(markersOnMainClip("91499/25s"), (std::vector<ChapterMarker>{{"Intro", Fraction(1749, 25)}}));
    EXPECT_TRUE(markersOnMainClip("3660s").empty());  // exactly start + duration
    EXPECT_TRUE(markersOnMainClip("3700s").empty());
    EXPECT_TRUE(markersOnMainClip("89999/25s").empty());  // one frame before the clip's start
}

TEST(ChapterMarkerPosition, SkipsTheRangeCheckWithoutAUsableRange) {
    for (const char* clipRange :
         {R"(start="3600s")", R"(duration="60s" start="soon")", R"(start="3600s" duration="1/0s")"}) {
        const auto markers = markersInSpine(std::string("<asset-clip offset=\"10s\" ") + clipRange +
                                            R"(><chapter-marker start="9000s" value="Far"/></asset-clip>)");
        ASSERT_EQ(markers.size(), 1u) << clipRange;
        EXPECT_EQ(markers[0].name, "Far");
    }
}

TEST(ChapterMarkerPosition, WalksThroughConnectedClipsStorylinesAndGaps) {
    // Connected clip: 1 − 0 + 5 − 2 + 20 = 24.
    EXPECT_EQ(markersInSpine(R"(<asset-clip offset="20s" start="2s" duration="30s">
                                  <asset-clip lane="1" offset="5s" start="0s">
                                    <chapter-marker start="1s" value="Connected"/>
                                  </asset-clip>
                                </asset-clip>)"),
              (std::vector<ChapterMarker>{{"Connected", Fraction(24)}}));
    // Secondary storyline: 2 + 3 + 4 + 10 = 19.
    EXPECT_EQ(markersInSpine(R"(<asset-clip offset="10s" start="0s" duration="30s">
                                  <spine lane="1" offset="4s">
                                    <asset-clip offset="3s" start="0s"><chapter-marker start="2s" value="Story"/></asset-clip>
                                  </spine>
                                </asset-clip>)"),
              (std::vector<ChapterMarker>{{"Story", Fraction(19)}}));
    // A title connected to a gap: 3601 − 3600 + 3602 − 3600 + 30 = 33.
    EXPECT_EQ(markersInSpine(R"(<gap offset="30s" start="3600s" duration="10s">
                                  <title lane="1" offset="3602s" start="3600s" duration="5s">
                                    <chapter-marker start="3601s" value="On title"/>
                                  </title>
                                </gap>)"),
              (std::vector<ChapterMarker>{{"On title", Fraction(33)}}));
}

TEST(ChapterMarkerPosition, CountsMalformedAncestorTimesAsZero) {
    EXPECT_EQ(markersInSpine(R"(<clip offset="20s" start="later">
                                  <asset-clip lane="1" offset="5/0s" start="0s">
                                    <chapter-marker start="1s" value="Odd"/>
                                  </asset-clip>
                                </clip>)"),
              (std::vector<ChapterMarker>{{"Odd", Fraction(21)}}));
}

TEST(ChapterMarkerPosition, MeasuresFromTheFirstFrameOfATimelineWithAStartTimecode) {
    EXPECT_EQ(markersInSpine(R"(<asset-clip offset="3610s" start="0s" duration="20s">
                                  <chapter-marker start="5s" value="Later"/>
                                </asset-clip>
                                <chapter-marker start="3600s" value="First frame"/>)",
                             "tcStart=\"3600s\""),
              (std::vector<ChapterMarker>{{"First frame", Fraction(0)}, {"Later", Fraction(15)}}));
    // A malformed start timecode counts as 0, like any malformed time.
    EXPECT_EQ(markersInSpine(R"(<chapter-marker start="3600s" value="Raw"/>)", "tcStart=\"01:00:00:00\""),
              (std::vector<ChapterMarker>{{"Raw", Fraction(3600)}}));
}

TEST(ChapterMarkerPosition, TakesAMarkersOwnOffsetAsWritten) {
    const auto markers = markersInSpine(R"(<asset-clip offset="100s" start="3600s" duration="5s">
                                             <chapter-marker offset="12s" start="9999s" value="Own"/>
                                             <chapter-marker offset="twelve" start="3601s" value="Bad own"/>
                                           </asset-clip>)",
                                        "tcStart=\"3600s\"");
    EXPECT_EQ(markers, (std::vector<ChapterMarker>{{"Own", Fraction(12)}}));
}

TEST(ChapterMarkerPosition, ListsMarkersOfACompoundClipOnceInItsOwnTimeline) {
    const std::string resources = R"(
    <media id="r5" name="Compound">
      <sequence format="r1" duration="30s" tcStart="3600s">
        <spine>
          <asset-clip offset="3600s" start="10s" duration="30s"><chapter-marker start="12s" value="Inside"/></asset-clip>
        </spine>
      </sequence>
    </media>)";
    const auto markers = markersOf(projectXml(R"(<ref-clip ref="r5" offset="0s" duration="30s"/>
                                                 <ref-clip ref="r5" offset="30s" duration="30s"/>)",
                                              resources));
    EXPECT_EQ(markers, (std::vector<ChapterMarker>{{"Inside", Fraction(2)}}));
}

TEST(ChapterMarkerPosition, KeepsTheRawStartOutsideAnyTimeline) {
    const auto markers = markersOf(R"(<fcpxml><event><asset-clip offset="50s" start="10s" duration="5s">
                                        <chapter-marker start="100s" value="In the browser"/>
                                      </asset-clip></event></fcpxml>)");
    EXPECT_EQ(markers, (std::vector<ChapterMarker>{{"In the browser", Fraction(100)}}));
}

TEST(ChapterMarkerSelection, LeavesOutIncompleteMarkersAndKeepsEmptyNames) {
    const auto markers = markersInSpine(R"(<asset-clip offset="0s" start="0s" duration="60s">
                                             <chapter-marker start="1s"/>
                                             <chapter-marker value="No start"/>
                                             <chapter-marker start="" value="Empty start"/>
                                             <chapter-marker start="1.5s" value="Decimal start"/>
                                             <chapter-marker start="2s" value=""/>
                                             <chapter-marker start="3s" value="  Spaced  "/>
                                           </asset-clip>)");
    EXPECT_EQ(markers, (std::vector<ChapterMarker>{{"", Fraction(2)}, {"  Spaced  ", Fraction(3)}}));
    EXPECT_TRUE(markersOf(R"(<chapter-marker start="1s" value="Root"/>)").empty());
}

TEST(ChapterMarkerSelection, SortsByPositionAndKeepsDocumentOrderOfEqualPositions) {
    const auto markers = markersInSpine(R"(<asset-clip offset="0s" start="0s" duration="60s">
                                             <chapter-marker start="40s" value="Late"/>
                                             <chapter-marker start="20s" value="Same A"/>
                                           </asset-clip>
                                           <asset-clip offset="60s" start="0s" duration="60s">
                                             <asset-clip lane="1" offset="-40s" start="0s">
                                               <chapter-marker start="0s" value="Same B"/>
                                             </asset-clip>
                                             <chapter-marker start="1/3s" value="Third"/>
                                           </asset-clip>
                                           <chapter-marker start="10s" value="Early"/>)");
    EXPECT_EQ(markers, (std::vector<ChapterMarker>{{"Early", Fraction(10)},
                                                   {"Same A", Fraction(20)},
                                                   {"Same B", Fraction(20)},
                                                   {"Late", Fraction(40)},
                                                   {"Third", Fraction(181, 3)}}));
}

TEST(ChapterMarkerSelection, FailsClearlyInsteadOfWrappingAHugeTime) {
    setPreferredLanguages({"en"});
    const std::string spine = R"(<asset-clip offset="9223372036854775807s" start="0s" duration="60s">
                                   <chapter-marker start="1s" value="Overflow"/>
                                 </asset-clip>)";
    try {
        markersInSpine(spine);
        FAIL() << "no error";
    } catch (const Error& error) {
        EXPECT_EQ(error.domain(), "ChapterMarker");
        EXPECT_EQ(error.code(), 1);
        EXPECT_TRUE(std::string(error.what())
                        .starts_with("Chapter marker 'Overflow': position cannot be computed exactly"))
            << error.what();
    }
}

TEST(ChapterMarkerSamples, ReadsTheChapterOfARetimedClipInARealExport) {
    const auto markers =
        readChapterMarkers(*XmlDocument::load(test::fixture("orchetect__DAWFileKit__24.fcpxml")));
    // 2757197/24000 − 245846/2400 + 442800/2400, about 196.9 s.
    EXPECT_EQ(markers, (std::vector<ChapterMarker>{{"Shot_08", Fraction(1575579, 8000)}}));
}

TEST(ChapterMarkerSamples, LeavesOutAChapterOutsideItsTitlesStatedRange) {
    // The title states source time 600.6s…664.63s, its chapter marker lies at 3633.2s.
    EXPECT_TRUE(
        readChapterMarkers(*XmlDocument::load(test::fixture("orchetect__DAWFileKit__BasicMarkers.fcpxml")))
            .empty());
}

TEST(ChapterTimestamp, DropsFractionsAndNeverWrapsHours) {
    EXPECT_EQ(chapterTimestamp(Fraction(0)), "00:00:00");
    EXPECT_EQ(chapterTimestamp(Fraction(1499, 25)), "00:00:59");
    EXPECT_EQ(chapterTimestamp(Fraction(3599)), "00:59:59");
    EXPECT_EQ(chapterTimestamp(Fraction(3600)), "01:00:00");
    EXPECT_EQ(chapterTimestamp(Fraction(1001, 30000)), "00:00:00");
    EXPECT_EQ(chapterTimestamp(Fraction(150)), "00:02:30");
    EXPECT_EQ(chapterTimestamp(Fraction(100 * 3600)), "100:00:00");
    EXPECT_EQ(chapterTimestamp(Fraction(std::numeric_limits<std::int64_t>::max())), "2562047788015215:30:07");
    EXPECT_EQ(chapterTimestamp(Fraction(-90)), "-00:01:30");
    EXPECT_EQ(chapterTimestamp(Fraction(-1, 2)), "00:00:00");
    EXPECT_EQ(chapterTimestamp(Fraction(std::numeric_limits<std::int64_t>::min())),
              "-2562047788015215:30:08");
}

}  // namespace
}  // namespace tidyreel

#include "archive/planning/clip_usage_analysis.h"

#include "archive/archive_support.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>

namespace tidyreel {
namespace {

using test::LogCollector;
using test::projectWith;
using ::testing::ElementsAre;

const std::set<std::string> kVideo{"Video"};

// The used ranges of the clips in a document, with the lines logged while collecting them.
UsageMap usedRanges(const std::shared_ptr<XmlDocument>& document, LogCollector& log,
                    const std::set<std::string>& roles = kVideo) {
    return collectUsedRanges(collectAnalysedClips(*document, ResourceIndex(*document)), roles, log.logger());
}

TEST(RoleNormalisation, LowerCasesTheMainRoleOnly) {
    EXPECT_EQ(normalisedRole("Dialogue.Dialogue-1"), "dialogue.Dialogue-1");
    EXPECT_EQ(normalisedRole("Titles"), "titles");
    EXPECT_EQ(normalisedRole("VIDEO."), "video");
    EXPECT_EQ(normalisedRole(".B-Roll"), "b-roll");
    EXPECT_EQ(normalisedRole("A.B.C"), "a.B.C");
    EXPECT_EQ(normalisedRole("..."), "...");
    EXPECT_EQ(normalisedRole(""), "");
}

TEST(UsedRanges, TimelineClipsCountWithSplitEditsAndTimeMapsButBrowserClipsDoNot) {
    LogCollector log;
    const UsageMap usage = usedRanges(XmlDocument::load(test::fixture("archive/used_ranges.fcpxml")), log);
    const std::map<std::string, HalfOpenRange> expected{{"r1", {10, 15}}, {"r2", {1, 3}},  {"r3", {4, 5}},
                                                        {"r5", {8, 15}},  {"r6", {8, 17}}, {"r7", {10, 15}},
                                                        {"r8", {4, 10}}};
    ASSERT_EQ(usage.size(), expected.size());
    for (const auto& [asset, range] : expected) {
        EXPECT_THAT(usage.at(asset).ranges, ElementsAre(range)) << asset;
    }
    EXPECT_TRUE(log.contains("ℹ️   → Asset 'r1': Clip 'A' nutzt 10s - 15s (Dauer: 5s)"));
    EXPECT_TRUE(
        log.contains("ℹ️   Split-Edit erkannt in 'J' (ref=r5): video=[10s..15s], gesamt=[8s..15s]"));
    EXPECT_TRUE(
        log.contains("ℹ️   Split-Edit erkannt in 'L' (ref=r6): video=[10s..15s], gesamt=[8s..17s]"));
    EXPECT_EQ(log.lines().size(), 9u);
}

TEST(UsedRanges, RoleFilterNormalisesAndLogsSkippedClips) {
    const auto document = projectWith(
        "",
        "<asset-clip ref=\"r1\" name=\"A\" videoRole=\"VIDEO.Cam-A\" start=\"0s\" duration=\"5s\"/>"
        "<asset-clip ref=\"r2\" name=\"B\" videoRole=\"Interview\" start=\"0s\" duration=\"5s\"/>"
        "<asset-clip ref=\"r1\" videoRole=\"Interview.x\" start=\"20s\" duration=\"1001/30000s\"/>");
    LogCollector log;
    const UsageMap usage = usedRanges(document, log, {"video"});
    EXPECT_EQ(usage.size(), 1u);
    // Once an asset is included, every timeline use of it counts, whatever that clip's role.
    EXPECT_THAT(usage.at("r1").ranges,
                ElementsAre(HalfOpenRange{0, 5}, HalfOpenRange{20, Rational(601001, 30000)}));
    EXPECT_THAT(
        log.lines(),
        ElementsAre("ℹ️   ⊗ Clip 'B' (Rolle: Interview) übersprungen (Rolle nicht ausgewählt)",
                    "ℹ️   ⊗ Clip '?' (Rolle: Interview) übersprungen (Rolle nicht ausgewählt)",
                    "ℹ️   → Asset 'r1': Clip 'A' nutzt 0s - 5s (Dauer: 5s)",
                    "ℹ️   → Asset 'r1': Clip '?' nutzt 20s - 601001/30000s (Dauer: 1001/30000s)"));
}

TEST(UsedRanges, NoIncludedRolesGiveAnEmptyMap) {
    const auto document = projectWith("", "<asset-clip ref=\"r1\" name=\"A\" duration=\"5s\"/>");
    LogCollector log;
    EXPECT_TRUE(usedRanges(document, log, {}).empty());
    EXPECT_THAT(log.lines(),
                ElementsAre("ℹ️   ⊗ Clip 'A' (Rolle: Video) übersprungen (Rolle nicht ausgewählt)"));
}

TEST(UsedRanges, AbsurdTimesMarkTheAssetInsteadOfWrapping) {
    const auto document = projectWith("",
                                      "<asset-clip ref=\"r1\" name=\"Huge\" start=\"9223372036854775807s\" "
                                      "duration=\"9223372036854775807s\"/>"
                                      "<asset-clip ref=\"r1\" name=\"Fine\" start=\"1s\" duration=\"1s\"/>");
    LogCollector log;
    const UsageMap usage = usedRanges(document, log);
    EXPECT_TRUE(usage.at("r1").hasUnreadableTimes);
    EXPECT_THAT(usage.at("r1").ranges, ElementsAre(HalfOpenRange{1, 2}));
    EXPECT_TRUE(log.lines().front().starts_with("⚠️   Asset 'r1': Clip 'Huge' hat unlesbare Zeitwerte"));
}

TEST(AssetFacts, RolesKindsAndJLCuts) {
    const auto document = projectWith(
        "",
        "<asset-clip ref=\"r1\" videoRole=\"Interview.A\" duration=\"1s\"/>"
        "<transition duration=\"1s\"/>"
        "<asset-clip ref=\"r2\" audioStart=\"1s\" duration=\"1s\"/>"
        "<asset-clip ref=\"r3\" audioStart=\"1s\" duration=\"1s\"><timeMap><timept time=\"0s\" value=\"0s\"/>"
        "<timept time=\"1s\" value=\"2s\"/></timeMap></asset-clip>"
        "<asset-clip ref=\"r1\" videoRole=\"\" duration=\"1s\"/>");
    const std::vector<AnalysedClip> clips = collectAnalysedClips(*document, ResourceIndex(*document));
    const auto roles = collectRolesByAsset(clips);
    EXPECT_EQ(roles.at("r1"), (std::set<std::string>{"Interview.A", "Video"}));
    const auto statuses = collectTimeMapStatuses(clips);
    EXPECT_EQ(statuses.at("r3"), TimeMapStatus::linearConsistent(2));
    EXPECT_EQ(statuses.at("r1"), TimeMapStatus::noTimeMap());
    // r2 sits right after the transition; r3 sits between two clips.
    EXPECT_EQ(collectJLCutAssets(clips), (std::set<std::string>{"r2"}));
}

TEST(AssetFacts, LookupPrefersOriginalMediaAndReadsOldStyleSources) {
    const auto document = projectWith(
        "<asset id=\"r1\" hasAudio=\"1\" duration=\"12s\" start=\"3600s\" format=\"f1\">"
        "<media-rep kind=\"proxy-media\" src=\"file:///proxy/a.mov\"/>"
        "<media-rep kind=\"original-media\" src=\"file:///media/My%20Clip.mov\"/></asset>"
        "<asset id=\"r2\" src=\"file:///old/b.mp4\"/>"
        "<asset id=\"r3\" duration=\"2s\"/>"
        "<media id=\"r4\" name=\"Compound\"/>",
        "");
    const ResourceIndex resources(*document);
    const auto first = lookupAssetInfo("r1", resources);
    ASSERT_TRUE(first);
    EXPECT_EQ(first->path, "/media/My Clip.mov");
    EXPECT_EQ(first->originalSrc, "file:///media/My%20Clip.mov");
    EXPECT_EQ(first->duration, Rational(12));
    EXPECT_EQ(first->start, Rational(3600));
    EXPECT_TRUE(first->hasAudio);
    const auto old = lookupAssetInfo("r2", resources);
    ASSERT_TRUE(old);
    EXPECT_EQ(old->path, "/old/b.mp4");
    EXPECT_EQ(old->duration, Rational(3600));
    EXPECT_FALSE(old->hasAudio);
    EXPECT_FALSE(lookupAssetInfo("r3", resources));
    EXPECT_FALSE(lookupAssetInfo("r4", resources));
    EXPECT_FALSE(lookupAssetInfo("missing", resources));
}

TEST(AssetFacts, FrameDurationNeedsAPositiveFormat) {
    const auto document = projectWith("<format id=\"f2\" frameDuration=\"0s\"/><format id=\"f3\"/>" +
                                          test::assetElement("r1", "a.mov", "10s") +
                                          test::assetElement("r2", "b.mov", "10s", "format=\"f2\"") +
                                          test::assetElement("r3", "c.mov", "10s", "format=\"f3\"") +
                                          test::assetElement("r4", "d.mov", "10s", ""),
                                      "");
    const ResourceIndex resources(*document);
    EXPECT_EQ(frameDuration("r1", resources), Rational(1, 25));
    EXPECT_FALSE(frameDuration("r2", resources));
    EXPECT_FALSE(frameDuration("r3", resources));
    EXPECT_FALSE(frameDuration("r4", resources));
    EXPECT_FALSE(frameDuration("nope", resources));
}

}  // namespace
}  // namespace tidyreel

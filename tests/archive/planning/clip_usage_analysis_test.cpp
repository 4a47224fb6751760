#include "archive/planning/clip_usage_analysis.h"

#include "archive/archive_support.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tidyreel {
namespace {

using test::LogCollector;
using test::projectWith;
using ::testing::ElementsAre;

const std::set<std::string> kVideo{"Video"};

TEST(RoleNormalisation, LowerCasesTheMainRoleOnly) {
    EXPECT_EQ(normalisedRole("Dialogue.Dialogue-1"), "dialogue.Dialogue-1");
    EXPECT_EQ(normalisedRole("Titles"), "titles");
    EXPECT_EQ(normalisedRole("VIDEO."), "video");
    EXPECT_EQ(normalisedRole(".B-Roll"), "b-roll");
    EXPECT_EQ(normalisedRole("A.B.C"), "a.B.C");
    EXPECT_EQ(normalisedRole("..."), "...");
    EXPECT_EQ(normalisedRole(""), "");
}

TEST(UsedRanges, BrowserClipsCountNothingButNestedClipsDo) {
    const auto document = projectWith("",
                                      "<asset-clip ref=\"r1\" name=\"A\" start=\"10s\" duration=\"5s\">"
                                      "<asset-clip ref=\"r2\" lane=\"1\" name=\"B\" offset=\"3s\" "
                                      "start=\"1s\" duration=\"2s\"/></asset-clip>"
                                      "<sync-clip name=\"S\"><spine><asset-clip ref=\"r3\" name=\"C\" "
                                      "start=\"4s\" duration=\"1s\"/></spine>"
                                      "</sync-clip>");
    XmlElement event = document->first("//event");
    XmlElement browser = event.appendChild("asset-clip");
    browser.setAttribute("ref", "r4");
    browser.setAttribute("duration", "9s");
    LogCollector log;
    const UsageMap usage = collectUsedRanges(collectAnalysedClips(document->root()), kVideo, log.logger());
    EXPECT_EQ(usage.size(), 3u);
    EXPECT_THAT(usage.at("r1").ranges, ElementsAre(UsedRange{10, 15}));
    EXPECT_THAT(usage.at("r2").ranges, ElementsAre(UsedRange{1, 3}));
    EXPECT_THAT(usage.at("r3").ranges, ElementsAre(UsedRange{4, 5}));
    EXPECT_FALSE(usage.contains("r4"));
    EXPECT_TRUE(log.contains("ℹ️   → Asset 'r1': Clip 'A' nutzt 10s - 15s (Dauer: 5s)"));
}

TEST(UsedRanges, RoleFilterNormalisesAndLogsSkippedClips) {
    const auto document = projectWith(
        "",
        "<asset-clip ref=\"r1\" name=\"A\" videoRole=\"VIDEO.Cam-A\" start=\"0s\" duration=\"5s\"/>"
        "<asset-clip ref=\"r2\" name=\"B\" videoRole=\"Interview\" start=\"0s\" duration=\"5s\"/>"
        "<asset-clip ref=\"r1\" videoRole=\"Interview.x\" start=\"20s\" duration=\"1001/30000s\"/>");
    LogCollector log;
    const UsageMap usage = collectUsedRanges(collectAnalysedClips(document->root()), {"video"}, log.logger());
    EXPECT_EQ(usage.size(), 1u);
    // Once an asset is included, every timeline use of it counts, whatever that clip's role.
    EXPECT_THAT(usage.at("r1").ranges, ElementsAre(UsedRange{0, 5}, UsedRange{20, Rational(601001, 30000)}));
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
    EXPECT_TRUE(collectUsedRanges(collectAnalysedClips(document->root()), {}, log.logger()).empty());
    EXPECT_THAT(log.lines(),
                ElementsAre("ℹ️   ⊗ Clip 'A' (Rolle: Video) übersprungen (Rolle nicht ausgewählt)"));
}

TEST(UsedRanges, SplitEditsWidenTheRange) {
    const auto document =
        projectWith("",
                    "<asset-clip ref=\"r1\" name=\"J\" start=\"10s\" duration=\"5s\" audioStart=\"8s\"/>"
                    "<asset-clip ref=\"r2\" name=\"L\" start=\"10s\" duration=\"5s\" audioStart=\"8s\" "
                    "audioDuration=\"9s\"/>"
                    "<asset-clip ref=\"r3\" name=\"X\" start=\"10s\" duration=\"5s\" audioStart=\"bad\"/>");
    LogCollector log;
    const UsageMap usage = collectUsedRanges(collectAnalysedClips(document->root()), kVideo, log.logger());
    EXPECT_THAT(usage.at("r1").ranges, ElementsAre(UsedRange{8, 15}));
    EXPECT_THAT(usage.at("r2").ranges, ElementsAre(UsedRange{8, 17}));
    EXPECT_THAT(usage.at("r3").ranges, ElementsAre(UsedRange{10, 15}));
    EXPECT_TRUE(log.contains(
        "ℹ️   ℹ️ Split-Edit erkannt in 'J' (ref=r1): video=[10s..15s], gesamt=[8s..15s]"));
    EXPECT_TRUE(log.contains(
        "ℹ️   ℹ️ Split-Edit erkannt in 'L' (ref=r2): video=[10s..15s], gesamt=[8s..17s]"));
    EXPECT_EQ(log.lines().size(), 5u);
}

TEST(UsedRanges, TimeMapsGiveMediaRanges) {
    const auto document = projectWith(
        "",
        "<asset-clip ref=\"r1\" name=\"Fast\" start=\"2s\" duration=\"3s\"><timeMap>"
        "<timept time=\"0s\" value=\"0s\"/><timept time=\"10s\" value=\"20s\"/></timeMap></asset-clip>");
    LogCollector log;
    EXPECT_THAT(
        collectUsedRanges(collectAnalysedClips(document->root()), kVideo, log.logger()).at("r1").ranges,
        ElementsAre(UsedRange{4, 10}));
}

TEST(UsedRanges, AbsurdTimesMarkTheAssetInsteadOfWrapping) {
    const auto document = projectWith("",
                                      "<asset-clip ref=\"r1\" name=\"Huge\" start=\"9223372036854775807s\" "
                                      "duration=\"9223372036854775807s\"/>"
                                      "<asset-clip ref=\"r1\" name=\"Fine\" start=\"1s\" duration=\"1s\"/>");
    LogCollector log;
    const UsageMap usage = collectUsedRanges(collectAnalysedClips(document->root()), kVideo, log.logger());
    EXPECT_TRUE(usage.at("r1").hasUnreadableTimes);
    EXPECT_THAT(usage.at("r1").ranges, ElementsAre(UsedRange{1, 2}));
    EXPECT_TRUE(
        log.lines().front().starts_with("⚠️   ⚠️ Asset 'r1': Clip 'Huge' hat unlesbare Zeitwerte"));
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
    const std::vector<AnalysedClip> clips = collectAnalysedClips(document->root());
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
    ::testing::internal::CaptureStdout();
    EXPECT_FALSE(lookupAssetInfo("r4", resources));
    EXPECT_EQ(::testing::internal::GetCapturedStdout(),
              "ℹ️ Ref r4 zeigt auf <media> ('Compound') — Compound/Multicam, wird nicht getrimmt.\n");
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

#include "archive/planning/segment_planning.h"

#include "archive/archive_support.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tidyreel {
namespace {

using test::assetElement;
using test::LogCollector;
using test::projectWith;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

// Plans one asset of a document with the given settings and facts.
class SegmentPlanning : public ::testing::Test {
protected:
    AssetDecision plan(const std::string& resources, const std::vector<HalfOpenRange>& ranges,
                       double buffer = 5, double minSegment = 1) {
        document_ = projectWith(resources, "");
        index_ = std::make_unique<ResourceIndex>(*document_);
        settings_ = preparePlanningSettings(buffer, minSegment, settingsLog_.logger());
        const PlanningFacts facts{settings_, statuses, roles, jlCuts, *index_};
        return planAsset("r1", AssetUsage{ranges, unreadable, {}}, facts, log.logger());
    }

    std::map<std::string, TimeMapStatus> statuses;
    std::map<std::string, std::set<std::string>> roles;
    std::set<std::string> jlCuts;
    bool unreadable = false;
    LogCollector log;

private:
    std::shared_ptr<XmlDocument> document_;
    std::unique_ptr<ResourceIndex> index_;
    PlanningSettings settings_;
    LogCollector settingsLog_;
};

TEST(PlanningSettingsTest, RaisesSmallBuffersAndTruncatesToWholeSeconds) {
    LogCollector log;
    const PlanningSettings raised = preparePlanningSettings(2.0, 20.0, log.logger());
    EXPECT_EQ(raised.buffer, 5.0);
    EXPECT_EQ(raised.handle, Rational(5));
    EXPECT_THAT(log.lines(),
                ElementsAre("ℹ️ Puffer von 2.0s auf Minimum 5.0s angehoben (Keyframe-Schutz)"));
    const PlanningSettings kept = preparePlanningSettings(7.9, 12.7, log.logger());
    EXPECT_EQ(kept.buffer, 7.9);
    EXPECT_EQ(kept.handle, Rational(7));
    EXPECT_EQ(kept.minimumLength, Rational(12));
    EXPECT_EQ(log.lines().size(), 1u);
    EXPECT_EQ(preparePlanningSettings(1e300, 1e300, log.logger()).handle, Rational(1'000'000'000'000'000));
}

TEST_F(SegmentPlanning, TrimsWithFrameSnapAndLogsEveryStep) {
    roles["r1"] = {"Video", "Interview.A"};
    const AssetDecision decision =
        plan("<format id=\"ntsc\" frameDuration=\"1001/30000s\"/>" +
                 assetElement("r1", "A001.mov", "100s", "hasVideo=\"1\" hasAudio=\"1\" format=\"ntsc\""),
             {{10, 20}, {30, 40}});
    ASSERT_TRUE(decision.plan);
    EXPECT_EQ(decision.reason, SkipReason::none);
    const TrimPlan& trim = *decision.plan;
    EXPECT_EQ(trim.originalPath, "/media/A001.mov");
    EXPECT_EQ(trim.originalSrc, "file:///media/A001.mov");
    EXPECT_THAT(trim.originalSegments, ElementsAre(HalfOpenRange{5, 45}));
    EXPECT_THAT(trim.segments, ElementsAre(HalfOpenRange{Rational(149149, 30000), Rational(1350349, 30000)}));
    EXPECT_EQ(decision.used, Rational(20));
    EXPECT_EQ(decision.kept, Rational(1201200, 30000));
    EXPECT_THAT(
        log.lines(),
        ElementsAre("ℹ️   → Asset r1 [.mov]: Rollen=[Interview.A, Video] → Trim-Kandidat",
                    "ℹ️   → Asset r1 [.mov]: assetDuration=100s (100.0s), 2 intervals",
                    "ℹ️        [0] 10s..20s (10.0..20.0)", "ℹ️        [1] 30s..40s (30.0..40.0)",
                    "ℹ️        merged[0] 5s..45s (5.0..45.0)",
                    "ℹ️        Frame-Grid-Snap aktiv (Details beim Trim)",
                    "ℹ️   → Asset r1: 1 Segment(e), Einsparung: 1499/25s (60.0%)"));
}

TEST_F(SegmentPlanning, AlignedUnknownFrameGridsAndVideoOnlyMedia) {
    const AssetDecision decision =
        plan(assetElement("r1", "b.MP4", "60s", "hasVideo=\"1\" format=\"f1\""), {{20, 30}});
    ASSERT_TRUE(decision.plan);
    EXPECT_THAT(decision.plan->segments, ElementsAre(HalfOpenRange{15, 35}));
    EXPECT_TRUE(log.contains("ℹ️        Frame-Grid-Snap: Alle Segmente bereits frame-aligned"));
    EXPECT_TRUE(log.contains("ℹ️   → Asset r1: 1 Segment(e), Einsparung: 40s (66.7%) [Video-only]"));
    EXPECT_TRUE(log.contains("ℹ️   → Asset r1 [.mp4]: Rollen=[—] → Trim-Kandidat"));
    EXPECT_TRUE(plan(assetElement("r1", "c.m4v", "60s", "hasAudio=\"1\""), {{20, 30}}).plan);
    EXPECT_TRUE(log.contains(
        "ℹ️        Frame-Grid-Snap: frameDuration nicht ermittelbar, Segmente unverändert"));
}

TEST_F(SegmentPlanning, LinearRetimingIsTrimmedWithItsFactor) {
    statuses["r1"] = TimeMapStatus::linearConsistent(Rational(1, 2));
    EXPECT_TRUE(plan(assetElement("r1", "a.mov", "100s"), {{10, 20}}).plan);
    EXPECT_TRUE(log.contains(
        "ℹ️   → Asset r1: lineares Speed-Adjustment, Faktor=1/2s (0.5) — Trim mit Faktor-Korrektur"));
    statuses["r1"] = TimeMapStatus::linearMixed();
    EXPECT_TRUE(plan(assetElement("r1", "a.mov", "100s"), {{10, 20}}).plan);
    EXPECT_TRUE(log.contains(
        "ℹ️   → Asset r1: mehrere lineare Speed-Faktoren — Trim mit Faktor-Korrektur pro Clip"));
    // A saving of exactly one second is enough.
    EXPECT_TRUE(plan(assetElement("r1", "a.mov", "21s"), {{5, 15}}).plan);
}

TEST_F(SegmentPlanning, WhatCannotBeTrimmedSafelyStaysWholeAndSaysWhy) {
    const std::string movie = assetElement("r1", "a.mov", "100s");
    for (const std::string file : {"a.mxf", "still.png", "noext", "clip.mov.wav"}) {
        const AssetDecision decision = plan(assetElement("r1", file, "60s"), {{1, 2}});
        EXPECT_EQ(decision.reason, SkipReason::notTrimmableType) << file;
        EXPECT_EQ(decision.kept, Rational(60));
    }
    EXPECT_TRUE(log.lines().empty()) << "other media types stay whole without a line";

    EXPECT_EQ(plan("<media id=\"r1\" name=\"C\"/>", {{1, 2}}).reason, SkipReason::notInResources);
    EXPECT_EQ(log.lines().back(), "⚠️ Asset r1 nicht in <resources> gefunden");

    statuses["r1"] = TimeMapStatus::nonLinearRamp();
    EXPECT_EQ(plan(movie, {{10, 20}}).reason, SkipReason::speedRamp);
    EXPECT_EQ(log.lines().back(),
              "ℹ️   ⚠️ Asset r1 hat echte Speed-Ramp (≥3 Punkte oder verschobener Nullpunkt) → "
              "übersprungen, nur "
              "kopiert");
    statuses.clear();

    jlCuts.insert("r1");
    EXPECT_EQ(plan(movie, {{10, 20}}).reason, SkipReason::jlCut);
    EXPECT_EQ(
        log.lines().back(),
        "ℹ️   ⚠️ Asset r1 hat J/L-Cut mit angrenzender Transition → übersprungen, nur kopiert "
        "(FCP-Import-Klemmung der Audio-Wanne)");
    jlCuts.clear();

    for (const std::vector<HalfOpenRange>& ranges :
         std::vector<std::vector<HalfOpenRange>>{{{-1, 5}}, {{10, 101}}, {{10, 10}}, {{5, 6}, {20, 19}}}) {
        EXPECT_EQ(plan(movie, ranges).reason, SkipReason::outsideDuration);
    }
    EXPECT_EQ(
        log.lines().back(),
        "ℹ️   ⚠️ Asset r1: Intervall liegt außerhalb assetDuration=100s (kaputtes/offline FCPXML?) "
        "→ "
        "übersprungen, nur kopiert");

    EXPECT_EQ(plan(assetElement("r1", "a.mov", "6s"), {{1, 2}}, 5, 10).reason,
              SkipReason::shorterThanMinSegment);
    EXPECT_EQ(log.lines().back(),
              "ℹ️   → Asset r1: Originallänge 6s < minSegment 10s → übersprungen");
    EXPECT_EQ(plan(assetElement("r1", "a.mov", "41/2s"), {{5, 15}}).reason, SkipReason::noSaving);
    EXPECT_EQ(log.lines().back(),
              "ℹ️   → Asset r1: keine nennenswerte Einsparung (1/2s) → übersprungen");

    unreadable = true;
    EXPECT_EQ(plan(movie, {{10, 20}}).reason, SkipReason::unreadableTimes);
}

TEST_F(SegmentPlanning, TimecodeOriginPlansInFileTime) {
    const AssetDecision decision = plan(
        "<asset id=\"r1\" start=\"3600s\" duration=\"120s\" hasVideo=\"1\" format=\"f1\">"
        "<media-rep kind=\"original-media\" src=\"file:///cam/C0001.MP4\"/></asset>",
        {{3610, 3620}, {3700, 3710}});
    ASSERT_TRUE(decision.plan);
    EXPECT_EQ(decision.plan->origin, Rational(3600));
    EXPECT_THAT(decision.plan->segments, ElementsAre(HalfOpenRange{5, 25}, HalfOpenRange{95, 115}));
    EXPECT_TRUE(log.contains("ℹ️   → Asset r1: Timecode-Ursprung 3600s — Bereiche relativ dazu"));
    EXPECT_TRUE(log.contains("ℹ️        [0] 10s..20s (10.0..20.0)"));
}

TEST_F(SegmentPlanning, HugeValuesNeverWrap) {
    const AssetDecision decision =
        plan(assetElement("r1", "a.mov", "9223372036854775807s"),
             {{Rational(9223372036854775000), Rational(9223372036854775806)}}, 9e18, 1);
    EXPECT_FALSE(decision.plan);
    EXPECT_EQ(decision.reason, SkipReason::unreadableTimes);
    EXPECT_THAT(log.lines().back(), HasSubstr("Zeitwerte nicht berechenbar"));
    const AssetDecision fractions =
        plan("<format id=\"odd\" frameDuration=\"1/9223372036854775807s\"/>" +
                 assetElement("r1", "a.mov", "9223372036854775806/4611686018427387903s", "format=\"odd\""),
             {{Rational(1, 4611686018427387903), Rational(1)}});
    EXPECT_FALSE(fractions.plan);
}

}  // namespace
}  // namespace tidyreel

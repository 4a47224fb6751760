#include "archive/planning/archive_planning.h"

#include "archive/archive_support.h"
#include "archive/planning/plan_table.h"
#include "base/language.h"
#include "test_support.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tidyreel {
namespace {

using test::assetElement;
using test::LogCollector;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;

class ArchivePlanningRun : public ::testing::Test {
protected:
    void SetUp() override { setPreferredLanguages({"de-DE"}); }
    void TearDown() override { setPreferredLanguages({}); }

    ArchivePlanning run(const std::string& resources, const std::string& spine, std::set<std::string> roles) {
        context.xmlDocument = test::projectWith(resources, spine);
        context.includedRoles = std::move(roles);
        context.buffer = 2;
        context.minSegment = 20;
        context.logger = log.logger();
        context.progressUpdater = [this](int current, int total, const std::string& name) {
            progress.push_back(std::to_string(current) + "/" + std::to_string(total) + " " + name);
        };
        return planArchive(context);
    }

    ExportContext context;
    LogCollector log;
    std::vector<std::string> progress;
};

const std::string kResources = assetElement("a1", "A.mov", "100s") + assetElement("a2", "B.png", "3s") +
                               assetElement("a3", "Unused.mov", "50s") +
                               "<asset id=\"a4\" hasVideo=\"0\"><media-rep src=\"file:///x.xml\"/></asset>";
const std::string kSpine =
    "<asset-clip ref=\"a1\" name=\"One\" start=\"40s\" duration=\"10s\"/>"
    "<asset-clip ref=\"a2\" name=\"Still\" duration=\"3s\"/>";

TEST_F(ArchivePlanningRun, LogsTheRunAndPlansEveryUsedAsset) {
    const ArchivePlanning planning = run(kResources, kSpine, {"Video"});
    EXPECT_FALSE(planning.nothingUsed);
    ASSERT_EQ(planning.plans.size(), 1u);
    EXPECT_THAT(planning.plans.at("a1").segments, ElementsAre(Segment{35, 55}));
    EXPECT_THAT(progress, ElementsAre("0/2 Analysiere Assets", "1/2 Analysiere Assets"));
    const std::vector<std::string>& lines = log.lines();
    ASSERT_GE(lines.size(), 9u);
    EXPECT_THAT(std::vector<std::string>(lines.begin(), lines.begin() + 9),
                ElementsAre("ℹ️ Analysiere Assets...", "ℹ️ Rollen-Filter: Eingeschlossen = [Video]",
                            "ℹ️   → Asset 'a1': Clip 'One' nutzt 40s - 50s (Dauer: 10s)",
                            "ℹ️   → Asset 'a2': Clip 'Still' nutzt 0s - 3s (Dauer: 3s)",
                            "ℹ️ Puffer von 2.0s auf Minimum 5.0s angehoben (Keyframe-Schutz)",
                            "ℹ️ Gefunden: 2 Asset(s) mit genutzten Bereichen",
                            "ℹ️ Settings: buffer=5.0s, gopSlack=15s (hardcoded), minSegment=20.0s",
                            "ℹ️ Trim-Filter (Extension): m4v, mov, mp4",
                            "ℹ️   → Asset a1 [.mov]: Rollen=[Video] → Trim-Kandidat"));
    ASSERT_EQ(planning.decisions.size(), 3u);
    EXPECT_EQ(planning.decisions[1].reason, SkipReason::notTrimmableType);
    EXPECT_EQ(planning.decisions[2].assetID, "a3");
    EXPECT_EQ(planning.decisions[2].reason, SkipReason::notUsed);
}

TEST_F(ArchivePlanningRun, NoRolesPlanNothing) {
    const ArchivePlanning planning = run(kResources, kSpine, {});
    EXPECT_TRUE(planning.nothingUsed);
    EXPECT_TRUE(planning.plans.empty());
    EXPECT_EQ(log.lines()[1], "ℹ️ Rollen-Filter: Keine Rollen ausgewählt — es wird nichts getrimmt");
    EXPECT_EQ(log.lines().back(), "ℹ️ Keine Assets zum Schneiden gefunden");
    EXPECT_TRUE(progress.empty());
}

TEST_F(ArchivePlanningRun, EnglishSystemsGetEnglishStepTexts) {
    setPreferredLanguages({"en-US"});
    run(kResources, kSpine, {"Video"});
    EXPECT_EQ(log.lines().front(), "ℹ️ Analyzing assets...");
    EXPECT_EQ(progress.front(), "0/2 Analyzing assets");
}

TEST_F(ArchivePlanningRun, PlanTableShowsDecisionsAndTotals) {
    setPreferredLanguages({"en"});
    const std::vector<std::string> rows =
        test::splitLines(formatPlanTable(run(kResources, kSpine, {"Video"})));
    ASSERT_EQ(rows.size(), 5u);
    EXPECT_THAT(rows[1], HasSubstr("A.mov"));
    EXPECT_THAT(rows[1], HasSubstr("trim: 1 segment "));
    EXPECT_THAT(rows[1], HasSubstr("10.000       20.000       80.000"));
    EXPECT_THAT(rows[2], HasSubstr("copy whole: not a trimmable format"));
    EXPECT_THAT(rows[3], HasSubstr("copy whole: not used in the timeline"));
    EXPECT_THAT(rows[4], HasSubstr("52.3% saved"));
    EXPECT_THAT(rows[4], HasSubstr("13.000       73.000       80.000"));
    // How each trimmed asset is cut, where the run knows it; assets copied whole have no cut.
    const auto idOf = [&](const std::string& row) { return row.substr(0, row.find(' ')); };
    const std::string trimmedID = idOf(rows[1]);
    const std::vector<std::string> withMethods = test::splitLines(
        formatPlanTable(run(kResources, kSpine, {"Video"}),
                        {{trimmedID, CutMethod::streamCopy}, {idOf(rows[2]), CutMethod::reEncode}}));
    EXPECT_THAT(withMethods[1], HasSubstr("trim: 1 segment, stream-copied"));
    EXPECT_THAT(withMethods[2], Not(HasSubstr("re-encoded")));
    setPreferredLanguages({"de"});
    EXPECT_THAT(formatPlanTable(run(kResources, kSpine, {"Video"}), {{trimmedID, CutMethod::reEncode}}),
                HasSubstr("schneiden: 1 Segment, Re-Encode"));
}

}  // namespace
}  // namespace tidyreel

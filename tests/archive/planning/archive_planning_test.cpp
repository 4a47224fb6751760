#include "archive/planning/archive_planning.h"

#include "archive/archive_support.h"
#include "archive/planning/plan_table.h"
#include "base/language.h"
#include "test_support.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/stat.h>

#include <algorithm>

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
        context.settings.includedRoles = std::move(roles);
        context.settings.buffer = 2;
        context.settings.minSegment = 20;
        context.logger = log.logger();
        context.progressUpdater = [this](const ProcessingProgress& report) {
            progress.push_back(std::to_string(report.current) + "/" + std::to_string(report.total) + " " +
                               report.taskName);
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
    EXPECT_THAT(planning.plans.at("a1").segments, ElementsAre(HalfOpenRange{35, 55}));
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

// Terminal columns of a table line: one per UTF-8 character.
std::size_t columns(const std::string& line) {
    return static_cast<std::size_t>(
        std::count_if(line.begin(), line.end(), [](char byte) { return (byte & 0xC0) != 0x80; }));
}

TEST_F(ArchivePlanningRun, PlanTableShowsDecisionsAndTotals) {
    setPreferredLanguages({"en"});
    const std::vector<std::string> rows =
        test::splitLines(formatPlanTable(run(kResources, kSpine, {"Video"})));
    ASSERT_EQ(rows.size(), 5u);
    EXPECT_THAT(rows[1], HasSubstr("A.mov"));
    EXPECT_THAT(rows[1], HasSubstr("trim: 1 segment "));
    EXPECT_THAT(rows[1], HasSubstr("10.000     20.000     80.000"));
    EXPECT_THAT(rows[2], HasSubstr("copy whole: not a trimmable format"));
    EXPECT_THAT(rows[3], HasSubstr("copy whole: not used in the timeline"));
    EXPECT_THAT(rows[4], HasSubstr("52.3% saved"));
    EXPECT_THAT(rows[4], HasSubstr("13.000     73.000     80.000"));
    for (const std::string& row : rows) {
        EXPECT_LE(columns(row), 119u) << row;
    }
}

// A stream copy keeps its keyframe ranges, and what they add to the plan counts as kept; a re-encode
// says why stream copy gave way. Assets copied whole have no cut.
TEST_F(ArchivePlanningRun, PlanTableShowsHowEachTrimmedAssetIsCut) {
    setPreferredLanguages({"en"});
    const ArchivePlanning planning = run(kResources, kSpine, {"Video"});
    const Rational keyframe = Rational(1019 * 1001, 30000);  // 34.0006 s, planned from 35 s
    const PlannedCut copied{
        CutMethod::streamCopy, {{keyframe, 56}}, {56 - keyframe - 20, {}, {}}, std::nullopt};
    const std::vector<std::string> rows =
        test::splitLines(formatPlanTable(planning, {{"a1", copied}, {"a2", copied}}));
    ASSERT_EQ(rows.size(), 6u);
    EXPECT_THAT(rows[1], HasSubstr("trim: 1 segment, stream-copied"));
    EXPECT_THAT(rows[1], HasSubstr("10.000     21.999     78.001"));
    EXPECT_THAT(rows[2], HasSubstr("↳ widened to keyframes: 34.001..56.0 (+1.999s)"));
    EXPECT_THAT(rows[3], Not(HasSubstr("stream-copied")));
    EXPECT_THAT(rows[5], HasSubstr("13.000     74.999     78.001"));
    // What open GOPs the codec cannot cut at add is told apart.
    PlannedCut overOpenGOPs = copied;
    overOpenGOPs.added.overOpenGOPs = 1;
    EXPECT_THAT(formatPlanTable(planning, {{"a1", overOpenGOPs}}),
                HasSubstr("↳ widened to keyframes: 34.001..56.0 (+1.999s, 1.0s of it over open GOPs)"));
    // And what moving a start back to a keyframe decoding cleanly begins at adds.
    PlannedCut backToCleanStart = overOpenGOPs;
    backToCleanStart.added.toCleanStarts = Rational(1, 2);
    EXPECT_THAT(formatPlanTable(planning, {{"a1", backToCleanStart}}),
                HasSubstr("(+1.999s, 1.0s of it over open GOPs, 0.5s of it back to a clean start)"));

    // However many ranges, no line leaves the table: they wrap under the first.
    PlannedCut many{CutMethod::streamCopy, {}, {40, {}, {}}, std::nullopt};
    for (int second = 0; second < 96; second += 4) {
        many.ranges.push_back({Rational(second * 1001, 1000), Rational((second + 2) * 1001, 1000)});
    }
    const std::vector<std::string> wrapped = test::splitLines(formatPlanTable(planning, {{"a1", many}}));
    ASSERT_EQ(wrapped.size(), 10u);
    EXPECT_THAT(wrapped[2], HasSubstr("↳ widened to keyframes: 0.0..2.002, 4.004..6.006,"));
    EXPECT_THAT(wrapped[3], testing::StartsWith("             20.02..22.022, "));
    EXPECT_THAT(wrapped[6], testing::StartsWith("             92.092..94.094 (+40.0s)"));
    for (const std::string& line : wrapped) {
        EXPECT_LE(columns(line), 119u) << line;
    }

    const PlannedCut reencoded{CutMethod::reEncode, {}, {}, "ffprobe:\nInvalid data found"};
    const std::vector<std::string> withReason =
        test::splitLines(formatPlanTable(planning, {{"a1", reencoded}}));
    ASSERT_EQ(withReason.size(), 6u);
    EXPECT_THAT(withReason[1], HasSubstr("trim: 1 segment, re-encoded"));
    EXPECT_THAT(withReason[1], HasSubstr("10.000     20.000     80.000"));
    EXPECT_THAT(withReason[2], HasSubstr("↳ no stream copy: ffprobe: Invalid data found"));
    setPreferredLanguages({"de"});
    const std::string german = formatPlanTable(planning, {{"a1", reencoded}});
    EXPECT_THAT(german, HasSubstr("schneiden: 1 Segment, Re-Encode"));
    EXPECT_THAT(german, HasSubstr("↳ kein Stream-Copy: ffprobe: Invalid data found"));
    EXPECT_THAT(formatPlanTable(planning, {{"a1", copied}}),
                HasSubstr("↳ auf Keyframes erweitert: 34.001..56.0"));
    EXPECT_THAT(formatPlanTable(planning, {{"a1", overOpenGOPs}}),
                HasSubstr("(+1.999s, davon 1.0s über offene GOPs)"));
    // Without a stream copy chosen there is no reason to give.
    EXPECT_EQ(test::splitLines(formatPlanTable(planning, {{"a1", PlannedCut{}}})).size(), 5u);
}

// Only a regular file (or a link to one) is a source; anything else is never opened, since opening a
// FIFO waits for a writer.
TEST(SourceStates, FoldersDevicesAndFIFOsAreNoRegularFilesAndAreNeverOpened) {
    test::TempFolder folder;
    test::writeTextFile(folder / "clip.mov", "media");
    std::filesystem::create_symlink(folder / "clip.mov", folder / "link.mov");
    ASSERT_EQ(mkfifo((folder / "pipe.mov").c_str(), 0600), 0);
    EXPECT_EQ(sourceStateOf(folder / "clip.mov"), SourceState::available);
    EXPECT_EQ(sourceStateOf(folder / "link.mov"), SourceState::available);
    EXPECT_EQ(sourceStateOf(folder / "gone.mov"), SourceState::missing);
    EXPECT_EQ(sourceStateOf(folder / "pipe.mov"), SourceState::notRegularFile);
    EXPECT_EQ(sourceStateOf(folder.path()), SourceState::notRegularFile);
    EXPECT_EQ(sourceStateOf("/dev/zero"), SourceState::notRegularFile);
    setPreferredLanguages({"en"});
    EXPECT_EQ(sourceStateText(SourceState::notRegularFile), "not a regular file (folder, device or FIFO)");
    setPreferredLanguages({});
}

}  // namespace
}  // namespace tidyreel

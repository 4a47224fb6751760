#include "archive/media/segment_trimming.h"

#include "archive/archive_support.h"
#include "archive/media/archive_bundle.h"
#include "archive/media/bundled_asset_registry.h"
#include "base/error.h"
#include "test_support.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tidyreel {
namespace {

using test::LogCollector;
using test::ScopedEnvironment;
using ::testing::Contains;
using ::testing::DoubleEq;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

// Stand-in tools: ffmpeg writes each output (joining the listed pieces for a concat) and records its
// arguments; ffprobe answers like ffprobe for an H.264 file whose pieces all last 251/25 s.
class SegmentTrimming : public ::testing::Test {
protected:
    SegmentTrimming() {
        context.settings.encoder = "hevc_videotoolbox";
        installTools();
        context.settings.outputDirectory = folder / "out";
        context.projectName = "Film";
        context.bundledAssets = std::make_shared<BundledAssetRegistry>();
        context.xmlDocument = test::projectWith(
            "<asset id=\"r1\" hasVideo=\"1\"><media-rep kind=\"original-media\" src=\"file:///x\"/></asset>",
            "");
        test::writeTextFile(folder / "src" / "A001.m4v", "source media");
        prepareArchiveFolder(context);
        context.logger = log.logger();
    }

    void installTools() {
        context.settings.tools.ffmpeg = test::writeScript(
            folder / "bin" / "ffmpeg",
            "echo \"$*\" >> '" + (folder / "calls.txt").string() +
                "'\n"
                "for last; do :; done\n"
                "if [ \"$2\" = concat ]; then ls >> '" +
                (folder / "pieces.txt").string() +
                "'; cat concat_list.txt > \"$last\"; else echo cut > \"$last\"; fi\n" + ffmpegExit);
        // A piece lasts 251/25 s; a joined or single cut answers `cutDuration` frames.
        context.settings.tools.ffprobe = test::writeScript(
            folder / "bin" / "ffprobe",
            "for last; do :; done\ncase \"$6\" in stream=codec_name*) echo '" + codecJson +
                "';; *) case \"$last\" in */seg_*) frames=251;; *) frames=" + cutDuration +
                ";; esac; echo "
                "\"{\\\"streams\\\":[{\\\"time_base\\\":\\\"1/25\\\",\\\"duration_ts\\\":$frames}]}\";; "
                "esac");
    }

    TrimPlan plan(std::vector<HalfOpenRange> segments) const {
        return TrimPlan{"r1",
                        (folder / "src" / "A001.m4v").string(),
                        "file:///src/A001.m4v",
                        100,
                        true,
                        segments,
                        segments,
                        0,
                        Rational(1, 25)};
    }

    std::vector<std::string> calls() const {
        return test::splitLines(test::readTextFile(folder / "calls.txt"));
    }

    test::IsolatedUserFolders user;
    test::TempFolder folder;
    std::string ffmpegExit = "exit 0";
    std::string cutDuration = "25100";
    std::string codecJson = R"({"streams":[{"codec_name":"h264","codec_tag_string":"avc1","start_pts":0}]})";
    LogCollector log;
    ArchiveExportContext context;
};

TEST(TrimmedFileName, KeepsTheExtensionAsWritten) {
    EXPECT_EQ(trimmedFileName("A001_C002.mov"), "A001_C002_trimmed.mov");
    EXPECT_EQ(trimmedFileName("clip.final.M4V"), "clip.final_trimmed.M4V");
}

TEST_F(SegmentTrimming, OneSegmentIsCutUnderATemporaryNameAndThenPlaced) {
    const TrimmedMedia result = trimAsset(plan({{10, Rational(51, 2)}}), context);
    EXPECT_EQ(result.file, archiveMediaFolder(context) / "A001_trimmed.m4v");
    EXPECT_TRUE(result.drifts.empty());
    ASSERT_EQ(calls().size(), 1u);
    EXPECT_THAT(calls()[0], HasSubstr("-ss 10.000000 -t 15.500000 -c:v hevc_videotoolbox"));
    EXPECT_THAT(calls()[0],
                HasSubstr("-f ipod -y " + (archiveMediaFolder(context) / ".A001_trimmed").string() +
                          ".tidyreel-partial-"));
    EXPECT_THAT(calls()[0], ::testing::EndsWith(".m4v"));
    EXPECT_THAT(test::filesIn(archiveMediaFolder(context)), ElementsAre(result.file));
    EXPECT_THAT(log.lines(), Contains("ℹ️        trimSingleSegment got: 10.0..25.5"));
    EXPECT_EQ(context.bundledAssets->snapshot().at("r1"),
              (Registration{"./Media/A001_trimmed.m4v", "file:///src/A001.m4v", true}));
}

TEST_F(SegmentTrimming, SeveralSegmentsAreCutIntoATemporaryFolderAndJoined) {
    std::filesystem::create_directories(folder / "tmp");
    const ScopedEnvironment temporaryFolders("TMPDIR", (folder / "tmp").string());
    const TrimmedMedia result = trimAsset(plan({{0, 10}, {30, 40}, {60, 70}}), context);
    EXPECT_EQ(test::readTextFile(result.file), "file 'seg_0.m4v'\nfile 'seg_1.m4v'\nfile 'seg_2.m4v'\n");
    EXPECT_THAT(test::splitLines(test::readTextFile(folder / "pieces.txt")),
                ElementsAre("concat_list.txt", "seg_0.m4v", "seg_1.m4v", "seg_2.m4v"));
    EXPECT_THAT(result.drifts, ElementsAre(Rational(1, 25), Rational(1, 25), Rational(1, 25)));
    EXPECT_THAT(log.lines(), Contains("ℹ️        Segment 2: nominal=10s, gemessen=251/25s, drift=1/25s"));
    EXPECT_THAT(log.lines(), Contains(::testing::StartsWith("ℹ️     Segment 3/3: ffmpeg -i ")));
    EXPECT_THAT(log.lines(),
                Contains(::testing::StartsWith("ℹ️     Concat (3 Segmente): ffmpeg -f concat")));
    EXPECT_TRUE(test::filesIn(folder / "tmp").empty()) << "the pieces' folder is removed";
}

// Pieces cut one by one carry the asset's progress on where the last piece ended, so that the bar of
// the step never falls back; every report names the source file.
TEST_F(SegmentTrimming, ProgressRunsOnAcrossThePiecesAndNamesTheSource) {
    ffmpegExit = "echo 'frame=125 time=00:00:05.00 bitrate=1' >&2; exit 0";
    installTools();
    std::vector<ProcessingProgress> reports;
    context.progressUpdater = [&](const ProcessingProgress& report) { reports.push_back(report); };
    trimAsset(plan({{0, 10}, {30, 40}, {60, 70}}), context, 2, 4);
    std::vector<double> fractions;
    for (const ProcessingProgress& report : reports) {
        EXPECT_EQ(std::make_pair(report.current, report.total), std::make_pair(2, 4));
        EXPECT_EQ(report.itemName, "A001.m4v");
        fractions.push_back(report.stepFraction);
    }
    EXPECT_THAT(fractions, ElementsAre(DoubleEq(1.0 / 6), DoubleEq(0.5), DoubleEq(5.0 / 6)));
}

TEST_F(SegmentTrimming, AVFoundationProRes4444IsCutByStreamCopy) {
    codecJson = R"({"streams":[{"codec_name":"prores","codec_tag_string":"ap4h","start_pts":"0",)"
                R"("tags":{"encoder":"Apple ProRes 4444"}}]})";
    installTools();
    const TrimmedMedia result = trimAsset(plan({{0, 10}, {30, 40}}), context);
    EXPECT_THAT(result.drifts, ElementsAre(Rational(0), Rational(0)));
    EXPECT_THAT(calls()[0], ::testing::StartsWith("-ss 0.000000 -i "));
    EXPECT_THAT(calls()[0], HasSubstr("-c copy -avoid_negative_ts make_zero"));
    EXPECT_THAT(log.lines(),
                Contains("ℹ️        → Segment 1/2: ProRes 4444 (AVFoundation) → Stream-Copy"));
    EXPECT_THAT(log.lines(),
                Contains("ℹ️        ProRes 4444 (AVFoundation) Stream-Copy: Drift-Neutralisierung, alle "
                         "Segmente drift=0"));
}

TEST_F(SegmentTrimming, FailedCutRemovesItsOutputAndCopiesTheSourceWhole) {
    ffmpegExit = "echo 'Encoder not found' >&2; exit 1";
    installTools();
    const std::optional<TrimmedMedia> result = trimPlannedAsset(plan({{0, 10}}), context, 0, 1);
    EXPECT_FALSE(result);
    EXPECT_FALSE(std::filesystem::exists(archiveMediaFolder(context) / "A001_trimmed.m4v"));
    EXPECT_EQ(test::readTextFile(archiveMediaFolder(context) / "A001.m4v"), "source media");
    EXPECT_THAT(log.lines(), Contains("❌     ✗ Trim fehlgeschlagen: ffmpeg failed with status 1"));
    EXPECT_THAT(log.lines(), Contains("✅     ✓ Fallback-Kopie: A001.m4v"));
    EXPECT_EQ(context.bundledAssets->snapshot().at("r1").isTrimmed, false);
}

TEST_F(SegmentTrimming, WithoutFFmpegTheSourceIsCopiedWhole) {
    context.settings.tools.ffmpeg = folder / "nothing";
    const ScopedEnvironment emptyPath("PATH", (folder / "empty").string());
    EXPECT_FALSE(trimPlannedAsset(plan({{0, 10}}), context, 0, 1));
    EXPECT_THAT(log.lines(),
                Contains("❌     ✗ Trim fehlgeschlagen: ffmpeg binary nicht im App-Bundle gefunden"));
    EXPECT_EQ(test::readTextFile(archiveMediaFolder(context) / "A001.m4v"), "source media");
    EXPECT_FALSE(std::filesystem::exists(archiveMediaFolder(context) / "A001_trimmed.m4v"));
}

TEST_F(SegmentTrimming, ACutThatComesOutShortIsNotTakenForTheWholeSegment) {
    // A stopped encode leaves a file that decodes but ends early.
    cutDuration = "325";
    installTools();
    EXPECT_FALSE(trimPlannedAsset(plan({{0, 23}}), context, 0, 1));
    EXPECT_THAT(log.lines(), Contains("❌     ✗ Trim fehlgeschlagen: Trimmed file too short: 13s < 23s"));
    EXPECT_THAT(test::filesIn(archiveMediaFolder(context)),
                ElementsAre(archiveMediaFolder(context) / "A001.m4v"));
}

TEST_F(SegmentTrimming, ACancelledTrimIsNoFailureToCopyAround) {
    std::stop_source stop;
    context.stopToken = stop.get_token();
    stop.request_stop();
    EXPECT_THROW(trimPlannedAsset(plan({{0, 10}}), context, 0, 1), RunCancelled);
    EXPECT_TRUE(test::filesIn(archiveMediaFolder(context)).empty());
}

TEST(SegmentDirectory, AnAssetIDNeverLeadsOutOfTheTemporaryFolder) {
    const std::filesystem::path folder = makeSegmentDirectory("../../../x/y");
    EXPECT_EQ(folder.parent_path(), std::filesystem::temp_directory_path());
    EXPECT_TRUE(folder.filename().string().starts_with("tidyreel-_________x_y-"));
    std::filesystem::remove(folder);
}

TEST_F(SegmentTrimming, FrameSnapLinesComeBeforeTheCut) {
    TrimPlan snapped = plan({{Rational(24, 25), 10}});
    snapped.originalSegments = {{Rational(99, 100), 10}};
    trimPlannedAsset(snapped, context, 0, 1);
    EXPECT_EQ(log.lines()[0],
              "ℹ️   → Asset r1: seg.0 Frame-Snap 99/100s → 24/25s (Frame 24, Δ=-3/100s)");
    EXPECT_EQ(log.lines()[1], "ℹ️   → Schneide Asset r1...");
    EXPECT_EQ(log.lines().back(), "✅     ✓ Gespeichert: A001_trimmed.m4v");
}

TEST_F(SegmentTrimming, FallbackRefusesSymbolicLinksAndEmptyTargets) {
    std::filesystem::create_symlink(folder / "src" / "A001.m4v", archiveMediaFolder(context) / "A001.m4v");
    fallbackCopy(plan({{0, 10}}), context);
    EXPECT_EQ(
        log.lines().back(),
        "❌     ✗ Fallback-Kopie fehlgeschlagen: Ziel ist kein reguläres File (Symlink oder anderer Typ)");
    EXPECT_TRUE(context.bundledAssets->snapshot().empty());
    std::filesystem::remove(archiveMediaFolder(context) / "A001.m4v");
    test::writeTextFile(folder / "src" / "A001.m4v", "");
    fallbackCopy(plan({{0, 10}}), context);
    EXPECT_EQ(log.lines().back(), "❌     ✗ Fallback-Kopie fehlgeschlagen: Ziel-Datei hat Größe 0");
    EXPECT_TRUE(context.bundledAssets->snapshot().empty());
}

}  // namespace
}  // namespace tidyreel

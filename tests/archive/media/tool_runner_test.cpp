#include "archive/media/tool_runner.h"

#include "archive/archive_support.h"
#include "archive/media/media_probe.h"
#include "test_support.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/stat.h>

namespace tidyreel {
namespace {

using test::LogCollector;
using test::ScopedEnvironment;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

class ToolRunner : public ::testing::Test {
protected:
    ToolRunner() { context.logger = log.logger(); }

    // Installs a stand-in ffmpeg running `body`.
    void standInFFmpeg(const std::string& body) {
        context.settings.tools.ffmpeg = test::writeScript(folder / "bin" / "ffmpeg", body);
    }

    // Runs ffmpeg and returns the error it throws.
    Error failure(const std::vector<std::string>& arguments = {"-i", "in"}) {
        try {
            runFFmpeg(arguments, "Trim", std::nullopt, context);
        } catch (const Error& error) {
            return error;
        }
        ADD_FAILURE() << "ffmpeg did not fail";
        return Error("", 0, "");
    }

    test::TempFolder folder;
    LogCollector log;
    ExportContext context;
};

TEST_F(ToolRunner, PassesArgumentsUnquotedAndLogsThemQuoted) {
    const std::filesystem::path received = folder / "arguments.txt";
    standInFFmpeg("for a in \"$@\"; do echo \"[$a]\" >> '" + received.string() + "'; done");
    runFFmpeg({"-i", "/media/My Clip.mov", "-y", "out put.mov"}, "Trim", std::nullopt, context);
    EXPECT_THAT(log.lines(),
                ElementsAre("ℹ️     Trim: ffmpeg -i \"/media/My Clip.mov\" -y \"out put.mov\""));
    EXPECT_EQ(test::readTextFile(received), "[-i]\n[/media/My Clip.mov]\n[-y]\n[out put.mov]\n");
}

TEST_F(ToolRunner, FailureLogsTheLastTenNonEmptyLinesOfAHugeStandardError) {
    // Far more than a pipe holds, so the runner must drain it while the tool runs.
    standInFFmpeg(
        "i=0; while [ $i -lt 3000 ]; do echo \"noise line $i with some padding to fill the pipe\" >&2; "
        "echo >&2; i=$((i+1)); done; exit 3");
    const Error error = failure();
    EXPECT_EQ(error.domain(), "ffmpeg");
    EXPECT_EQ(error.code(), 3);
    EXPECT_STREQ(error.what(), "ffmpeg failed with status 3");
    std::string expected = "❌     ffmpeg stderr (tail):";
    for (int i = 2990; i < 3000; ++i) {
        expected += "\nnoise line " + std::to_string(i) + " with some padding to fill the pipe";
    }
    EXPECT_EQ(log.lines().back(), expected);
}

TEST_F(ToolRunner, StandardErrorThatIsNotUTF8) {
    standInFFmpeg("printf 'bad \\377\\376 bytes\\n' >&2; exit 1");
    failure();
    EXPECT_EQ(log.lines().back(), "❌     ffmpeg stderr (tail):\n<nicht dekodierbar>");
}

TEST_F(ToolRunner, MissingFFmpegFailsBeforeAnyLine) {
    context.settings.tools = {folder / "nothing", folder / "nothing"};
    const ScopedEnvironment emptyPath("PATH", (folder / "empty").string());
    const Error error = failure();
    EXPECT_EQ(error.domain(), "ffmpeg");
    EXPECT_EQ(error.code(), -1);
    EXPECT_STREQ(error.what(), "ffmpeg binary nicht im App-Bundle gefunden");
    EXPECT_TRUE(log.lines().empty());
    EXPECT_THROW(locateFFprobe(context.settings.tools), ProbeError);
}

TEST_F(ToolRunner, ReportsProgressFromTheEncoderStatistics) {
    standInFFmpeg(
        "printf 'frame=  10 fps=0.0 time=00:00:01.50 bitrate=N/A\\r' >&2; sleep 0.3; "
        "printf 'frame=  99 fps=0.0 time=00:01:02.25 bitrate=N/A\\r' >&2");
    std::vector<double> seconds;
    runFFmpeg({}, "Trim", std::nullopt, context, [&](double s) { seconds.push_back(s); });
    ASSERT_FALSE(seconds.empty());
    EXPECT_DOUBLE_EQ(seconds.back(), 62.25);
}

TEST_F(ToolRunner, CopyFailureLogsTheToolsWordsAndStatus) {
    try {
        runCopy(folder / "missing.mov", folder / "copy.mov", context);
        FAIL() << "the copy did not fail";
    } catch (const Error& error) {
        EXPECT_EQ(error.domain(), "cp");
        EXPECT_EQ(error.code(), 1);
        EXPECT_STREQ(error.what(), "/bin/cp failed with status 1");
        EXPECT_THAT(error.userInfo().at("stderr"), HasSubstr("missing.mov"));
    }
    ASSERT_EQ(log.lines().size(), 2u);
    EXPECT_THAT(log.lines()[0], HasSubstr("❌      /bin/cp stderr: /bin/cp: "));
    EXPECT_TRUE(test::filesIn(folder.path()).empty()) << "no partial copy stays behind";
    EXPECT_EQ(log.lines()[1], "❌      /bin/cp exit code: 1");
}

TEST_F(ToolRunner, ProgressSplitAcrossReadsIsStillHeard) {
    // The report is cut in the middle of its time, as two reads of a pipe may cut it.
    standInFFmpeg("printf 'frame=1 ti' >&2; sleep 0.3; printf 'me=00:00:07.25 bitrate=N/A\\r' >&2");
    std::vector<double> seconds;
    runFFmpeg({}, "Trim", std::nullopt, context, [&](double s) { seconds.push_back(s); });
    EXPECT_THAT(seconds, ElementsAre(7.25));
}

TEST_F(ToolRunner, AStalledFFmpegIsStoppedAsFailed) {
    context.settings.toolLimits.ffmpegSilence = std::chrono::milliseconds(500);
    standInFFmpeg("echo 'reading input' >&2\nexec sleep 60");
    const Error error = failure();
    EXPECT_EQ(error.domain(), "ffmpeg");
    EXPECT_STREQ(error.what(), "ffmpeg stalled for 0.5 s");
}

TEST_F(ToolRunner, ACancelledRunStopsFFmpegAndIsNoOrdinaryFailure) {
    std::stop_source stop;
    context.stopToken = stop.get_token();
    stop.request_stop();
    standInFFmpeg("exit 0");
    EXPECT_THROW(runFFmpeg({}, "Trim", std::nullopt, context), RunCancelled);
    EXPECT_TRUE(log.lines().empty()) << "nothing was started";
}

TEST_F(ToolRunner, CopyTakesSourcesThatLookLikeOptionsAndOnlyRegularFiles) {
    // Relative names, as an asset's src may give them: without "--" cp would read "--help" as its option.
    const std::filesystem::path previous = std::filesystem::current_path();
    std::filesystem::current_path(folder.path());
    test::writeTextFile(folder / "--help", "not an option");
    runCopy("--help", folder / "copy.mov", context);
    std::filesystem::current_path(previous);
    EXPECT_EQ(test::readTextFile(folder / "copy.mov"), "not an option");

    ASSERT_EQ(mkfifo((folder / "pipe.mov").c_str(), 0600), 0);
    try {
        runCopy(folder / "pipe.mov", folder / "pipe copy.mov", context);
        FAIL() << "a FIFO was copied";
    } catch (const Error& error) {
        EXPECT_EQ(error.domain(), "Source");
        EXPECT_THAT(error.what(), HasSubstr("pipe.mov"));
    }
    EXPECT_FALSE(std::filesystem::exists(folder / "pipe copy.mov"));
    EXPECT_THAT(test::filesIn(folder.path()),
                ElementsAre(folder / "--help", folder / "copy.mov", folder / "pipe.mov"));
}

TEST(ToolOutputText, TailsAndProgressTimes) {
    EXPECT_EQ(standardErrorTail("a\n\nb\n\n\nc\n", 2), "b\nc");
    EXPECT_EQ(standardErrorTail("", 10), "");
    EXPECT_EQ(standardErrorTail("only", 10), "only");

    EXPECT_EQ(ffmpegProgressTime("frame=1 time=00:00:01.50 x time=01:02:03.04 bitrate"), 3723.04);
    EXPECT_FALSE(ffmpegProgressTime("time=N/A"));
    EXPECT_FALSE(ffmpegProgressTime("no statistics"));
}

}  // namespace
}  // namespace tidyreel

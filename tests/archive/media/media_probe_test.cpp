#include "archive/media/media_probe.h"

#include "archive/archive_support.h"
#include "test_support.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <signal.h>

#include <chrono>
#include <functional>
#include <stop_token>
#include <thread>
#include <vector>

namespace tidyreel {
namespace {

using namespace FFProbe;

// The message of the ProbeError that `probe` throws.
template <class Probe>
std::string probeFailure(Probe probe) {
    try {
        probe();
    } catch (const ProbeError& error) {
        return error.what();
    }
    return "no ProbeError";
}

TEST(CodecProbe, ReadsARecordedProResOutput) {
    EXPECT_EQ(parseCodecProbe(R"({
        "programs": [],
        "streams": [{"codec_name": "prores", "codec_tag_string": "ap4h", "start_pts": 0,
                     "tags": {"encoder": "Apple ProRes 4444"}}]})"),
              (ProbeResult{"prores", "ap4h", 0, "Apple ProRes 4444"}));
}

TEST(CodecProbe, ReadsStartPtsFourWays) {
    EXPECT_EQ(parseCodecProbe(R"({"streams":[{"start_pts":"0"}]})").startPts, 0);
    EXPECT_EQ(parseCodecProbe(R"({"streams":[{"start_pts":0}]})").startPts, 0);
    EXPECT_EQ(parseCodecProbe(R"({"streams":[{"start_pts":1001.0}]})").startPts, 1001);
    EXPECT_EQ(parseCodecProbe(R"({"streams":[{"start_pts":"-1001"}]})").startPts, -1001);
    EXPECT_EQ(parseCodecProbe(R"({"streams":[{"start_pts":"+7"}]})").startPts, 7);
    EXPECT_FALSE(parseCodecProbe(R"({"streams":[{"start_pts":null}]})").startPts);
    EXPECT_FALSE(parseCodecProbe(R"({"streams":[{"start_pts":"12a"}]})").startPts);
    EXPECT_FALSE(parseCodecProbe(R"({"streams":[{"start_pts":"99999999999999999999"}]})").startPts);
    EXPECT_FALSE(parseCodecProbe(R"({"streams":[{"start_pts":18446744073709551615}]})").startPts);
    EXPECT_FALSE(parseCodecProbe(R"({"streams":[{"start_pts":true}]})").startPts);
}

TEST(CodecProbe, MissingFieldsReadAsUnknown) {
    const ProbeResult result = parseCodecProbe(R"({"streams":[{"codec_name":null,"tags":{"encoder":5}}]})");
    EXPECT_EQ(result, (ProbeResult{"unknown", "unknown", std::nullopt, std::nullopt}));
}

TEST(CodecProbe, RejectsOutputWithoutAVideoStream) {
    for (const char* json : {R"({"streams":[]})", R"({})", R"({"streams":[1]})"}) {
        EXPECT_EQ(probeFailure([&] { parseCodecProbe(json); }), "No video stream found in ffprobe output");
    }
    for (const char* text : {"[]", "Invalid data"}) {
        EXPECT_EQ(probeFailure([&] { parseCodecProbe(text); }), "ffprobe output not parseable as JSON");
    }
}

TEST(DurationProbe, MultipliesTheTimeBase) {
    EXPECT_EQ(parseDurationProbe(
                  R"({"streams":[{"time_base":"1/25","duration_ts":250}],"format":{"duration":"10"}})"),
              Rational(10));
    EXPECT_EQ(parseDurationProbe(R"({"streams":[{"time_base":"1/600","duration_ts":"7"}]})"),
              Rational(7, 600));
    EXPECT_EQ(parseDurationProbe(R"({"streams":[{"time_base":"1001/30000","duration_ts":300}]})"),
              Rational(1001, 100));
    // WebM keeps only the file's length.
    EXPECT_EQ(parseDurationProbe(R"({"streams":[{"time_base":"1/1000"}],"format":{"duration":"60.008000"}})"),
              Rational(60008, 1000));
}

TEST(DurationProbe, RejectsBadTimeBasesAndMissingFields) {
    const std::string message = "duration_ts/time_base nicht in ffprobe output gefunden";
    for (const char* json :
         {R"({"streams":[{"time_base":"1/0","duration_ts":1}]})",
          R"({"streams":[{"time_base":"25","duration_ts":1}]})",
          R"({"streams":[{"time_base":"1/","duration_ts":1}]})",
          R"({"streams":[{"time_base":"1/2/3","duration_ts":1}]})", R"({"streams":[{"time_base":"1/25"}]})",
          R"({"streams":[{"time_base":"1/25","duration_ts":null}]})",
          R"({"streams":[{"time_base":"1/25"}],"format":{"duration":"N/A"}})",
          R"({"streams":[{"time_base":"4611686018427387904/1","duration_ts":4}]})", R"({"streams":[]})"}) {
        EXPECT_EQ(probeFailure([&] { parseDurationProbe(json); }), message) << json;
    }
}

TEST(ProResRule, NeedsAllFourFacts) {
    EXPECT_TRUE(isAVFoundationProRes4444({"prores", "ap4h", 0, "Apple ProRes 4444 XQ"}));
    for (const ProbeResult& other : {ProbeResult{"prores", "apch", 0, "Apple ProRes 4444 XQ"},
                                     ProbeResult{"prores", "ap4h", -1001, "Apple ProRes 4444 XQ"},
                                     ProbeResult{"prores", "ap4h", 0, std::nullopt},
                                     ProbeResult{"prores", "ap4h", 0, "apple prores 4444"}}) {
        EXPECT_FALSE(isAVFoundationProRes4444(other)) << other.codecTagString;
    }
}

TEST(ProbeRun, FailingProbeCarriesItsStandardError) {
    test::TempFolder folder;
    ProbeSetup probe;
    probe.tools.ffprobe = test::writeScript(folder / "ffprobe", "echo 'No such file' >&2; exit 1");
    EXPECT_EQ(probeFailure([&] { probeCodec(folder / "x.mov", probe); }),
              "ffprobe failed (status 1): No such file");
    ProbeSetup badBytes;
    badBytes.tools.ffprobe = test::writeScript(folder / "ffprobe2", "printf '\\377' >&2; exit 1");
    EXPECT_EQ(probeFailure([&] { probeDuration(folder / "x.mov", badBytes); }),
              "ffprobe failed (status 1): ?");
}

// A probe that hangs (a source on a stalled share) is ended by the run's stop request, for every kind of
// probe, and by its time limit as a failed probe.
TEST(ProbeRun, AHangingProbeEndsOnTheRunsStopRequestAndAtItsTimeLimit) {
    test::TempFolder folder;
    const std::filesystem::path pidFile = folder / "ffprobe.pid";
    const std::filesystem::path ffprobe =
        test::writeScript(folder / "ffprobe", "echo $$ > '" + pidFile.string() + "'\nexec sleep 60");
    const std::vector<std::function<void(const ProbeSetup&)>> probes{
        [&](const ProbeSetup& setup) { probeCodec(folder / "x.mov", setup); },
        [&](const ProbeSetup& setup) { probeDuration(folder / "x.mov", setup); },
        [&](const ProbeSetup& setup) { hasAudioStream(folder / "x.mov", setup); }};
    for (const auto& probe : probes) {
        std::filesystem::remove(pidFile);
        std::stop_source stop;
        std::jthread canceller([&] {
            while (test::readTextFile(pidFile).empty()) {
                std::this_thread::sleep_for(std::chrono::milliseconds(10));
            }
            stop.request_stop();
        });
        EXPECT_THROW(probe({{"", ffprobe}, std::chrono::minutes(10), stop.get_token()}), RunCancelled);
        canceller.join();
        EXPECT_NE(kill(std::stoi(test::readTextFile(pidFile)), 0), 0) << "the stopped ffprobe is gone";
    }
    EXPECT_EQ(probeFailure([&] {
                  probeDuration(folder / "x.mov", {{"", ffprobe}, std::chrono::seconds(1), {}});
              }),
              "ffprobe stopped after 1 s");
}

}  // namespace
}  // namespace tidyreel

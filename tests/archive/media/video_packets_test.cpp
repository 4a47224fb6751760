#include "archive/media/video_packets.h"

#include "archive/media/media_probe.h"
#include "test_support.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <vector>

namespace tidyreel {
namespace {

using ::testing::ElementsAre;

std::string probeFailure(
    std::string_view json, const std::function<void(std::string_view)>& parse = [](std::string_view text) {
        parseVideoPackets(text);
    }) {
    try {
        parse(json);
    } catch (const ProbeError& error) {
        return error.what();
    }
    return "no ProbeError";
}

// Three frames of an x264 stream at 30 fps in decoding order (an I, then a P shown after a B); the I is
// listed twice, as two overlapping windows list it.
TEST(VideoPackets, SortsByPresentationTimeInExactSecondsEachOnce) {
    EXPECT_THAT(
        parseVideoPackets(R"({"packets":[{"pts":0,"dts":-512,"duration":512,"flags":"K_",
                                                  "data_hash":"adler32:0a1b2c3d"},
                                                 {"pts":1024,"dts":0,"duration":512,"flags":"__","pos":"4096"},
                                                 {"pts":"512","dts":512,"duration":512,"flags":"__"},
                                                 {"pts":0,"dts":-512,"duration":512,"flags":"K_",
                                                  "data_hash":"adler32:0a1b2c3d"}],
                                     "streams":[{"time_base":"1/15360","start_pts":0}],
                                     "format":{"start_time":"0.000000"}})"),
        ElementsAre(VideoPacket{Rational(0), Rational(1, 30), true, Rational(-1, 30), "adler32:0a1b2c3d"},
                    VideoPacket{Rational(1, 30), Rational(1, 30), false, Rational(1, 30)},
                    VideoPacket{Rational(1, 15), Rational(1, 30), false, Rational(0), "", 4096}));
}

// Keyframe at 0 closed; the one at 4 has a leading picture (3, decoded after it); the one at 8 has none.
TEST(VideoPackets, KeyframesWithLeadingPicturesAreOpen) {
    const auto packet = [](int shown, int decoded, bool keyframe) {
        return VideoPacket{Rational(shown), Rational(1), keyframe, Rational(decoded)};
    };
    const std::vector<VideoPacket> openAtFour{packet(0, 0, true),  packet(1, 2, false), packet(2, 1, false),
                                              packet(3, 4, false), packet(4, 3, true),  packet(5, 6, false),
                                              packet(6, 5, false), packet(7, 7, false), packet(8, 8, true)};
    EXPECT_THAT(openKeyframeTimes(openAtFour), ElementsAre(Rational(4)));
    EXPECT_THAT(leadingPictures(openAtFour, Rational(4)), ElementsAre(packet(3, 4, false)));
    EXPECT_THAT(leadingPictures(openAtFour, Rational(8)), ElementsAre());
    EXPECT_THAT(leadingPictures(openAtFour, Rational(5)), ElementsAre());  // no keyframe there
    // At most one picture decoded before another shows after it (1 before 2, 4 before 3, 5 before 6).
    EXPECT_EQ(reorderDepth(openAtFour), 1);
    // Without decoding times (each its presentation time) nothing is open, nor in an empty list.
    const std::vector<VideoPacket> inOrder{packet(0, 0, true), packet(1, 1, false), packet(2, 2, true)};
    EXPECT_THAT(openKeyframeTimes(inOrder), ElementsAre());
    EXPECT_EQ(reorderDepth(inOrder), 0);
    EXPECT_THAT(openKeyframeTimes({}), ElementsAre());
}

// Decoded pictures keep the order the decoder gave them in: a join it plays out of order must show.
TEST(VideoPackets, DecodedPicturesKeepTheDecodersOrder) {
    EXPECT_THAT(
        parseDecodedPictureTimes(R"({"frames":[{"best_effort_timestamp":1024},{"best_effort_timestamp":512},
                                                      {"best_effort_timestamp":1536}],
                                            "streams":[{"time_base":"1/12800","start_pts":512}],
                                            "format":{"start_time":"0.040000"}})"),
        ElementsAre(Rational(1, 25), Rational(0), Rational(2, 25)));
    EXPECT_THAT(parseDecodedPictureTimes(R"({"streams":[{"time_base":"1/12800"}]})"), ElementsAre());
    EXPECT_EQ(probeFailure(R"({"frames":[{"pkt_pos":"48"}],"streams":[{"time_base":"1/12800"}]})",
                           parseDecodedPictureTimes),
              "Decoded picture without a presentation time in ffprobe output");
}

TEST(VideoPackets, CountFromTheFileStartAsSeekingDoes) {
    // The video stream starts the file: its exact start, not the rounded one, is the origin.
    EXPECT_EQ(parseVideoPackets(R"({"packets":[{"pts":1001,"flags":"K_"}],
                                    "streams":[{"time_base":"1/30000","start_pts":1001}],
                                    "format":{"start_time":"0.033367"}})")
                  .front()
                  .time,
              Rational(0));
    // Sound starts before the picture: the picture's first frame lies after the file's start.
    EXPECT_EQ(parseVideoPackets(R"({"packets":[{"pts":0,"duration":1001,"flags":"K_"}],
                                    "streams":[{"time_base":"1/30000","start_pts":0}],
                                    "format":{"start_time":"-0.021333"}})")
                  .front(),
              (VideoPacket{Rational(21333, 1000000), Rational(1001, 30000), true, Rational(21333, 1000000)}));
    // Without a file start time the stream's start is the origin.
    EXPECT_EQ(parseVideoPackets(
                  R"({"packets":[{"pts":90000}],"streams":[{"time_base":"1/90000","start_pts":45000}]})")
                  .front()
                  .time,
              Rational(1, 2));
}

TEST(VideoPackets, LeaveOutDiscardedPacketsAndReadMissingDurationsAsZero) {
    EXPECT_THAT(parseVideoPackets(R"({"packets":[{"pts":-512,"duration":512,"flags":"KD"},
                                                 {"pts":0,"flags":"__"}, {"pts":512,"duration":-3}],
                                     "streams":[{"time_base":"1/15360"}]})"),
                ElementsAre(VideoPacket{Rational(0), Rational(0), false, Rational(0)},
                            VideoPacket{Rational(1, 30), Rational(0), false, Rational(1, 30)}));
    EXPECT_TRUE(parseVideoPackets(R"({"streams":[{"time_base":"1/25"}]})").empty());
}

TEST(VideoPackets, RejectAnswersTheyCannotTime) {
    EXPECT_EQ(probeFailure(R"({"packets":[{"pts":"N/A"}],"streams":[{"time_base":"1/25"}]})"),
              "Video packet without a presentation time in ffprobe output");
    EXPECT_EQ(probeFailure(R"({"packets":[7],"streams":[{"time_base":"1/25"}]})"),
              "Video packet without a presentation time in ffprobe output");
    for (const char* json : {R"({"streams":[{}]})", R"({"streams":[{"time_base":"0/1"}]})",
                             R"({"streams":[{"time_base":"1/-25"}]})"}) {
        EXPECT_EQ(probeFailure(json), "Video stream without a time base in ffprobe output") << json;
    }
    EXPECT_EQ(probeFailure(R"({"packets":[]})"), "No video stream found in ffprobe output");
    EXPECT_EQ(probeFailure("packets"), "ffprobe output not parseable as JSON");
}

TEST(VideoPackets, DecodingStartsAtTheLastKeyframeShownAtOrBeforeATime) {
    // Open GOP: frames 4 and 5 are shown before the keyframe at 6 but decode from the one at 0.
    std::vector<VideoPacket> packets;
    for (std::int64_t frame = 0; frame < 9; ++frame) {
        packets.push_back({Rational(frame, 25), Rational(1, 25), frame % 6 == 0, Rational(frame, 25)});
    }
    EXPECT_EQ(keyframeAtOrBefore(packets, Rational(5, 25)), Rational(0));
    EXPECT_EQ(keyframeAtOrBefore(packets, Rational(6, 25)), Rational(6, 25));
    EXPECT_EQ(keyframeAtOrBefore(packets, Rational(100)), Rational(6, 25));
    EXPECT_FALSE(keyframeAtOrBefore(packets, Rational(-1, 25)));
    EXPECT_FALSE(keyframeAtOrBefore({}, Rational(1)));
}

TEST(VideoPackets, WindowsAroundRangesMeetStopAtTheStartAndFollowTheStreamClock) {
    // Given out of order; the stream's clock starts 10 s after the file's own.
    const std::vector<PacketWindow> windows = windowsAround(
        {{Rational(30), Rational(31)}, {Rational(1), Rational(4)}, {Rational(10), Rational(12)}}, Rational(3),
        VideoClock{Rational(1, 90000), Rational(10), Rational::zero()});
    ASSERT_EQ(windows.size(), 2u);
    EXPECT_EQ(windows[0].from, Rational(10));
    EXPECT_EQ(windows[0].to, Rational(25));
    EXPECT_EQ(windows[1].from, Rational(37));
    EXPECT_EQ(windows[1].to, Rational(44));
}

TEST(VideoPackets, ProbeAskedForTheWholeFileOrAWindow) {
    const std::vector<std::string> whole = videoPacketProbeArguments("/media/a.mov");
    EXPECT_EQ(whole.back(), "/media/a.mov");
    EXPECT_EQ(std::count(whole.begin(), whole.end(), "-read_intervals"), 0);
    // Checksums only when asked for: they cost a good part of the probe.
    EXPECT_EQ(std::count(whole.begin(), whole.end(), "-show_data_hash"), 0);
    const std::vector<std::string> checked =
        videoPacketProbeArguments("/media/a.mov", {}, PacketChecksums::compute);
    EXPECT_EQ(std::count(checked.begin(), checked.end(), "-show_data_hash"), 1);
    const std::vector<std::string> window = videoPacketProbeArguments(
        "/media/a.mov",
        {PacketWindow{Rational(1001, 300), Rational(5)}, PacketWindow{Rational(8), Rational(9)}});
    EXPECT_THAT(std::vector<std::string>(window.end() - 3, window.end()),
                ElementsAre("-read_intervals", "3.336667%5.000000,8.000000%9.000000", "/media/a.mov"));
}

TEST(VideoPackets, ChecksumsAsFFprobeWritesThem) {
    const std::string text = "Wikipedia";
    EXPECT_EQ(adler32Text({reinterpret_cast<const std::uint8_t*>(text.data()), text.size()}),
              "adler32:11e60398");
    EXPECT_EQ(adler32Text({}), "adler32:00000001");
    // Long runs of high bytes must be reduced in time: the sums would overflow 32 bits.
    const std::vector<std::uint8_t> ones(100000, 0xff);
    EXPECT_EQ(adler32Text(ones), "adler32:149a302c");
}

}  // namespace
}  // namespace tidyreel

// The packet probe on files made by ffmpeg, read by the real ffprobe.
#include "archive/media/video_packets.h"

#include "cli/archive_media_support.h"
#include "test_support.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tidyreel::test {
namespace {

TEST(VideoPacketProbe, ListsEveryFrameOfAnOpenGopFileInPresentationOrder) {
    TempFolder folder;
    const std::filesystem::path file = folder / "open_gop.mp4";
    ASSERT_TRUE(
        runShell("ffmpeg -nostdin -v error -f lavfi -i testsrc2=s=160x90:r=30 -t 2 -c:v libx264 "
                 "-x264-params open-gop=1:keyint=12:min-keyint=12:scenecut=0:bframes=3 '" +
                 file.string() + "'"));
    const std::vector<VideoPacket> packets = probeVideoPackets(file, ProbeSetup{});
    ASSERT_EQ(packets.size(), 60u);
    // The stream says where its pictures end: planning need not read to the file's end to know.
    EXPECT_EQ(probeVideoClock(file, ProbeSetup{}).picturesEnd, Rational(2));
    for (std::size_t i = 0; i < packets.size(); ++i) {
        EXPECT_EQ(packets[i].time, Rational(static_cast<std::int64_t>(i), 30)) << i;
        EXPECT_EQ(packets[i].duration, Rational(1, 30)) << i;
        EXPECT_EQ(packets[i].keyframe, i % 12 == 0) << i;
    }
    // From the third keyframe on each has leading pictures, read from the decoding times (x264 puts no B
    // picture before the second one: its first GOP ends with a P picture).
    EXPECT_THAT(openKeyframeTimes(packets),
                ::testing::ElementsAre(Rational(24, 30), Rational(36, 30), Rational(48, 30)));
    // A window is read from the keyframe before its start, with the frames shown before that keyframe
    // but decoded after it (open GOP).
    const std::vector<VideoPacket> window =
        probeVideoPackets(file, ProbeSetup{}, {PacketWindow{Rational(1), Rational(3, 2)}});
    ASSERT_FALSE(window.empty());
    EXPECT_EQ(keyframeAtOrBefore(window, Rational(1)), Rational(24, 30));
    EXPECT_LT(window.front().time, Rational(24, 30));
    EXPECT_GE(window.back().time, Rational(43, 30));
}

TEST(VideoPacketProbe, FailsOnAFileWithoutPicture) {
    TempFolder folder;
    const std::filesystem::path file = folder / "sound.wav";
    ASSERT_TRUE(runShell("ffmpeg -nostdin -v error -f lavfi -i sine=d=1 '" + file.string() + "'"));
    EXPECT_THROW(probeVideoPackets(file, ProbeSetup{}), Error);
    EXPECT_THROW(probeVideoPackets(folder / "missing.mov", ProbeSetup{}), Error);
}

}  // namespace
}  // namespace tidyreel::test

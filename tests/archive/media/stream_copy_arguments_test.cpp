#include "archive/media/stream_copy_arguments.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

namespace tidyreel {
namespace {

using ::testing::Contains;
using ::testing::Not;

// `count` frames of `frame` each from zero, decoded two frames ahead of showing, a keyframe every
// `keyframeEvery`.
std::vector<VideoPacket> framePackets(int count, Rational frame, int keyframeEvery) {
    std::vector<VideoPacket> packets;
    for (int n = 0; n < count; ++n) {
        packets.push_back({frame * n, frame, n % keyframeEvery == 0, frame * (n - 2)});
    }
    return packets;
}

// A source whose clock ticks `tick` and starts `origin` after the file's start, with pictures `frame` long.
CopySource sourceOf(const std::string& file, Rational tick, Rational origin, std::vector<VideoPacket> packets,
                    Rational frame, std::vector<std::string> audioCodecs = {}) {
    return {file, VideoClock{tick, origin, Rational::zero()}, std::move(packets), frame / 2,
            std::move(audioCodecs)};
}

TEST(StreamCopyArguments, ListSeeksToEachRangeAndStopsWhereTheNextDecodes) {
    const Rational frame(1, 25);
    const CopySource source = sourceOf("/media/it's.mov", Rational(1, 12800), Rational::zero(),
                                       framePackets(500, frame, 50), frame, {"pcm_s16le"});
    // The second range reaches the end of the file: nothing follows it to stop at.
    EXPECT_EQ(rangeListText(source, {{Rational(2), Rational(6)}, {Rational(10), Rational(20)}}),
              "ffconcat version 1.0\n"
              "file '/media/it'\\''s.mov'\ninpoint 2.000000\noutpoint 5.920000\nduration 4.000000\n"
              "file '/media/it'\\''s.mov'\ninpoint 10.000000\nduration 10.000000\n");
}

TEST(StreamCopyArguments, ListCountsOnTheStreamsClock) {
    const Rational frame(1, 25);
    const CopySource source =
        sourceOf("/m.mov", Rational(1, 12800), Rational(3), framePackets(500, frame, 50), frame);
    EXPECT_EQ(
        rangeListText(source, {{Rational(2), Rational(4)}}),
        "ffconcat version 1.0\nfile '/m.mov'\ninpoint 5.000000\noutpoint 6.920000\nduration 2.000000\n");
}

// With ticks of 100 ns, a keyframe can lie between two microseconds, the concat demuxer's unit: the list
// seeks to the microsecond after it, its shift then misses, and each range's packets are moved the rest of
// the way. With ticks a microsecond divides evenly into (1/12800 s), nothing is moved.
TEST(StreamCopyArguments, PacketsAreMovedOnlyWhereTheListsMicrosecondsFallShort) {
    const Rational fineFrame(333671, 10000000);
    const CopySource fine = sourceOf("/m.mov", Rational(1, 10000000), Rational::zero(),
                                     framePackets(30, fineFrame, 3), fineFrame);
    const std::vector<std::string> moved = seekingCopyArguments(
        fine, {{fineFrame * 3, fineFrame * 6}, {fineFrame * 9, fineFrame * 12}}, "/tmp/list", "/out/m.mov");
    EXPECT_THAT(moved, Contains("setts=pts='PTS+if(gte(PTS*TB,0.083417750),4,7)':"
                                "dts='DTS+if(gte(PTS*TB,0.083417750),4,7)'"));

    const Rational frame(1, 25);
    const CopySource even =
        sourceOf("/m.mov", Rational(1, 12800), Rational::zero(), framePackets(500, frame, 50), frame);
    const std::vector<std::string> unmoved = seekingCopyArguments(
        even, {{Rational(2), Rational(6)}, {Rational(10), Rational(14)}}, "/tmp/list", "/out/m.mov");
    EXPECT_THAT(unmoved, Not(Contains("-bsf:v")));
    EXPECT_THAT(unmoved, Contains("/tmp/list"));
}

// MPEG-2 open GOPs of 12 frames at 25 fps, decoded as a camera writes them: I, its two leading B pictures
// (shown before it), then P B B three times. Each packet lies 1000 bytes after the one decoded before it.
std::vector<VideoPacket> openGOPPackets(int gops, Rational frame) {
    std::vector<int> shown;
    for (int gop = 0; gop < gops; ++gop) {
        const int key = 12 * gop;
        shown.push_back(key);
        if (gop > 0) {
            shown.insert(shown.end(), {key - 2, key - 1});
        }
        for (const int p : {3, 6, 9}) {
            shown.insert(shown.end(), {key + p, key + p - 2, key + p - 1});
        }
    }
    std::vector<VideoPacket> packets;
    for (std::size_t decoded = 0; decoded < shown.size(); ++decoded) {
        if (shown[decoded] < 12 * gops - 2) {
            packets.push_back({frame * shown[decoded], frame, shown[decoded] % 12 == 0,
                               frame * (static_cast<int>(decoded) - 1), "",
                               1000 * static_cast<int>(decoded)});
        }
    }
    std::sort(packets.begin(), packets.end(),
              [](const VideoPacket& a, const VideoPacket& b) { return a.time < b.time; });
    return packets;
}

// A range from an open keyframe to the first leading picture of a later one: the leading pictures of its
// own keyframe are left out by their place in the file (at a join their timestamps are the previous
// range's), the entry stops where that later keyframe decodes, and decoding times are counted anew.
TEST(StreamCopyArguments, CutsInOpenGOPsLeaveOutLeadingPicturesAndRenumberDecoding) {
    const Rational frame(1, 25);
    const CopySource source =
        sourceOf("/x.mov", Rational(1, 12800), Rational::zero(), openGOPPackets(10, frame), frame);
    const std::vector<HalfOpenRange> ranges{{frame * 12, frame * 34}, {frame * 60, frame * 82}};
    // Keyframe 36 is decoded after 34 packets (10 of the first GOP, 12 of each other): at 33 frames.
    EXPECT_EQ(rangeListText(source, ranges),
              "ffconcat version 1.0\n"
              "file '/x.mov'\ninpoint 0.480000\noutpoint 1.320000\nduration 0.880000\n"
              "file '/x.mov'\ninpoint 2.400000\noutpoint 3.240000\nduration 0.880000\n");
    // The leading pictures of keyframes 12 and 60 follow them, after 11 and 12, 59 and 60 packets.
    EXPECT_THAT(seekingCopyArguments(source, ranges, "/tmp/list", "/out/x.mov"),
                Contains("noise=drop='eq(pos,11000)+eq(pos,12000)+eq(pos,59000)+eq(pos,60000)',"
                         "setts=pts='PTS+if(gte(PTS*TB,0.860000000),0,0)':dts='round((N-2)*512.000000000)'"));
    // Reading through keeps packets by their presentation time, which leaves out leading pictures too.
    const std::vector<std::string> readThrough = readThroughCopyArguments(source, ranges, "/out/x.mov");
    EXPECT_TRUE(std::any_of(readThrough.begin(), readThrough.end(), [](const std::string& argument) {
        return argument.ends_with(":dts='round((N-2)*512.000000000)'");
    }));
}

}  // namespace
}  // namespace tidyreel

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

TEST(StreamCopyArguments, ListSeeksToEachRangeAndStopsWhereTheNextDecodes) {
    const Rational frame(1, 25);
    const CopySource source{"/media/it's.mov",
                            VideoClock{Rational(1, 12800), Rational::zero(), Rational::zero()},
                            framePackets(500, frame, 50),
                            frame / 2,
                            {"pcm_s16le"}};
    // The second range reaches the end of the file: nothing follows it to stop at.
    EXPECT_EQ(rangeListText(source, {{Rational(2), Rational(6)}, {Rational(10), Rational(20)}}),
              "ffconcat version 1.0\n"
              "file '/media/it'\\''s.mov'\ninpoint 2.000000\noutpoint 5.920000\nduration 4.000000\n"
              "file '/media/it'\\''s.mov'\ninpoint 10.000000\nduration 10.000000\n");
}

TEST(StreamCopyArguments, ListCountsOnTheStreamsClock) {
    const Rational frame(1, 25);
    const CopySource source{"/m.mov",
                            VideoClock{Rational(1, 12800), Rational(3), Rational::zero()},
                            framePackets(500, frame, 50),
                            frame / 2,
                            {}};
    EXPECT_EQ(
        rangeListText(source, {{Rational(2), Rational(4)}}),
        "ffconcat version 1.0\nfile '/m.mov'\ninpoint 5.000000\noutpoint 6.920000\nduration 2.000000\n");
}

// With ticks of 100 ns, a keyframe can lie between two microseconds, the concat demuxer's unit: the list
// seeks to the microsecond after it, its shift then misses, and each range's packets are moved the rest of
// the way. With ticks a microsecond
// divides evenly into (1/12800 s), nothing is moved.
TEST(StreamCopyArguments, PacketsAreMovedOnlyWhereTheListsMicrosecondsFallShort) {
    const Rational fineFrame(333671, 10000000);
    const CopySource fine{"/m.mov",
                          VideoClock{Rational(1, 10000000), Rational::zero(), Rational::zero()},
                          framePackets(30, fineFrame, 3),
                          fineFrame / 2,
                          {}};
    const std::vector<std::string> moved = seekingCopyArguments(
        fine, {{fineFrame * 3, fineFrame * 6}, {fineFrame * 9, fineFrame * 12}}, "/tmp/list", "/out/m.mov");
    EXPECT_THAT(moved, Contains("setts=pts='PTS+if(gte(PTS*TB,0.083417750),4,7)':"
                                "dts='DTS+if(gte(PTS*TB,0.083417750),4,7)'"));

    const Rational frame(1, 25);
    const CopySource even{"/m.mov",
                          VideoClock{Rational(1, 12800), Rational::zero(), Rational::zero()},
                          framePackets(500, frame, 50),
                          frame / 2,
                          {}};
    const std::vector<std::string> unmoved = seekingCopyArguments(
        even, {{Rational(2), Rational(6)}, {Rational(10), Rational(14)}}, "/tmp/list", "/out/m.mov");
    EXPECT_THAT(unmoved, Not(Contains("-bsf:v")));
    EXPECT_THAT(unmoved, Contains("/tmp/list"));
}

}  // namespace
}  // namespace tidyreel

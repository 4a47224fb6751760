#include "archive/media/piece_timing.h"

#include "base/error.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tidyreel {
namespace {

// `count` frames of 1/25 s from frame `first` on.
std::vector<VideoPacket> frames(std::int64_t first, std::int64_t count) {
    std::vector<VideoPacket> list;
    for (std::int64_t frame = first; frame < first + count; ++frame) {
        list.push_back({Rational(frame, 25), Rational(1, 25), frame == first, Rational(frame, 25)});
    }
    return list;
}

TEST(PieceTiming, ExactJoinHasNoOffsetAndNoDrift) {
    const std::vector<PieceTiming> pieces = measurePieces(frames(0, 75), {{2, 3}, {10, 12}}, Rational(1, 25));
    ASSERT_EQ(pieces.size(), 2u);
    EXPECT_EQ(pieces[1].start, Rational(1));
    EXPECT_EQ(pieces[1].length, Rational(2));
    EXPECT_EQ(pieces[1].offset(), Rational(0));
    EXPECT_EQ(pieces[0].drift(), Rational(0));
    EXPECT_EQ(pieceTimingLine(2, pieces[1], Rational(1, 25)),
              "       Segment 2: nominal=2s, gemessen=2s, drift=0s, Versatz=0 Frames (0.0s)");
}

TEST(PieceTiming, MeasuresWhereTheFramesReallyLie) {
    // The second piece starts two frames late (its frames shifted), the file starts one frame in.
    std::vector<VideoPacket> list = frames(1, 25);
    for (VideoPacket frame : frames(28, 50)) {
        list.push_back(frame);
    }
    const std::vector<PieceTiming> pieces = measurePieces(list, {{2, 3}, {10, 12}}, Rational(1, 25));
    EXPECT_EQ(pieces[0].offset(), Rational(1, 25));
    EXPECT_EQ(pieces[0].drift(), Rational(2, 25));
    EXPECT_EQ(pieces[1].offset(), Rational(3, 25));
    EXPECT_EQ(pieceTimingLine(1, pieces[0], Rational(1, 50)),
              "       Segment 1: nominal=1s, gemessen=27/25s, drift=2/25s, Versatz=2 Frames (0.04s)");
    EXPECT_EQ(pieceTimingLine(1, pieces[0], Rational(1, 10)),
              "       Segment 1: nominal=1s, gemessen=27/25s, drift=2/25s, Versatz=0.4 Frames (0.04s)");
    EXPECT_EQ(pieceTimingLine(2, pieces[1], Rational(1, 25)),
              "       Segment 2: nominal=2s, gemessen=2s, drift=0s, Versatz=3 Frames (0.12s)");
    // A variable-rate piece ends where its last frame ends.
    list.back().duration = Rational(1, 10);
    EXPECT_EQ(measurePieces(list, {{2, 3}, {10, 12}}, Rational(1, 25))[1].drift(), Rational(3, 50));
}

TEST(PieceTiming, TheLastPieceEndsWhereTheSourceEnds) {
    const std::vector<PieceTiming> pieces = measurePieces(frames(0, 26), {{2, 3}, {10, 12}}, Rational(1, 25));
    EXPECT_EQ(pieces[1].length, Rational(1, 25));
    EXPECT_EQ(pieces[1].drift(), Rational(-49, 25));
}

TEST(PieceTiming, MoreFramesOrNoneOfTheLastPieceIsNoFrameExactJoin) {
    for (const std::vector<VideoPacket>& list : {frames(0, 76), frames(0, 25), frames(0, 0)}) {
        try {
            measurePieces(list, {{2, 3}, {10, 12}}, Rational(1, 25));
            ADD_FAILURE() << list.size();
        } catch (const Error& error) {
            EXPECT_EQ(error.code(), TrimError::frameCount);
            EXPECT_THAT(error.what(), ::testing::EndsWith(std::to_string(list.size()) + " ≠ 75"));
        }
    }
}

}  // namespace
}  // namespace tidyreel

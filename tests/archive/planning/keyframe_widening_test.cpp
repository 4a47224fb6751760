#include "archive/planning/keyframe_widening.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tidyreel {
namespace {

using ::testing::ElementsAre;
using ::testing::Optional;

// GOPs of 15 frames at 29.97: a keyframe every 15015/30000 s, ten of them.
Rational key(int index) {
    return Rational(15015 * index, 30000);
}

const std::vector<Rational> kKeyframes{key(0), key(1), key(2), key(3), key(4),
                                       key(5), key(6), key(7), key(8), key(9)};
const Rational kFileEnd = key(10);
const IsClosedKeyframe kClosed = [](Rational) { return true; };
// Keyframes 2, 3, 6 and 7 have leading pictures.
const IsClosedKeyframe kSomeOpen = [](Rational keyframe) {
    return keyframe != key(2) && keyframe != key(3) && keyframe != key(6) && keyframe != key(7);
};

std::optional<std::vector<HalfOpenRange>> widened(const std::vector<HalfOpenRange>& segments,
                                                  const IsClosedKeyframe& isClosed = kClosed) {
    return widenToKeyframes(segments, kKeyframes, isClosed, kFileEnd);
}

TEST(KeyframeWidening, SegmentsGrowOutwardToTheKeyframesAroundThem) {
    EXPECT_THAT(widened({{Rational(7, 10), Rational(13, 10)}}),
                Optional(ElementsAre(HalfOpenRange{key(1), key(3)})));
    // Boundaries already on keyframes stay where they are.
    EXPECT_THAT(widened({{key(2), key(4)}}), Optional(ElementsAre(HalfOpenRange{key(2), key(4)})));
    // One tick past a keyframe takes the whole next GOP.
    EXPECT_THAT(widened({{key(2), key(4) + Rational(1, 30000)}}),
                Optional(ElementsAre(HalfOpenRange{key(2), key(5)})));
}

TEST(KeyframeWidening, PiecesThatNowOverlapOrTouchAreMerged) {
    EXPECT_THAT(widened({{Rational(1, 10), Rational(6, 10)}, {Rational(9, 10), Rational(16, 10)}}),
                Optional(ElementsAre(HalfOpenRange{key(0), key(4)})));
    EXPECT_THAT(widened({{key(1), key(2)}, {key(2), key(3)}}),
                Optional(ElementsAre(HalfOpenRange{key(1), key(3)})));
    EXPECT_THAT(widened({{key(1), key(2)}, {key(5), key(6)}}),
                Optional(ElementsAre(HalfOpenRange{key(1), key(2)}, HalfOpenRange{key(5), key(6)})));
}

TEST(KeyframeWidening, TheLastGOPEndsAtTheFileEnd) {
    EXPECT_THAT(widened({{Rational(46, 10), Rational(49, 10)}}),
                Optional(ElementsAre(HalfOpenRange{key(9), kFileEnd})));
}

TEST(KeyframeWidening, OpenGOPsArePassedOverUpToTheNextClosedKeyframe) {
    // Keyframe 2 is open: the piece starts one GOP earlier.
    EXPECT_THAT(widened({{key(2) + Rational(1, 10), key(4) + Rational(1, 10)}}, kSomeOpen),
                Optional(ElementsAre(HalfOpenRange{key(1), key(5)})));
    // Keyframes 6 and 7 are both open: the piece ends at 8; 3 and 2 are: it starts at 1.
    EXPECT_THAT(widened({{key(4) + Rational(1, 10), key(5) + Rational(1, 10)}}, kSomeOpen),
                Optional(ElementsAre(HalfOpenRange{key(4), key(8)})));
    EXPECT_THAT(widened({{key(3) + Rational(1, 10), key(4)}}, kSomeOpen),
                Optional(ElementsAre(HalfOpenRange{key(1), key(4)})));
    // With every keyframe after the first open, pieces reach from the file's start to its end.
    const IsClosedKeyframe onlyFirst = [](Rational keyframe) { return keyframe == key(0); };
    EXPECT_THAT(widened({{key(4) + Rational(1, 10), key(5)}}, onlyFirst),
                Optional(ElementsAre(HalfOpenRange{key(0), kFileEnd})));
    // No closed keyframe before a segment at all: nothing can be copied.
    EXPECT_FALSE(
        widened({{key(0) + Rational(1, 10), key(1)}}, [](Rational keyframe) { return keyframe != key(0); }));
    // Only keyframes from the segment's ends outward to the first closed one are asked about.
    std::vector<Rational> asked;
    widenToKeyframes(
        {{key(2) + Rational(1, 10), key(4) + Rational(1, 10)}}, kKeyframes,
        [&](Rational keyframe) {
            asked.push_back(keyframe);
            return kSomeOpen(keyframe);
        },
        kFileEnd);
    EXPECT_THAT(asked, ElementsAre(key(2), key(1), key(5)));
}

TEST(KeyframeWidening, NoKeyframeBeforeTheStartGivesNothingAndNoSegmentsStayNone) {
    EXPECT_FALSE(widenToKeyframes({{key(1), key(3)}}, {key(2), key(4)}, kClosed, kFileEnd));
    EXPECT_THAT(widened({}), Optional(ElementsAre()));
}

}  // namespace
}  // namespace tidyreel

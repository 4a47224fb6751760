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
const CleanEnd kClosed = [](Rational keyframe) { return keyframe; };
// Each keyframe has two leading pictures that show before it.
const Rational kLeading(2002, 30000);
const CleanEnd kOpen = [](Rational keyframe) { return keyframe - kLeading; };

std::optional<std::vector<Segment>> widened(const std::vector<Segment>& segments,
                                            const CleanEnd& cleanEnd = kClosed) {
    return widenToKeyframes(segments, kKeyframes, cleanEnd, kFileEnd);
}

TEST(KeyframeWidening, SegmentsGrowOutwardToTheKeyframesAroundThem) {
    EXPECT_THAT(widened({{Rational(7, 10), Rational(13, 10)}}),
                Optional(ElementsAre(Segment{key(1), key(3)})));
    // Boundaries already on keyframes stay where they are.
    EXPECT_THAT(widened({{key(2), key(4)}}), Optional(ElementsAre(Segment{key(2), key(4)})));
    // One tick past a keyframe takes the whole next GOP.
    EXPECT_THAT(widened({{key(2), key(4) + Rational(1, 30000)}}),
                Optional(ElementsAre(Segment{key(2), key(5)})));
}

TEST(KeyframeWidening, PiecesThatNowOverlapOrTouchAreMerged) {
    EXPECT_THAT(widened({{Rational(1, 10), Rational(6, 10)}, {Rational(9, 10), Rational(16, 10)}}),
                Optional(ElementsAre(Segment{key(0), key(4)})));
    EXPECT_THAT(widened({{key(1), key(2)}, {key(2), key(3)}}),
                Optional(ElementsAre(Segment{key(1), key(3)})));
    EXPECT_THAT(widened({{key(1), key(2)}, {key(5), key(6)}}),
                Optional(ElementsAre(Segment{key(1), key(2)}, Segment{key(5), key(6)})));
}

TEST(KeyframeWidening, TheLastGOPEndsAtTheFileEnd) {
    EXPECT_THAT(widened({{Rational(46, 10), Rational(49, 10)}}),
                Optional(ElementsAre(Segment{key(9), kFileEnd})));
}

TEST(KeyframeWidening, OpenGOPsEndBeforeTheLeadingPicturesOfTheNextKeyframe) {
    EXPECT_THAT(widened({{key(1), key(3) - kLeading}}, kOpen),
                Optional(ElementsAre(Segment{key(1), key(3) - kLeading})));
    // A segment that reaches into the leading pictures of keyframe 3 needs the GOP after it as well.
    EXPECT_THAT(widened({{key(1), key(3) - Rational(1001, 30000)}}, kOpen),
                Optional(ElementsAre(Segment{key(1), key(4) - kLeading})));
    // Only keyframes at or after a segment's end are asked about.
    std::vector<Rational> asked;
    widenToKeyframes(
        {{Rational(7, 10), Rational(13, 10)}}, kKeyframes,
        [&](Rational keyframe) {
            asked.push_back(keyframe);
            return keyframe - kLeading;
        },
        kFileEnd);
    EXPECT_THAT(asked, ElementsAre(key(3)));
}

TEST(KeyframeWidening, NoKeyframeBeforeTheStartGivesNothingAndNoSegmentsStayNone) {
    EXPECT_FALSE(widenToKeyframes({{key(1), key(3)}}, {key(2), key(4)}, kClosed, kFileEnd));
    EXPECT_THAT(widened({}), Optional(ElementsAre()));
}

}  // namespace
}  // namespace tidyreel

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
const CutAtKeyframe kClosed = [](Rational keyframe) { return std::optional(keyframe); };
// Keyframes 2, 3, 6 and 7 have leading pictures later pictures may refer to: no cut there.
const CutAtKeyframe kSomeOpen = [](Rational keyframe) -> std::optional<Rational> {
    if (keyframe == key(2) || keyframe == key(3) || keyframe == key(6) || keyframe == key(7)) {
        return std::nullopt;
    }
    return keyframe;
};
// Every keyframe after the first has two leading pictures that can be left out, as in MPEG-2.
const Rational kFrame(1001, 30000);
const CutAtKeyframe kLeadingLeftOut = [](Rational keyframe) {
    return std::optional(keyframe == key(0) ? keyframe : keyframe - kFrame * 2);
};

std::optional<std::vector<HalfOpenRange>> widened(const std::vector<HalfOpenRange>& segments,
                                                  const CutAtKeyframe& cutAt = kClosed) {
    return widenToKeyframes(segments, kKeyframes, cutAt, kFileEnd);
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

TEST(KeyframeWidening, OpenGOPsWhoseLeadingPicturesCanBeLeftOutAreCutBeforeThem) {
    // A piece starts at its open keyframe and stops before the leading pictures of the next one.
    EXPECT_THAT(widened({{key(2) + Rational(1, 10), key(4) - kFrame * 3}}, kLeadingLeftOut),
                Optional(ElementsAre(HalfOpenRange{key(2), key(4) - kFrame * 2})));
    // An end among those leading pictures needs them: the piece runs on to the next keyframe's.
    EXPECT_THAT(widened({{key(2), key(4) - kFrame}}, kLeadingLeftOut),
                Optional(ElementsAre(HalfOpenRange{key(2), key(5) - kFrame * 2})));
    // A piece starting at the keyframe the one before stops at continues it, leading pictures and all.
    EXPECT_THAT(widened({{key(1), key(2) - kFrame * 3}, {key(2), key(3) - kFrame * 3}}, kLeadingLeftOut),
                Optional(ElementsAre(HalfOpenRange{key(1), key(3) - kFrame * 2})));
}

TEST(KeyframeWidening, OpenGOPsWithoutACutArePassedOverUpToTheNextClosedKeyframe) {
    // Keyframe 2 is open: the piece starts one GOP earlier.
    EXPECT_THAT(widened({{key(2) + Rational(1, 10), key(4) + Rational(1, 10)}}, kSomeOpen),
                Optional(ElementsAre(HalfOpenRange{key(1), key(5)})));
    // Keyframes 6 and 7 are both open: the piece ends at 8; 3 and 2 are: it starts at 1.
    EXPECT_THAT(widened({{key(4) + Rational(1, 10), key(5) + Rational(1, 10)}}, kSomeOpen),
                Optional(ElementsAre(HalfOpenRange{key(4), key(8)})));
    EXPECT_THAT(widened({{key(3) + Rational(1, 10), key(4)}}, kSomeOpen),
                Optional(ElementsAre(HalfOpenRange{key(1), key(4)})));
    // With every keyframe after the first open, pieces reach from the file's start to its end.
    const CutAtKeyframe onlyFirst = [](Rational keyframe) {
        return keyframe == key(0) ? std::optional(keyframe) : std::nullopt;
    };
    EXPECT_THAT(widened({{key(4) + Rational(1, 10), key(5)}}, onlyFirst),
                Optional(ElementsAre(HalfOpenRange{key(0), kFileEnd})));
    // No closed keyframe before a segment at all: nothing can be copied.
    EXPECT_FALSE(widened({{key(0) + Rational(1, 10), key(1)}}, [](Rational keyframe) {
        return keyframe != key(0) ? std::optional(keyframe) : std::nullopt;
    }));
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

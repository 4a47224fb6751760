#include "archive/planning/interval_merger.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tidyreel {
namespace {

using ::testing::ElementsAre;

std::vector<HalfOpenRange> merged(std::vector<HalfOpenRange> intervals, Rational duration = 100) {
    return IntervalMerger::merge(std::move(intervals), duration, 5, 5, 15);
}

TEST(IntervalMerger, TouchingContainedAndRepeatedRangesJoinAndNothingStaysNothing) {
    EXPECT_THAT(merged({{10, 20}, {30, 40}}), ElementsAre(HalfOpenRange{5, 45}));
    EXPECT_THAT(merged({{10, 60}, {20, 30}, {20, 30}}), ElementsAre(HalfOpenRange{5, 65}));
    EXPECT_TRUE(merged({}).empty());
}

TEST(IntervalMerger, GapOfExactlyTheSlackJoinsOneMoreDoesNot) {
    EXPECT_THAT(merged({{10, 20}, {45, 50}}), ElementsAre(HalfOpenRange{5, 55}));
    EXPECT_THAT(merged({{46, 50}, {10, 20}}), ElementsAre(HalfOpenRange{5, 25}, HalfOpenRange{41, 55}));
    const Rational justOver = Rational(45) + Rational(1, 30000);
    EXPECT_EQ(merged({{10, 20}, {justOver, 50}}).size(), 2u);
}

TEST(IntervalMerger, ClampsAtZeroAndAtTheDuration) {
    EXPECT_THAT(merged({{2, 4}}), ElementsAre(HalfOpenRange{0, 9}));
    EXPECT_THAT(merged({{90, 100}}), ElementsAre(HalfOpenRange{85, 100}));
    EXPECT_THAT(merged({{Rational(1001, 30000), Rational(2002, 30000)}}, 3),
                ElementsAre(HalfOpenRange{0, 3}));
}

}  // namespace
}  // namespace tidyreel

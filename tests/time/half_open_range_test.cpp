#include "time/half_open_range.h"

#include <gtest/gtest.h>

namespace tidyreel {
namespace {

TEST(HalfOpenRange, LengthsOfTouchingRangesAddUpAndNoRangesHaveNone) {
    EXPECT_EQ(totalLength({{0, Rational(1, 2)}, {Rational(1, 2), 2}, {10, 12}}), Rational(4));
    EXPECT_EQ((HalfOpenRange{0, 2}.length()), totalLength({{0, 1}, {1, 2}}));
    EXPECT_EQ(totalLength({}), Rational(0));
}

}  // namespace
}  // namespace tidyreel

#include "time/rational.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <optional>
#include <stdexcept>
#include <tuple>
#include <unordered_set>
#include <utility>
#include <vector>

namespace tidyreel {
namespace {

constexpr std::int64_t kMax = std::numeric_limits<std::int64_t>::max();
constexpr std::int64_t kMin = std::numeric_limits<std::int64_t>::min();

TEST(RationalConstruction, NormalisesSignAndCommonFactors) {
    EXPECT_EQ(Rational(3, -6).numerator(), -1);
    EXPECT_EQ(Rational(3, -6).denominator(), 2);
    EXPECT_EQ(Rational(-3, -6), Rational(1, 2));
    EXPECT_EQ(Rational(0, -7).denominator(), 1);
    EXPECT_EQ(Rational(0, -7), Rational::zero());
    EXPECT_EQ(Rational(kMin, 2), Rational(kMin / 2));
    static_assert(Rational(2, 4) == Rational(1, 2));
}

TEST(RationalConstruction, ReportsZeroDenominatorAndUnrepresentableResults) {
    EXPECT_THROW(Rational(1, 0), std::domain_error);
    EXPECT_THROW(Rational(kMin, -1), std::overflow_error);
    EXPECT_THROW(Rational(1, kMin), std::overflow_error);
    EXPECT_THROW(-Rational(kMin), std::overflow_error);
}

TEST(RationalParsing, ReadsFCPXMLTimesIgnoringSpacesAroundAndEmptyPiecesBetweenSlashes) {
    // clang-format off
    const std::vector<std::pair<const char*, Rational>> times{
        {"0s", 0}, {"5s", 5}, {"+5s", 5}, {"-5s", -5}, {"1/-2s", {-1, 2}}, {"1001/30000s", {1001, 30000}},
        {"3003/90000s", {1001, 30000}}, {"-9223372036854775808s", kMin}, {"  0s\t", 0}, {" -5s ", -5},
        {" \t1001/30000s \t", {1001, 30000}}, {"1//2s", {1, 2}}, {"1/2/s", {1, 2}}};
    // clang-format on
    for (const auto& [text, value] : times) {
        EXPECT_EQ(Rational::fromFCPXML(text), value) << '"' << text << '"';
    }
    for (const char* text : {"5", "1.5s", "1/0s", "/2s", "s", "", "   ", "1/2/3s", "5ss", "5S", "5 s", "+-5s",
                             "1/ 2s", "\n5s", "0x10s", "9223372036854775808s", "1/9223372036854775808s"}) {
        EXPECT_EQ(Rational::fromFCPXML(text), std::nullopt) << '"' << text << '"';
    }
}

TEST(RationalPrinting, PrintsGridDenominatorsExactlyAndOthersOnThe720000Grid) {
    // clang-format off
    const std::vector<std::pair<Rational, const char*>> times{
        {{1001, 30000}, "1001/30000s"}, {{-1001, 30000}, "-1001/30000s"}, {1, "1s"}, {0, "0s"},
        {{1, 240000}, "1/240000s"}, {{1, 44100}, "1/45000s"}, {{1, 720000}, "1/720000s"},
        {{7, 360000}, "7/360000s"}, {{1'000'000, 3'000'001}, "1/3s"},
        // 1/256 s is exactly 2812.5 grid steps: halves go away from zero.
        {{1, 256}, "2813/720000s"}, {{-1, 256}, "-2813/720000s"}, {{3, 256}, "4219/360000s"}};
    // clang-format on
    for (const auto& [time, text] : times) {
        EXPECT_EQ(time.toFCPXML(), text);
    }
    EXPECT_EQ(Rational(1001, 30000).description(), "1001/30000");
    EXPECT_EQ(Rational(5).description(), "5");
    EXPECT_EQ(Rational(-1, 2).description(), "-1/2");
}

TEST(RationalArithmetic, IsExactForCommonDenominators) {
    EXPECT_EQ(Rational(1001, 30000) + Rational(1, 48000), Rational(2671, 80000));
    EXPECT_EQ(Rational(1, 24) - Rational(1, 48000), Rational(1999, 48000));
    EXPECT_EQ(Rational(kMax) - Rational(kMax), Rational::zero());
    EXPECT_EQ(Rational(1001, 30000) * Rational(30000, 1001), Rational::one());
    EXPECT_EQ(Rational(1001, 30000) * Rational(-24), Rational(-1001, 1250));
    EXPECT_EQ(Rational(1, 2) / Rational(-1, 4), Rational(-2));
    EXPECT_EQ(Rational::zero() / Rational(-3, 7), Rational::zero());
    EXPECT_EQ(Rational(kMin) / Rational(kMin), Rational::one());
    EXPECT_EQ(Rational(kMin) * Rational(1, 2), Rational(kMin / 2));
}

TEST(RationalArithmetic, BoundsOperandsAndResultToAMilliardth) {
    // 1/1000000001 is first replaced by 1/1000000000, its closest fraction within the bound.
    EXPECT_EQ(Rational(1, 1'000'000'001) + Rational::zero(), Rational(1, 1'000'000'000));
    // The exact sum has the denominator 999999866000004473.
    EXPECT_EQ(Rational(1, 999'999'937) + Rational(1, 999'999'929), Rational(2, 999'999'933));
}

// 31/3 + 1/999999999 and 1/7 + 1/6999999559: exact cross products overflow, the operands bounded by
// 1000000 are 31/3 and 1/7.
const Rational kNearThirtyOneThirds(10'333'333'324, 999'999'999);
const Rational kNearOneSeventh(142'857'134, 999'999'937);
// 310/3 + 1/999999999, so that its product with kNearOneSeventh overflows.
const Rational kNearThreeHundredTenThirds(103'333'333'231, 999'999'999);

TEST(RationalArithmetic, RetriesWithOperandsBoundedByAMillionth) {
    EXPECT_EQ(kNearThirtyOneThirds + kNearOneSeventh, Rational(220, 21));
    EXPECT_EQ(kNearThirtyOneThirds - kNearOneSeventh, Rational(214, 21));
    EXPECT_EQ(kNearThreeHundredTenThirds * kNearOneSeventh, Rational(310, 21));
    EXPECT_EQ(kNearThreeHundredTenThirds / kNearOneSeventh, Rational(2170, 3));
}

// 10000000.000001 s: its numerator times any denominator near 1000000 overflows.
const Rational kTenMillionSeconds(10'000'000'000'001, 1'000'000);

TEST(RationalArithmetic, FallsBackToAMicrosecondGridTruncatingTowardZero) {
    // Exactly 10000000500001.49999… microseconds.
    EXPECT_EQ(kTenMillionSeconds + Rational(499'992, 999'983), Rational(10'000'000'500'001, 1'000'000));
    EXPECT_EQ(-kTenMillionSeconds - Rational(499'992, 999'983), Rational(-10'000'000'500'001, 1'000'000));
    // Exactly 9998599976200.595… microseconds.
    EXPECT_EQ(kTenMillionSeconds * Rational(999'843, 999'983), Rational(49'992'999'881, 5'000));
    EXPECT_EQ(kTenMillionSeconds / Rational(999'983, 999'843), Rational(49'992'999'881, 5'000));
}

TEST(RationalArithmetic, ReportsErrorsInsteadOfUndefinedResults) {
    EXPECT_THROW(Rational(1, 2) / Rational::zero(), std::domain_error);
    EXPECT_THROW(Rational(kMax) + Rational(kMax), std::overflow_error);
    EXPECT_THROW(Rational(kMax) * Rational(kMax), std::overflow_error);
    // A divisor that bounding turns into zero must not reach the integer division.
    EXPECT_EQ(Rational::zero() / Rational(1, kMax), Rational::zero());
    EXPECT_THROW(Rational(1) / Rational(1, kMax), std::overflow_error);
}

TEST(RationalComparison, UsesExactCrossProductsWhileTheyFit) {
    EXPECT_LT(Rational(-1, 2), Rational(1, 3));
    EXPECT_GT(Rational(1001, 30000), Rational(1, 30));
    EXPECT_LE(Rational(2, 4), Rational(1, 2));
    EXPECT_GE(Rational(2, 4), Rational(1, 2));
    // Closer together than a double can tell; the cross products still fit into 64 bits.
    const Rational a(3'037'000'498, 3'037'000'499);
    const Rational b(3'037'000'497, 3'037'000'498);
    ASSERT_EQ(a.doubleValue(), b.doubleValue());
    EXPECT_GT(a, b);
    EXPECT_FALSE(a <= b);
}

TEST(RationalComparison, FallsBackToDoublesWhenCrossProductsOverflow) {
    EXPECT_LT(Rational(kMax, 3), Rational(kMax, 2));
    EXPECT_GT(Rational(kMin, 3), Rational(kMin, 2));
    // Equal as doubles: equivalent in order, but still different values.
    const Rational a(kMax, 2);
    const Rational b(kMax - 2, 2);
    EXPECT_FALSE(b < a);
    EXPECT_TRUE(a <= b);
    EXPECT_TRUE(a >= b);
    EXPECT_NE(a, b);
}

TEST(RationalLimitDenominator, FindsTheClosestFractionWithinTheBoundKeepingTheSign) {
    // clang-format off
    const std::vector<std::tuple<Rational, std::int64_t, Rational>> cases{
        {{3, 8}, 3, {1, 3}}, {{1, 4}, 3, {1, 3}}, {{7, 3}, 1, 2}, {{1001, 30000}, 1000, {33, 989}},
        {{1001, 30000}, 100, {1, 30}}, {{1001, 30000}, 30000, {1001, 30000}},
        {{-3, 8}, 3, {-1, 3}}, {{-1001, 30000}, 1000, {-33, 989}}, {{-1, 1000}, 3, 0},
        // A tie goes to the candidate that uses up the bound: 3/4 lies midway between 1/2 and 1/1,
        // and 1/4 midway between 0/1 and 1/2.
        {{3, 4}, 2, {1, 2}}, {{1, 4}, 2, {1, 2}}, {{-3, 4}, 2, {-1, 2}},
        // kMin/3 = -3074457345618258602.67 lies 1/6 from the nearest half.
        {{kMin, 3}, 2, {-6'148'914'691'236'517'205, 2}}};
    // clang-format on
    for (const auto& [value, bound, expected] : cases) {
        EXPECT_EQ(value.limitDenominator(bound), expected) << value << " within " << bound;
    }
    EXPECT_THROW(Rational(1, 3).limitDenominator(0), std::domain_error);
}

TEST(RationalFrameGrid, SnapsHalvesAwayFromZeroAndFloorAndCeilingNeverMoveInward) {
    const Rational frame(1, 24);
    EXPECT_EQ(Rational(1, 48).snappedToFrameGrid(frame), Rational(1, 24));
    EXPECT_EQ(Rational(-1, 48).snappedToFrameGrid(frame), Rational(-1, 24));
    EXPECT_EQ(Rational(1, 49).snappedToFrameGrid(frame), Rational::zero());
    EXPECT_EQ(Rational(1001, 60000).snappedToFrameGrid(Rational(1001, 30000)), Rational(1001, 30000));
    EXPECT_EQ(Rational(1, 48).snappedToFrameGridFloor(frame), Rational::zero());
    EXPECT_EQ(Rational(1, 48).snappedToFrameGridCeiling(frame), Rational(1, 24));
    EXPECT_EQ(Rational(-1, 48).snappedToFrameGridFloor(frame), Rational(-1, 24));
    EXPECT_EQ(Rational(-1, 48).snappedToFrameGridCeiling(frame), Rational::zero());
    EXPECT_EQ(Rational(1, 12).snappedToFrameGridFloor(frame), Rational(1, 12));
    EXPECT_EQ(Rational(1, 12).snappedToFrameGridCeiling(frame), Rational(1, 12));
}

TEST(RationalFrameGrid, WorksOnNtscFrames) {
    const Rational frame(1001, 30000);
    // One third of a second is 9.99 frames.
    const Rational third(1, 3);
    EXPECT_EQ(third.frameNumber(frame), 9);
    EXPECT_EQ(third.snappedToFrameGrid(frame), Rational(1001, 3000));
    EXPECT_EQ(third.snappedToFrameGridFloor(frame), Rational(3003, 10000));
    EXPECT_EQ(third.snappedToFrameGridCeiling(frame), Rational(1001, 3000));
    EXPECT_EQ(Rational(1001, 3000).frameNumber(frame), 10);
    EXPECT_EQ(Rational(-1, 3).frameNumber(frame), -10);
}

TEST(RationalFrameGrid, RejectsFrameDurationsThatAreNotPositive) {
    EXPECT_THROW(Rational(1).frameNumber(Rational::zero()), std::domain_error);
    EXPECT_THROW(Rational(1).snappedToFrameGrid(Rational(-1, 24)), std::domain_error);
}

TEST(RationalHash, FollowsValueEquality) {
    const std::unordered_set<Rational> times{Rational(1, 2), Rational(2, 4), Rational(2), Rational(-1, 2)};
    EXPECT_EQ(times.size(), 3U);
    EXPECT_NE(std::hash<Rational>{}(Rational(1, 2)), std::hash<Rational>{}(Rational(2, 1)));
}

}  // namespace
}  // namespace tidyreel

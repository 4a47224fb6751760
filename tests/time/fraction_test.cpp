#include "time/fraction.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <optional>
#include <stdexcept>
#include <utility>
#include <vector>

namespace tidyreel {
namespace {

constexpr std::int64_t kMax = std::numeric_limits<std::int64_t>::max();
constexpr std::int64_t kMin = std::numeric_limits<std::int64_t>::min();

TEST(FractionParsing, AcceptsTimesWithAndWithoutUnitAndCutsAtTheFirstSlashOnly) {
    // clang-format off
    const std::vector<std::pair<const char*, Fraction>> times{
        {"5", Fraction(5)}, {"5s", Fraction(5)}, {"-5s", Fraction(-5)}, {"1001/30000s", Fraction(1001, 30000)},
        {"3003/90000", Fraction(1001, 30000)}, {" \t3/-6s\t ", Fraction(-1, 2)}};
    // clang-format on
    for (const auto& [text, value] : times) {
        EXPECT_EQ(Fraction::fromFCPXML(text), value) << '"' << text << '"';
    }
    for (const char* text :
         {"1//2s", "1/2/s", "/2s", "1/s", "1/0s", "s", "", "1.5s", "5ss", "1/ 2", "+-1/2"}) {
        EXPECT_EQ(Fraction::fromFCPXML(text), std::nullopt) << '"' << text << '"';
    }
}

TEST(FractionPrinting, BoundsTheDenominator) {
    EXPECT_EQ(Fraction(1, 300000).description(), "1/240000s");
    EXPECT_EQ(Fraction(1001, 30000).description(), "1001/30000s");
    EXPECT_EQ(Fraction(-1001, 30000).description(), "-1001/30000s");
    EXPECT_EQ(Fraction(5).description(), "5s");
    EXPECT_EQ(Fraction(1001, 30000).fcpxmlString(100), "1/30s");
    EXPECT_EQ(Fraction(7, 3).fcpxmlString(1), "2s");
    EXPECT_THROW(Fraction(1, 3).fcpxmlString(0), std::domain_error);
}

TEST(FractionLimitDenominator, FindsTheClosestFractionAndGivesATieToTheLastConvergent) {
    // 3/4 lies midway between 1/2 and 1/1, and 1/4 midway between 0/1 and 1/2.
    EXPECT_EQ(Fraction(3, 4).limitDenominator(2), Fraction(1));
    EXPECT_EQ(Fraction(1, 4).limitDenominator(2), Fraction::zero());
    EXPECT_EQ(Fraction(-3, 4).limitDenominator(2), Fraction(-1));
    EXPECT_EQ(Fraction(3, 8).limitDenominator(3), Fraction(1, 3));
    EXPECT_EQ(Fraction(-1001, 30000).limitDenominator(1000), Fraction(-33, 989));
    EXPECT_EQ(Fraction(kMin, 3).limitDenominator(2), Fraction(-6'148'914'691'236'517'205, 2));
    // 1/999999937 + 1/999999929, exactly.
    EXPECT_EQ(Fraction(1'999'999'866, 999'999'866'000'004'473).limitDenominator(1'000'000'000),
              Fraction(2, 999'999'933));
}

TEST(FractionArithmetic, IsExact) {
    EXPECT_EQ(Fraction(1001, 30000) + Fraction(1, 48000), Fraction(2671, 80000));
    EXPECT_EQ(Fraction(1, 24) - Fraction(1, 48000), Fraction(1999, 48000));
    EXPECT_EQ(Fraction(1001, 30000) * Fraction(-24), Fraction(-1001, 1250));
    EXPECT_EQ(Fraction(1, 2) / Fraction(-1, 4), Fraction(-2));
    EXPECT_EQ(-Fraction(1, 2), Fraction(-1, 2));
    // Denominators whose product overflows still add when the result fits.
    EXPECT_EQ(Fraction(1, 3'037'000'500) + Fraction(1, 3'037'000'500), Fraction(1, 1'518'500'250));
}

TEST(FractionArithmetic, ReportsOverflowAndDivisionByZero) {
    EXPECT_THROW(Fraction(kMax) + Fraction(1), std::overflow_error);
    EXPECT_THROW(Fraction(kMin) - Fraction(1), std::overflow_error);
    EXPECT_THROW(Fraction(1, 3'037'000'500) * Fraction(1, 3'037'000'501), std::overflow_error);
    EXPECT_THROW(Fraction(1, 2) / Fraction::zero(), std::domain_error);
    EXPECT_THROW(Fraction(kMin).absFrac(), std::overflow_error);
    EXPECT_THROW(Fraction(1, 0), std::domain_error);
}

TEST(FractionComparison, IsExactEvenWhereRationalFallsBackToDoubles) {
    EXPECT_GT(Fraction(kMax, 2), Fraction(kMax - 2, 2));
    EXPECT_LT(Fraction(kMin, 3), Fraction(kMin + 1, 3));
    EXPECT_LE(Fraction(2, 4), Fraction(1, 2));
    EXPECT_LT(Fraction(-1, 2), Fraction(1, 3));
    EXPECT_EQ(Fraction::min(Fraction(1, 3), Fraction(1, 4)), Fraction(1, 4));
    EXPECT_EQ(Fraction::max(Fraction(1, 3), Fraction(1, 4)), Fraction(1, 3));
    EXPECT_EQ(Fraction::min(Fraction(-1, 3), Fraction(1, 4)), Fraction(-1, 3));
    EXPECT_EQ(Fraction(-1001, 30000).absFrac(), Fraction(1001, 30000));
    EXPECT_EQ(Fraction(1001, 30000).absFrac(), Fraction(1001, 30000));
}

}  // namespace
}  // namespace tidyreel

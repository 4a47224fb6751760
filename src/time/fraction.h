#pragma once

#include <compare>
#include <concepts>
#include <cstdint>
#include <iosfwd>
#include <optional>
#include <string>
#include <string_view>

#include "time/rational.h"

namespace tidyreel {

// Plain exact time in seconds, always reduced; arithmetic is exact and reports overflow instead of degrading.
class Fraction {
public:
    // Zero.
    constexpr Fraction() noexcept = default;
    // The whole number value/1.
    constexpr Fraction(std::int64_t value) noexcept : numerator_(value) {}
    // Floating-point values must be put on a grid explicitly, never truncated by an implicit conversion.
    template <std::floating_point T>
    Fraction(T) = delete;
    // numerator/denominator reduced; throws std::domain_error for a zero denominator.
    constexpr Fraction(std::int64_t numerator, std::int64_t denominator)
        : Fraction(detail::reducedOrThrow(numerator, denominator)) {}

    // 0/1.
    static constexpr Fraction zero() noexcept { return {}; }

    // Time text such as "1001/30000s", "1001/30000" or "5"; no value when the text is not such a time.
    static std::optional<Fraction> fromFCPXML(std::string_view text) noexcept;

    // Signed numerator of the reduced fraction.
    constexpr std::int64_t numerator() const noexcept { return numerator_; }
    // Positive denominator of the reduced fraction.
    constexpr std::int64_t denominator() const noexcept { return denominator_; }

    // FCPXML time text of the closest fraction with a denominator of at most maxDenominator (≥ 1).
    std::string fcpxmlString(std::int64_t maxDenominator = 240'000) const;
    // fcpxmlString() with the default bound.
    std::string description() const;
    // The closest fraction with a denominator of at most maxDenominator (≥ 1), compared exactly; a tie goes
    // to the last convergent within the bound.
    Fraction limitDenominator(std::int64_t maxDenominator) const;
    // The value as a double.
    constexpr double doubleValue() const noexcept {
        return static_cast<double>(numerator_) / static_cast<double>(denominator_);
    }

    // Absolute value; throws std::overflow_error for a numerator of INT64_MIN.
    Fraction absFrac() const;
    // The smaller of a and b.
    static Fraction min(Fraction a, Fraction b) noexcept { return b < a ? b : a; }
    // The larger of a and b.
    static Fraction max(Fraction a, Fraction b) noexcept { return a < b ? b : a; }

    // Exact sum; throws std::overflow_error when 64 bits do not suffice.
    friend Fraction operator+(Fraction a, Fraction b);
    // Exact difference; throws std::overflow_error when 64 bits do not suffice.
    friend Fraction operator-(Fraction a, Fraction b);
    // Exact product; throws std::overflow_error when 64 bits do not suffice.
    friend Fraction operator*(Fraction a, Fraction b);
    // Exact quotient; throws std::domain_error for a zero divisor, std::overflow_error when 64 bits do not
    // suffice.
    friend Fraction operator/(Fraction a, Fraction b);
    // Negation; throws std::overflow_error for a numerator of INT64_MIN.
    friend Fraction operator-(Fraction a);

    // Field equality, which is value equality for reduced fractions.
    friend constexpr bool operator==(Fraction a, Fraction b) noexcept = default;
    // Exact order by cross products computed in 128 bits, so it never overflows.
    friend std::strong_ordering operator<=>(Fraction a, Fraction b) noexcept;

private:
    constexpr explicit Fraction(detail::Reduced value) noexcept
        : numerator_(value.numerator), denominator_(value.denominator) {}
    constexpr detail::Reduced fields() const noexcept { return {numerator_, denominator_}; }
    // exact(a, b), or std::overflow_error naming the operation by its symbol.
    static Fraction exactly(Fraction a, Fraction b, detail::ExactOperation exact, char symbol);

    std::int64_t numerator_ = 0;
    std::int64_t denominator_ = 1;
};

// Writes description() for logs and test diagnostics.
std::ostream& operator<<(std::ostream& out, Fraction value);

}  // namespace tidyreel

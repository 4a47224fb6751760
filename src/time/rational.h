#pragma once

#include <compare>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <iosfwd>
#include <limits>
#include <numeric>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

namespace tidyreel {

// Exact integer helpers shared by Rational and Fraction; not part of the public API.
namespace detail {

// A reduced fraction with a positive denominator, as raw fields.
struct Reduced {
    std::int64_t numerator;
    std::int64_t denominator;
};

// |value| without overflow, also for INT64_MIN.
constexpr std::uint64_t magnitude(std::int64_t value) noexcept {
    return value < 0 ? 0 - static_cast<std::uint64_t>(value) : static_cast<std::uint64_t>(value);
}

// The int64 with the given magnitude and sign; the caller guarantees that it is representable.
constexpr std::int64_t withSign(std::uint64_t magnitude, bool negative) noexcept {
    return static_cast<std::int64_t>(negative ? 0 - magnitude : magnitude);
}

// value ÷ divisor for a divisor of |value| given as a magnitude, so that a divisor of 2^63 works.
constexpr std::int64_t divideExactly(std::int64_t value, std::uint64_t divisor) noexcept {
    return withSign(magnitude(value) / divisor, value < 0);
}

// n/d reduced with the sign on the numerator and zero as 0/1; no value when d is 0 or the result does not
// fit into int64 (only INT64_MIN operands can cause that).
constexpr std::optional<Reduced> reduced(std::int64_t n, std::int64_t d) noexcept {
    if (d == 0) {
        return std::nullopt;
    }
    const std::uint64_t g = std::gcd(magnitude(n), magnitude(d));
    const std::uint64_t n1 = magnitude(n) / g;
    const std::uint64_t d1 = magnitude(d) / g;
    const bool negative = (n < 0) != (d < 0) && n1 != 0;
    const std::uint64_t int64Max = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
    if (d1 > int64Max || n1 > int64Max + (negative ? 1 : 0)) {
        return std::nullopt;
    }
    return Reduced{withSign(n1, negative), n1 == 0 ? 1 : static_cast<std::int64_t>(d1)};
}

// reduced(), reporting a zero denominator or an unrepresentable result as an exception.
constexpr Reduced reducedOrThrow(std::int64_t n, std::int64_t d) {
    if (d == 0) {
        throw std::domain_error("fraction with a zero denominator");
    }
    if (const auto r = reduced(n, d)) {
        return *r;
    }
    throw std::overflow_error("reduced fraction does not fit into 64 bits");
}

// An exact operation on reduced operands; no value when a 64-bit step overflows.
using ExactOperation = std::optional<Reduced> (*)(Reduced a, Reduced b) noexcept;

// Exact a + b, a − b, a × b, a ÷ b of reduced operands; no value when a 64-bit step overflows.
std::optional<Reduced> exactSum(Reduced a, Reduced b) noexcept;
std::optional<Reduced> exactDifference(Reduced a, Reduced b) noexcept;
std::optional<Reduced> exactProduct(Reduced a, Reduced b) noexcept;
// The divisor must not be zero.
std::optional<Reduced> exactQuotient(Reduced a, Reduced b) noexcept;

// The two candidates for the closest fraction to n/d with a denominator of at most bound, as magnitudes.
struct ApproximationCandidates {
    std::uint64_t numeratorA, denominatorA;  // the semiconvergent that uses up the bound
    std::uint64_t numeratorB, denominatorB;  // the last convergent within the bound
};

// Continued-fraction candidates for n/d, reduced, with denominator > bound ≥ 1.
ApproximationCandidates approximationCandidates(std::uint64_t n, std::uint64_t d,
                                                std::int64_t bound) noexcept;

// Text without leading and trailing spaces and tabs.
std::string_view trimmedSpacesAndTabs(std::string_view text) noexcept;

// Decimal int64 of only digits with one optional leading sign; no value on anything else or on overflow.
std::optional<std::int64_t> parseInt64(std::string_view text) noexcept;

// "n/d", or "n" when d is 1.
std::string fractionText(Reduced value);

}  // namespace detail

// Exact signed time in seconds, always reduced; arithmetic degrades to bounded denominators instead of
// overflowing.
class Rational {
public:
    // Zero.
    constexpr Rational() noexcept = default;
    // The whole number value/1.
    constexpr Rational(std::int64_t value) noexcept : numerator_(value) {}
    // Floating-point values must be put on a grid explicitly, never truncated by an implicit conversion.
    template <std::floating_point T>
    Rational(T) = delete;
    // numerator/denominator reduced; throws std::domain_error for a zero denominator.
    constexpr Rational(std::int64_t numerator, std::int64_t denominator)
        : Rational(detail::reducedOrThrow(numerator, denominator)) {}

    // 0/1.
    static constexpr Rational zero() noexcept { return {}; }
    // 1/1.
    static constexpr Rational one() noexcept { return {1}; }

    // FCPXML time text such as "1001/30000s" or "5s"; no value when the text is not such a time.
    static std::optional<Rational> fromFCPXML(std::string_view text) noexcept;

    // Signed numerator of the reduced fraction.
    constexpr std::int64_t numerator() const noexcept { return numerator_; }
    // Positive denominator of the reduced fraction.
    constexpr std::int64_t denominator() const noexcept { return denominator_; }

    // FCPXML time text: exact when the denominator divides 720000 and is at most 240000, else rounded to
    // the nearest 1/720000 s, halves away from zero.
    std::string toFCPXML() const;
    // "n/d", or "n" for whole numbers, without a unit.
    std::string description() const;
    // The value as a double.
    constexpr double doubleValue() const noexcept {
        return static_cast<double>(numerator_) / static_cast<double>(denominator_);
    }
    // Whether the value is 0.
    constexpr bool isZero() const noexcept { return numerator_ == 0; }

    // The closest fraction with a denominator of at most bound (≥ 1) and the same sign; a tie goes to the
    // candidate that uses up the bound.
    Rational limitDenominator(std::int64_t bound) const;

    // Index of the frame that contains this time: floor(self ÷ frameDuration); frameDuration must be > 0.
    std::int64_t frameNumber(Rational frameDuration) const;
    // Nearest multiple of frameDuration, halves away from zero.
    Rational snappedToFrameGrid(Rational frameDuration) const;
    // Largest multiple of frameDuration not above this time.
    Rational snappedToFrameGridFloor(Rational frameDuration) const;
    // Smallest multiple of frameDuration not below this time.
    Rational snappedToFrameGridCeiling(Rational frameDuration) const;

    // Bounded sum: exact while 64 bits suffice, else on bounded operands, else on a 1/1000000 s grid.
    friend Rational operator+(Rational a, Rational b);
    // Bounded difference, degrading like the sum.
    friend Rational operator-(Rational a, Rational b);
    // Bounded product, degrading like the sum.
    friend Rational operator*(Rational a, Rational b);
    // Bounded quotient, degrading like the sum; throws std::domain_error for a zero divisor.
    friend Rational operator/(Rational a, Rational b);
    // Negation; throws std::overflow_error for a numerator of INT64_MIN.
    friend Rational operator-(Rational a);

    // Field equality, which is value equality for reduced fractions.
    friend constexpr bool operator==(Rational a, Rational b) noexcept = default;
    // Exact by cross products; by double values when a cross product overflows, so near-equal huge values
    // may compare equivalent without being equal.
    friend std::weak_ordering operator<=>(Rational a, Rational b) noexcept;

private:
    constexpr explicit Rational(detail::Reduced value) noexcept
        : numerator_(value.numerator), denominator_(value.denominator) {}
    constexpr detail::Reduced fields() const noexcept { return {numerator_, denominator_}; }
    // exact on operands bounded by 1e9, then by 1e6, else the approximate value on a 1/1000000 s grid.
    static Rational bounded(Rational a, Rational b, detail::ExactOperation exact, double approximate);

    std::int64_t numerator_ = 0;
    std::int64_t denominator_ = 1;
};

// Writes description() for logs and test diagnostics.
std::ostream& operator<<(std::ostream& out, Rational value);

}  // namespace tidyreel

// Hashes the numerator, then the denominator.
template <>
struct std::hash<tidyreel::Rational> {
    std::size_t operator()(tidyreel::Rational value) const noexcept {
        const std::size_t h = std::hash<std::int64_t>{}(value.numerator());
        return h ^
               (std::hash<std::int64_t>{}(value.denominator()) + 0x9e3779b97f4a7c15ULL + (h << 6) + (h >> 2));
    }
};

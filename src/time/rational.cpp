#include "time/rational.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <ostream>
#include <system_error>

namespace tidyreel {

namespace detail {

namespace {

std::optional<Reduced> exactSumOrDifference(Reduced a, Reduced b, bool subtract) noexcept {
    const std::int64_t g = std::gcd(a.denominator, b.denominator);
    std::int64_t denominator = 0;
    std::int64_t left = 0;
    std::int64_t right = 0;
    std::int64_t numerator = 0;
    if (__builtin_mul_overflow(a.denominator / g, b.denominator, &denominator) ||
        __builtin_mul_overflow(a.numerator, b.denominator / g, &left) ||
        __builtin_mul_overflow(b.numerator, a.denominator / g, &right) ||
        (subtract ? __builtin_sub_overflow(left, right, &numerator)
                  : __builtin_add_overflow(left, right, &numerator))) {
        return std::nullopt;
    }
    return reduced(numerator, denominator);
}

// The product of the two factors, each divided by its divisor first to keep the product small.
std::optional<std::int64_t> reducedProduct(std::int64_t x, std::uint64_t xDivisor, std::int64_t y,
                                           std::uint64_t yDivisor) noexcept {
    std::int64_t product = 0;
    if (__builtin_mul_overflow(divideExactly(x, xDivisor), divideExactly(y, yDivisor), &product)) {
        return std::nullopt;
    }
    return product;
}

}  // namespace

std::optional<Reduced> exactSum(Reduced a, Reduced b) noexcept {
    return exactSumOrDifference(a, b, false);
}

std::optional<Reduced> exactDifference(Reduced a, Reduced b) noexcept {
    return exactSumOrDifference(a, b, true);
}

std::optional<Reduced> exactProduct(Reduced a, Reduced b) noexcept {
    const std::uint64_t g1 = std::gcd(magnitude(a.numerator), magnitude(b.denominator));
    const std::uint64_t g2 = std::gcd(magnitude(b.numerator), magnitude(a.denominator));
    const auto numerator = reducedProduct(a.numerator, g1, b.numerator, g2);
    const auto denominator = reducedProduct(a.denominator, g2, b.denominator, g1);
    if (!numerator || !denominator) {
        return std::nullopt;
    }
    return reduced(*numerator, *denominator);
}

std::optional<Reduced> exactQuotient(Reduced a, Reduced b) noexcept {
    // A tiny divisor can become zero once its denominator is bounded; only the double fallback can judge it.
    if (b.numerator == 0) {
        return std::nullopt;
    }
    const std::uint64_t g1 = std::gcd(magnitude(a.numerator), magnitude(b.numerator));
    const std::uint64_t g2 = std::gcd(magnitude(a.denominator), magnitude(b.denominator));
    const auto numerator = reducedProduct(a.numerator, g1, b.denominator, g2);
    const auto denominator = reducedProduct(a.denominator, g2, b.numerator, g1);
    if (!numerator || !denominator) {
        return std::nullopt;
    }
    return reduced(*numerator, *denominator);
}

// Every convergent of a reduced n/d has a numerator ≤ n and a denominator ≤ d, so nothing here overflows.
ApproximationCandidates approximationCandidates(std::uint64_t n, std::uint64_t d,
                                                std::int64_t bound) noexcept {
    const auto limit = static_cast<std::uint64_t>(bound);
    std::uint64_t p0 = 0, q0 = 1, p1 = 1, q1 = 0;
    while (d != 0) {
        const std::uint64_t a = n / d;
        const std::uint64_t q2 = q0 + a * q1;
        if (q2 > limit) {
            break;
        }
        const std::uint64_t p2 = p0 + a * p1;
        p0 = p1;
        q0 = q1;
        p1 = p2;
        q1 = q2;
        const std::uint64_t remainder = n - a * d;
        n = d;
        d = remainder;
    }
    const std::uint64_t k = (limit - q0) / q1;
    return {p0 + k * p1, q0 + k * q1, p1, q1};
}

std::string_view trimmedSpacesAndTabs(std::string_view text) noexcept {
    const auto first = text.find_first_not_of(" \t");
    if (first == std::string_view::npos) {
        return {};
    }
    return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

std::optional<std::int64_t> parseInt64(std::string_view text) noexcept {
    // from_chars accepts a leading "-" but not "+"; "+-5" must still fail.
    if (text.starts_with('+')) {
        text.remove_prefix(1);
        if (text.starts_with('-')) {
            return std::nullopt;
        }
    }
    std::int64_t value = 0;
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value);
    if (error != std::errc{} || stop != end) {
        return std::nullopt;
    }
    return value;
}

std::string fractionText(Reduced value) {
    std::string text = std::to_string(value.numerator);
    if (value.denominator != 1) {
        text += '/';
        text += std::to_string(value.denominator);
    }
    return text;
}

}  // namespace detail

namespace {

// Operand and result bound of the arithmetic: keeps later cross products of common timelines in 64 bits.
constexpr std::int64_t kOperandBound = 1'000'000'000;
// Operand bound of the second attempt when the exact one overflows.
constexpr std::int64_t kSecondChanceBound = 1'000'000;
// Grid of the last-resort floating-point result (one microsecond).
constexpr std::int64_t kFallbackDenominator = 1'000'000;
// toFCPXML prints denominators exactly when they divide this grid and are at most kExactPrintLimit.
constexpr std::int64_t kPrintGrid = 720'000;
constexpr std::int64_t kExactPrintLimit = 240'000;

// A whole double as int64; an error rather than undefined behaviour when it lies outside the int64 range.
std::int64_t int64FromWholeDouble(double value) {
    constexpr double kTwoToThe63 = 9223372036854775808.0;
    if (!(value >= -kTwoToThe63 && value < kTwoToThe63)) {
        throw std::overflow_error("time value " + std::to_string(value) + " does not fit into 64 bits");
    }
    return static_cast<std::int64_t>(value);
}

// self ÷ frameDuration as a double, for the frame grid operations.
double framesIn(Rational time, Rational frameDuration) {
    if (frameDuration.numerator() <= 0) {
        throw std::domain_error("frame duration must be positive, got " + frameDuration.description());
    }
    return (time / frameDuration).doubleValue();
}

// count × frameDuration with the bounded product.
Rational frames(double count, Rational frameDuration) {
    return Rational(int64FromWholeDouble(count)) * frameDuration;
}

}  // namespace

std::optional<Rational> Rational::fromFCPXML(std::string_view text) noexcept {
    text = detail::trimmedSpacesAndTabs(text);
    if (!text.ends_with('s')) {
        return std::nullopt;
    }
    text.remove_suffix(1);
    if (text.find('/') == std::string_view::npos) {
        const auto whole = detail::parseInt64(text);
        return whole ? std::optional<Rational>(*whole) : std::nullopt;
    }
    // Empty pieces between slashes are ignored, so "1//2s" is 1/2 and "/2s" has a single piece.
    std::string_view pieces[2];
    std::size_t pieceCount = 0;
    for (std::size_t start = 0; start <= text.size();) {
        const std::size_t slash = std::min(text.find('/', start), text.size());
        if (slash > start) {
            if (pieceCount == 2) {
                return std::nullopt;
            }
            pieces[pieceCount++] = text.substr(start, slash - start);
        }
        start = slash + 1;
    }
    if (pieceCount != 2) {
        return std::nullopt;
    }
    const auto numerator = detail::parseInt64(pieces[0]);
    const auto denominator = detail::parseInt64(pieces[1]);
    if (!numerator || !denominator) {
        return std::nullopt;
    }
    const auto value = detail::reduced(*numerator, *denominator);
    return value ? std::optional<Rational>(Rational(*value)) : std::nullopt;
}

std::string Rational::toFCPXML() const {
    if (denominator_ <= kExactPrintLimit && kPrintGrid % denominator_ == 0) {
        return description() + "s";
    }
    const std::int64_t steps =
        int64FromWholeDouble(std::round(doubleValue() * static_cast<double>(kPrintGrid)));
    return detail::fractionText(*detail::reduced(steps, kPrintGrid)) + "s";
}

std::string Rational::description() const {
    return detail::fractionText(fields());
}

Rational Rational::limitDenominator(std::int64_t bound) const {
    if (bound < 1) {
        throw std::domain_error("limitDenominator needs a bound of at least 1, got " + std::to_string(bound));
    }
    if (denominator_ <= bound) {
        return *this;
    }
    // Approximating the magnitude keeps the sign and makes the result symmetric around zero.
    const bool negative = numerator_ < 0;
    const auto candidates = detail::approximationCandidates(detail::magnitude(numerator_),
                                                            detail::magnitude(denominator_), bound);
    const Rational a(detail::withSign(candidates.numeratorA, negative),
                     static_cast<std::int64_t>(candidates.denominatorA));
    const Rational b(detail::withSign(candidates.numeratorB, negative),
                     static_cast<std::int64_t>(candidates.denominatorB));
    const double value = doubleValue();
    return std::abs(value - a.doubleValue()) <= std::abs(value - b.doubleValue()) ? a : b;
}

std::int64_t Rational::frameNumber(Rational frameDuration) const {
    return int64FromWholeDouble(std::floor(framesIn(*this, frameDuration)));
}

Rational Rational::snappedToFrameGrid(Rational frameDuration) const {
    return frames(std::round(framesIn(*this, frameDuration)), frameDuration);
}

Rational Rational::snappedToFrameGridFloor(Rational frameDuration) const {
    return frames(std::floor(framesIn(*this, frameDuration)), frameDuration);
}

Rational Rational::snappedToFrameGridCeiling(Rational frameDuration) const {
    return frames(std::ceil(framesIn(*this, frameDuration)), frameDuration);
}

Rational Rational::bounded(Rational a, Rational b, detail::ExactOperation exact, double approximate) {
    for (const std::int64_t bound : {kOperandBound, kSecondChanceBound}) {
        if (const auto result =
                exact(a.limitDenominator(bound).fields(), b.limitDenominator(bound).fields())) {
            return Rational(*result).limitDenominator(kOperandBound);
        }
    }
    const double gridSteps = std::trunc(approximate * static_cast<double>(kFallbackDenominator));
    return Rational(int64FromWholeDouble(gridSteps), kFallbackDenominator);
}

Rational operator+(Rational a, Rational b) {
    return Rational::bounded(a, b, detail::exactSum, a.doubleValue() + b.doubleValue());
}

Rational operator-(Rational a, Rational b) {
    return Rational::bounded(a, b, detail::exactDifference, a.doubleValue() - b.doubleValue());
}

Rational operator*(Rational a, Rational b) {
    return Rational::bounded(a, b, detail::exactProduct, a.doubleValue() * b.doubleValue());
}

Rational operator/(Rational a, Rational b) {
    if (b.isZero()) {
        throw std::domain_error("division of " + a.description() + " by zero");
    }
    return Rational::bounded(a, b, detail::exactQuotient, a.doubleValue() / b.doubleValue());
}

Rational operator-(Rational a) {
    if (a.numerator_ == std::numeric_limits<std::int64_t>::min()) {
        throw std::overflow_error("negation of " + a.description() + " does not fit into 64 bits");
    }
    return Rational(detail::Reduced{-a.numerator_, a.denominator_});
}

std::weak_ordering operator<=>(Rational a, Rational b) noexcept {
    std::int64_t left = 0;
    std::int64_t right = 0;
    if (!__builtin_mul_overflow(a.numerator_, b.denominator_, &left) &&
        !__builtin_mul_overflow(b.numerator_, a.denominator_, &right)) {
        return left <=> right;
    }
    const double x = a.doubleValue();
    const double y = b.doubleValue();
    return x < y   ? std::weak_ordering::less
           : x > y ? std::weak_ordering::greater
                   : std::weak_ordering::equivalent;
}

std::ostream& operator<<(std::ostream& out, Rational value) {
    return out << value.description();
}

}  // namespace tidyreel

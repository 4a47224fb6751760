#include "time/fraction.h"

#include <limits>
#include <ostream>
#include <stdexcept>

namespace tidyreel {

namespace {

// 128-bit integers hold every product of two int64 values exactly.
__extension__ typedef __int128 Int128;
__extension__ typedef unsigned __int128 UInt128;

// |n·q − p·d|: the distance of p/q from n/d, scaled by d·q.
UInt128 scaledDistance(std::uint64_t n, std::uint64_t d, std::uint64_t p, std::uint64_t q) noexcept {
    const UInt128 nq = static_cast<UInt128>(n) * q;
    const UInt128 pd = static_cast<UInt128>(p) * d;
    return nq > pd ? nq - pd : pd - nq;
}

}  // namespace

std::optional<Fraction> Fraction::fromFCPXML(std::string_view text) noexcept {
    text = detail::trimmedSpacesAndTabs(text);
    if (text.ends_with('s')) {
        text.remove_suffix(1);
    }
    const auto slash = text.find('/');
    if (slash == std::string_view::npos) {
        const auto whole = detail::parseInt64(text);
        return whole ? std::optional<Fraction>(*whole) : std::nullopt;
    }
    // Everything after the first slash is the denominator, so "1//2" fails to parse.
    const auto numerator = detail::parseInt64(text.substr(0, slash));
    const auto denominator = detail::parseInt64(text.substr(slash + 1));
    if (!numerator || !denominator) {
        return std::nullopt;
    }
    const auto value = detail::reduced(*numerator, *denominator);
    return value ? std::optional<Fraction>(Fraction(*value)) : std::nullopt;
}

std::string Fraction::fcpxmlString(std::int64_t maxDenominator) const {
    return detail::fractionText(limitDenominator(maxDenominator).fields()) + "s";
}

std::string Fraction::description() const {
    return fcpxmlString();
}

Fraction Fraction::limitDenominator(std::int64_t maxDenominator) const {
    if (maxDenominator < 1) {
        throw std::domain_error("limitDenominator needs a bound of at least 1, got " +
                                std::to_string(maxDenominator));
    }
    if (denominator_ <= maxDenominator) {
        return *this;
    }
    const std::uint64_t n = detail::magnitude(numerator_);
    const std::uint64_t d = detail::magnitude(denominator_);
    const auto c = detail::approximationCandidates(n, d, maxDenominator);
    // The candidates' scaled distances are below d, so the cross-multiplied comparison fits into 128 bits.
    const bool aIsCloser = scaledDistance(n, d, c.numeratorA, c.denominatorA) * c.denominatorB <
                           scaledDistance(n, d, c.numeratorB, c.denominatorB) * c.denominatorA;
    const bool negative = numerator_ < 0;
    return aIsCloser
               ? Fraction(detail::withSign(c.numeratorA, negative), static_cast<std::int64_t>(c.denominatorA))
               : Fraction(detail::withSign(c.numeratorB, negative),
                          static_cast<std::int64_t>(c.denominatorB));
}

Fraction Fraction::absFrac() const {
    return numerator_ < 0 ? -*this : *this;
}

Fraction Fraction::exactly(Fraction a, Fraction b, detail::ExactOperation exact, char symbol) {
    if (const auto result = exact(a.fields(), b.fields())) {
        return Fraction(*result);
    }
    throw std::overflow_error("fraction arithmetic overflows 64 bits: " + detail::fractionText(a.fields()) +
                              " " + symbol + " " + detail::fractionText(b.fields()));
}

Fraction operator+(Fraction a, Fraction b) {
    return Fraction::exactly(a, b, detail::exactSum, '+');
}

Fraction operator-(Fraction a, Fraction b) {
    return Fraction::exactly(a, b, detail::exactDifference, '-');
}

Fraction operator*(Fraction a, Fraction b) {
    return Fraction::exactly(a, b, detail::exactProduct, '*');
}

Fraction operator/(Fraction a, Fraction b) {
    if (b.numerator_ == 0) {
        throw std::domain_error("division of " + detail::fractionText(a.fields()) + " by zero");
    }
    return Fraction::exactly(a, b, detail::exactQuotient, '/');
}

Fraction operator-(Fraction a) {
    if (a.numerator_ == std::numeric_limits<std::int64_t>::min()) {
        throw std::overflow_error("negation of " + detail::fractionText(a.fields()) +
                                  " does not fit into 64 bits");
    }
    return Fraction(detail::Reduced{-a.numerator_, a.denominator_});
}

std::strong_ordering operator<=>(Fraction a, Fraction b) noexcept {
    return static_cast<Int128>(a.numerator_) * b.denominator_ <=>
           static_cast<Int128>(b.numerator_) * a.denominator_;
}

std::ostream& operator<<(std::ostream& out, Fraction value) {
    return out << value.description();
}

}  // namespace tidyreel

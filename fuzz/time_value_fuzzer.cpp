// Time values as FCPXML writes them ("1001/30000s", "5s"): parsing any text, printing and arithmetic.
#include "time/fraction.h"
#include "time/rational.h"

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <string_view>

namespace {

// Results beyond 64 bits are an overflow_error by design (a value of more than 292 billion years);
// anything else must simply work.
void combine(tidyreel::Rational a, tidyreel::Rational b) {
    try {
        (void)(a + b);
        (void)(a - b);
        (void)(a * b);
        if (b != tidyreel::Rational::zero()) {
            (void)(a / b);
        }
        (void)(a < b);
        if (b > tidyreel::Rational::zero()) {
            (void)a.frameNumber(b);
            (void)a.snappedToFrameGrid(b);
            (void)a.snappedToFrameGridFloor(b);
            (void)a.snappedToFrameGridCeiling(b);
        }
    } catch (const std::overflow_error&) {
    }
}

// Printing rounds onto a grid of 1/720000 s (by design), so a printed value need not be the parsed one;
// but it must read back, and print the same once more. The rounding goes through a double, which holds
// the grid exactly only up to about 6 billion seconds; beyond a billion (31 years) is not checked.
void requireStablePrinting(tidyreel::Rational value) {
    if (std::abs(value.doubleValue()) > 1e9) {
        return;
    }
    std::string printed;
    try {
        printed = value.toFCPXML();
    } catch (const std::overflow_error&) {
        return;
    }
    const auto again = tidyreel::Rational::fromFCPXML(printed);
    if (!again || again->toFCPXML() != printed) {
        std::abort();
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const std::size_t middle = text.find(' ');
    const std::string_view first = text.substr(0, middle);
    const std::string_view second = middle == std::string_view::npos ? text : text.substr(middle + 1);
    if (const auto a = tidyreel::Rational::fromFCPXML(first)) {
        requireStablePrinting(*a);
        if (const auto b = tidyreel::Rational::fromFCPXML(second)) {
            combine(*a, *b);
        }
    }
    if (const auto fraction = tidyreel::Fraction::fromFCPXML(first)) {
        (void)fraction->doubleValue();
    }
    return 0;
}

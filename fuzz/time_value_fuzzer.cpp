// Time values as FCPXML writes them ("1001/30000s", "5s"): parsing any text, printing and arithmetic.
#include "time/fraction.h"
#include "time/rational.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <stdexcept>
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

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const std::size_t middle = text.find(' ');
    const std::string_view first = text.substr(0, middle);
    const std::string_view second = middle == std::string_view::npos ? text : text.substr(middle + 1);
    if (const auto a = tidyreel::Rational::fromFCPXML(first)) {
        // What is printed must read back as the same value.
        if (tidyreel::Rational::fromFCPXML(a->toFCPXML()) != *a) {
            std::abort();
        }
        if (const auto b = tidyreel::Rational::fromFCPXML(second)) {
            combine(*a, *b);
        }
    }
    if (const auto fraction = tidyreel::Fraction::fromFCPXML(first)) {
        (void)fraction->doubleValue();
    }
    return 0;
}

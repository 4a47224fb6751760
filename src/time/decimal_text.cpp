#include "time/decimal_text.h"

#include <array>
#include <charconv>
#include <cmath>

namespace tidyreel {

std::string shortestDecimal(double value) {
    std::array<char, 32> buffer{};
    const auto result = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value);
    std::string text(buffer.data(), result.ptr);
    if (std::isfinite(value) && text.find_first_of(".e") == std::string::npos) {
        text += ".0";
    }
    return text;
}

}  // namespace tidyreel

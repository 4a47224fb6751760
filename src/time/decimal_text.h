#pragma once

#include <string>

namespace tidyreel {

/// The shortest decimal text that reads back as the same double, with ".0" added when it would have
/// no point or exponent (5.0, 7.5, 0.1); independent of the process locale.
std::string shortestDecimal(double value);

}  // namespace tidyreel

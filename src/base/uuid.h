#pragma once

#include <string>

namespace tidyreel {

/// A new random (version 4) UUID in its standard upper-case text form, e.g. "1A2B3C4D-…".
std::string newUuid();

}  // namespace tidyreel

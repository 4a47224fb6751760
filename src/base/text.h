#pragma once

#include <string>
#include <string_view>

namespace tidyreel {

/// The text without white space and line breaks at either end (Unicode spaces and separators
/// included, so a non-breaking space typed in a title or description does not survive either).
std::string trimmedWhitespace(std::string_view text);

/// The text with ASCII letters in lower case; other bytes unchanged, whatever the process locale.
std::string lowercased(std::string text);

}  // namespace tidyreel

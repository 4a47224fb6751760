#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace tidyreel {

/// Whether the bytes are valid UTF-8 (no overlong forms, surrogates or code points beyond U+10FFFF).
bool isValidUTF8(std::string_view bytes);

/// The first `count` user-perceived characters of UTF-8 text, never splitting a character; a byte
/// that starts no valid character counts as one character, so that any text can be cut.
std::string prefixCharacters(std::string_view text, std::size_t count);

}  // namespace tidyreel

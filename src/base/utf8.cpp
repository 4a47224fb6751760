#include "base/utf8.h"

#include <optional>
#include <utility>

namespace tidyreel {
namespace {

// The code point whose valid encoding starts at `position`, with the length of that encoding; none
// for a malformed, overlong or surrogate sequence or one beyond U+10FFFF.
std::optional<std::pair<char32_t, std::size_t>> decodeCodePoint(std::string_view text, std::size_t position) {
    const auto lead = static_cast<unsigned char>(text[position]);
    const std::size_t length = lead < 0x80   ? 1
                               : lead < 0xC2 ? 0
                               : lead < 0xE0 ? 2
                               : lead < 0xF0 ? 3
                               : lead < 0xF5 ? 4
                                             : 0;
    if (length == 0 || position + length > text.size()) {
        return std::nullopt;
    }
    char32_t codePoint = length == 1 ? lead : lead & (0x7F >> length);
    for (std::size_t i = 1; i < length; ++i) {
        const auto continuation = static_cast<unsigned char>(text[position + i]);
        if ((continuation >> 6) != 0x2) {
            return std::nullopt;
        }
        codePoint = (codePoint << 6) | (continuation & 0x3F);
    }
    const auto second = length > 1 ? static_cast<unsigned char>(text[position + 1]) : 0x80;
    if ((lead == 0xE0 && second < 0xA0) || (lead == 0xED && second > 0x9F) ||
        (lead == 0xF0 && second < 0x90) || (lead == 0xF4 && second > 0x8F)) {
        return std::nullopt;
    }
    return std::pair{codePoint, length};
}

// Code points that belong to the character before them: combining marks, variation selectors,
// emoji skin tones and the zero-width joiner.
bool extendsPreviousCharacter(char32_t c) {
    return (c >= 0x0300 && c <= 0x036F) || (c >= 0x1AB0 && c <= 0x1AFF) || (c >= 0x1DC0 && c <= 0x1DFF) ||
           (c >= 0x20D0 && c <= 0x20FF) || (c >= 0xFE00 && c <= 0xFE0F) || (c >= 0xFE20 && c <= 0xFE2F) ||
           (c >= 0x1F3FB && c <= 0x1F3FF) || (c >= 0xE0020 && c <= 0xE007F) || c == 0x200D;
}

bool isRegionalIndicator(char32_t c) {
    return c >= 0x1F1E6 && c <= 0x1F1FF;
}

}  // namespace

bool isValidUTF8(std::string_view bytes) {
    for (std::size_t position = 0; position < bytes.size();) {
        const auto decoded = decodeCodePoint(bytes, position);
        if (!decoded) {
            return false;
        }
        position += decoded->second;
    }
    return true;
}

std::string prefixCharacters(std::string_view text, std::size_t count) {
    std::size_t position = 0;
    std::size_t characters = 0;
    bool joinNext = false;
    bool pendingRegionalPair = false;
    while (position < text.size()) {
        const auto [codePoint, length] =
            decodeCodePoint(text, position)
                .value_or(std::pair{char32_t(text[position] & 0xFF), std::size_t{1}});
        const bool continuesCharacter =
            characters > 0 && (extendsPreviousCharacter(codePoint) || joinNext ||
                               (pendingRegionalPair && isRegionalIndicator(codePoint)));
        if (!continuesCharacter) {
            if (characters == count) {
                break;
            }
            ++characters;
            pendingRegionalPair = isRegionalIndicator(codePoint);
        } else if (isRegionalIndicator(codePoint)) {
            pendingRegionalPair = false;
        }
        joinNext = codePoint == 0x200D;
        position += length;
    }
    return std::string(text.substr(0, position));
}

}  // namespace tidyreel

#include "base/text.h"

#include <algorithm>
#include <array>

namespace tidyreel {
namespace {

// UTF-8 encodings of the white space and line break characters. UTF-8 is self-synchronising, so
// finding one of these whole sequences at an end of valid text never cuts into another character.
constexpr std::array<std::string_view, 25> whitespaceEncodings = {" ",
                                                                  "\t",
                                                                  "\n",
                                                                  "\v",
                                                                  "\f",
                                                                  "\r",
                                                                  "\xC2\x85",
                                                                  "\xC2\xA0",
                                                                  "\xE1\x9A\x80",
                                                                  "\xE2\x80\x80",
                                                                  "\xE2\x80\x81",
                                                                  "\xE2\x80\x82",
                                                                  "\xE2\x80\x83",
                                                                  "\xE2\x80\x84",
                                                                  "\xE2\x80\x85",
                                                                  "\xE2\x80\x86",
                                                                  "\xE2\x80\x87",
                                                                  "\xE2\x80\x88",
                                                                  "\xE2\x80\x89",
                                                                  "\xE2\x80\x8A",
                                                                  "\xE2\x80\xA8",
                                                                  "\xE2\x80\xA9",
                                                                  "\xE2\x80\xAF",
                                                                  "\xE2\x81\x9F",
                                                                  "\xE3\x80\x80"};

std::size_t leadingWhitespaceLength(std::string_view text) {
    for (std::string_view space : whitespaceEncodings) {
        if (text.starts_with(space)) {
            return space.size();
        }
    }
    return 0;
}

std::size_t trailingWhitespaceLength(std::string_view text) {
    for (std::string_view space : whitespaceEncodings) {
        if (text.ends_with(space)) {
            return space.size();
        }
    }
    return 0;
}

}  // namespace

std::string trimmedWhitespace(std::string_view text) {
    while (const std::size_t length = leadingWhitespaceLength(text)) {
        text.remove_prefix(length);
    }
    while (const std::size_t length = trailingWhitespaceLength(text)) {
        text.remove_suffix(length);
    }
    return std::string(text);
}

std::string lowercased(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
    return text;
}

}  // namespace tidyreel

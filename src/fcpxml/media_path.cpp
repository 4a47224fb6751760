#include "fcpxml/media_path.h"

#include <cstdlib>
#include <filesystem>
#include <optional>
#include <utility>

namespace tidyreel::MediaPath {

namespace {

constexpr std::string_view kFileScheme = "file://";
// A file URL may name the local host: "file://localhost/a" means "/a"; some writers put it in the path
// ("file:///localhost/a").
constexpr std::string_view kLocalhostPrefix = "/localhost/";
constexpr std::string_view kLocalhostAuthority = "localhost/";

std::optional<int> hexDigitValue(char c) noexcept {
    if (c >= '0' && c <= '9') {
        return c - '0';
    }
    if (c >= 'A' && c <= 'F') {
        return c - 'A' + 10;
    }
    if (c >= 'a' && c <= 'f') {
        return c - 'a' + 10;
    }
    return std::nullopt;
}

// Bytes of the text with every %XX replaced; no value when a % is not followed by two hex digits.
std::optional<std::string> percentDecoded(std::string_view text) {
    std::string decoded;
    decoded.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '%') {
            decoded += text[i];
            continue;
        }
        if (i + 2 >= text.size()) {
            return std::nullopt;
        }
        const auto high = hexDigitValue(text[i + 1]);
        const auto low = hexDigitValue(text[i + 2]);
        if (!high || !low) {
            return std::nullopt;
        }
        decoded += static_cast<char>(*high * 16 + *low);
        i += 2;
    }
    return decoded;
}

// Characters a URL path keeps as they are: the unreserved ones and the sub-delimiters, ":", "@" and "/".
bool isAllowedInURLPath(unsigned char c) noexcept {
    if ((c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9')) {
        return true;
    }
    return std::string_view("-._~!$&'()*+,;=:@/").find(static_cast<char>(c)) != std::string_view::npos;
}

// Every byte outside the URL path set as %XX with upper-case hex digits; UTF-8 text is encoded byte by byte.
std::string percentEncoded(std::string_view text) {
    constexpr std::string_view kHexDigits = "0123456789ABCDEF";
    std::string encoded;
    encoded.reserve(text.size());
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (isAllowedInURLPath(byte)) {
            encoded += c;
        } else {
            encoded += '%';
            encoded += kHexDigits[byte >> 4];
            encoded += kHexDigits[byte & 0x0F];
        }
    }
    return encoded;
}

// "~" or "~/…" with the home folder from $HOME; other paths, and any path when $HOME is unset, unchanged.
std::string withHomeExpanded(std::string_view path) {
    const char* home = std::getenv("HOME");
    const bool namesHome = path == "~" || path.starts_with("~/");
    if (!namesHome || home == nullptr || *home == '\0') {
        return std::string(path);
    }
    return std::string(home) + std::string(path.substr(1));
}

}  // namespace

std::string path(std::string_view fromURL) {
    std::string_view text = fromURL;
    if (text.starts_with(kFileScheme)) {
        text.remove_prefix(kFileScheme.size());
        if (text.starts_with(kLocalhostAuthority)) {
            text.remove_prefix(kLocalhostAuthority.size() - 1);
        }
    }
    if (text.starts_with(kLocalhostPrefix)) {
        text.remove_prefix(kLocalhostPrefix.size() - 1);
    }
    if (auto decoded = percentDecoded(text)) {
        return std::move(*decoded);
    }
    return std::string(text);
}

std::string url(std::string_view fromPath) {
    std::string absolute = withHomeExpanded(fromPath);
    if (!absolute.starts_with('/')) {
        absolute = (std::filesystem::current_path() / absolute).string();
    }
    return std::string(kFileScheme) + percentEncoded(absolute);
}

std::string relativeURL(std::string_view relativePath) {
    return percentEncoded(relativePath);
}

bool isRelative(std::string_view src) {
    return !src.empty() && !src.starts_with('/') && src.find(':') == std::string_view::npos;
}

}  // namespace tidyreel::MediaPath

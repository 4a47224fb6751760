#include "fcpxml/project_document.h"

#include "base/error.h"
#include "base/language.h"

#include <fmt/format.h>

#include <charconv>

namespace tidyreel {
namespace {

struct Version {
    int major = 0;
    int minor = 0;
};

// "1.11" → 1, 11; anything else (text, a missing minor, trailing characters) gives no value.
std::optional<Version> parsedVersion(std::string_view text) {
    Version version;
    const char* end = text.data() + text.size();
    auto parsed = std::from_chars(text.data(), end, version.major);
    if (parsed.ec != std::errc{} || parsed.ptr == end || *parsed.ptr != '.') {
        return std::nullopt;
    }
    parsed = std::from_chars(parsed.ptr + 1, end, version.minor);
    if (parsed.ec != std::errc{} || parsed.ptr != end) {
        return std::nullopt;
    }
    return version;
}

}  // namespace

void requireProjectDocument(const XmlDocument& document) {
    const XmlElement root = document.root();
    const std::optional<std::string> version = root ? root.attribute("version") : std::nullopt;
    if (!root || root.name() != "fcpxml" || !version) {
        throw Error(FcpxmlError::domain, FcpxmlError::notFcpxml,
                    localized("Keine FCPXML-Datei (Wurzelelement <fcpxml version=\"…\"> fehlt)",
                              "Not an FCPXML file (no root element <fcpxml version=\"…\">)"));
    }
    const std::optional<Version> parsed = parsedVersion(*version);
    if (!parsed || parsed->major != 1 || parsed->minor < kFirstReadableMinorVersion) {
        throw Error(
            FcpxmlError::domain, FcpxmlError::unsupportedVersion,
            fmt::format(
                "{} {} {} 1.{} {} 1.{})", localized("FCPXML-Version", "FCPXML version"), *version,
                localized("wird nicht unterstützt (Tidyreel liest", "is not supported (Tidyreel reads"),
                kFirstReadableMinorVersion, localized("bis", "to"), kNewestTestedMinorVersion));
    }
}

std::shared_ptr<XmlDocument> parseProjectDocument(std::string_view bytes) {
    std::shared_ptr<XmlDocument> document = XmlDocument::parse(bytes);
    requireProjectDocument(*document);
    return document;
}

std::shared_ptr<XmlDocument> loadProjectDocument(const std::filesystem::path& file) {
    return parseProjectDocument(readFileBytes(file));
}

}  // namespace tidyreel

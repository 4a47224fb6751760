#include "description/description_title_texts.h"

#include "base/text.h"
#include "description/description_log.h"
#include "fcpxml/xml.h"

#include <optional>
#include <string_view>

namespace tidyreel {
namespace {

constexpr std::size_t titlePreviewLength = 100;

// An XPath 1.0 string literal for `text`; XPath has no escapes, so the quote must be one the text
// does not contain. No value when it contains both kinds: no attribute query can match it then.
std::optional<std::string> xpathLiteral(const std::string& text) {
    if (text.find('\'') == std::string::npos) {
        return "'" + text + "'";
    }
    if (text.find('"') == std::string::npos) {
        return "\"" + text + "\"";
    }
    return std::nullopt;
}

// The resource id of the title template effect named `templateName`, or no value.
std::optional<std::string> templateEffectId(const XmlDocument& document, std::string_view templateName) {
    const XmlElement effect = document.first("//resources/effect[@name='" + std::string(templateName) + "']");
    return effect ? effect.attribute("id") : std::nullopt;
}

// The runs of a title's first `text` element, one per line.
std::string titleText(XmlElement title) {
    const XmlElement text = title.firstChild("text");
    if (!text) {
        return {};
    }
    std::string joined;
    bool first = true;
    for (const XmlElement run : text.children()) {
        if (run.name() != "text-style") {
            continue;
        }
        joined += (first ? "" : "\n") + run.textContent();
        first = false;
    }
    return trimmedWhitespace(joined);
}

std::string descriptionTitleText(const XmlDocument& document, std::string_view templateName) {
    const std::optional<std::string> effectId = templateEffectId(document, templateName);
    const std::optional<std::string> literal = effectId ? xpathLiteral(*effectId) : std::nullopt;
    if (!literal) {
        return {};
    }
    const XmlElement title = document.first("//title[@ref=" + *literal + "]");
    return title ? titleText(title) : std::string();
}

}  // namespace

DescriptionTitleTexts readDescriptionTitleTexts(const XmlDocument& document) {
    return {descriptionTitleText(document, "QUILLT1"), descriptionTitleText(document, "QUILLT2")};
}

std::vector<std::string> titleTextDebugLines(const DescriptionTitleTexts& texts) {
    std::vector<std::string> lines;
    if (!texts.first.empty()) {
        lines.push_back(debugPreviewLine("QUILLT1", texts.first, titlePreviewLength));
    }
    if (!texts.second.empty()) {
        lines.push_back(debugPreviewLine("QUILLT2", texts.second, titlePreviewLength));
    }
    return lines;
}

}  // namespace tidyreel

#include "pipeline/export_context.h"

#include "base/error.h"
#include "base/raw_value_table.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdint>

namespace tidyreel {
namespace {

constexpr RawValueTable<ExportActionType, 3> actionRawValues{{"colorgrading", "youtube", "archive"}};

std::string lowercased(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return text;
}

// Decodes the code point starting at `position` and returns it with the length of its encoding;
// malformed bytes count as one-byte characters so that any text can be cut.
std::pair<char32_t, std::size_t> decodeCodePoint(std::string_view text, std::size_t position) {
    const auto lead = static_cast<unsigned char>(text[position]);
    const std::size_t length = lead < 0x80           ? 1
                               : (lead >> 5) == 0x6  ? 2
                               : (lead >> 4) == 0xE  ? 3
                               : (lead >> 3) == 0x1E ? 4
                                                     : 1;
    if (position + length > text.size()) {
        return {lead, 1};
    }
    char32_t codePoint = length == 1 ? lead : lead & (0x7F >> length);
    for (std::size_t i = 1; i < length; ++i) {
        const auto continuation = static_cast<unsigned char>(text[position + i]);
        if ((continuation >> 6) != 0x2) {
            return {lead, 1};
        }
        codePoint = (codePoint << 6) | (continuation & 0x3F);
    }
    return {codePoint, length};
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

std::string_view rawValue(ExportActionType type) {
    return actionRawValues.rawValue(type);
}

std::optional<ExportActionType> exportActionTypeFromRaw(std::string_view raw) {
    return actionRawValues.fromRaw(raw);
}

void ExportContext::log(LogEntryType type, const std::string& message) const {
    if (logger) {
        logger(type, message);
    }
}

void ExportContext::reportProgress(int current, int total, const std::string& taskName) const {
    if (progressUpdater) {
        progressUpdater(current, total, taskName);
    }
}

void ExportContext::throwIfCancelled() const {
    if (stopToken.stop_requested()) {
        throw RunCancelled();
    }
}

std::string ExportContext::outputFileName(TimePoint now) const {
    const std::string base = prefixCharacters(fileNameBase(originalFileName), 15);
    const std::string stamp = formatLocalTime(now, "%y%m%d_%H%M");
    switch (actionType) {
        case ExportActionType::colorGrading:
            return stamp + "_cologr_" + base + "." + fileNameExtension(originalFileName);
        case ExportActionType::youtube:
            return "youtube_" + base + ".txt";
        case ExportActionType::archiving:
            return stamp + "_archiv_" + base + "." + fileNameExtension(originalFileName);
    }
    return base;
}

std::filesystem::path ExportContext::fcpxmlOutputURL(TimePoint now) const {
    const std::filesystem::path output = outputDirectory / outputFileName(now);
    if (lowercased(fileNameExtension(originalFileName)) == "fcpxmld") {
        return output / "Info.fcpxml";
    }
    return output;
}

std::string fileNameBase(const std::string& fileName) {
    const std::size_t dot = fileName.rfind('.');
    return dot == std::string::npos || dot == 0 ? fileName : fileName.substr(0, dot);
}

std::string fileNameExtension(const std::string& fileName) {
    const std::size_t dot = fileName.rfind('.');
    return dot == std::string::npos || dot == 0 ? std::string() : fileName.substr(dot + 1);
}

std::string prefixCharacters(std::string_view text, std::size_t count) {
    std::size_t position = 0;
    std::size_t characters = 0;
    bool joinNext = false;
    bool pendingRegionalPair = false;
    while (position < text.size()) {
        const auto [codePoint, length] = decodeCodePoint(text, position);
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

#include "description/chapter_marker_reader.h"

#include "base/error.h"
#include "base/error_codes.h"
#include "base/language.h"
#include "fcpxml/xml.h"

#include <fmt/format.h>

#include <algorithm>
#include <optional>
#include <stdexcept>

namespace tidyreel {
namespace {

// A spine that is a sequence's own storyline; secondary storylines are spines inside clips.
bool isMainSpine(XmlElement element) {
    const XmlElement parent = element.parent();
    return element.name() == "spine" && parent && parent.name() == "sequence";
}

// The marker's parent and each next parent up to and including the first main spine; a marker
// outside any sequence gets the chain up to the root element.
std::vector<XmlElement> ancestorChain(XmlElement marker) {
    std::vector<XmlElement> chain;
    for (XmlElement element = marker.parent(); element; element = element.parent()) {
        chain.push_back(element);
        if (isMainSpine(element)) {
            break;
        }
    }
    return chain;
}

std::optional<Fraction> fractionAttribute(XmlElement element, const char* name) {
    const std::optional<std::string> text = element.attribute(name);
    return text ? Fraction::fromFCPXML(*text) : std::nullopt;
}

Fraction fractionOrZero(XmlElement element, const char* name) {
    return fractionAttribute(element, name).value_or(Fraction::zero());
}

// Whether a marker at `start` lies in the used range of the clip carrying it; without a usable
// range the clip cannot be checked and the marker counts as inside.
bool liesInUsedRange(XmlElement clip, Fraction start) {
    const std::optional<Fraction> clipStart = fractionAttribute(clip, "start");
    const std::optional<Fraction> duration = fractionAttribute(clip, "duration");
    if (!clipStart || !duration) {
        return true;
    }
    return *clipStart <= start && start < *clipStart + *duration;
}

// A timeline that begins at a timecode such as 01:00:00:00 counts its spine positions from that
// timecode, while a video platform counts from the first frame.
Fraction timelineStart(XmlElement lastOfChain) {
    return isMainSpine(lastOfChain) ? fractionOrZero(lastOfChain.parent(), "tcStart") : Fraction::zero();
}

// Every enclosing element maps its own time to its parent's: subtract where its content starts,
// add where it sits. The main spine itself is the reference and adds nothing.
std::optional<Fraction> positionFromStart(XmlElement marker, Fraction start) {
    const std::vector<XmlElement> chain = ancestorChain(marker);
    if (chain.empty()) {
        return std::nullopt;
    }
    Fraction position = start;
    if (chain.size() >= 2 && chain.back().name() == "spine") {
        if (!liesInUsedRange(chain.front(), start)) {
            return std::nullopt;
        }
        for (std::size_t i = 0; i + 1 < chain.size(); ++i) {
            position = position - fractionOrZero(chain[i], "start") + fractionOrZero(chain[i], "offset");
        }
    }
    return position - timelineStart(chain.back());
}

// The marker's timeline position, or no value when it yields no chapter.
std::optional<Fraction> markerPosition(XmlElement marker) {
    if (const std::optional<std::string> ownOffset = marker.attribute("offset")) {
        return Fraction::fromFCPXML(*ownOffset);
    }
    const std::optional<Fraction> start = fractionAttribute(marker, "start");
    if (!start) {
        return std::nullopt;
    }
    return positionFromStart(marker, *start);
}

Error unrepresentablePosition(const std::string& name, const std::exception& reason) {
    return Error(ChapterMarkerError::domain, ChapterMarkerError::unrepresentablePosition,
                 fmt::format("{} '{}': {} ({})", localized("Kapitelmarker", "Chapter marker"), name,
                             localized("Position lässt sich nicht exakt berechnen",
                                       "position cannot be computed exactly"),
                             reason.what()));
}

}  // namespace

std::vector<ChapterMarker> readChapterMarkers(const XmlDocument& document) {
    std::vector<ChapterMarker> markers;
    for (const XmlElement marker : document.xpath("//chapter-marker")) {
        std::optional<std::string> name = marker.attribute("value");
        if (!name) {
            continue;
        }
        try {
            if (const std::optional<Fraction> position = markerPosition(marker)) {
                markers.push_back(ChapterMarker{std::move(*name), *position});
            }
        } catch (const std::overflow_error& error) {
            throw unrepresentablePosition(*name, error);
        }
    }
    std::stable_sort(markers.begin(), markers.end(),
                     [](const ChapterMarker& a, const ChapterMarker& b) { return a.offset < b.offset; });
    return markers;
}

std::int64_t chapterSeconds(Fraction position) {
    // Integer division truncates toward zero, exactly and for every value a fraction can hold.
    return position.numerator() / position.denominator();
}

std::string chapterTimestamp(Fraction position) {
    const std::int64_t seconds = chapterSeconds(position);
    const std::uint64_t magnitude =
        seconds < 0 ? 0 - static_cast<std::uint64_t>(seconds) : static_cast<std::uint64_t>(seconds);
    return fmt::format("{}{:02}:{:02}:{:02}", seconds < 0 ? "-" : "", magnitude / 3600, magnitude % 3600 / 60,
                       magnitude % 60);
}

}  // namespace tidyreel

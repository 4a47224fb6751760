#include "description/chapter_list_check.h"

#include "base/language.h"
#include "fcpxml/xml.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdint>

namespace tidyreel {
namespace {

constexpr std::size_t minimumChapterCount = 3;
constexpr std::uint64_t minimumChapterSeconds = 10;
constexpr std::size_t namedOffenderCount = 5;

std::string warning(const std::string& rule) {
    return "⚠️ " +
           localized("YouTube erkennt die Kapitel nicht: ", "YouTube will not recognise the chapters: ") +
           rule;
}

// A chapter as the file shows it, quoted, so that the editor finds it in the list.
std::string quotedChapter(const ChapterMarker& marker) {
    const std::string line = chapterTimestamp(marker.offset) + " " + marker.name;
    return localized("„" + line + "“", "\"" + line + "\"");
}

std::string quotedChapters(const std::vector<ChapterMarker>& markers) {
    std::string list;
    for (const ChapterMarker& marker : markers) {
        list += (list.empty() ? "" : ", ") + quotedChapter(marker);
    }
    return list;
}

// The first few offenders and how many more there are: a project full of subclip markers must not
// turn the warning into a line of thousands of chapters.
std::string namedExamples(const std::vector<std::string>& offenders) {
    const std::size_t shown = std::min(offenders.size(), namedOffenderCount);
    std::string list;
    for (std::size_t i = 0; i < shown; ++i) {
        list += (i == 0 ? "" : ", ") + offenders[i];
    }
    if (offenders.size() > shown) {
        const std::size_t more = offenders.size() - shown;
        list += localized(fmt::format(" und {} weitere", more), fmt::format(" and {} more", more));
    }
    return list;
}

// Whole seconds from one written timestamp to a later one; 0 when `to` is not later. Unsigned
// arithmetic gives the exact difference of any two 64-bit values in order.
std::uint64_t secondsBetween(std::int64_t from, std::int64_t to) {
    return to > from ? static_cast<std::uint64_t>(to) - static_cast<std::uint64_t>(from) : 0;
}

std::optional<std::string> firstChapterWarning(const std::vector<ChapterMarker>& markers) {
    if (chapterSeconds(markers.front().offset) == 0) {
        return std::nullopt;
    }
    const std::string chapter = quotedChapter(markers.front());
    return warning(localized("Das erste Kapitel muss bei 00:00 beginnen, " + chapter + " beginnt später",
                             "the first chapter must start at 00:00, " + chapter + " starts later"));
}

std::optional<std::string> chapterCountWarning(const std::vector<ChapterMarker>& markers) {
    if (markers.size() >= minimumChapterCount) {
        return std::nullopt;
    }
    const std::string chapters = quotedChapters(markers);
    return warning(localized(fmt::format("Es sind mindestens {} Kapitel nötig, die Liste hat nur {}: {}",
                                         minimumChapterCount, markers.size(), chapters),
                             fmt::format("at least {} chapters are needed, the list has only {}: {}",
                                         minimumChapterCount, markers.size(), chapters)));
}

// The platform sees only the written whole seconds, so chapter lengths are measured between them;
// the last chapter ends with the video, which is the same test as with its exact length.
std::optional<std::string> chapterLengthWarning(const std::vector<ChapterMarker>& markers,
                                                std::optional<Fraction> videoDuration) {
    std::vector<std::string> tooShort;
    for (std::size_t i = 0; i < markers.size(); ++i) {
        const bool isLast = i + 1 == markers.size();
        if (isLast && !videoDuration) {
            break;
        }
        const std::int64_t end = chapterSeconds(isLast ? *videoDuration : markers[i + 1].offset);
        const std::uint64_t length = secondsBetween(chapterSeconds(markers[i].offset), end);
        if (length < minimumChapterSeconds) {
            tooShort.push_back(fmt::format("{} ({} s)", quotedChapter(markers[i]), length));
        }
    }
    if (tooShort.empty()) {
        return std::nullopt;
    }
    const std::string named = namedExamples(tooShort);
    return warning(localized(fmt::format("Jedes Kapitel muss mindestens {} Sekunden dauern, zu kurz: {}",
                                         minimumChapterSeconds, named),
                             fmt::format("every chapter must last at least {} seconds, too short: {}",
                                         minimumChapterSeconds, named)));
}

}  // namespace

std::vector<std::string> chapterListWarnings(const std::vector<ChapterMarker>& markers,
                                             std::optional<Fraction> videoDuration) {
    std::vector<std::string> warnings;
    if (markers.empty()) {
        return warnings;
    }
    for (const std::optional<std::string>& broken :
         {firstChapterWarning(markers), chapterCountWarning(markers),
          chapterLengthWarning(markers, videoDuration)}) {
        if (broken) {
            warnings.push_back(*broken);
        }
    }
    return warnings;
}

std::optional<Fraction> projectTimelineDuration(const XmlDocument& document) {
    const XmlElement sequence = document.first("//project/sequence");
    const std::optional<std::string> duration = sequence ? sequence.attribute("duration") : std::nullopt;
    return duration ? Fraction::fromFCPXML(*duration) : std::nullopt;
}

}  // namespace tidyreel

#pragma once

#include "time/fraction.h"

#include <cstdint>
#include <string>
#include <vector>

namespace tidyreel {

class XmlDocument;

/// One chapter marker and where it lies on the timeline it was placed in.
struct ChapterMarker {
    std::string name;  ///< the marker's `value`, exactly as written (not trimmed)
    Fraction offset;   ///< seconds from the first frame of its timeline, exact and reduced

    bool operator==(const ChapterMarker&) const = default;
};

/// Every chapter marker of the document with its timeline position, sorted by position (equal
/// positions keep document order). Incomplete or malformed markers and markers in a trimmed-away
/// part of their clip are left out; throws `Error` only when a position does not fit exact 64-bit
/// arithmetic, rather than listing a wrong time.
std::vector<ChapterMarker> readChapterMarkers(const XmlDocument& document);

/// The whole seconds of a position, the fraction dropped (truncated toward zero), as timestamps show it.
std::int64_t chapterSeconds(Fraction position);

/// A position as hours:minutes:seconds with the fraction of a second dropped: "00:02:30",
/// "100:00:00" (hours never wrap); a negative position gets a leading "-".
std::string chapterTimestamp(Fraction position);

}  // namespace tidyreel

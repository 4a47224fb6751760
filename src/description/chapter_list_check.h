#pragma once

#include "description/chapter_marker_reader.h"

#include <optional>
#include <string>
#include <vector>

namespace tidyreel {

class XmlDocument;

/// Why a video platform would not turn a written chapter list into chapters: one warning line per
/// broken rule (first chapter at 00:00, at least three chapters, each at least ten seconds long),
/// naming the offending chapters. The last chapter runs to `videoDuration`; without one it is not
/// checked. An empty list is no chapter list and gives no warning.
std::vector<std::string> chapterListWarnings(const std::vector<ChapterMarker>& markers,
                                             std::optional<Fraction> videoDuration);

/// The length of the project's timeline: the `duration` of the first project's sequence, if stated.
std::optional<Fraction> projectTimelineDuration(const XmlDocument& document);

}  // namespace tidyreel

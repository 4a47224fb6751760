#pragma once

#include "archive/planning/archive_planning.h"

#include <map>
#include <string>

namespace tidyreel {

/// Whether a trimmed file holds the source's own pictures or newly encoded ones.
enum class CutMethod { streamCopy, reEncode };

/// Why an asset stays whole, as the plan table says it.
std::string skipReasonText(SkipReason reason);

/// What is wrong with a source file that is not available ("fehlt", "nicht lesbar").
std::string sourceStateText(SourceState state);

/// How a trimmed asset is cut, by asset id: whether its pictures are stream-copied or re-encoded.
using CutMethods = std::map<std::string, CutMethod>;

/// The dry run's table: per asset its file, the decision (with how a trimmed one is cut, when
/// `methods` names it), the used, kept and saved seconds, then the totals; one line per row, in the
/// current language. A source that is missing or unreadable is marked at its file name.
std::string formatPlanTable(const ArchivePlanning& planning, const CutMethods& methods = {});

/// "Stream-Copy" or "Re-Encode" in the current language.
std::string cutMethodText(CutMethod method);

}  // namespace tidyreel

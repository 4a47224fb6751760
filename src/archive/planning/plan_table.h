#pragma once

#include "archive/planning/archive_planning.h"
#include "archive/planning/keyframe_widening.h"
#include "time/half_open_range.h"
#include "time/rational.h"

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace tidyreel {

/// Whether a trimmed file holds the source's own pictures or newly encoded ones.
enum class CutMethod { streamCopy, reEncode };

/// Why an asset stays whole, as the plan table says it.
std::string skipReasonText(SkipReason reason);

/// What is wrong with a source file that is not available ("fehlt", "nicht lesbar").
std::string sourceStateText(SourceState state);

/// How a trimmed asset will be cut, foreseen before the run: the editor sees what a stream copy keeps
/// beyond the plan, and why an asset is re-encoded although stream copy was chosen.
struct PlannedCut {
    CutMethod method = CutMethod::reEncode;     ///< whether its pictures are copied or encoded anew
    std::vector<HalfOpenRange> ranges;          ///< stream copy: the kept ranges widened to keyframes
    WideningCost added;                         ///< stream copy: how much longer they are than the plan's
    std::optional<std::string> reencodeReason;  ///< why stream copy, though chosen, gives way to re-encoding
};

/// How each trimmed asset will be cut, by asset id.
using PlannedCuts = std::map<std::string, PlannedCut>;

/// The dry run's table: per asset its file, the decision (with how a trimmed one is cut, when `cuts`
/// names it), the used, kept and saved seconds, then the totals; one line per row, in the current
/// language, with the copied ranges or the reason for re-encoding on lines of their own below. What a
/// stream copy keeps beyond the plan counts as kept. A source that is missing or unreadable is marked at
/// its file name.
std::string formatPlanTable(const ArchivePlanning& planning, const PlannedCuts& cuts = {});

/// "Stream-Copy" or "Re-Encode" in the current language.
std::string cutMethodText(CutMethod method);

}  // namespace tidyreel

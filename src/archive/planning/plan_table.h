#pragma once

#include "archive/planning/archive_planning.h"

#include <string>

namespace tidyreel {

/// Why an asset stays whole, as the plan table says it.
std::string skipReasonText(SkipReason reason);

/// What is wrong with a source file that is not available ("fehlt", "nicht lesbar").
std::string sourceStateText(SourceState state);

/// The dry run's table: per asset its file, the decision, the used, kept and saved seconds, then the
/// totals; one line per row, in the current language. A source that is missing or unreadable is marked
/// at its file name.
std::string formatPlanTable(const ArchivePlanning& planning);

}  // namespace tidyreel

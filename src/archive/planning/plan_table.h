#pragma once

#include "archive/planning/archive_planning.h"

#include <string>

namespace tidyreel {

/// Why an asset stays whole, as the plan table says it.
std::string skipReasonText(SkipReason reason);

/// The dry run's table: per asset its file, the decision, the used, kept and saved seconds, then the
/// totals; one line per row, in the current language.
std::string formatPlanTable(const ArchivePlanning& planning);

}  // namespace tidyreel

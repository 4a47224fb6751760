#pragma once

#include "archive/planning/archive_planning.h"
#include "archive/planning/plan_table.h"
#include "pipeline/run_settings.h"

namespace tidyreel {

/// How each trimmed asset of `planning` will be cut with `settings`, foreseen without cutting anything.
/// Only the `copy` profile probes: each available source once, decided as the run decides it, so a
/// source whose codec, frame grid or keyframes rule out stream copy (or that cannot be probed) is
/// re-encoded, with the reason. Every other profile re-encodes. A source that is not available is left
/// out, as the run leaves it out.
PlannedCuts planCuts(const ArchivePlanning& planning, const RunSettings& settings);

}  // namespace tidyreel

#pragma once

#include "archive/planning/segment_planning.h"
#include "pipeline/export_context.h"

#include <map>
#include <string>
#include <vector>

namespace tidyreel {

/// The analysis and planning half of an archive run: what to trim and what to keep whole.
struct ArchivePlanning {
    bool nothingUsed = false;               ///< no included clip uses any asset
    std::map<std::string, TrimPlan> plans;  ///< the assets to trim, by id
    std::vector<AssetDecision> decisions;   ///< every asset of the project with its outcome, by id
};

/// Analyses the context's document and plans every used asset, with all log lines and progress;
/// creates and writes nothing, so it also serves as a dry run.
ArchivePlanning planArchive(const ExportContext& context);

}  // namespace tidyreel

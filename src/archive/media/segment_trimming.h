#pragma once

#include "archive/planning/plan_table.h"
#include "archive/planning/segment_planning.h"
#include "pipeline/export_context.h"
#include "time/rational.h"

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace tidyreel {

/// A trimmed media file and how much longer than planned each of its pieces came out.
struct TrimmedMedia {
    std::filesystem::path file;    ///< the new file in the bundle's `Media` folder
    std::vector<Rational> drifts;  ///< one per segment for several segments; empty for one
    std::vector<HalfOpenRange>
        segments;  ///< the media ranges the file holds: the plan's, or widened to keyframes
    CutMethod cut = CutMethod::reEncode;  ///< whether the pictures were copied or encoded anew
    bool sourcePacketsProven = false;     ///< the copy's video packets were checked against the source's
};

/// The trimmed file's name: the source's stem, "_trimmed.", its extension as written.
std::string trimmedFileName(const std::string& sourceFileName);

/// A new temporary folder "tidyreel-" + asset id + "-" + UUID for the pieces of one asset.
std::filesystem::path makeSegmentDirectory(const std::string& assetID);

/// Cuts the plan's segments into a new file in the bundle's `Media` folder and registers it; throws the
/// first failure, after removing what it had written. `progressStep`/`progressSteps` place the encode's
/// progress in the trim phase.
TrimmedMedia trimAsset(const TrimPlan& plan, ArchiveExportContext& context, int progressStep = 0,
                       int progressSteps = 1);

/// Copies the plan's source whole into the bundle after a failed trim, validates, registers and
/// repoints it; logs its own failure instead of throwing.
void fallbackCopy(const TrimPlan& plan, ArchiveExportContext& context);

/// One plan of the trim phase, step `index` of `count`: its progress report (naming the source file),
/// frame-snap lines, the trim, and the whole copy when the trim fails.
/// Returns the trimmed media, or no value when the source was copied whole (or not at all).
std::optional<TrimmedMedia> trimPlannedAsset(const TrimPlan& plan, ArchiveExportContext& context, int index,
                                             int count);

}  // namespace tidyreel

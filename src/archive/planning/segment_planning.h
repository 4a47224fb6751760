#pragma once

#include "archive/planning/clip_usage_analysis.h"
#include "archive/planning/interval_merger.h"
#include "archive/planning/speed_maps.h"
#include "fcpxml/resource_index.h"
#include "pipeline/export_context.h"

#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace tidyreel {

/// One asset to trim: which segments of its media to keep. Segment times are counted from the media's
/// timecode origin `origin` (the asset's `start`), which is the time inside the media file.
struct TrimPlan {
    std::string assetID;                  ///< the asset's id in the resources
    std::string originalPath;             ///< file path of the original media
    std::string originalSrc;              ///< the asset's `src` as read
    Rational duration;                    ///< the asset's duration
    bool hasAudio = false;                ///< the asset has audio
    std::vector<HalfOpenRange> segments;  ///< kept segments after the frame-grid snap, ascending, disjoint
    std::vector<HalfOpenRange> originalSegments;  ///< the same before the snap
    Rational origin;                              ///< the asset's `start` (timecode origin); 0 for most media
    std::optional<Rational> frameDuration;        ///< the media's frame duration, when its format states it
};

/// Seconds of trim handle and minimum length, as set and as used in the maths.
struct PlanningSettings {
    double buffer = 5.0;       ///< effective buffer (at least 5 s)
    double minSegment = 20.0;  ///< minimum segment as set
    Rational handle;           ///< whole seconds of the effective buffer, truncated
    Rational minimumLength;    ///< whole seconds of the minimum segment, truncated
};

/// The run-wide settings from the context's values; logs when the buffer is raised to its minimum.
PlanningSettings preparePlanningSettings(double buffer, double minSegment, const Logger& logger);

/// Why an asset is kept whole instead of trimmed.
enum class SkipReason {
    none,                   ///< trimmed
    notInResources,         ///< the clip's ref names no asset (or a compound clip)
    notTrimmableType,       ///< not a .mov/.mp4/.m4v file
    speedRamp,              ///< a clip retimes it non-linearly
    jlCut,                  ///< a J/L cut next to a transition
    outsideDuration,        ///< a used range lies outside the media
    unreadableTimes,        ///< a clip's times cannot be computed
    unfollowable,           ///< a use of it that the analysis cannot follow
    shorterThanMinSegment,  ///< the whole media is shorter than the minimum segment
    noSegments,             ///< nothing to keep
    noSaving,               ///< trimming would save less than one second
    notUsed,                ///< no clip of an included role uses it
};

/// Whether an asset's source file can be read, as the run would need it.
enum class SourceState {
    available,       ///< a readable file
    missing,         ///< nothing at the path (offline media)
    unreadable,      ///< a regular file that cannot be opened
    notRegularFile,  ///< a folder, device or FIFO: a tool would hang on it or never finish
};

/// The planning outcome of one asset, with the figures the plan table shows.
struct AssetDecision {
    std::string assetID;                          ///< the asset's id
    std::string path;                             ///< its media file (empty when unknown)
    SkipReason reason = SkipReason::notUsed;      ///< `none` when trimmed
    std::optional<TrimPlan> plan;                 ///< the plan when trimmed
    Rational duration;                            ///< the asset's duration (0 when unknown)
    Rational used;                                ///< length of the union of the used ranges
    Rational kept;                                ///< what the archive keeps: the segments, or all of it
    SourceState source = SourceState::available;  ///< whether its file can be read (when it has a path)
};

/// What the planning of one asset reads besides its own usage.
struct PlanningFacts {
    const PlanningSettings& settings;                           ///< buffer and minimum segment
    const std::map<std::string, TimeMapStatus>& statuses;       ///< retiming verdict by asset
    const std::map<std::string, std::set<std::string>>& roles;  ///< video roles by asset
    const std::set<std::string>& jlCutAssets;                   ///< assets with J/L cuts at transitions
    const ResourceIndex& resources;                             ///< the document's resources
};

/// Decides whether and how to trim one asset, with its planning log lines.
AssetDecision planAsset(const std::string& assetID, const AssetUsage& usage, const PlanningFacts& facts,
                        const Logger& logger);

}  // namespace tidyreel

#pragma once

#include "archive/planning/interval_merger.h"
#include "archive/planning/media_uses.h"
#include "archive/planning/speed_maps.h"
#include "fcpxml/resource_index.h"
#include "fcpxml/xml.h"
#include "pipeline/export_context.h"
#include "time/rational.h"

#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace tidyreel {

/// What the timeline uses of one asset.
struct AssetUsage {
    std::vector<HalfOpenRange>
        ranges;  ///< in the asset's own media time, in walk order; may overlap and repeat
    bool hasUnreadableTimes = false;  ///< a clip's times could not be computed: never trim this asset
    std::string unfollowable;         ///< why some use of it cannot be followed (then copied whole)

    bool operator==(const AssetUsage&) const = default;
};

/// Used ranges by asset id; every asset that passes the role filter has an entry.
using UsageMap = std::map<std::string, AssetUsage>;

/// One asset's resource facts.
struct AssetInfo {
    std::string path;         ///< file path of the media
    std::string originalSrc;  ///< the media reference `src` as written
    Rational duration;        ///< the asset's `duration`; one hour when missing or unparsable
    bool hasAudio = false;    ///< `hasAudio` is "1"
    Rational start;           ///< the asset's `start`: the media's timecode origin (0 when absent)
};

/// A role in the form the filter compares: the main part lower-cased, a sub-role kept as written.
std::string normalisedRole(const std::string& role);

/// The media one clip shows: its picture's range, and the range of picture and sound together (the same
/// without a split edit).
struct ClipMediaRange {
    HalfOpenRange video;  ///< through the clip's visible window
    HalfOpenRange used;   ///< with the split edit's audio range
};

/// The media range a clip uses, through its time map or conform rate; throws on absurd times.
ClipMediaRange clipMediaRange(const AnalysedClip& clip);

/// The ids of assets used by a clip whose main video role is included; logs each skipped clip.
std::set<std::string> collectIncludedAssetRefs(const std::vector<AnalysedClip>& clips,
                                               const std::set<std::string>& includedRoles,
                                               const Logger& logger);

/// The media ranges every timeline use of each included asset needs (through time maps and split
/// edits), with a log line per clip.
UsageMap collectUsedRanges(const std::vector<AnalysedClip>& clips, const std::set<std::string>& includedRoles,
                           const Logger& logger);

/// The retiming verdict of each asset over the kinds of all its clips.
std::map<std::string, TimeMapStatus> collectTimeMapStatuses(const std::vector<AnalysedClip>& clips);

/// The `videoRole` texts (absent or empty: "Video") of each asset's clips.
std::map<std::string, std::set<std::string>> collectRolesByAsset(const std::vector<AnalysedClip>& clips);

/// Assets with a J/L cut (a clip with `audioStart`) right next to a transition in a spine.
std::set<std::string> collectJLCutAssets(const std::vector<AnalysedClip>& clips);

/// The asset's resource facts; no value for a compound/multicam `media` (console note) or a missing asset.
std::optional<AssetInfo> lookupAssetInfo(const std::string& assetID, const ResourceIndex& resources);

/// The frame duration of the asset's format; no value when it cannot be found or is not positive.
std::optional<Rational> frameDuration(const std::string& assetID, const ResourceIndex& resources);

}  // namespace tidyreel

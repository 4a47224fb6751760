#pragma once

#include "archive/planning/interval_merger.h"
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

/// A stretch of an asset's media that a clip uses, in the asset's own media time.
using UsedRange = Segment;

/// What the timeline uses of one asset.
struct AssetUsage {
    std::vector<UsedRange> ranges;    ///< in walk order; may overlap and repeat
    bool hasUnreadableTimes = false;  ///< a clip's times could not be computed: never trim this asset

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

/// Whether the element is a timeline `asset-clip` (not a browser clip directly in an event).
bool isAnalysedClip(XmlElement element);

/// One timeline `asset-clip` with the attributes the analysis reads, each read once.
struct AnalysedClip {
    XmlElement element;                        ///< the clip
    std::string ref;                           ///< the asset it uses
    std::optional<std::string> name;           ///< `name`
    std::optional<std::string> videoRole;      ///< `videoRole`
    std::optional<std::string> start;          ///< `start`
    std::optional<std::string> duration;       ///< `duration`
    std::optional<std::string> audioStart;     ///< `audioStart`
    std::optional<std::string> audioDuration;  ///< `audioDuration`
};

/// Every analysed clip that has a `ref`, depth first in document order: the one walk of the tree that
/// all collectors below share, so each reads the clips instead of the whole document.
std::vector<AnalysedClip> collectAnalysedClips(XmlElement root);

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

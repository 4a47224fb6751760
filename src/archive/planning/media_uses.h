#pragma once

#include "archive/planning/interval_merger.h"
#include "archive/planning/speed_maps.h"
#include "fcpxml/resource_index.h"
#include "fcpxml/xml.h"
#include "time/rational.h"

#include <optional>
#include <string>
#include <vector>

namespace tidyreel {

/// One element that shows an asset's media on the timeline (`asset-clip`, or `video`/`audio` with a `ref`,
/// also inside compound clips, multicam angles, sync clips and auditions), with the attributes the
/// analysis reads, each read once.
struct AnalysedClip {
    XmlElement element;                        ///< the clip
    std::string ref;                           ///< the asset it uses
    std::optional<std::string> name;           ///< `name`
    std::optional<std::string> videoRole;      ///< `videoRole` (`role` of a `video`)
    std::optional<std::string> start;          ///< `start`
    std::optional<std::string> duration;       ///< `duration`
    std::optional<std::string> audioStart;     ///< `audioStart`
    std::optional<std::string> audioDuration;  ///< `audioDuration`
    /// The part of the clip's own window [start, start + duration) (its local time) that its container
    /// lets through: the whole window unless a `clip` around it shows less.
    HalfOpenRange visible;
    /// Media seconds per local second beyond `start` from a `conform-rate` (1 without one).
    Rational conformScale = Rational::one();
    /// Why the analysis cannot follow this use (its asset is then copied whole); empty when it can.
    std::string unfollowable;
    /// Why the clip's times cannot be computed (beyond what 64 bits hold); empty when they can.
    std::string unreadableTimes;

    /// Whether the container hides part of the clip's own window.
    bool isPartlyHidden() const;
    /// The media time shown at local time `t` (through a `timeMap` when given, else the conform scale).
    Rational mediaTime(Rational t, const TimeMap* map) const;
};

/// Every use of an asset's media in the timeline and in the compound and multicam clips it reaches, depth
/// first in document order (each element once); browser clips directly in an event do not count.
std::vector<AnalysedClip> collectAnalysedClips(const XmlDocument& document, const ResourceIndex& resources);

/// The frame rate a `conform-rate` names ("23.98" is 24000/1001); no value for an unreadable text.
std::optional<Rational> conformFrameRate(const std::string& text);

}  // namespace tidyreel

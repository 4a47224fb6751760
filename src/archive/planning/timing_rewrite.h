#pragma once

#include "archive/planning/segment_planning.h"
#include "fcpxml/xml.h"
#include "pipeline/export_context.h"

#include <filesystem>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace tidyreel {

/// One trimmed asset as the rewrite needs it: its plan, its new file and the drift of each piece.
struct TrimmedAsset {
    TrimPlan plan;                 ///< segments in original media time (since the origin)
    std::filesystem::path file;    ///< the trimmed file, probed for its real length
    std::vector<Rational> drifts;  ///< extra length per piece; missing entries count as 0
};

/// Measures a media file's length; throws `Error` when it cannot.
using DurationProbe = std::function<Rational(const std::filesystem::path&)>;

/// The time in the trimmed file of original media time `t`: shifted by the lengths and drifts of the
/// earlier segments and snapped to the frame grid; no value when `t` lies outside every segment (a time
/// on the boundary of two touching segments belongs to the earlier one).
std::optional<Rational> remap(Rational t, const std::vector<HalfOpenRange>& segments,
                              const std::vector<Rational>& drifts,
                              const std::optional<Rational>& frameDuration);

/// Rewrites the document for the trimmed assets: each asset's duration from its probed file, and the
/// `start`, `audioStart`, connected-clip offsets, chapter markers and linear time maps of every clip that
/// uses it. Walks the document once, whatever the number of assets.
void rewriteTiming(const std::map<std::string, TrimmedAsset>& trimmed, XmlDocument& document,
                   const ExportContext& context, const DurationProbe& probeDuration);

}  // namespace tidyreel

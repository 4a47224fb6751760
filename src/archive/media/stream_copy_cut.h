#pragma once

#include "archive/media/stream_copy_plan.h"
#include "archive/media/tool_runner.h"
#include "archive/planning/segment_planning.h"
#include "base/error.h"
#include "pipeline/export_context.h"

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace tidyreel {

/// Why a source cannot be cut by stream copy; its message says why, for the log line of the re-encode
/// that takes over.
class StreamCopyUnsuitable : public Error {
public:
    /// The refusal with this reason.
    explicit StreamCopyUnsuitable(const std::string& reason);
};

/// What a stream copy wrote: the source ranges the file holds back to back, in order, and how much longer
/// each came out than its range (none: the written packets are checked to lie exactly where planned).
struct StreamCopyResult {
    std::vector<HalfOpenRange> segments;  ///< the kept ranges after widening to keyframes, in media time
    std::vector<Rational> drifts;         ///< one per range
};

/// Cuts the plan's segments out of `source` by stream copy into `output`: widened to keyframes for
/// long-GOP media (exactly the planned frames for intra-frame media), in one ffmpeg run that seeks to each
/// range; then every written video packet is checked against the source's (time and bytes), each range's
/// start is decoded, and each join is played through. Throws `StreamCopyUnsuitable` (with nothing left
/// behind) when the source cannot be cut this way.
StreamCopyResult cutByStreamCopy(const TrimPlan& plan, const std::filesystem::path& source,
                                 const std::filesystem::path& output, ArchiveExportContext& context,
                                 const ToolProgress& progress);

}  // namespace tidyreel

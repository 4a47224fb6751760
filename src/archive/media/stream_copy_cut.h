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

/// What a copied piece becomes.
enum class PieceUse {
    wholeFile,    ///< the trimmed file itself: its first picture shows at zero without an edit list
    joinedLater,  ///< one of several pieces for the concat demuxer: decoding times keep the source's delay,
                  ///< the same in every piece, so that they run on across the joins
};

/// The ffmpeg arguments that copy the video packets of `ranges` (media time since the file's start,
/// ascending, disjoint) from `source` into `output`, back to back from time zero, in one run that reads
/// through the gaps between them. `halfFrame` keeps the packet choice clear of rounding. Each of the
/// source's sound streams (`audioCodecs`, in order) is cut to the same times, to the sample: PCM is written
/// again as the same PCM, anything else as AAC whose priming takes the place of its first samples (as
/// float PCM in a piece joined later, encoded once in the join).
std::vector<std::string> rangeCopyArguments(const std::filesystem::path& source,
                                            const std::filesystem::path& output,
                                            const std::vector<HalfOpenRange>& ranges, Rational halfFrame,
                                            const std::vector<std::string>& audioCodecs, PieceUse use);

/// Joins the pieces listed in "concat_list.txt" of the working folder, which `rangeCopyArguments` wrote
/// for a source with sound streams of `audioCodecs`: the video packets keep their bytes, the sound is
/// written as the file that is kept holds it.
std::vector<std::string> joinCopyArguments(const std::filesystem::path& output,
                                           const std::vector<std::string>& audioCodecs);

/// Cuts the plan's segments out of `source` by stream copy into `output`: widened to keyframes for
/// long-GOP media (exactly the planned frames for intra-frame media), in one run when the gaps between
/// the ranges are short enough to read through, else one piece per group of ranges joined by the concat
/// demuxer; then every written video packet is checked against the source's (time and bytes) and each
/// range's start is decoded. Throws `StreamCopyUnsuitable` (with nothing left behind) when the source
/// cannot be cut this way.
StreamCopyResult cutByStreamCopy(const TrimPlan& plan, const std::filesystem::path& source,
                                 const std::filesystem::path& output, ArchiveExportContext& context,
                                 const ToolProgress& progress);

}  // namespace tidyreel

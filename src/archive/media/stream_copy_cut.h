#pragma once

#include "archive/media/tool_runner.h"
#include "archive/media/video_packets.h"
#include "archive/planning/keyframe_widening.h"
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

/// What a stream copy wrote: the source ranges the file holds, in order, and how much longer each piece
/// came out than its range (measured on the written pictures).
struct StreamCopyResult {
    std::vector<HalfOpenRange> segments;  ///< the kept ranges after widening to keyframes, in media time
    std::vector<Rational> drifts;         ///< one per range
};

/// Whether and how the plan's source can be cut by stream copy, decided without cutting anything.
struct StreamCopyDecision {
    std::vector<HalfOpenRange> ranges;          ///< the kept ranges widened to closed keyframes, in order
    Rational extraSeconds;                      ///< how much longer they are than the planned segments
    std::optional<std::string> reencodeReason;  ///< why it must be re-encoded instead; then no ranges
    std::vector<VideoPacket> sourcePackets;     ///< the source's shown packets the ranges were chosen from
};

/// Decides the stream copy of the plan's source: its codec, then its packets once, from which the keyframes
/// and their closedness (leading pictures in decoding order) are read; each segment widens outward over
/// open keyframes to closed ones (the file's end at worst). Throws `ProbeError`, `RunCancelled`.
StreamCopyDecision planStreamCopy(const TrimPlan& plan, const ProbeSetup& probe);

/// Why the plan's source cannot be cut by stream copy (no frame grid, a codec whose packets a cut cannot
/// copy); no value when it can. Probes the source's codec; throws `ProbeError`.
std::optional<std::string> streamCopyObstacle(const TrimPlan& plan, const ProbeSetup& probe);

/// What a copied piece becomes.
enum class PieceUse {
    wholeFile,    ///< the trimmed file itself: its first picture shows at zero without an edit list
    joinedLater,  ///< one of several pieces for the concat demuxer: decoding times keep the source's delay,
                  ///< the same in every piece, so that they run on across the joins
};

/// The ffmpeg arguments that copy the packets of `piece` (media time since the file's start) into
/// `output`, starting at time zero. `halfFrame` keeps the packet
/// choice clear of rounding; `audioCodec` is the first audio stream's codec, cut to the same times: PCM is
/// written again as the same PCM (its samples unchanged, cut to the sample), anything else as AAC.
std::vector<std::string> pieceCopyArguments(const std::filesystem::path& source,
                                            const std::filesystem::path& output, const HalfOpenRange& piece,
                                            Rational halfFrame, const std::optional<std::string>& audioCodec,
                                            PieceUse use);

/// Joins the pieces listed in "concat_list.txt" of the working folder like `pieceCopyArguments` writes.
std::vector<std::string> joinCopyArguments(const std::filesystem::path& output);

/// Cuts the plan's segments out of `source` by stream copy into `output`: widened to keyframes for
/// long-GOP media (exactly the planned frames for intra-frame media), one piece per range, joined by the
/// concat demuxer, then checked picture by picture against the source's packets. Throws
/// `StreamCopyUnsuitable` (with nothing left behind) when the source cannot be cut this way.
StreamCopyResult cutByStreamCopy(const TrimPlan& plan, const std::filesystem::path& source,
                                 const std::filesystem::path& output, ArchiveExportContext& context,
                                 const ToolProgress& progress);

}  // namespace tidyreel

#include "archive/media/planned_cuts.h"

#include "archive/media/encoder_profile.h"
#include "archive/media/media_probe.h"
#include "archive/media/stream_copy_cut.h"
#include "base/error.h"

namespace tidyreel {
namespace {

PlannedCut streamCopyCut(const TrimPlan& plan, const ProbeSetup& probe) {
    try {
        StreamCopyDecision decision = planStreamCopy(plan, probe);
        if (decision.reencodeReason) {
            return {CutMethod::reEncode, {}, {}, decision.reencodeReason};
        }
        return {CutMethod::streamCopy, std::move(decision.ranges), decision.added, std::nullopt};
    } catch (const Error& error) {
        // The run re-encodes a source it cannot probe for a stream copy.
        return {CutMethod::reEncode, {}, {}, error.what()};
    }
}

}  // namespace

PlannedCuts planCuts(const ArchivePlanning& planning, const RunSettings& settings) {
    const bool copy = selectedEncoderProfile(settings.encoder) == EncoderProfile::copy;
    const ProbeSetup probe = probeSetupOf(settings);
    PlannedCuts cuts;
    for (const AssetDecision& decision : planning.decisions) {
        if (decision.plan && decision.source == SourceState::available) {
            cuts[decision.assetID] = copy ? streamCopyCut(*decision.plan, probe) : PlannedCut{};
        }
    }
    return cuts;
}

}  // namespace tidyreel

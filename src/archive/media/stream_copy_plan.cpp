#include "archive/media/stream_copy_plan.h"

#include "archive/media/broken_link_joins.h"
#include "archive/media/clean_starts.h"
#include "archive/media/nal_units.h"
#include "archive/planning/interval_merger.h"
#include "archive/planning/keyframe_widening.h"

#include <algorithm>
#include <array>
#include <future>

namespace tidyreel {
namespace {

// Codecs whose packets stand on their own once cut at a keyframe: the intra-frame ones, where every
// picture is a keyframe, and the long-GOP ones a widened cut can copy.
bool isCopyableCodec(const std::string& codec) {
    static constexpr std::array<std::string_view, 3> longGOP{"h264", "hevc", "mpeg2video"};
    return isIntraFrameCodec(codec) || std::find(longGOP.begin(), longGOP.end(), codec) != longGOP.end();
}

// Why a source whose first video stream has this codec cannot be cut by stream copy.
std::optional<std::string> obstacle(const TrimPlan& plan, const std::string& videoCodec) {
    if (!plan.frameDuration) {
        return "kein festes Frame-Raster";
    }
    if (!isCopyableCodec(videoCodec)) {
        return "Codec " + videoCodec + " nicht kopierbar";
    }
    return std::nullopt;
}

// Where the last picture stops showing.
Rational shownEndOf(const std::vector<VideoPacket>& packets) {
    Rational end;
    for (const VideoPacket& packet : packets) {
        end = std::max(end, packet.time + packet.duration);
    }
    return end;
}

std::vector<Rational> keyframeTimes(const std::vector<VideoPacket>& packets) {
    std::vector<Rational> times;
    for (const VideoPacket& packet : packets) {
        if (packet.keyframe) {
            times.push_back(packet.time);
        }
    }
    return times;
}

// How far before a segment's start and after its end the source's packets are read first: longer than
// camera GOPs, so that the keyframes a segment widens to lie inside. A second on from a widened start and
// around a widened end shows the pictures there, and whether the end's keyframe has leading pictures.
const Rational kPacketMargin(6);
const Rational kBeyondEnd(1);

// The stretches of a range whose pictures the planning must see: its start, and its end with a second past.
std::vector<HalfOpenRange> boundaryStretches(const std::vector<HalfOpenRange>& ranges,
                                             Rational marginOutside) {
    std::vector<HalfOpenRange> stretches;
    for (const HalfOpenRange& range : ranges) {
        stretches.push_back({range.start - marginOutside, std::min(range.start + kBeyondEnd, range.end)});
        stretches.push_back(
            {std::max(range.end - kBeyondEnd, range.start), range.end + marginOutside + kBeyondEnd});
    }
    return stretches;
}

// Whether `packets` show every picture of each stretch without a hole, from its start on (up to where the
// stream says its pictures end, for a stretch beyond): then the widening chose from keyframes it saw all of.
bool showsEveryPicture(const std::vector<VideoPacket>& packets, std::vector<HalfOpenRange> stretches,
                       Rational frame, const VideoClock& clock) {
    const Rational largestStep = frame * Rational(3, 2);
    for (HalfOpenRange& stretch : stretches) {
        if (clock.picturesEnd) {
            stretch.end = std::max(stretch.start, std::min(stretch.end, *clock.picturesEnd));
        }
    }
    return std::all_of(stretches.begin(), stretches.end(), [&](const HalfOpenRange& stretch) {
        std::optional<Rational> previous;
        for (const VideoPacket& packet : packets) {
            if (packet.time < stretch.start || packet.time > stretch.end) {
                continue;
            }
            if (packet.time - previous.value_or(stretch.start) > largestStep) {
                return false;
            }
            previous = packet.time;
        }
        return previous && *previous + largestStep >= stretch.end;
    });
}

// Codecs whose open GOPs can be cut at their keyframe by leaving the leading pictures out: MPEG-2, whose B
// pictures are never referred to and whose GOPs count their pictures afresh, and HEVC, where no picture
// after a keyframe refers to its leading ones and the copy marks each join at such a keyframe as a broken
// link, so that the count starts afresh there too. Not H.264, where later pictures may refer to leading
// ones and an I picture that is no IDR cannot be marked as a new start without rewriting its slices.
bool leadingPicturesCanBeLeftOut(const std::string& codec) {
    return codec == "mpeg2video" || joinsNeedMarking(codec);
}

// The keyframes of sorted packets, which of them start an open GOP, and where a copy can cut at them.
struct Keyframes {
    const std::vector<VideoPacket>& packets;
    bool leavesOutLeading;
    std::vector<Rational> times;
    std::vector<Rational> open;

    Keyframes(const std::vector<VideoPacket>& packets, const std::string& codec)
        : packets(packets),
          leavesOutLeading(leadingPicturesCanBeLeftOut(codec)),
          times(keyframeTimes(packets)),
          open(openKeyframeTimes(packets)) {}
    bool isClosed(Rational keyframe) const { return !std::binary_search(open.begin(), open.end(), keyframe); }
    std::optional<Rational> cutAt(Rational keyframe) const {
        if (isClosed(keyframe)) {
            return keyframe;
        }
        if (!leavesOutLeading) {
            return std::nullopt;
        }
        return leadingPictures(packets, keyframe).front().time;
    }
};

// The segments, none starting before `firstPicture`: a file whose pictures start late (B-frames without an
// edit list) shows nothing before its first one.
std::vector<HalfOpenRange> fromFirstPicture(std::vector<HalfOpenRange> segments, Rational firstPicture) {
    for (HalfOpenRange& segment : segments) {
        segment.start = std::max(segment.start, std::min(firstPicture, segment.end));
    }
    return segments;
}

std::optional<std::vector<HalfOpenRange>> widened(const std::vector<HalfOpenRange>& segments,
                                                  const Keyframes& keyframes, Rational fileEnd) {
    return widenToKeyframes(
        segments, keyframes.times, [&](Rational keyframe) { return keyframes.cutAt(keyframe); }, fileEnd);
}

// How many closed keyframes before a range are tried as its start when decoding from its own keyframe
// complains, before the file's start is tried.
const std::size_t kStartCandidates = 8;

// The closed keyframes before `start`, nearest first and at most `kStartCandidates`, then the file's
// start (which packets read around the segments may not reach), where decoding always can begin.
std::vector<Rational> earlierStarts(const Keyframes& keyframes, Rational start) {
    std::vector<Rational> candidates;
    for (const Rational keyframe : keyframes.times) {
        if (keyframe < start && keyframe > Rational::zero() && keyframes.isClosed(keyframe)) {
            candidates.insert(candidates.begin(), keyframe);
        }
    }
    candidates.resize(std::min(candidates.size(), kStartCandidates));
    candidates.push_back(Rational::zero());
    return candidates;
}

// Moves each range's start back until decoding from it does not complain; an IDR picture is a clean start
// without trying. A keyframe without leading pictures can still be no clean start: after an H.264 I picture
// that is no IDR (x264's open GOPs) the decoder expects the pictures before it, and played on from another
// range it mixes up their order. The ranges that come to overlap are merged; false when a range finds no
// clean start.
bool startCleanly(const std::filesystem::path& source, const Keyframes& keyframes,
                  std::vector<HalfOpenRange>& ranges, const ProbeSetup& probe) {
    std::vector<std::size_t> unsure;
    std::vector<Rational> starts;
    for (std::size_t i = 0; i < ranges.size(); ++i) {
        if (!showsH264IDRPictureAt(source, keyframes.packets, ranges[i].start)) {
            unsure.push_back(i);
            starts.push_back(ranges[i].start);
        }
    }
    for (const std::size_t index : startsThatComplain(source, starts, probe)) {
        HalfOpenRange& range = ranges[unsure[index]];
        const std::vector<Rational> candidates = earlierStarts(keyframes, range.start);
        const auto clean = std::find_if(candidates.begin(), candidates.end(), [&](Rational candidate) {
            return startsThatComplain(source, {candidate}, probe).empty();
        });
        if (clean == candidates.end()) {
            return false;
        }
        range.start = *clean;
    }
    ranges = IntervalMerger::merge(ranges, ranges.back().end, Rational::zero(), Rational::zero(),
                                   Rational::zero());
    return true;
}

// Codecs whose keyframes need not be clean starts: an H.264 I picture that is no IDR is marked as one. The
// keyframes of the others are (intra-frame pictures, HEVC's random access pictures, MPEG-2's I pictures,
// whose leading pictures a copy leaves out); decoding from one of those can still complain, about the leading
// pictures the decoder skips (multi-slice HEVC), which says nothing about the range.
bool keyframesCanBeUnclean(const std::string& codec) {
    return codec == "h264";
}

struct Widening {
    std::optional<std::vector<HalfOpenRange>> ranges;
    std::string failure;           ///< why there are none
    Rational openGOPSeconds{};     ///< what passing over open keyframes adds to them
    Rational cleanStartSeconds{};  ///< what moving starts back to clean ones adds to them
};

// How much longer pieces widened over open keyframes are than pieces that could cut at every keyframe.
Rational openGOPSeconds(const std::vector<HalfOpenRange>& segments, const Keyframes& keyframes,
                        const std::vector<HalfOpenRange>& widened, Rational fileEnd) {
    const std::optional<std::vector<HalfOpenRange>> atEveryKeyframe = widenToKeyframes(
        segments, keyframes.times, [](Rational keyframe) { return std::optional(keyframe); }, fileEnd);
    return atEveryKeyframe ? std::max(Rational::zero(), totalLength(widened) - totalLength(*atEveryKeyframe))
                           : Rational::zero();
}

// The plan's segments widened to keyframes a copy can cut at, and further back where decoding could not begin
// cleanly.
Widening cleanlyWidened(const TrimPlan& plan, const std::vector<VideoPacket>& packets,
                        const std::string& codec, const ProbeSetup& probe) {
    if (packets.empty()) {
        return {std::nullopt, "keine Videopakete"};
    }
    const Keyframes keyframes(packets, codec);
    Widening widening{widened(plan.segments, keyframes, shownEndOf(packets)), ""};
    if (!widening.ranges) {
        return {std::nullopt, "kein geschlossener GOP vor einem Segment"};
    }
    widening.openGOPSeconds = openGOPSeconds(plan.segments, keyframes, *widening.ranges, shownEndOf(packets));
    const Rational lengthBefore = totalLength(*widening.ranges);
    if (keyframesCanBeUnclean(codec) &&
        !startCleanly(plan.originalPath, keyframes, *widening.ranges, probe)) {
        return {std::nullopt, "kein sauber dekodierbarer Anfang vor einem Segment"};
    }
    widening.cleanStartSeconds = totalLength(*widening.ranges) - lengthBefore;
    return widening;
}

}  // namespace

bool isIntraFrameCodec(const std::string& codec) {
    static constexpr std::array<std::string_view, 5> intraFrame{"prores", "dnxhd", "mjpeg", "png", "tiff"};
    return std::find(intraFrame.begin(), intraFrame.end(), codec) != intraFrame.end();
}

StreamCopyDecision planStreamCopy(const TrimPlan& plan, const ProbeSetup& probe) {
    // Only the stretches around the segments' ends are read first: camera originals are long, and reading
    // what is kept would cost as much as copying it. The whole file only when those do not settle it. The
    // codecs are probed meanwhile.
    auto codecs =
        std::async(std::launch::async, [&] { return FFProbe::probeStreamCodecs(plan.originalPath, probe); });
    StreamCopyDecision decision;
    decision.clock = probeVideoClock(plan.originalPath, probe);
    TrimPlan fromPictures = plan;
    fromPictures.segments = fromFirstPicture(plan.segments, decision.clock.firstPicture);
    decision.sourcePackets =
        probeVideoPackets(plan.originalPath, probe,
                          windowsAround(boundaryStretches(fromPictures.segments, kPacketMargin),
                                        Rational::zero(), decision.clock));
    const FFProbe::StreamCodecs streams = codecs.get();
    decision.videoCodec = streams.video;
    decision.audioCodecs = streams.audio;
    decision.reencodeReason = obstacle(plan, streams.video);
    if (decision.reencodeReason) {
        decision.sourcePackets.clear();
        return decision;
    }
    Widening widening = cleanlyWidened(fromPictures, decision.sourcePackets, streams.video, probe);
    if (!widening.ranges ||
        !showsEveryPicture(decision.sourcePackets, boundaryStretches(*widening.ranges, Rational::zero()),
                           *plan.frameDuration, decision.clock)) {
        decision.sourcePackets = probeVideoPackets(plan.originalPath, probe);
        widening = cleanlyWidened(fromPictures, decision.sourcePackets, streams.video, probe);
    }
    if (!widening.ranges) {
        decision.reencodeReason = widening.failure;
        return decision;
    }
    decision.ranges = *widening.ranges;
    decision.added = {totalLength(decision.ranges) - totalLength(fromPictures.segments),
                      widening.openGOPSeconds, widening.cleanStartSeconds};
    return decision;
}

}  // namespace tidyreel

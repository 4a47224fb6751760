#include "archive/media/stream_copy_cut.h"

#include "archive/media/broken_link_joins.h"
#include "archive/media/clean_starts.h"
#include "archive/media/media_probe.h"
#include "archive/media/nal_units.h"
#include "archive/media/segment_trimming.h"
#include "archive/media/stream_copy_arguments.h"
#include "base/error_codes.h"
#include "platform/file_write.h"
#include "time/decimal_text.h"

#include <fmt/format.h>

#include <algorithm>
#include <future>

namespace tidyreel {
namespace {

// The source's packets shown inside the ranges, at the times they show in the file that holds the ranges
// back to back, with the bytes they have there: where the codec needs it, the keyframe at each join is
// marked as a broken link.
std::vector<VideoPacket> packetsAsCopied(const CopySource& source, const std::vector<VideoPacket>& packets,
                                         const std::vector<HalfOpenRange>& ranges) {
    const std::vector<Rational> starts = backToBackStarts(ranges);
    std::vector<VideoPacket> copied;
    for (std::size_t i = 0; i < ranges.size(); ++i) {
        const std::span<const VideoPacket> shown = packetsShownIn(packets, ranges[i].start, ranges[i].end);
        const std::size_t first = copied.size();
        for (const VideoPacket& packet : shown) {
            copied.push_back(packet);
            copied.back().time = packet.time - ranges[i].start + starts[i];
        }
        if (i > 0 && !shown.empty() && joinsNeedMarking(source.videoCodec)) {
            std::vector<std::uint8_t> bytes = packetBytes(source.file, shown.front());
            if (markBrokenLink(bytes)) {
                copied[first].dataHash = adler32Text(bytes);
            }
        }
    }
    return copied;
}

// The written file must hold exactly the source's packets, each at its time and with its bytes, the first
// a keyframe at zero. This is what lets the archive trust the file without decoding it: its pictures are
// the source's own.
void requireSourcePackets(const std::filesystem::path& written, const std::vector<VideoPacket>& packets,
                          const std::vector<VideoPacket>& expected) {
    // A packet without a checksum proves nothing.
    const auto differs = [](const VideoPacket& a, const VideoPacket& b) {
        return a.time != b.time || a.dataHash.empty() || a.dataHash != b.dataHash;
    };
    std::optional<std::string> problem;
    if (packets.size() != expected.size()) {
        problem = fmt::format("{} Bilder statt {}", packets.size(), expected.size());
    } else if (packets.empty() || !packets.front().keyframe) {
        problem = "beginnt nicht mit einem Keyframe";
    } else if (const auto mismatch =
                   std::mismatch(packets.begin(), packets.end(), expected.begin(),
                                 [&](const auto& a, const auto& b) { return !differs(a, b); });
               mismatch.first != packets.end()) {
        problem = fmt::format("Bild bei {}s weicht vom Original ab",
                              shortestDecimal(mismatch.first->time.doubleValue()));
    }
    if (problem) {
        throw Error(StreamCopyError::domain, StreamCopyError::picturesDiffer,
                    eventualName(written) + ": " + *problem);
    }
}

std::string rangeText(const HalfOpenRange& segment) {
    return shortestDecimal(segment.start.doubleValue()) + ".." + shortestDecimal(segment.end.doubleValue());
}

void logWidening(const StreamCopyDecision& decision, const ExportContext& context) {
    const std::vector<HalfOpenRange>& widened = decision.ranges;
    for (std::size_t i = 0; i < widened.size(); ++i) {
        context.log(LogEntryType::info, fmt::format("       → Segment {}/{}: Stream-Copy {} (Keyframes)",
                                                    i + 1, widened.size(), rangeText(widened[i])));
    }
    context.log(LogEntryType::info, fmt::format("       Keyframe-Erweiterung: +{}s gegenüber Plan",
                                                shortestDecimal(decision.added.total.doubleValue())));
    if (decision.added.overOpenGOPs > Rational::zero()) {
        context.log(LogEntryType::info,
                    fmt::format("       davon +{}s über offene GOPs (Keyframes mit vorgezogenen Bildern)",
                                shortestDecimal(decision.added.overOpenGOPs.doubleValue())));
    }
    if (decision.added.toCleanStarts > Rational::zero()) {
        context.log(
            LogEntryType::info,
            fmt::format(
                "       davon +{}s zurück bis zu einem sauberen Anfang (an H.264-I-Bildern ohne IDR beginnt "
                "das Dekodieren nicht sauber)",
                shortestDecimal(decision.added.toCleanStarts.doubleValue())));
    }
}

// Less room than this left on a disk counts as full: ffmpeg stops when a write no longer fits.
const std::uintmax_t kNoRoom = 4 * 1024 * 1024;

// Whether the disk that holds `file` has (next to) no room left: a copy that failed there failed for that.
bool noRoomLeftBeside(const std::filesystem::path& file) {
    std::error_code status;
    const std::filesystem::space_info space = std::filesystem::space(file.parent_path(), status);
    return !status && space.available < kNoRoom;
}

// Whether `packets` hold each range's first picture and one within its last frame and a half: read from one
// keyframe on without a gap, they then hold all of the range's.
bool coverRanges(const std::vector<VideoPacket>& packets, const std::vector<HalfOpenRange>& ranges,
                 Rational halfFrame) {
    return std::all_of(ranges.begin(), ranges.end(), [&](const HalfOpenRange& range) {
        return !packetsShownIn(packets, range.start, range.start + halfFrame).empty() &&
               !packetsShownIn(packets, range.end - halfFrame * 3, range.end).empty();
    });
}

// Each range's start in the written file must decode without a complaint, as it did in the source: a
// join the decoder stumbles over shows wrong pictures there.
void requireCleanJoins(const std::filesystem::path& written, const std::vector<HalfOpenRange>& ranges,
                       const ProbeSetup& probe) {
    const std::vector<Rational> joins = backToBackStarts(ranges);
    const std::vector<std::size_t> complaining = startsThatComplain(written, joins, probe);
    if (!complaining.empty()) {
        throw Error(StreamCopyError::domain, StreamCopyError::joinNotDecodable,
                    fmt::format("Übergang bei {}s nicht sauber dekodierbar",
                                shortestDecimal(joins[complaining.front()].doubleValue())));
    }
}

// Around each join the written file is played from a keyframe a second before it to half a second after
// it, and the pictures from half a second before to a quarter after must all come out. A seek in an MP4
// or MOV file goes by decoding time, so it can land on a keyframe whose leading pictures show after the
// window's start; the half second between keeps them out of the check. And a decoder can hold back the
// last pictures it reads: the end of what is read is not checked.
const Rational kPlayedBeforeJoin(1);
const Rational kPlayedAfterJoin(1, 2);
const Rational kCheckedBeforeJoin(1, 2);
const Rational kCheckedAfterJoin(1, 4);

// The stretches of the written file played through its joins; none without a join.
std::vector<PacketWindow> joinWindows(const std::vector<HalfOpenRange>& ranges) {
    std::vector<HalfOpenRange> around;
    const std::vector<Rational> starts = backToBackStarts(ranges);
    for (auto join = starts.begin() + 1; join < starts.end(); ++join) {
        around.push_back({*join - kPlayedBeforeJoin, *join + kPlayedAfterJoin});
    }
    // The written file's first picture shows at zero: its clock is media time.
    return windowsAround(around, Rational::zero(), VideoClock{});
}

// Played on across each join, the written file must give its pictures one after another in the order they
// show, none missing. A decoder that carries state across a join gives them out of order or loses some,
// although every packet is the source's own: HEVC counts pictures on from a keyframe that does not begin
// the stream (a CRA), so two ranges joined there count the same numbers twice.
void requireJoinsPlayInOrder(const std::filesystem::path& written, const std::vector<HalfOpenRange>& ranges,
                             const std::vector<VideoPacket>& packets, const std::vector<Rational>& shown) {
    const auto fail = [&](const std::string& problem) {
        throw Error(StreamCopyError::domain, StreamCopyError::joinNotDecodable,
                    eventualName(written) + ": " + problem);
    };
    if (const auto backwards = std::adjacent_find(shown.begin(), shown.end(), std::greater_equal<>());
        backwards != shown.end()) {
        fail(fmt::format("Bild bei {}s kommt beim Abspielen nach dem bei {}s",
                         shortestDecimal((backwards + 1)->doubleValue()),
                         shortestDecimal(backwards->doubleValue())));
    }
    const std::vector<Rational> starts = backToBackStarts(ranges);
    for (auto join = starts.begin() + 1; join < starts.end(); ++join) {
        for (const VideoPacket& packet :
             packetsShownIn(packets, *join - kCheckedBeforeJoin, *join + kCheckedAfterJoin)) {
            if (!std::binary_search(shown.begin(), shown.end(), packet.time)) {
                fail(fmt::format("Bild bei {}s fehlt beim Abspielen über den Übergang bei {}s",
                                 shortestDecimal(packet.time.doubleValue()),
                                 shortestDecimal(join->doubleValue())));
            }
        }
    }
}

// The packets of a file's first video stream with their checksums, read beside other work.
std::future<std::vector<VideoPacket>> checksummedPackets(const std::filesystem::path& file,
                                                         const ProbeSetup& probe,
                                                         const std::vector<PacketWindow>& windows) {
    return std::async(std::launch::async,
                      [=] { return probeVideoPackets(file, probe, windows, PacketChecksums::compute); });
}

// Whether the decoder starts afresh at each range's keyframe: intra-frame media, or H.264 whose ranges all
// start at an IDR picture. It forgets every picture before such a keyframe, so the packets, once proven to be
// the source's own at their times, decode to the source's pictures across each join as well: decoding the
// joins would prove nothing more. Not so at HEVC's marked joins nor at an MPEG-2 I picture, where they are
// played through.
bool decoderStartsAfreshAtEveryRange(const CopySource& source, const std::vector<HalfOpenRange>& ranges) {
    if (isIntraFrameCodec(source.videoCodec)) {
        return true;
    }
    return source.videoCodec == "h264" &&
           std::all_of(ranges.begin(), ranges.end(), [&](const HalfOpenRange& range) {
               return showsH264IDRPictureAt(source.file, source.packets, range.start);
           });
}

// The written file must show the source's own pictures, each where it belongs, and decode cleanly from and
// across each join. Four readings run side by side: the source's kept packets (a second around each range
// allows for the clock's rounding; the whole file's where that does not cover them), the written file's,
// the decoding from each join, and the playing through them (only where the decoder does not start afresh
// at each range). After the copy, not beside it, where they would slow it down by more.
void proveCopy(const CopySource& source, const std::vector<HalfOpenRange>& ranges,
               const std::filesystem::path& output, const ProbeSetup& probe) {
    auto kept = checksummedPackets(source.file, probe, windowsAround(ranges, Rational::one(), source.clock));
    auto written = checksummedPackets(output, probe, {});
    const bool decodeJoins = !decoderStartsAfreshAtEveryRange(source, ranges);
    std::future<void> joins;
    std::future<std::vector<Rational>> playedThrough;
    if (decodeJoins) {
        joins = std::async(std::launch::async, [&] { requireCleanJoins(output, ranges, probe); });
        playedThrough = std::async(std::launch::async, [&, played = joinWindows(ranges)] {
            return played.empty() ? std::vector<Rational>{} : probeDecodedPictureTimes(output, probe, played);
        });
    }
    std::vector<VideoPacket> sourcePackets = kept.get();
    if (!coverRanges(sourcePackets, ranges, source.halfFrame)) {
        sourcePackets = probeVideoPackets(source.file, probe, {}, PacketChecksums::compute);
    }
    const std::vector<VideoPacket> writtenPackets = written.get();
    requireSourcePackets(output, writtenPackets, packetsAsCopied(source, sourcePackets, ranges));
    if (decodeJoins) {
        joins.get();
        requireJoinsPlayInOrder(output, ranges, writtenPackets, playedThrough.get());
    }
}

// One run that seeks to each range, as a concat list of the source plays them; the list lives in a
// working folder for the run.
void copyBySeeking(const CopySource& source, const std::vector<HalfOpenRange>& ranges,
                   const std::filesystem::path& output, const std::string& assetID, const std::string& label,
                   const ExportContext& context, const ToolProgress& progress) {
    const std::filesystem::path folder = makeSegmentDirectory(assetID);
    const auto removeFolder = [&] {
        std::error_code ignored;
        std::filesystem::remove_all(folder, ignored);
    };
    try {
        const std::filesystem::path list = folder / "ranges.ffconcat";
        writeFileAtomically(list, rangeListText(source, ranges));
        runFFmpeg(seekingCopyArguments(source, ranges, list, output), label, std::nullopt, context, progress);
    } catch (...) {
        removeFolder();
        throw;
    }
    removeFolder();
}

// Marks the joins where the codec needs it (see `markJoinsAsBrokenLinks`), then proves the copy.
void finishCopy(const CopySource& source, const std::vector<HalfOpenRange>& ranges,
                const std::filesystem::path& output, const ProbeSetup& probe) {
    if (joinsNeedMarking(source.videoCodec) && ranges.size() > 1) {
        const std::vector<Rational> starts = backToBackStarts(ranges);
        markJoinsAsBrokenLinks(output, {starts.begin() + 1, starts.end()}, probe);
    }
    proveCopy(source, ranges, output, probe);
}

// Copies the ranges by seeking to each. Where that cannot be proven exact (a file whose sound lies so far
// ahead of its pictures that an entry stops at a sound packet before its last picture), the copy is made
// again reading through, which keeps exactly the packets it is told to.
void copyRanges(const CopySource& source, const std::vector<HalfOpenRange>& ranges,
                const std::filesystem::path& output, const std::string& assetID, const ExportContext& context,
                const ToolProgress& progress) {
    const ProbeSetup probe = probeSetupOf(context);
    const std::string label = ranges.size() == 1
                                  ? "Trim (Stream-Copy)"
                                  : fmt::format("Trim (Stream-Copy, {} Segmente)", ranges.size());
    try {
        copyBySeeking(source, ranges, output, assetID, label, context, progress);
        finishCopy(source, ranges, output, probe);
        return;
    } catch (const RunCancelled&) {
        throw;
    } catch (const Error& error) {
        if (noRoomLeftBeside(output)) {
            throw;
        }
        context.log(
            LogEntryType::info,
            fmt::format("       Stream-Copy mit Sprüngen nicht exakt ({}), wird durchgelesen", error.what()));
        std::error_code ignored;
        std::filesystem::remove(output, ignored);
    }
    runFFmpeg(readThroughCopyArguments(source, ranges, output), label, std::nullopt, context, progress);
    finishCopy(source, ranges, output, probe);
}

}  // namespace

StreamCopyUnsuitable::StreamCopyUnsuitable(const std::string& reason)
    : Error(StreamCopyError::domain, StreamCopyError::unsuitable, reason) {}

StreamCopyResult cutByStreamCopy(const TrimPlan& plan, const std::filesystem::path& source,
                                 const std::filesystem::path& output, ArchiveExportContext& context,
                                 const ToolProgress& progress) {
    try {
        StreamCopyDecision decision = planStreamCopy(plan, probeSetupOf(context));
        if (decision.reencodeReason) {
            throw StreamCopyUnsuitable(*decision.reencodeReason);
        }
        logWidening(decision, context);
        const CopySource copy{source,
                              decision.clock,
                              std::move(decision.sourcePackets),
                              *plan.frameDuration / 2,
                              std::move(decision.audioCodecs),
                              decision.videoCodec};
        copyRanges(copy, decision.ranges, output, plan.assetID, context, progress);
        return {decision.ranges, std::vector<Rational>(decision.ranges.size(), Rational::zero())};
    } catch (const RunCancelled&) {
        throw;
    } catch (const StreamCopyUnsuitable&) {
        throw;
    } catch (const Error& error) {
        const bool diskFull = noRoomLeftBeside(output);
        std::error_code ignored;
        std::filesystem::remove(output, ignored);
        if (diskFull) {
            throw;  // a re-encode would only fill the disk again, after much longer
        }
        throw StreamCopyUnsuitable(error.what());
    }
}

}  // namespace tidyreel

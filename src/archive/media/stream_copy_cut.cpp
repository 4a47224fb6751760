#include "archive/media/stream_copy_cut.h"

#include "archive/media/clean_starts.h"
#include "archive/media/encoder_profile.h"
#include "archive/media/media_probe.h"
#include "archive/media/segment_trimming.h"
#include "base/error_codes.h"
#include "platform/file_write.h"
#include "time/decimal_text.h"

#include <fmt/format.h>

#include <algorithm>
#include <future>

namespace tidyreel {
namespace {

// Negative composition offsets let the first picture show at zero without an edit list, which Final Cut
// Pro might not honour.
const std::vector<std::string> kFirstPictureAtZero{"-movflags", "+negative_cts_offsets", "-use_editlist",
                                                   "0"};

// Seconds with nine decimals: finer than any time base a camera writes, so a threshold half a frame away
// from a picture never lands on one.
std::string preciseSeconds(Rational seconds) {
    return fmt::format("{:.9f}", seconds.doubleValue());
}

// Ranges a single ffmpeg run copies, reading through the gaps between them: a gap is read through when it
// is no longer than one of its neighbours, as reading it costs less than writing those twice (once as a
// piece, once joined).
std::vector<std::vector<HalfOpenRange>> readThroughGroups(const std::vector<HalfOpenRange>& ranges) {
    std::vector<std::vector<HalfOpenRange>> groups;
    for (const HalfOpenRange& range : ranges) {
        const bool readThrough =
            !groups.empty() &&
            range.start - groups.back().back().end <= std::max(range.length(), groups.back().back().length());
        if (!readThrough) {
            groups.emplace_back();
        }
        groups.back().push_back(range);
    }
    return groups;
}

// Where each range starts in the file that holds them back to back.
std::vector<Rational> rangeStarts(const std::vector<HalfOpenRange>& ranges) {
    std::vector<Rational> starts;
    Rational start;
    for (const HalfOpenRange& range : ranges) {
        starts.push_back(start);
        start = start + range.length();
    }
    return starts;
}

// The source's packets shown inside the ranges, at the times they show in the file that holds the ranges
// back to back.
std::vector<VideoPacket> packetsAsCopied(const std::vector<VideoPacket>& source,
                                         const std::vector<HalfOpenRange>& ranges) {
    const std::vector<Rational> starts = rangeStarts(ranges);
    std::vector<VideoPacket> copied;
    for (std::size_t i = 0; i < ranges.size(); ++i) {
        for (const VideoPacket& packet : source) {
            if (ranges[i].contains(packet.time)) {
                copied.push_back(packet);
                copied.back().time = packet.time - ranges[i].start + starts[i];
            }
        }
    }
    return copied;
}

// The written file must hold exactly the source's packets, each at its time and with its bytes, the first
// a keyframe at zero. This is what lets the archive trust the file without decoding it: its pictures are
// the source's own.
void requireSourcePackets(const std::filesystem::path& written, const std::vector<VideoPacket>& expected,
                          const ProbeSetup& probe) {
    const std::vector<VideoPacket> packets = probeVideoPackets(written, probe, {}, PacketChecksums::compute);
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
                    written.filename().string() + ": " + *problem);
    }
}

bool isPCM(const std::string& codec) {
    return codec.starts_with("pcm_");
}

// An AAC encoder puts this many samples of priming before the first real one. Without an edit list (see
// kFirstPictureAtZero) players play them, so the sound would run late by as much; the same number of
// samples is left out at the start instead, and the priming takes their place.
const int kAacPrimingSamples = 1024;

// How a sound stream is written: PCM as the same PCM, its samples unchanged; other sound as AAC in the file
// that is kept, but as float PCM in a piece joined later, so that it is encoded once, in the join: each
// encoded piece would bring its own priming and padding into the joined sound, which would drift further
// at every join.
std::string soundCodec(const std::string& sourceCodec, PieceUse use) {
    if (isPCM(sourceCodec)) {
        return sourceCodec;
    }
    return use == PieceUse::wholeFile ? "aac" : "pcm_f32le";
}

// The end of a sound stream's filter chain, named "[a<stream>]".
std::string soundChainEnd(std::size_t stream, const std::string& sourceCodec, PieceUse use) {
    const std::string priming =
        soundCodec(sourceCodec, use) == "aac"
            ? fmt::format(",atrim=start_sample={},asetpts=PTS-STARTPTS", kAacPrimingSamples)
            : "";
    return fmt::format("{}[a{}]", priming, stream);
}

// Maps every filtered sound stream "[a<stream>]" with its codec.
void appendSoundOutputs(std::vector<std::string>& arguments, const std::vector<std::string>& sourceCodecs,
                        PieceUse use) {
    for (std::size_t stream = 0; stream < sourceCodecs.size(); ++stream) {
        const std::string codec = soundCodec(sourceCodecs[stream], use);
        arguments.insert(arguments.end(),
                         {"-map", fmt::format("[a{}]", stream), fmt::format("-c:a:{}", stream), codec});
        if (codec == "aac") {
            arguments.insert(arguments.end(), {fmt::format("-b:a:{}", stream), "320k"});
        }
    }
}

// One input per range for the sound, read from just before it: each is trimmed to the sample and the
// trims are joined, so the sound of every range lies under its pictures.
void appendSoundInputs(std::vector<std::string>& arguments, const std::filesystem::path& source,
                       const std::vector<HalfOpenRange>& ranges) {
    for (const HalfOpenRange& range : ranges) {
        arguments.insert(arguments.end(), {"-ss", seekSeconds(range.start, SeekRounding::down), "-t",
                                           preciseSeconds(range.length() + 1), "-i", source.string()});
    }
}

// The filter that cuts audio stream `stream` of each range's input and joins the pieces into "[a<stream>]".
std::string soundFilter(std::size_t stream, const std::vector<HalfOpenRange>& ranges,
                        const std::string& codec, PieceUse use) {
    std::string graph;
    std::string joined;
    for (std::size_t i = 0; i < ranges.size(); ++i) {
        graph += fmt::format("[{}:a:{}]atrim=start={}:end={},asetpts=PTS-STARTPTS[a{}_{}];", i + 1, stream,
                             preciseSeconds(ranges[i].start), preciseSeconds(ranges[i].end), stream, i);
        joined += fmt::format("[a{}_{}]", stream, i);
    }
    return graph + fmt::format("{}concat=n={}:v=0:a=1", joined, ranges.size()) +
           soundChainEnd(stream, codec, use);
}

// The packets shown inside the ranges, and none other, move so that the ranges follow each other from
// zero. Which range a packet belongs to is read from its presentation time, also for its decoding time:
// a range starts at a closed keyframe, so each packet decodes within its own range.
std::string packetFilter(const std::vector<HalfOpenRange>& ranges, Rational halfFrame) {
    const std::vector<Rational> starts = rangeStarts(ranges);
    std::vector<std::string> kept;
    std::string shift = preciseSeconds(ranges.front().start);
    for (std::size_t i = 0; i < ranges.size(); ++i) {
        kept.push_back(fmt::format("gte(pts*tb,{})*lt(pts*tb,{})",
                                   preciseSeconds(ranges[i].start - halfFrame),
                                   preciseSeconds(ranges[i].end - halfFrame)));
        if (i > 0) {
            shift = fmt::format("if(gte(PTS*TB,{}),{},{})", preciseSeconds(ranges[i].start - halfFrame),
                                preciseSeconds(ranges[i].start - starts[i]), shift);
        }
    }
    return fmt::format("noise=drop='1-({})',setts=pts='PTS-round({}/TB)':dts='DTS-round({}/TB)'",
                       fmt::join(kept, "+"), shift, shift);
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
                                                shortestDecimal(decision.extraSeconds.doubleValue())));
}

// Less room than this left on a disk counts as full: ffmpeg stops when a write no longer fits.
const std::uintmax_t kNoRoom = 4 * 1024 * 1024;

// Whether the disk that holds `file` has (next to) no room left: a copy that failed there failed for that.
bool noRoomLeftBeside(const std::filesystem::path& file) {
    std::error_code status;
    const std::filesystem::space_info space = std::filesystem::space(file.parent_path(), status);
    return !status && space.available < kNoRoom;
}

struct CopySource {
    std::filesystem::path file;
    Rational halfFrame;
    std::vector<std::string> audioCodecs;
};

void copyRanges(const CopySource& copy, const std::vector<HalfOpenRange>& ranges,
                const std::filesystem::path& output, PieceUse use, const std::string& label,
                const ExportContext& context, const ToolProgress& progress) {
    runFFmpeg(rangeCopyArguments(copy.file, output, ranges, copy.halfFrame, copy.audioCodecs, use), label,
              std::nullopt, context, progress);
}

// Gives the packets inside the ranges the checksums of `probed`, the same file's packets read again;
// false when one of them is not among those.
bool adoptChecksums(std::vector<VideoPacket>& packets, const std::vector<VideoPacket>& probed,
                    const std::vector<HalfOpenRange>& ranges) {
    bool complete = true;
    for (VideoPacket& packet : packets) {
        const auto found =
            std::lower_bound(probed.begin(), probed.end(), packet.time,
                             [](const VideoPacket& p, Rational time) { return p.time < time; });
        if (found != probed.end() && found->time == packet.time) {
            packet.dataHash = found->dataHash;
        } else if (std::any_of(ranges.begin(), ranges.end(),
                               [&](const HalfOpenRange& range) { return range.contains(packet.time); })) {
            complete = false;
        }
    }
    return complete;
}

// Each range's start in the written file must decode without a complaint, as it did in the source: a
// join the decoder stumbles over shows wrong pictures there.
void requireCleanJoins(const std::filesystem::path& written, const std::vector<HalfOpenRange>& ranges,
                       const ProbeSetup& probe) {
    const std::vector<Rational> joins = rangeStarts(ranges);
    const std::vector<std::size_t> complaining = startsThatComplain(written, joins, probe);
    if (!complaining.empty()) {
        throw Error(StreamCopyError::domain, StreamCopyError::joinNotDecodable,
                    fmt::format("Übergang bei {}s nicht sauber dekodierbar",
                                shortestDecimal(joins[complaining.front()].doubleValue())));
    }
}

void writeJoinList(const std::filesystem::path& folder, const std::vector<std::filesystem::path>& pieces,
                   const std::vector<Rational>& lengths) {
    std::string list;
    for (std::size_t i = 0; i < pieces.size(); ++i) {
        // The stated length places the next piece: a file's own duration would be its longest stream's.
        list += fmt::format("file '{}'\nduration {}\n", pieces[i].filename().string(),
                            preciseSeconds(lengths[i]));
    }
    writeFileAtomically(folder / "concat_list.txt", list);
}

// Groups of ranges far apart are copied one piece each into a temporary folder, then joined into `output`.
void copyAndJoin(const CopySource& copy, const TrimPlan& plan,
                 const std::vector<std::vector<HalfOpenRange>>& groups, const std::filesystem::path& output,
                 const ExportContext& context, const ToolProgress& progress) {
    const std::filesystem::path folder = makeSegmentDirectory(plan.assetID);
    std::vector<std::filesystem::path> pieces;
    std::vector<Rational> lengths;
    try {
        Rational done;
        for (std::size_t i = 0; i < groups.size(); ++i) {
            // QuickTime holds every codec a piece may carry, float PCM too.
            pieces.push_back(folder / fmt::format("seg_{}.mov", i));
            const ToolProgress pieceProgress = [&, done](double seconds) {
                if (progress) {
                    progress(done.doubleValue() + seconds);
                }
            };
            copyRanges(copy, groups[i], pieces.back(), PieceUse::joinedLater,
                       fmt::format("Segment {}/{} (Stream-Copy)", i + 1, groups.size()), context,
                       pieceProgress);
            lengths.push_back(totalLength(groups[i]));
            done = done + lengths.back();
        }
        writeJoinList(folder, pieces, lengths);
        runFFmpeg(joinCopyArguments(output, copy.audioCodecs),
                  fmt::format("Concat ({} Segmente)", groups.size()), folder, context);
    } catch (...) {
        std::error_code ignored;
        std::filesystem::remove_all(folder, ignored);
        throw;
    }
    std::error_code ignored;
    std::filesystem::remove_all(folder, ignored);
}

}  // namespace

StreamCopyUnsuitable::StreamCopyUnsuitable(const std::string& reason)
    : Error(StreamCopyError::domain, StreamCopyError::unsuitable, reason) {}

std::vector<std::string> rangeCopyArguments(const std::filesystem::path& source,
                                            const std::filesystem::path& output,
                                            const std::vector<HalfOpenRange>& ranges, Rational halfFrame,
                                            const std::vector<std::string>& audioCodecs, PieceUse use) {
    // Timestamps stay the source's, counted from the file's start like the packet probe counts them, so
    // the packet choice names exact source pictures. Reading stops a second after the last range: decoding
    // order runs up to a few pictures behind display.
    std::vector<std::string> arguments{"-nostdin",
                                       "-copyts",
                                       "-start_at_zero",
                                       "-ss",
                                       seekSeconds(ranges.front().start, SeekRounding::down),
                                       "-t",
                                       preciseSeconds(ranges.back().end - ranges.front().start + 1),
                                       "-i",
                                       source.string()};
    if (!audioCodecs.empty()) {
        appendSoundInputs(arguments, source, ranges);
        std::vector<std::string> graphs;
        for (std::size_t stream = 0; stream < audioCodecs.size(); ++stream) {
            graphs.push_back(soundFilter(stream, ranges, audioCodecs[stream], use));
        }
        arguments.insert(arguments.end(), {"-filter_complex", fmt::format("{}", fmt::join(graphs, ";"))});
    }
    arguments.insert(arguments.end(),
                     {"-map", "0:v:0", "-c:v", "copy", "-bsf:v", packetFilter(ranges, halfFrame)});
    appendSoundOutputs(arguments, audioCodecs, use);
    // The timecode (a stream tag of the video) stays.
    arguments.insert(arguments.end(), {"-map_metadata:s:v:0", "0:s:v:0"});
    if (use == PieceUse::wholeFile) {
        arguments.insert(arguments.end(), kFirstPictureAtZero.begin(), kFirstPictureAtZero.end());
    }
    const std::vector<std::string> tail = outputTail(output);
    arguments.insert(arguments.end(), tail.begin(), tail.end());
    return arguments;
}

std::vector<std::string> joinCopyArguments(const std::filesystem::path& output,
                                           const std::vector<std::string>& audioCodecs) {
    // Without `auto_convert` the demuxer would rewrite H.264 packets into Annex B form, with parameter sets
    // in the picture data: no longer the source's bytes.
    std::vector<std::string> arguments{"-nostdin", "-auto_convert",  "0", "-f", "concat",
                                       "-i",       "concat_list.txt"};
    if (!audioCodecs.empty()) {
        std::vector<std::string> graphs;
        for (std::size_t stream = 0; stream < audioCodecs.size(); ++stream) {
            graphs.push_back(fmt::format("[0:a:{}]anull", stream) +
                             soundChainEnd(stream, audioCodecs[stream], PieceUse::wholeFile));
        }
        arguments.insert(arguments.end(), {"-filter_complex", fmt::format("{}", fmt::join(graphs, ";"))});
    }
    arguments.insert(arguments.end(), {"-map", "0:v:0", "-c:v", "copy"});
    appendSoundOutputs(arguments, audioCodecs, PieceUse::wholeFile);
    arguments.insert(arguments.end(), kFirstPictureAtZero.begin(), kFirstPictureAtZero.end());
    const std::vector<std::string> tail = outputTail(output);
    arguments.insert(arguments.end(), tail.begin(), tail.end());
    return arguments;
}

StreamCopyResult cutByStreamCopy(const TrimPlan& plan, const std::filesystem::path& source,
                                 const std::filesystem::path& output, ArchiveExportContext& context,
                                 const ToolProgress& progress) {
    try {
        StreamCopyDecision decision = planStreamCopy(plan, probeSetupOf(context));
        if (decision.reencodeReason) {
            throw StreamCopyUnsuitable(*decision.reencodeReason);
        }
        logWidening(decision, context);
        const ProbeSetup probe = probeSetupOf(context);
        const CopySource copy{source, *plan.frameDuration / 2, std::move(decision.audioCodecs)};
        const std::vector<HalfOpenRange>& ranges = decision.ranges;
        // The source's bytes of the kept packets are read while they are copied. A second around each
        // range allows for a clock that starts late; where that is not enough, the whole file is read.
        auto checksums = std::async(std::launch::async, [&] {
            return probeVideoPackets(source, probe, windowsAround(ranges, Rational::one()),
                                     PacketChecksums::compute);
        });
        const std::vector<std::vector<HalfOpenRange>> groups = readThroughGroups(ranges);
        if (groups.size() == 1) {
            copyRanges(copy, ranges, output, PieceUse::wholeFile,
                       ranges.size() == 1 ? "Trim (Stream-Copy)"
                                          : fmt::format("Trim (Stream-Copy, {} Segmente)", ranges.size()),
                       context, progress);
        } else {
            copyAndJoin(copy, plan, groups, output, context, progress);
        }
        std::vector<VideoPacket>& sourcePackets = decision.sourcePackets;
        if (!adoptChecksums(sourcePackets, checksums.get(), ranges)) {
            adoptChecksums(sourcePackets, probeVideoPackets(source, probe, {}, PacketChecksums::compute),
                           ranges);
        }
        // Both read the written file; they run side by side.
        auto joins = std::async(std::launch::async, [&] { requireCleanJoins(output, ranges, probe); });
        requireSourcePackets(output, packetsAsCopied(sourcePackets, ranges), probe);
        joins.get();
        return {ranges, std::vector<Rational>(ranges.size(), Rational::zero())};
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

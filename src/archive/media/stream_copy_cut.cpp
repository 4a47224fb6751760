#include "archive/media/stream_copy_cut.h"

#include "archive/media/encoder_profile.h"
#include "archive/media/media_probe.h"
#include "archive/media/segment_trimming.h"
#include "base/error_codes.h"
#include "base/file_names.h"
#include "platform/file_write.h"
#include "platform/process_runner.h"
#include "time/decimal_text.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>

namespace tidyreel {
namespace {

// Negative composition offsets let the first picture show at zero without an edit list, which Final Cut
// Pro might not honour.
const std::vector<std::string> kFirstPictureAtZero{"-movflags", "+negative_cts_offsets", "-use_editlist",
                                                   "0"};

// Codecs whose packets stand on their own once cut at a keyframe: the intra-frame ones, where every
// picture is a keyframe, and the long-GOP ones a widened cut can copy.
bool isCopyableCodec(const std::string& codec) {
    static constexpr std::array<std::string_view, 8> copyable{"prores", "dnxhd", "mjpeg", "png",
                                                              "tiff",   "h264",  "hevc",  "mpeg2video"};
    return std::find(copyable.begin(), copyable.end(), codec) != copyable.end();
}

// Seconds with nine decimals: finer than any time base a camera writes, so a threshold half a frame away
// from a picture never lands on one.
std::string preciseSeconds(Rational seconds) {
    return fmt::format("{:.9f}", seconds.doubleValue());
}

// Seconds rounded down to the microsecond ffmpeg seeks by, so the seek never lands after the keyframe.
std::string secondsRoundedDown(Rational seconds) {
    const std::int64_t micros = static_cast<std::int64_t>(std::floor((seconds * 1000000).doubleValue()));
    return fmt::format("{}.{:06}", micros / 1000000, micros % 1000000);
}

// Where the last picture stops showing.
Rational shownEndOf(const std::vector<VideoPacket>& packets) {
    Rational end;
    for (const VideoPacket& packet : packets) {
        end = std::max(end, packet.time + packet.duration);
    }
    return end;
}

// The presentation times of the pictures shown inside `range`, counted from its start, ascending.
std::vector<Rational> shownTimesIn(const std::vector<VideoPacket>& packets, const HalfOpenRange& range) {
    std::vector<Rational> times;
    for (const VideoPacket& packet : packets) {
        if (packet.time >= range.start && packet.time < range.end) {
            times.push_back(packet.time - range.start);
        }
    }
    return times;
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

// The written file must show exactly the source's pictures at the same distances, the first at zero
// and decodable on its own. Returns the written file's packets.
std::vector<VideoPacket> requireSamePictures(const std::filesystem::path& written,
                                             const std::vector<Rational>& expected, const ProbeSetup& probe) {
    const std::vector<VideoPacket> packets = probeVideoPackets(written, probe);
    std::vector<Rational> shown;
    for (const VideoPacket& packet : packets) {
        shown.push_back(packet.time);
    }
    if (packets.empty() || !packets.front().keyframe || shown != expected) {
        throw Error(StreamCopyError::domain, StreamCopyError::picturesDiffer,
                    fmt::format("{}: {} Bilder statt {}", written.filename().string(), shown.size(),
                                expected.size()));
    }
    return packets;
}

std::string audioArguments(const std::optional<std::string>& codec) {
    return codec && codec->starts_with("pcm_") ? *codec : "aac";
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

struct CopySource {
    std::filesystem::path file;
    std::vector<VideoPacket> packets;
    Rational halfFrame;
    std::optional<std::string> audioCodec;
};

// Copies one range into `output` and checks it; returns how long it shows.
Rational copyPiece(const CopySource& copy, const HalfOpenRange& range, const std::filesystem::path& output,
                   PieceUse use, const std::string& label, const ExportContext& context,
                   const ToolProgress& progress) {
    runFFmpeg(pieceCopyArguments(copy.file, output, range, copy.halfFrame, copy.audioCodec, use), label,
              std::nullopt, context, progress);
    const std::vector<Rational> expected = shownTimesIn(copy.packets, range);
    return shownEndOf(requireSamePictures(output, expected, probeSetupOf(context)));
}

// Where each piece starts in the written file: at zero, then after each piece's shown length.
std::vector<Rational> pieceStarts(const std::vector<Rational>& lengths) {
    std::vector<Rational> starts{Rational::zero()};
    for (std::size_t i = 0; i + 1 < lengths.size(); ++i) {
        starts.push_back(starts.back() + lengths[i]);
    }
    return starts;
}

// Each piece's start must decode without a complaint: after a keyframe that is no clean start of the
// stream (an H.264 I picture without IDR in an open-GOP stream) the decoder still expects the pictures
// before it, also at the file's start, where the archive's own check would then refuse the whole run. The
// file is decoded from a keyframe before each start to a second after it.
void requireCleanJoins(const std::filesystem::path& file, const std::vector<Rational>& joins,
                       const ExportContext& context) {
    for (const Rational join : joins) {
        ProcessRequest request;
        request.executable = locateFFmpeg(context.settings.tools);
        request.arguments = {"-nostdin",
                             "-v",
                             "error",
                             "-ss",
                             secondsRoundedDown(std::max(join - 2, Rational::zero())),
                             "-t",
                             "3",
                             "-i",
                             file.string(),
                             "-map",
                             "0:v:0",
                             "-f",
                             "null",
                             "-"};
        request.stopToken = context.stopToken;
        bool complained = false;
        request.standardErrorChunk = [&](std::string_view chunk) {
            complained = complained || !chunk.empty();
        };
        const ProcessResult result = runProcess(request);
        if (complained || result.exitStatus != 0) {
            throw Error(StreamCopyError::domain, StreamCopyError::joinNotDecodable,
                        fmt::format("Übergang bei {}s nicht sauber dekodierbar",
                                    shortestDecimal(join.doubleValue())));
        }
    }
}

std::vector<Rational> joinedTimes(const CopySource& copy, const std::vector<HalfOpenRange>& ranges,
                                  const std::vector<Rational>& lengths) {
    std::vector<Rational> times;
    Rational offset;
    for (std::size_t i = 0; i < ranges.size(); ++i) {
        for (const Rational time : shownTimesIn(copy.packets, ranges[i])) {
            times.push_back(offset + time);
        }
        offset = offset + lengths[i];
    }
    return times;
}

// One piece per range in a temporary folder, joined into `output`; returns each piece's shown length.
std::vector<Rational> copyAndJoin(const CopySource& copy, const TrimPlan& plan,
                                  const std::vector<HalfOpenRange>& ranges,
                                  const std::filesystem::path& output, const ExportContext& context,
                                  const ToolProgress& progress) {
    const std::filesystem::path folder = makeSegmentDirectory(plan.assetID);
    const std::string extension = fileNameExtension(copy.file.filename().string());
    std::vector<std::filesystem::path> pieces;
    std::vector<Rational> lengths;
    Rational done;
    try {
        for (std::size_t i = 0; i < ranges.size(); ++i) {
            pieces.push_back(folder / fmt::format("seg_{}.{}", i, extension));
            const ToolProgress pieceProgress = [&, done](double seconds) {
                if (progress) {
                    progress(done.doubleValue() + seconds);
                }
            };
            lengths.push_back(copyPiece(copy, ranges[i], pieces.back(), PieceUse::joinedLater,
                                        fmt::format("Segment {}/{} (Stream-Copy)", i + 1, ranges.size()),
                                        context, pieceProgress));
            done = done + lengths.back();
        }
        writeJoinList(folder, pieces, lengths);
        runFFmpeg(joinCopyArguments(output), fmt::format("Concat ({} Segmente)", ranges.size()), folder,
                  context);
    } catch (...) {
        std::error_code ignored;
        std::filesystem::remove_all(folder, ignored);
        throw;
    }
    std::error_code ignored;
    std::filesystem::remove_all(folder, ignored);
    requireSamePictures(output, joinedTimes(copy, ranges, lengths), probeSetupOf(context));
    return lengths;
}

}  // namespace

StreamCopyUnsuitable::StreamCopyUnsuitable(const std::string& reason)
    : Error(StreamCopyError::domain, StreamCopyError::unsuitable, reason) {}

StreamCopyDecision planStreamCopy(const TrimPlan& plan, const ProbeSetup& probe) {
    StreamCopyDecision decision;
    decision.reencodeReason = streamCopyObstacle(plan, probe);
    if (decision.reencodeReason) {
        return decision;
    }
    decision.sourcePackets = probeVideoPackets(plan.originalPath, probe);
    if (decision.sourcePackets.empty()) {
        decision.reencodeReason = "keine Videopakete";
        return decision;
    }
    const std::vector<Rational> open = openKeyframeTimes(decision.sourcePackets);
    const std::optional<std::vector<HalfOpenRange>> ranges = widenToKeyframes(
        plan.segments, keyframeTimes(decision.sourcePackets),
        [&](Rational keyframe) { return !std::binary_search(open.begin(), open.end(), keyframe); },
        shownEndOf(decision.sourcePackets));
    if (!ranges) {
        decision.reencodeReason = "kein geschlossener GOP vor einem Segment";
        return decision;
    }
    decision.ranges = *ranges;
    decision.extraSeconds = totalLength(*ranges) - totalLength(plan.segments);
    return decision;
}

std::optional<std::string> streamCopyObstacle(const TrimPlan& plan, const ProbeSetup& probe) {
    if (!plan.frameDuration) {
        return "kein festes Frame-Raster";
    }
    const std::string codec = FFProbe::probeCodec(plan.originalPath, probe).codecName;
    if (!isCopyableCodec(codec)) {
        return "Codec " + codec + " nicht kopierbar";
    }
    return std::nullopt;
}

std::vector<std::string> pieceCopyArguments(const std::filesystem::path& source,
                                            const std::filesystem::path& output, const HalfOpenRange& piece,
                                            Rational halfFrame, const std::optional<std::string>& audioCodec,
                                            PieceUse use) {
    const Rational start = piece.start;
    const Rational end = piece.end;
    // Timestamps stay the source's, counted from the file's start like the packet probe counts them, so
    // the packet choice below names exact source pictures. Reading stops a second after the piece: decoding
    // order runs up to a few pictures behind display.
    std::vector<std::string> arguments{"-nostdin",       "-ss", secondsRoundedDown(start),          "-copyts",
                                       "-start_at_zero", "-t",  preciseSeconds(piece.length() + 1), "-i",
                                       source.string()};
    if (audioCodec) {
        arguments.insert(arguments.end(), {"-filter_complex",
                                           fmt::format("[0:a:0]atrim=start={}:end={},asetpts=PTS-STARTPTS[a]",
                                                       preciseSeconds(start), preciseSeconds(end))});
    }
    // The packets shown inside the piece, and none other, move so that the first one shows at zero.
    const std::string packets = fmt::format(
        "noise=drop='lt(pts*tb,{0})+gte(pts*tb,{1})',setts=pts=PTS-round({2}/TB):dts=DTS-round({2}/TB)",
        preciseSeconds(start - halfFrame), preciseSeconds(end - halfFrame), preciseSeconds(start));
    arguments.insert(arguments.end(), {"-map", "0:v:0", "-c:v", "copy", "-bsf:v", packets});
    if (audioCodec) {
        arguments.insert(arguments.end(), {"-map", "[a]", "-c:a", audioArguments(audioCodec)});
        if (!audioCodec->starts_with("pcm_")) {
            arguments.insert(arguments.end(), {"-b:a", "320k"});
        }
    }
    // The timecode (a stream tag of the video) stays.
    arguments.insert(arguments.end(), {"-map_metadata:s:v:0", "0:s:v:0"});
    if (use == PieceUse::wholeFile) {
        arguments.insert(arguments.end(), kFirstPictureAtZero.begin(), kFirstPictureAtZero.end());
    }
    const std::vector<std::string> tail = outputTail(output);
    arguments.insert(arguments.end(), tail.begin(), tail.end());
    return arguments;
}

std::vector<std::string> joinCopyArguments(const std::filesystem::path& output) {
    std::vector<std::string> arguments{"-nostdin", "-f",  "concat", "-i",   "concat_list.txt",
                                       "-map",     "0",   "-map",   "-0:d", "-ignore_unknown",
                                       "-c",       "copy"};
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
        const CopySource copy{source, std::move(decision.sourcePackets), *plan.frameDuration / 2,
                              FFProbe::audioCodecName(source, probeSetupOf(context))};
        const std::vector<HalfOpenRange>& ranges = decision.ranges;
        std::vector<Rational> lengths;
        if (ranges.size() == 1) {
            lengths.push_back(copyPiece(copy, ranges.front(), output, PieceUse::wholeFile,
                                        "Trim (Stream-Copy)", context, progress));
        } else {
            lengths = copyAndJoin(copy, plan, ranges, output, context, progress);
        }
        requireCleanJoins(output, pieceStarts(lengths), context);
        StreamCopyResult result{ranges, {}};
        for (std::size_t i = 0; i < ranges.size(); ++i) {
            result.drifts.push_back(lengths[i] - ranges[i].length());
        }
        return result;
    } catch (const RunCancelled&) {
        throw;
    } catch (const StreamCopyUnsuitable&) {
        throw;
    } catch (const Error& error) {
        std::error_code ignored;
        std::filesystem::remove(output, ignored);
        throw StreamCopyUnsuitable(error.what());
    }
}

}  // namespace tidyreel

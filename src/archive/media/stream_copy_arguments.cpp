#include "archive/media/stream_copy_arguments.h"

#include "archive/media/encoder_profile.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <optional>

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

bool isPCM(const std::string& codec) {
    return codec.starts_with("pcm_");
}

// An AAC encoder puts this many samples of priming before the first real one. Without an edit list (see
// kFirstPictureAtZero) players play them, so the sound would run late by as much; the same number of
// samples is left out at the start instead, and the priming takes their place.
const int kAacPrimingSamples = 1024;

// PCM is written as the same PCM, its samples unchanged; other sound, which cannot be cut to the sample
// without decoding, as AAC.
std::string soundCodec(const std::string& sourceCodec) {
    return isPCM(sourceCodec) ? sourceCodec : "aac";
}

// Maps every filtered sound stream "[a<stream>]" with its codec.
void appendSoundOutputs(std::vector<std::string>& arguments, const std::vector<std::string>& sourceCodecs) {
    for (std::size_t stream = 0; stream < sourceCodecs.size(); ++stream) {
        const std::string codec = soundCodec(sourceCodecs[stream]);
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
// The inputs' timestamps lie `clockOffset` after media time.
std::string soundFilter(std::size_t stream, const std::vector<HalfOpenRange>& ranges,
                        const std::string& codec, Rational clockOffset) {
    std::string graph;
    std::string joined;
    for (std::size_t i = 0; i < ranges.size(); ++i) {
        graph += fmt::format("[{}:a:{}]atrim=start={}:end={},asetpts=PTS-STARTPTS[a{}_{}];", i + 1, stream,
                             preciseSeconds(ranges[i].start + clockOffset),
                             preciseSeconds(ranges[i].end + clockOffset), stream, i);
        joined += fmt::format("[a{}_{}]", stream, i);
    }
    const std::string priming =
        soundCodec(codec) == "aac"
            ? fmt::format(",atrim=start_sample={},asetpts=PTS-STARTPTS", kAacPrimingSamples)
            : "";
    return graph + fmt::format("{}concat=n={}:v=0:a=1{}[a{}]", joined, ranges.size(), priming, stream);
}

// The sound inputs, their filter graph and their outputs, for a run whose video comes from input 0.
void appendSound(std::vector<std::string>& arguments, const CopySource& source,
                 const std::vector<HalfOpenRange>& ranges, Rational clockOffset) {
    if (source.audioCodecs.empty()) {
        return;
    }
    appendSoundInputs(arguments, source.file, ranges);
    std::vector<std::string> graphs;
    for (std::size_t stream = 0; stream < source.audioCodecs.size(); ++stream) {
        graphs.push_back(soundFilter(stream, ranges, source.audioCodecs[stream], clockOffset));
    }
    arguments.insert(arguments.end(), {"-filter_complex", fmt::format("{}", fmt::join(graphs, ";"))});
}

// The end of a copy run: the sound outputs, the timecode (a stream tag of the video), the first picture at
// zero, the output file.
void appendOutput(std::vector<std::string>& arguments, const CopySource& source,
                  const std::filesystem::path& output) {
    appendSoundOutputs(arguments, source.audioCodecs);
    arguments.insert(arguments.end(), {"-map_metadata:s:v:0", "0:s:v:0"});
    arguments.insert(arguments.end(), kFirstPictureAtZero.begin(), kFirstPictureAtZero.end());
    const std::vector<std::string> tail = outputTail(output);
    arguments.insert(arguments.end(), tail.begin(), tail.end());
}

// A packet-moving expression for `setts`: for a packet whose presentation time (as it arrives) lies in
// range i, shifts[i]; ranges told apart half a frame before each start in `arrivalStarts`.
std::string shiftByRange(const std::vector<Rational>& arrivalStarts, const std::vector<std::string>& shifts,
                         Rational halfFrame) {
    std::string expression = shifts.front();
    for (std::size_t i = 1; i < shifts.size(); ++i) {
        expression = fmt::format("if(gte(PTS*TB,{}),{},{})", preciseSeconds(arrivalStarts[i] - halfFrame),
                                 shifts[i], expression);
    }
    return expression;
}

const Rational kMicrosecond(1, 1000000);

// The concat demuxer counts in whole microseconds.
std::int64_t microsecondsDown(Rational seconds) {
    return seconds.frameNumber(kMicrosecond);
}

std::int64_t microsecondsUp(Rational seconds) {
    return -(-seconds).frameNumber(kMicrosecond);
}

// A count of microseconds in the concat list's notation, "-1.500000" for -1500000.
std::string listSeconds(std::int64_t microseconds) {
    const std::int64_t magnitude = microseconds < 0 ? -microseconds : microseconds;
    return fmt::format("{}{}.{:06}", microseconds < 0 ? "-" : "", magnitude / 1000000, magnitude % 1000000);
}

// A value rounded to the nearest integer, halves away from zero, as the demuxer rescales timestamps.
std::int64_t roundedHalfAway(Rational value) {
    const Rational half(1, 2);
    return value < Rational::zero() ? -(-value + half).frameNumber(Rational::one())
                                    : (value + half).frameNumber(Rational::one());
}

// One range as a list entry, and what the demuxer then adds to its timestamps.
struct ListEntry {
    std::int64_t inpoint;                  ///< µs on the source's clock: the range's keyframe, rounded up
                                           ///< (a seek lands on the last keyframe at or before it)
    std::optional<std::int64_t> outpoint;  ///< µs: the decoding time of the packet after the range
    std::int64_t start;                    ///< µs: where the entry begins in the list's own time
    std::int64_t correction;               ///< ticks the demuxer's shift falls short of the exact one
};

// The first packet decoded of those shown from the end of `range` on; none when the range reaches the end.
// A range from keyframe to keyframe (or to the first leading picture of an open one) decodes entirely
// before it.
std::optional<VideoPacket> packetAfter(const std::vector<VideoPacket>& packets, const HalfOpenRange& range) {
    const auto first = std::partition_point(
        packets.begin(), packets.end(), [&](const VideoPacket& packet) { return packet.time < range.end; });
    const auto last = first + std::min(kReorderReach, packets.end() - first);
    const auto after = std::min_element(
        first, last, [](const VideoPacket& a, const VideoPacket& b) { return a.decodeTime < b.decodeTime; });
    return after == last ? std::nullopt : std::optional(*after);
}

// The leading pictures of each range's keyframe: shown before the range, they need pictures it leaves out.
std::vector<VideoPacket> leadingPicturesAtStarts(const CopySource& source,
                                                 const std::vector<HalfOpenRange>& ranges) {
    std::vector<VideoPacket> leading;
    for (const HalfOpenRange& range : ranges) {
        const std::vector<VideoPacket> ofRange = leadingPictures(source.packets, range.start);
        leading.insert(leading.end(), ofRange.begin(), ofRange.end());
    }
    return leading;
}

// Whether a range begins or ends inside an open GOP: it starts at a keyframe whose leading pictures it
// leaves out, or stops before those of the keyframe after it.
bool cutsOpenGOP(const CopySource& source, const std::vector<HalfOpenRange>& ranges) {
    return !leadingPicturesAtStarts(source, ranges).empty() ||
           std::any_of(ranges.begin(), ranges.end(), [&](const HalfOpenRange& range) {
               const std::optional<VideoPacket> after = packetAfter(source.packets, range);
               return after && after->time != range.end;
           });
}

// Decoding times counted anew: the n-th packet written decodes at the time of the picture (n − depth − 1)
// frames from zero. Across a cut in an open GOP the packets decode in an order the source never had, and
// the demuxer's times would run backwards at the join; counted anew they rise and stay at or before each
// packet's presentation time, as the pictures lie back to back on the frame grid from zero.
std::string renumberedDecodingTimes(const CopySource& source) {
    const Rational ticksPerFrame = source.halfFrame * 2 / source.clock.timeBase;
    return fmt::format("round((N-{})*{})", reorderDepth(source.packets) + 1, preciseSeconds(ticksPerFrame));
}

std::vector<ListEntry> listEntries(const CopySource& source, const std::vector<HalfOpenRange>& ranges) {
    const std::vector<Rational> starts = backToBackStarts(ranges);
    const Rational origin = source.clock.origin;
    const Rational tick = source.clock.timeBase;
    std::vector<ListEntry> entries;
    for (std::size_t i = 0; i < ranges.size(); ++i) {
        ListEntry entry{microsecondsUp(ranges[i].start + origin), std::nullopt, microsecondsDown(starts[i]),
                        0};
        if (const auto after = packetAfter(source.packets, ranges[i])) {
            entry.outpoint = microsecondsDown(after->decodeTime + origin);
        }
        // The demuxer moves an entry's packets by (start − inpoint), rescaled to ticks; the range's pictures
        // belong at (their back-to-back start − the range's start).
        const std::int64_t demuxerShift =
            roundedHalfAway(Rational(entry.start - entry.inpoint, 1000000) / tick);
        const std::int64_t exactShift = roundedHalfAway((starts[i] - ranges[i].start - origin) / tick);
        entry.correction = exactShift - demuxerShift;
        entries.push_back(entry);
    }
    return entries;
}

// The path as a quoted concat-list string: inside single quotes only a single quote needs escaping.
std::string quotedPath(const std::filesystem::path& path) {
    std::string quoted = "'";
    for (const char c : path.string()) {
        quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
    }
    return quoted + "'";
}

// Leaves out the leading pictures of each range's keyframe, told apart by where they lie in the file: at a
// join they share their timestamps with the last pictures of the range before.
std::vector<std::string> leadingPicturesLeftOut(const CopySource& source,
                                                const std::vector<HalfOpenRange>& ranges) {
    std::vector<std::string> positions;
    for (const VideoPacket& packet : leadingPicturesAtStarts(source, ranges)) {
        positions.push_back(fmt::format("eq(pos,{})", packet.position));
        if (packet.position < 0) {
            return {};  // a container that does not say: the proof sees them, and the copy reads through
        }
    }
    if (positions.empty()) {
        return {};
    }
    return {fmt::format("noise=drop='{}'", fmt::join(positions, "+"))};
}

// Moves each range's packets the ticks the demuxer's microseconds fell short of, and counts decoding times
// anew across cuts in open GOPs; nothing when neither is needed.
std::vector<std::string> timestampFilter(const CopySource& source, const std::vector<HalfOpenRange>& ranges) {
    const std::vector<ListEntry> entries = listEntries(source, ranges);
    const bool renumber = cutsOpenGOP(source, ranges);
    if (!renumber && std::all_of(entries.begin(), entries.end(),
                                 [](const ListEntry& entry) { return entry.correction == 0; })) {
        return {};
    }
    std::vector<std::string> shifts;
    for (const ListEntry& entry : entries) {
        shifts.push_back(fmt::format("{}", entry.correction));
    }
    const std::string shift = shiftByRange(backToBackStarts(ranges), shifts, source.halfFrame);
    return {fmt::format("setts=pts='PTS+{}':dts='{}'", shift,
                        renumber ? renumberedDecodingTimes(source) : "DTS+" + shift)};
}

// The video's bitstream filters: the chain of those needed, or no option at all.
std::vector<std::string> videoFilterArguments(const std::vector<std::string>& filters) {
    if (filters.empty()) {
        return {};
    }
    return {"-bsf:v", fmt::format("{}", fmt::join(filters, ","))};
}

// Keeps the packets shown inside the ranges, and none other, and moves them so that the ranges follow each
// other from zero. Which range a packet belongs to is read from its presentation time, also for its
// decoding time: a range starts at a keyframe, so each packet decodes within its own range (where a range
// cuts an open GOP, decoding times are counted anew instead). The leading pictures of a range's keyframe
// show before it, so they are left out.
std::string readThroughFilter(const CopySource& source, const std::vector<HalfOpenRange>& ranges) {
    const Rational halfFrame = source.halfFrame;
    const std::vector<Rational> starts = backToBackStarts(ranges);
    std::vector<std::string> kept;
    std::vector<Rational> rangeStarts;
    std::vector<std::string> shifts;
    for (std::size_t i = 0; i < ranges.size(); ++i) {
        kept.push_back(fmt::format("gte(pts*tb,{})*lt(pts*tb,{})",
                                   preciseSeconds(ranges[i].start - halfFrame),
                                   preciseSeconds(ranges[i].end - halfFrame)));
        rangeStarts.push_back(ranges[i].start);
        shifts.push_back(fmt::format("-round({}/TB)", preciseSeconds(ranges[i].start - starts[i])));
    }
    const std::string shift = shiftByRange(rangeStarts, shifts, halfFrame);
    return fmt::format("noise=drop='1-({})',setts=pts='PTS+{}':dts='{}'", fmt::join(kept, "+"), shift,
                       cutsOpenGOP(source, ranges) ? renumberedDecodingTimes(source) : "DTS+" + shift);
}

}  // namespace

std::vector<Rational> backToBackStarts(const std::vector<HalfOpenRange>& ranges) {
    std::vector<Rational> starts;
    Rational start;
    for (const HalfOpenRange& range : ranges) {
        starts.push_back(start);
        start = start + range.length();
    }
    return starts;
}

std::string rangeListText(const CopySource& source, const std::vector<HalfOpenRange>& ranges) {
    const std::vector<ListEntry> entries = listEntries(source, ranges);
    std::string list = "ffconcat version 1.0\n";
    for (std::size_t i = 0; i < entries.size(); ++i) {
        list += fmt::format("file {}\ninpoint {}\n", quotedPath(std::filesystem::absolute(source.file)),
                            listSeconds(entries[i].inpoint));
        if (entries[i].outpoint) {
            list += fmt::format("outpoint {}\n", listSeconds(*entries[i].outpoint));
        }
        // The stated length places the next entry where its range belongs.
        const std::int64_t next =
            i + 1 < entries.size() ? entries[i + 1].start : microsecondsDown(totalLength(ranges));
        list += fmt::format("duration {}\n", listSeconds(next - entries[i].start));
    }
    return list;
}

std::vector<std::string> seekingCopyArguments(const CopySource& source,
                                              const std::vector<HalfOpenRange>& ranges,
                                              const std::filesystem::path& list,
                                              const std::filesystem::path& output) {
    // Timestamps stay as the demuxers give them: the list's from zero, the sound inputs' on the source's
    // clock. Without `auto_convert` the concat demuxer would rewrite H.264 packets into Annex B form, with
    // parameter sets in the picture data: no longer the source's bytes.
    std::vector<std::string> arguments{"-nostdin", "-copyts",       "-f", "concat", "-safe",
                                       "0",        "-auto_convert", "0",  "-i",     list.string()};
    appendSound(arguments, source, ranges, source.clock.origin);
    // The first packet can arrive a few ticks before zero, where the microseconds rounded its keyframe up;
    // the correction moves it back to zero.
    arguments.insert(arguments.end(), {"-map", "0:v:0", "-c:v", "copy", "-copypriorss", "1"});
    std::vector<std::string> filters = leadingPicturesLeftOut(source, ranges);
    const std::vector<std::string> timestamps = timestampFilter(source, ranges);
    filters.insert(filters.end(), timestamps.begin(), timestamps.end());
    const std::vector<std::string> bsf = videoFilterArguments(filters);
    arguments.insert(arguments.end(), bsf.begin(), bsf.end());
    appendOutput(arguments, source, output);
    return arguments;
}

std::vector<std::string> readThroughCopyArguments(const CopySource& source,
                                                  const std::vector<HalfOpenRange>& ranges,
                                                  const std::filesystem::path& output) {
    // Timestamps are counted from the file's start, like the packet probe counts them, so that the packet
    // choice names exact source pictures. Reading stops a second after the last range: decoding order runs
    // up to a few pictures behind display.
    std::vector<std::string> arguments{"-nostdin",
                                       "-copyts",
                                       "-start_at_zero",
                                       "-ss",
                                       seekSeconds(ranges.front().start, SeekRounding::down),
                                       "-t",
                                       preciseSeconds(ranges.back().end - ranges.front().start + 1),
                                       "-i",
                                       source.file.string()};
    appendSound(arguments, source, ranges, Rational::zero());
    arguments.insert(arguments.end(),
                     {"-map", "0:v:0", "-c:v", "copy", "-bsf:v", readThroughFilter(source, ranges)});
    appendOutput(arguments, source, output);
    return arguments;
}

}  // namespace tidyreel

#include "archive/media/video_packets.h"

#include "archive/media/encoder_profile.h"
#include "archive/media/media_probe.h"
#include "archive/media/probe_json.h"
#include "archive/media/tool_runner.h"
#include "platform/file_write.h"
#include "time/decimal_text.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <fstream>
#include <iterator>

namespace tidyreel {
namespace {

using nlohmann::json;

const char* const kNoTimeBase = "Video stream without a time base in ffprobe output";
const char* const kNoPresentationTime = "Video packet without a presentation time in ffprobe output";
const char* const kNoPictureTime = "Decoded picture without a presentation time in ffprobe output";

// Where `-ss 0` lies on the stream's clock: the file's start time, which ffprobe rounds to microseconds.
// When it is the video stream's own start, that exact value is taken, so that the first frame lies at 0.
Rational fileOrigin(const json& document, const json& stream, Rational timeBase) {
    const std::optional<std::int64_t> startPts = probeInteger(stream, "start_pts");
    const std::optional<Rational> streamStart =
        startPts ? std::optional<Rational>(Rational(*startPts) * timeBase) : std::nullopt;
    const auto format = document.find("format");
    const std::optional<Rational> fileStart = format != document.end() && format->is_object()
                                                  ? probeDecimalSeconds(probeText(*format, "start_time", ""))
                                                  : std::nullopt;
    if (!fileStart) {
        return streamStart.value_or(Rational::zero());
    }
    const Rational halfMicrosecond(1, 2000000);
    if (streamStart && *streamStart - *fileStart <= halfMicrosecond &&
        *fileStart - *streamStart <= halfMicrosecond) {
        return *streamStart;
    }
    return *fileStart;
}

Rational streamTimeBase(const json& stream) {
    const std::optional<ProbeTimeBase> timeBase = parsedProbeTimeBase(probeText(stream, "time_base", ""));
    if (!timeBase || timeBase->numerator <= 0 || timeBase->denominator <= 0) {
        throw ProbeError(kNoTimeBase);
    }
    return Rational(timeBase->numerator, timeBase->denominator);
}

// ffprobe's flags: "K" first for a keyframe, "D" second for a packet to be discarded.
bool hasFlag(const std::string& flags, std::size_t position, char flag) {
    return flags.size() > position && flags[position] == flag;
}

VideoClock videoClockOf(const json& document) {
    const std::optional<json> stream = firstProbeStream(document);
    if (!stream) {
        throw ProbeError("No video stream found in ffprobe output");
    }
    const Rational timeBase = streamTimeBase(*stream);
    const Rational origin = fileOrigin(document, *stream, timeBase);
    const std::optional<std::int64_t> startPts = probeInteger(*stream, "start_pts");
    const Rational firstPicture = startPts ? Rational(*startPts) * timeBase - origin : Rational::zero();
    const std::optional<std::int64_t> length = probeInteger(*stream, "duration_ts");
    return {timeBase, origin, firstPicture,
            length ? std::optional(firstPicture + Rational(*length) * timeBase) : std::nullopt};
}

// The ffprobe arguments that show `entries` of the first video stream of `file` (with its time base and
// start, and the file's start) as compact JSON; `extra` options before the file, which is read only in
// `windows` when there are any.
std::vector<std::string> videoStreamProbeArguments(const std::string& entries,
                                                   const std::filesystem::path& file,
                                                   const std::vector<PacketWindow>& windows,
                                                   const std::vector<std::string>& extra = {}) {
    std::vector<std::string> arguments{"-v", "error", "-select_streams", "v:0"};
    arguments.insert(arguments.end(), extra.begin(), extra.end());
    arguments.insert(arguments.end(),
                     {"-show_entries", entries + ":format=start_time", "-of", "json=compact=1"});
    std::vector<std::string> intervals;
    for (const PacketWindow& window : windows) {
        intervals.push_back(fmt::format("{}%{}", ffmpegSeconds(window.from.doubleValue()),
                                        ffmpegSeconds(window.to.doubleValue())));
    }
    if (!intervals.empty()) {
        arguments.insert(arguments.end(), {"-read_intervals", fmt::format("{}", fmt::join(intervals, ","))});
    }
    arguments.push_back(std::filesystem::absolute(file).string());
    return arguments;
}

// The packets in the order they are decoded.
std::vector<const VideoPacket*> inDecodingOrder(const std::vector<VideoPacket>& packets) {
    std::vector<const VideoPacket*> decoding;
    for (const VideoPacket& packet : packets) {
        decoding.push_back(&packet);
    }
    std::stable_sort(decoding.begin(), decoding.end(), [](const VideoPacket* a, const VideoPacket* b) {
        return a->decodeTime < b->decodeTime;
    });
    return decoding;
}

}  // namespace

VideoClock probeVideoClock(const std::filesystem::path& file, const ProbeSetup& probe) {
    return videoClockOf(parsedProbeObject(FFProbe::runProbe(
        videoStreamProbeArguments("stream=time_base,start_pts,duration_ts", file, {}), probe)));
}

std::vector<PacketWindow> windowsAround(std::vector<HalfOpenRange> ranges, Rational margin,
                                        const VideoClock& clock) {
    std::sort(ranges.begin(), ranges.end(),
              [](const HalfOpenRange& a, const HalfOpenRange& b) { return a.start < b.start; });
    std::vector<PacketWindow> windows;
    for (const HalfOpenRange& range : ranges) {
        const Rational from = std::max(range.start - margin, Rational::zero());
        const Rational to = range.end + margin;
        if (!windows.empty() && from <= windows.back().to) {
            windows.back().to = std::max(windows.back().to, to);
        } else {
            windows.push_back({from, to});
        }
    }
    for (PacketWindow& window : windows) {
        window.from = window.from + clock.origin;
        window.to = window.to + clock.origin;
    }
    return windows;
}

std::vector<std::string> videoPacketProbeArguments(const std::filesystem::path& file,
                                                   const std::vector<PacketWindow>& windows,
                                                   PacketChecksums checksums) {
    // Adler-32 is the cheapest checksum ffprobe offers: it tells a copied packet from a changed one.
    return videoStreamProbeArguments(
        "packet=pts,dts,duration,flags,pos,size,data_hash:stream=time_base,start_pts", file, windows,
        checksums == PacketChecksums::compute ? std::vector<std::string>{"-show_data_hash", "adler32"}
                                              : std::vector<std::string>{});
}

std::vector<VideoPacket> parseVideoPackets(std::string_view text) {
    const json document = parsedProbeObject(text);
    const VideoClock clock = videoClockOf(document);
    const Rational timeBase = clock.timeBase;
    const Rational origin = clock.origin;
    std::vector<VideoPacket> packets;
    const auto list = document.find("packets");
    if (list == document.end() || !list->is_array()) {
        return packets;
    }
    for (const json& packet : *list) {
        const std::string flags = packet.is_object() ? probeText(packet, "flags", "") : "";
        if (hasFlag(flags, 1, 'D')) {
            continue;
        }
        const std::optional<std::int64_t> pts =
            packet.is_object() ? probeInteger(packet, "pts") : std::nullopt;
        if (!pts) {
            throw ProbeError(kNoPresentationTime);
        }
        const std::int64_t duration = std::max<std::int64_t>(probeInteger(packet, "duration").value_or(0), 0);
        const std::int64_t dts = probeInteger(packet, "dts").value_or(*pts);
        packets.push_back({Rational(*pts) * timeBase - origin, Rational(duration) * timeBase,
                           hasFlag(flags, 0, 'K'), Rational(dts) * timeBase - origin,
                           probeText(packet, "data_hash", ""), probeInteger(packet, "pos").value_or(-1),
                           probeInteger(packet, "size").value_or(-1)});
    }
    std::stable_sort(packets.begin(), packets.end(),
                     [](const VideoPacket& a, const VideoPacket& b) { return a.time < b.time; });
    packets.erase(std::unique(packets.begin(), packets.end(),
                              [](const VideoPacket& a, const VideoPacket& b) { return a.time == b.time; }),
                  packets.end());
    return packets;
}

std::vector<VideoPacket> probeVideoPackets(const std::filesystem::path& file, const ProbeSetup& probe,
                                           const std::vector<PacketWindow>& windows,
                                           PacketChecksums checksums) {
    return parseVideoPackets(FFProbe::runProbe(videoPacketProbeArguments(file, windows, checksums), probe));
}

std::string adler32Text(std::span<const std::uint8_t> bytes) {
    constexpr std::uint32_t kModulus = 65521;
    // Sums stay below 2^32 for this many bytes before they must be reduced.
    constexpr std::size_t kBlock = 5552;
    std::uint32_t a = 1;
    std::uint32_t b = 0;
    for (std::size_t start = 0; start < bytes.size(); start += kBlock) {
        for (const std::uint8_t byte : bytes.subspan(start, std::min(kBlock, bytes.size() - start))) {
            a += byte;
            b += a;
        }
        a %= kModulus;
        b %= kModulus;
    }
    return fmt::format("adler32:{:08x}", (b << 16) | a);
}

std::vector<std::uint8_t> packetBytes(const std::filesystem::path& file, const VideoPacket& packet) {
    std::vector<std::uint8_t> bytes(packet.size > 0 ? static_cast<std::size_t>(packet.size) : 0);
    std::ifstream in(file, std::ios::binary);
    if (packet.position < 0 || bytes.empty() || !in.seekg(packet.position) ||
        !in.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()))) {
        throw ProbeError(fmt::format("{}: Bild bei {}s nicht lesbar", eventualName(file),
                                     shortestDecimal(packet.time.doubleValue())));
    }
    return bytes;
}

std::vector<Rational> parseDecodedPictureTimes(std::string_view text) {
    const json document = parsedProbeObject(text);
    const VideoClock clock = videoClockOf(document);
    std::vector<Rational> times;
    const auto list = document.find("frames");
    if (list == document.end() || !list->is_array()) {
        return times;
    }
    for (const json& frame : *list) {
        const std::optional<std::int64_t> shown =
            frame.is_object() ? probeInteger(frame, "best_effort_timestamp") : std::nullopt;
        if (!shown) {
            throw ProbeError(kNoPictureTime);
        }
        times.push_back(Rational(*shown) * clock.timeBase - clock.origin);
    }
    return times;
}

std::vector<Rational> probeDecodedPictureTimes(const std::filesystem::path& file, const ProbeSetup& probe,
                                               const std::vector<PacketWindow>& windows) {
    return parseDecodedPictureTimes(FFProbe::runProbe(
        videoStreamProbeArguments("frame=best_effort_timestamp:stream=time_base,start_pts", file, windows),
        probe));
}

std::vector<Rational> openKeyframeTimes(const std::vector<VideoPacket>& packets) {
    const std::vector<const VideoPacket*> decoding = inDecodingOrder(packets);
    // Walking back in decoding order keeps the earliest picture shown by anything decoded later.
    std::vector<Rational> open;
    std::optional<Rational> earliestLater;
    for (auto packet = decoding.rbegin(); packet != decoding.rend(); ++packet) {
        if ((*packet)->keyframe && earliestLater && *earliestLater < (*packet)->time) {
            open.push_back((*packet)->time);
        }
        earliestLater = earliestLater ? std::min(*earliestLater, (*packet)->time) : (*packet)->time;
    }
    std::sort(open.begin(), open.end());
    return open;
}

std::span<const VideoPacket> packetsShownIn(const std::vector<VideoPacket>& packets, Rational from,
                                            Rational to) {
    const auto shownBefore = [](Rational time) {
        return [time](const VideoPacket& packet) { return packet.time < time; };
    };
    const auto first = std::partition_point(packets.begin(), packets.end(), shownBefore(from));
    const auto last = std::partition_point(first, packets.end(), shownBefore(to));
    return {first, last};
}

std::vector<VideoPacket> leadingPictures(const std::vector<VideoPacket>& packets, Rational keyframe) {
    const auto key = std::partition_point(packets.begin(), packets.end(),
                                          [&](const VideoPacket& packet) { return packet.time < keyframe; });
    std::vector<VideoPacket> leading;
    if (key == packets.end() || key->time != keyframe || !key->keyframe) {
        return leading;
    }
    std::copy_if(key - std::min(kReorderReach, key - packets.begin()), key, std::back_inserter(leading),
                 [&](const VideoPacket& packet) { return packet.decodeTime > key->decodeTime; });
    return leading;
}

int reorderDepth(const std::vector<VideoPacket>& packets) {
    const std::vector<const VideoPacket*> decoding = inDecodingOrder(packets);
    int depth = 0;
    for (std::size_t i = 0; i < decoding.size(); ++i) {
        const auto earlier =
            decoding.begin() + static_cast<std::ptrdiff_t>(i) - std::min<std::ptrdiff_t>(i, kReorderReach);
        const auto showLater =
            std::count_if(earlier, decoding.begin() + static_cast<std::ptrdiff_t>(i),
                          [&](const VideoPacket* other) { return other->time > decoding[i]->time; });
        depth = std::max(depth, static_cast<int>(showLater));
    }
    return depth;
}

std::optional<Rational> keyframeAtOrBefore(const std::vector<VideoPacket>& packets, Rational time) {
    std::optional<Rational> found;
    for (const VideoPacket& packet : packets) {
        if (packet.time > time) {
            break;
        }
        if (packet.keyframe) {
            found = packet.time;
        }
    }
    return found;
}

Rational decodeStart(const std::filesystem::path& file, const ProbeSetup& probe, Rational time) {
    const PacketWindow stretch{std::max(time - kKeyframeSearch, Rational::zero()), time + Rational::one()};
    if (const auto keyframe = keyframeAtOrBefore(probeVideoPackets(file, probe, {stretch}), time)) {
        return *keyframe;
    }
    return keyframeAtOrBefore(probeVideoPackets(file, probe), time).value_or(Rational::zero());
}

}  // namespace tidyreel

#pragma once

#include "archive/media/media_probe.h"
#include "time/half_open_range.h"
#include "time/rational.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace tidyreel {

/// One packet of a file's first video stream: one frame as the container presents it.
struct VideoPacket {
    Rational time;           ///< presentation time in seconds from the file's start, as `-ss` counts
    Rational duration;       ///< how long the frame is shown; zero when the container does not say
    bool keyframe = false;   ///< decoding can begin here
    Rational decodeTime;     ///< when it is decoded, on the same clock; its presentation time when unsaid
    std::string dataHash{};  ///< a checksum of its bytes, to tell a copied packet from a changed one; empty
                             ///< when not probed
    std::int64_t position = -1;  ///< where its bytes begin in the file; -1 when the container does not say
    std::int64_t size = -1;      ///< how many bytes it has; -1 when the probe does not say

    bool operator==(const VideoPacket&) const = default;
};

/// A stretch of a file whose packets are read, in seconds of the stream's own clock (the file's start
/// plus its start time). Reading begins at the last keyframe before `from`, so that one is included.
struct PacketWindow {
    Rational from;
    Rational to;
};

/// How a file's first video stream counts time.
struct VideoClock {
    Rational timeBase;      ///< the length of one tick of its timestamps
    Rational origin;        ///< where `-ss 0` lies on its clock: packet times are its timestamps less this
    Rational firstPicture;  ///< when its first picture shows, as packet times count: later than zero in a
                            ///< file whose pictures start late (B-frames without an edit list)
    std::optional<Rational> picturesEnd{};  ///< where its pictures end as the stream says, as packet times
                                            ///< count; none when it does not say
};

/// The clock of the file's first video stream, read with the run's ffprobe; throws `ProbeError`.
VideoClock probeVideoClock(const std::filesystem::path& file, const ProbeSetup& probe);

/// The ranges (media time since the file's start, in any order, overlapping or not) widened by `margin` on
/// both sides (not before the file's start), merged where they meet, ascending, on the stream's clock:
/// windows to read the packets of the ranges and their surroundings.
std::vector<PacketWindow> windowsAround(std::vector<HalfOpenRange> ranges, Rational margin,
                                        const VideoClock& clock);

/// Whether a packet probe also reads a checksum of each packet's bytes: only proving a copy needs them, and
/// they cost a good part of the probe.
enum class PacketChecksums { skip, compute };

/// A checksum of bytes as the packet probe's `-show_data_hash adler32` writes it ("adler32:0123abcd").
std::string adler32Text(std::span<const std::uint8_t> bytes);

/// The ffprobe arguments that list the packets of the first video stream, its time base and start: of the
/// whole file, or of the given windows only (ascending and disjoint).
std::vector<std::string> videoPacketProbeArguments(const std::filesystem::path& file,
                                                   const std::vector<PacketWindow>& windows = {},
                                                   PacketChecksums checksums = PacketChecksums::skip);

/// Reads that probe's JSON answer: the packets the container shows (those it marks to be discarded, before
/// an edit list's start, are left out), sorted by presentation time, each once (windows read from the
/// keyframe before their start can overlap); throws `ProbeError`.
std::vector<VideoPacket> parseVideoPackets(std::string_view json);

/// The shown packets of the file's first video stream, sorted by presentation time, read with the run's
/// ffprobe (whole, or only `windows`); throws `ProbeError`, and `RunCancelled` on a stop request.
std::vector<VideoPacket> probeVideoPackets(const std::filesystem::path& file, const ProbeSetup& probe,
                                           const std::vector<PacketWindow>& windows = {},
                                           PacketChecksums checksums = PacketChecksums::skip);

/// The bytes of a packet of `file` (its `position` and `size`); throws `ProbeError` when they cannot be read
/// whole.
std::vector<std::uint8_t> packetBytes(const std::filesystem::path& file, const VideoPacket& packet);

/// The presentation times of the pictures the decoder gives while it plays the windows (ascending and
/// disjoint) of the file's first video stream, each from the keyframe before it, in the order it gives
/// them; read with the run's ffprobe. Throws `ProbeError`, and `RunCancelled` on a stop request.
std::vector<Rational> probeDecodedPictureTimes(const std::filesystem::path& file, const ProbeSetup& probe,
                                               const std::vector<PacketWindow>& windows);

/// Reads that probe's JSON answer; throws `ProbeError`.
std::vector<Rational> parseDecodedPictureTimes(std::string_view json);

/// The times of the keyframes in sorted packets that start an open GOP, ascending: some picture decoded
/// after such a keyframe shows before it (a leading picture), so a copy can neither start nor end there.
std::vector<Rational> openKeyframeTimes(const std::vector<VideoPacket>& packets);

/// How many packets a picture can trade places with between decoding and display: more than any codec
/// reorders. Searches for reordered pictures look no further.
inline constexpr std::ptrdiff_t kReorderReach = 32;

/// The packets of sorted packets shown from `from` up to before `to`.
std::span<const VideoPacket> packetsShownIn(const std::vector<VideoPacket>& packets, Rational from,
                                            Rational to);

/// The leading pictures of the keyframe at `keyframe` in sorted packets: those decoded after it but shown
/// before it (open GOP), sorted by time; none for a closed keyframe.
std::vector<VideoPacket> leadingPictures(const std::vector<VideoPacket>& packets, Rational keyframe);

/// The most pictures of sorted packets decoded before one of them that show after it: how far decoding runs
/// ahead of display. Counted among the `kReorderReach` packets decoded before each.
int reorderDepth(const std::vector<VideoPacket>& packets);

/// The time of the last keyframe shown at or before `time` in sorted packets: decoding from there yields
/// the frame on screen at `time`, also when that is a leading frame of a later keyframe (open GOP); no value
/// when there is none.
std::optional<Rational> keyframeAtOrBefore(const std::vector<VideoPacket>& packets, Rational time);

/// The keyframe of the file to decode from for the frame on screen at `time` (see `keyframeAtOrBefore`).
/// Only the stretch of `kKeyframeSearch` before it is read, so that a long source is not read whole for
/// each cut; the whole file only when that stretch holds none. The file's start when there is none at all.
Rational decodeStart(const std::filesystem::path& file, const ProbeSetup& probe, Rational time);

/// How far before a time `decodeStart` looks for its keyframe first: longer than camera GOPs.
inline const Rational kKeyframeSearch(10);

}  // namespace tidyreel

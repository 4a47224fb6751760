#include "archive/media/broken_link_joins.h"

#include "archive/media/nal_units.h"
#include "base/error_codes.h"
#include "platform/file_write.h"
#include "time/decimal_text.h"

#include <fmt/format.h>

#include <fstream>

namespace tidyreel {
namespace {

// HEVC NAL unit types: the slice types end before 32; a CRA is 21, a broken link whose leading pictures
// may be present (and are skipped by the decoder) 16.
constexpr int kFirstNonSliceType = 32;
constexpr int kCleanRandomAccess = 21;
constexpr int kBrokenLinkWithLeading = 16;
// HEVC's header has two bytes: a unit shorter than that is none.
constexpr std::size_t kHeaderBytes = 2;

// The type sits in bits 1–6 of the first header byte, between the forbidden bit and the layer's top bit.
int nalUnitType(std::uint8_t firstHeaderByte) {
    return (firstHeaderByte >> 1) & 0x3f;
}

[[noreturn]] void failJoin(const std::string& problem) {
    throw Error(StreamCopyError::domain, StreamCopyError::joinNotDecodable, problem);
}

}  // namespace

bool joinsNeedMarking(const std::string& videoCodec) {
    return videoCodec == "hevc";
}

bool markBrokenLink(std::span<std::uint8_t> sample) {
    std::vector<std::size_t> slices;
    for (const std::size_t start : nalUnitHeaderOffsets(sample, kHeaderBytes)) {
        if (nalUnitType(sample[start]) < kFirstNonSliceType) {
            slices.push_back(start);
        }
    }
    // All slices of a picture share its type.
    if (slices.empty() || nalUnitType(sample[slices.front()]) != kCleanRandomAccess) {
        return false;
    }
    for (const std::size_t slice : slices) {
        sample[slice] = static_cast<std::uint8_t>((sample[slice] & 0x81) | (kBrokenLinkWithLeading << 1));
    }
    return true;
}

void markJoinsAsBrokenLinks(const std::filesystem::path& file, const std::vector<Rational>& joins,
                            const ProbeSetup& probe) {
    const Rational justAfter(1, 1000);
    std::vector<HalfOpenRange> around;
    for (const Rational join : joins) {
        around.push_back({join, join + justAfter});
    }
    const std::vector<VideoPacket> packets =
        probeVideoPackets(file, probe, windowsAround(around, Rational::zero(), VideoClock{}));
    std::fstream out(file, std::ios::binary | std::ios::in | std::ios::out);
    for (const Rational join : joins) {
        const std::span<const VideoPacket> atJoin = packetsShownIn(packets, join, join + justAfter);
        if (atJoin.empty() || !atJoin.front().keyframe) {
            failJoin(fmt::format("{}: kein Keyframe am Übergang bei {}s", eventualName(file),
                                 shortestDecimal(join.doubleValue())));
        }
        std::vector<std::uint8_t> bytes = packetBytes(file, atJoin.front());
        if (markBrokenLink(bytes) &&
            !(out.seekp(atJoin.front().position) && out.write(reinterpret_cast<const char*>(bytes.data()),
                                                              static_cast<std::streamsize>(bytes.size())))) {
            failJoin(fmt::format("{}: Übergang bei {}s nicht markierbar", eventualName(file),
                                 shortestDecimal(join.doubleValue())));
        }
    }
    if (!out.flush()) {
        failJoin(eventualName(file) + ": Übergänge nicht geschrieben");
    }
}

}  // namespace tidyreel

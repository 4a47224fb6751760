#include "archive/media/broken_link_joins.h"

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
constexpr std::size_t kLengthBytes = 4;

// The type sits in bits 1–6 of the first header byte, between the forbidden bit and the layer's top bit.
int nalUnitType(std::uint8_t firstHeaderByte) {
    return (firstHeaderByte >> 1) & 0x3f;
}

[[noreturn]] void failSample(const std::string& problem) {
    throw Error(StreamCopyError::domain, StreamCopyError::picturesDiffer, problem);
}

// The offsets of the NAL units' first header bytes in a sample.
std::vector<std::size_t> nalUnitStarts(std::span<const std::uint8_t> sample) {
    std::vector<std::size_t> starts;
    std::size_t offset = 0;
    while (offset < sample.size()) {
        if (sample.size() - offset < kLengthBytes + 2) {
            failSample("HEVC-Bild endet mitten in einer NAL-Einheit");
        }
        std::size_t length = 0;
        for (std::size_t i = 0; i < kLengthBytes; ++i) {
            length = (length << 8) | sample[offset + i];
        }
        offset += kLengthBytes;
        if (length < 2 || length > sample.size() - offset) {
            failSample("HEVC-Bild mit NAL-Längen, die es nicht ausfüllen");
        }
        starts.push_back(offset);
        offset += length;
    }
    return starts;
}

}  // namespace

bool joinsNeedMarking(const std::string& videoCodec) {
    return videoCodec == "hevc";
}

bool markBrokenLink(std::span<std::uint8_t> sample) {
    std::vector<std::size_t> slices;
    for (const std::size_t start : nalUnitStarts(sample)) {
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

std::vector<std::uint8_t> packetBytes(const std::filesystem::path& file, const VideoPacket& packet) {
    std::vector<std::uint8_t> bytes(packet.size > 0 ? static_cast<std::size_t>(packet.size) : 0);
    std::ifstream in(file, std::ios::binary);
    if (packet.position < 0 || bytes.empty() || !in.seekg(packet.position) ||
        !in.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()))) {
        failSample(fmt::format("{}: Bild bei {}s nicht lesbar", eventualName(file),
                               shortestDecimal(packet.time.doubleValue())));
    }
    return bytes;
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
            failSample(fmt::format("{}: kein Keyframe am Übergang bei {}s", eventualName(file),
                                   shortestDecimal(join.doubleValue())));
        }
        std::vector<std::uint8_t> bytes = packetBytes(file, atJoin.front());
        if (markBrokenLink(bytes) &&
            !(out.seekp(atJoin.front().position) && out.write(reinterpret_cast<const char*>(bytes.data()),
                                                              static_cast<std::streamsize>(bytes.size())))) {
            failSample(fmt::format("{}: Übergang bei {}s nicht markierbar", eventualName(file),
                                   shortestDecimal(join.doubleValue())));
        }
    }
    if (!out.flush()) {
        failSample(eventualName(file) + ": Übergänge nicht geschrieben");
    }
}

}  // namespace tidyreel

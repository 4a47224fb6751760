#include "archive/media/nal_units.h"

#include "archive/media/media_probe.h"
#include "base/error.h"
#include "base/error_codes.h"

namespace tidyreel {
namespace {

constexpr std::size_t kLengthBytes = 4;
// An H.264 NAL unit's type is the low five bits of its one header byte; 5 is a slice of an IDR picture.
constexpr int kH264IDRSlice = 5;

[[noreturn]] void failSample(const char* problem) {
    throw Error(StreamCopyError::domain, StreamCopyError::picturesDiffer, problem);
}

}  // namespace

std::vector<std::size_t> nalUnitHeaderOffsets(std::span<const std::uint8_t> sample, std::size_t headerBytes) {
    std::vector<std::size_t> offsets;
    std::size_t offset = 0;
    while (offset < sample.size()) {
        if (sample.size() - offset < kLengthBytes + headerBytes) {
            failSample("Bild endet mitten in einer NAL-Einheit");
        }
        std::size_t length = 0;
        for (std::size_t i = 0; i < kLengthBytes; ++i) {
            length = (length << 8) | sample[offset + i];
        }
        offset += kLengthBytes;
        if (length < headerBytes || length > sample.size() - offset) {
            failSample("Bild mit NAL-Längen, die es nicht ausfüllen");
        }
        offsets.push_back(offset);
        offset += length;
    }
    return offsets;
}

bool isH264IDRPicture(std::span<const std::uint8_t> sample) {
    try {
        for (const std::size_t offset : nalUnitHeaderOffsets(sample, 1)) {
            if ((sample[offset] & 0x1f) == kH264IDRSlice) {
                return true;
            }
        }
    } catch (const Error&) {
        // Not readable as NAL units: whether decoding can begin here is left to the decoder.
    }
    return false;
}

bool showsH264IDRPictureAt(const std::filesystem::path& file, const std::vector<VideoPacket>& packets,
                           Rational time) {
    const std::span<const VideoPacket> at = packetsShownIn(packets, time, time + Rational(1, 1000000));
    try {
        return !at.empty() && isH264IDRPicture(packetBytes(file, at.front()));
    } catch (const ProbeError&) {
        return false;
    }
}

}  // namespace tidyreel

// ffprobe's JSON answer, as a broken or hostile ffprobe might print it.
#include "archive/media/media_probe.h"
#include "archive/media/video_packets.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view json(reinterpret_cast<const char*>(data), size);
    try {
        (void)tidyreel::isAVFoundationProRes4444(tidyreel::FFProbe::parseCodecProbe(json));
    } catch (const tidyreel::Error&) {
    }
    try {
        (void)tidyreel::FFProbe::parseDurationProbe(json);
    } catch (const tidyreel::Error&) {
    }
    try {
        (void)tidyreel::parseVideoPackets(json);
    } catch (const tidyreel::Error&) {
    }
    return 0;
}

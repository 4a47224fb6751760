// Any bytes as an FxPlug preset, scanned in one piece and again in small pieces: the uid found must not
// depend on where the pieces break. (A Motion template is referenced by its path; its bytes are not read.)
#include "grading/preset_uid_scan.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <sstream>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) {
        return 0;
    }
    // The first byte picks the piece size, so that every break position gets tried.
    const std::size_t smallChunk = 1 + data[0] % 64;
    const std::string bytes(reinterpret_cast<const char*>(data + 1), size - 1);
    std::istringstream whole(bytes);
    std::istringstream pieces(bytes);
    if (tidyreel::scanPresetUid(whole, bytes.size() + 1) != tidyreel::scanPresetUid(pieces, smallChunk)) {
        std::abort();
    }
    return 0;
}

// Any bytes as an effect file, once as a Motion template (.moef) and once as an FxPlug preset.
#include "base/error.h"
#include "grading/effect_preset_parser.h"

#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>

namespace {

const std::filesystem::path& workFolder() {
    static const std::filesystem::path folder = [] {
        const std::filesystem::path made =
            std::filesystem::temp_directory_path() / ("tidyreel-fuzz-" + std::to_string(getpid()));
        std::filesystem::create_directories(made);
        return made;
    }();
    return folder;
}

void parseAs(const char* name, const std::uint8_t* data, std::size_t size) {
    const std::filesystem::path file = workFolder() / name;
    std::ofstream(file, std::ios::binary)
        .write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
    try {
        (void)tidyreel::EffectPresetParser::parse(file);
    } catch (const tidyreel::Error&) {
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    parseAs("Effect.moef", data, size);
    parseAs("Effect.effectspreset", data, size);
    return 0;
}

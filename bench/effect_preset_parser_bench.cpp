// How long reading a large effects preset takes, and how much memory it needs.
//   effect_preset_parser_bench [MEGABYTES]   (default 300)
// The worst case: "effectID" at the start, dashes and hex digits throughout, and the only UUID at the end,
// so that every byte goes through both searches.
#include "grading/effect_preset_parser.h"

#include <sys/resource.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <string>

namespace {

// Writes real bytes (not a sparse file), so that the measurement includes reading them from disk cache.
std::filesystem::path writeLargePreset(std::size_t megabytes) {
    const std::filesystem::path file =
        std::filesystem::temp_directory_path() / "tidyreel-bench.effectspreset";
    std::ofstream stream(file, std::ios::binary | std::ios::trunc);
    stream << "effectID";
    std::string block(std::size_t{1} << 20, '\0');
    for (std::size_t i = 0; i < block.size(); ++i) {
        // Near misses: one hex digit short of a UUID, next to "FxPlug:" and an almost "effectID".
        block[i] = "FxPlug:1A2B3C4D-1111-2222-3333-44445555666\xff effectI\x00"[i % 52];
    }
    for (std::size_t i = 0; i < megabytes; ++i) {
        stream.write(block.data(), static_cast<std::streamsize>(block.size()));
    }
    stream << " 1A2B3C4D-1111-2222-3333-444455556666";
    return file;
}

long peakResidentKilobytes() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
}

}  // namespace

int main(int argc, char** argv) {
    const std::size_t megabytes = argc > 1 ? std::strtoul(argv[1], nullptr, 10) : 300;
    const std::filesystem::path file = writeLargePreset(megabytes);
    const long residentBefore = peakResidentKilobytes();
    const auto start = std::chrono::steady_clock::now();
    const tidyreel::EffectReference reference = tidyreel::EffectPresetParser::parse(file);
    const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
    std::cout << "preset: " << std::filesystem::file_size(file) / 1000000 << " MB, uid " << reference.uid
              << '\n'
              << "parse: " << elapsed.count() << " s\n"
              << "peak resident: " << peakResidentKilobytes() / 1024 << " MiB (before parsing "
              << residentBefore / 1024 << " MiB)\n";
    std::filesystem::remove(file);
}

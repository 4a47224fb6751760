#include "grading_support.h"

#include "test_support.h"

namespace tidyreel::test {
namespace {

std::string binaryNoise() {
    std::string noise = "bplist00";
    for (int i = 0; i < 512; ++i) {
        noise += static_cast<char>((i * 37) % 256);
    }
    return noise;
}

}  // namespace

std::filesystem::path writeMotionTemplate(const std::filesystem::path& folder,
                                          const std::string& relativePath) {
    const std::filesystem::path file = folder / relativePath;
    writeTextFile(file, "<?xml version=\"1.0\"?><ozml version=\"5.0\"/>");
    return file;
}

std::filesystem::path writePreset(const std::filesystem::path& file, const std::string& content) {
    writeTextFile(file, binaryNoise() + content + binaryNoise());
    return file;
}

std::filesystem::path motionEffectsFolder(const std::filesystem::path& home) {
    return home / "Movies" / "Motion Templates.localized" / "Effects.localized";
}

}  // namespace tidyreel::test

// Checks archive bundles, written here with real media, through the real `tidyreel verify`.
#include "cli/archive_media_support.h"
#include "cli/cli_support.h"
#include "test_support.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tidyreel::test {
namespace {

using ::testing::ElementsAre;
using ::testing::StartsWith;

// What verify printed beyond the session's own log lines ("HH:mm:ss <symbol> <message>").
std::vector<std::string> verdictLines(const CommandResult& result) {
    std::vector<std::string> lines;
    for (const std::string& line : splitLines(result.standardOutput)) {
        if (line.size() < 9 || line[2] != ':' || line[5] != ':') {
            lines.push_back(line);
        }
    }
    return lines;
}

class VerifyCommand : public ::testing::Test {
protected:
    // A bundle whose project shows a 4 s picture file and a 4 s sound file, both in its Media folder.
    void SetUp() override {
        makeTestVideo(bundle / "Media" / "Bild_trimmed.mov", 4, 0,
                      "-c:v libx264 -preset ultrafast -pix_fmt yuv420p -c:a aac");
        ASSERT_TRUE(runShell("ffmpeg -nostdin -v error -y -f lavfi -i sine=duration=4:sample_rate=48000 '" +
                             sound.string() + "'"));
        writeTextFile(
            bundle / "Info.fcpxml",
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<fcpxml version=\"1.11\"><resources>"
            "<format id=\"f1\" frameDuration=\"1/25s\" width=\"160\" height=\"90\"/>"
            "<asset id=\"a1\" name=\"Bild\" start=\"0s\" duration=\"4s\" hasVideo=\"1\" hasAudio=\"1\" "
            "format=\"f1\"><media-rep kind=\"original-media\" src=\"./Media/Bild_trimmed.mov\"/></asset>"
            "<asset id=\"a2\" name=\"Ton\" start=\"0s\" duration=\"4s\" hasAudio=\"1\" audioRate=\"48000\">"
            "<media-rep kind=\"original-media\" src=\"./Media/Ton.wav\"/></asset></resources>"
            "<library><event name=\"E\"><project name=\"P\"><sequence format=\"f1\"><spine>"
            "<asset-clip ref=\"a1\" name=\"Bild\" offset=\"0s\" start=\"0s\" duration=\"4s\">"
            "<asset-clip ref=\"a2\" name=\"Ton\" lane=\"-1\" offset=\"0s\" start=\"0s\" duration=\"4s\"/>"
            "</asset-clip></spine></sequence></project></event></library></fcpxml>");
    }

    CommandResult verify() const { return runTidyreel({"verify", bundle.string(), "--lang", "en"}, user); }

    IsolatedUserFolders user;
    TempFolder folder;
    std::filesystem::path bundle = folder / "archiv_Test.fcpxmld";
    std::filesystem::path sound = bundle / "Media" / "Ton.wav";
};

TEST_F(VerifyCommand, AcceptsABundleWhoseMediaCoverTheirAssets) {
    const CommandResult result = verify();
    EXPECT_EQ(result.exitStatus, 0) << result.standardOutput << result.standardError;
    EXPECT_THAT(verdictLines(result), ElementsAre("✓ Archive is sound"));
}

TEST_F(VerifyCommand, SoundFileCutShortIsAProblem) {
    // Half the samples gone, as after a copy that stopped early; the header still promises 4 s.
    std::filesystem::resize_file(sound, std::filesystem::file_size(sound) / 2);
    const CommandResult result = verify();
    EXPECT_EQ(result.exitStatus, 1);
    const std::vector<std::string> lines = verdictLines(result);
    ASSERT_EQ(lines.size(), 2u) << result.standardOutput;
    EXPECT_THAT(lines[0], StartsWith("✗ Asset a2: Ton.wav is only "));
    EXPECT_THAT(lines[0], ::testing::EndsWith(", declared 4s"));
    EXPECT_EQ(lines[1], "1 problem(s)");
}

TEST_F(VerifyCommand, SoundFileMissingFromTheBundleIsAProblem) {
    std::filesystem::remove(sound);
    const CommandResult result = verify();
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_THAT(verdictLines(result),
                ElementsAre("✗ Asset a2: ./Media/Ton.wav is missing from the bundle", "1 problem(s)"));
}

}  // namespace
}  // namespace tidyreel::test

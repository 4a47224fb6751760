#include "cli/cli_support.h"
#include "test_support.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

namespace tidyreel::test {
namespace {

using ::testing::Contains;
using ::testing::Not;

const std::string chapterLines =
    "00:00:00 Anfahrt\n00:01:20 Gipfel & Kreuz\n00:01:35 Aussicht vom Gipfel\n00:02:00 Abstieg\n00:02:31 "
    "Brotzeit\n00:03:00 Hütte\n00:04:00 Heimweg";

class DescribeCommand : public testing::Test {
protected:
    void SetUp() override { std::filesystem::copy_file(fixture("description_tour.fcpxml"), project); }

    CommandResult describe(std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), {"describe", project.string(), "--lang", "de"});
        return runTidyreel(arguments, user);
    }

    void removeWrittenFiles() const {
        std::filesystem::remove(firstFile);
        std::filesystem::remove(secondFile);
    }

    IsolatedUserFolders user;
    TempFolder work;
    const std::filesystem::path project = work / "Bergtour im Herbst 2024.fcpxml";
    const std::filesystem::path output = work / "Ausgabe";
    const std::filesystem::path firstFile = output / "youtube_Bergtour im Her.YT1.txt";
    const std::filesystem::path secondFile = output / "youtube_Bergtour im Her.YT2.txt";
};

TEST_F(DescribeCommand, WritesTitlesChaptersAndDescriptionsRemembersTheChoicesAndReplacesGivenSwitches) {
    const CommandResult first = describe({"-o", output.string(), "--chapters", "--descriptions",
                                          "--description1", "\nMehr Touren auf example.org\n\n#wandern  ",
                                          "--description2", "More tours on example.org"});
    ASSERT_EQ(first.exitStatus, 0) << first.standardOutput << first.standardError;
    const std::string expectedFirst =
        "Bergtour im Herbst \n2024\n\n" + chapterLines + "\n\nMehr Touren auf example.org\n\n#wandern";
    const std::string expectedSecond =
        "Mountain tour in autumn 2024\n\n" + chapterLines + "\n\nMore tours on example.org";
    EXPECT_EQ(readTextFile(firstFile), expectedFirst);
    EXPECT_EQ(readTextFile(secondFile), expectedSecond);
    const std::vector<std::string> messages = logMessages(first.standardOutput);
    EXPECT_THAT(messages, Contains("✅ YouTube-Beschreibungen gespeichert"));
    EXPECT_THAT(messages,
                Contains("✅ ✓ 7 Kapitel + Videobeschreibungen exportiert: youtube_Bergtour im Her.YT1.txt & "
                         "youtube_Bergtour im Her.YT2.txt"));
    EXPECT_EQ(messages.back(), "✅ YouTube-Beschreibung erfolgreich erstellt");
    EXPECT_EQ(first.standardOutput.find("⚠️"), std::string::npos);

    // The folder, both switches and both texts are remembered.
    removeWrittenFiles();
    const CommandResult again = describe({});
    ASSERT_EQ(again.exitStatus, 0) << again.standardOutput << again.standardError;
    EXPECT_EQ(readTextFile(firstFile), expectedFirst);
    EXPECT_EQ(readTextFile(secondFile), expectedSecond);
    EXPECT_THAT(logMessages(again.standardOutput), Not(Contains("✅ YouTube-Beschreibungen gespeichert")));

    // Given switches replace both remembered ones.
    removeWrittenFiles();
    const CommandResult descriptionsOnly = describe({"--descriptions", "--verbose"});
    ASSERT_EQ(descriptionsOnly.exitStatus, 0) << descriptionsOnly.standardOutput;
    EXPECT_EQ(readTextFile(firstFile),
              "Bergtour im Herbst \n2024\n\nMehr Touren auf example.org\n\n#wandern");
    EXPECT_EQ(readTextFile(secondFile), "Mountain tour in autumn 2024\n\nMore tours on example.org");
    EXPECT_THAT(logMessages(descriptionsOnly.standardOutput),
                Contains("ℹ️ DEBUG: Starte Task: Videobeschreibung"));
    EXPECT_THAT(logMessages(descriptionsOnly.standardOutput),
                Not(Contains("ℹ️ DEBUG: Starte Task: Kapitelmarker")));
    // Without --verbose the developer's lines stay out.
    EXPECT_EQ(again.standardOutput.find("DEBUG:"), std::string::npos);
}

TEST_F(DescribeCommand, AcceptsABundleNamedWithATrailingSlash) {
    const CommandResult result =
        runTidyreel({"describe", fixture("60fps-rubric-markers.fcpxmld").string() + "/", "-o",
                     output.string(), "--chapters", "--lang", "de"},
                    user);
    EXPECT_EQ(result.exitStatus, 0) << result.standardOutput;
    EXPECT_THAT(logMessages(result.standardOutput),
                Contains("ℹ️ Ausgewählt: 60fps-rubric-markers.fcpxmld"));
    EXPECT_THAT(logMessages(result.standardOutput),
                Contains("ℹ️   (Keine Kapitelmarker, QUILLT-Texte oder Beschreibungen gefunden)"));
}

TEST_F(DescribeCommand, TellsWhenNeitherSwitchIsOn) {
    const CommandResult result = describe({"-o", output.string()});
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_NE(result.standardError.find("--chapters"), std::string::npos) << result.standardError;
    EXPECT_TRUE(filesIn(output).empty());
}

TEST_F(DescribeCommand, FailsWithAClearLineWhenTheDiskIsFull) {
    std::filesystem::create_directories(output);
    const CommandResult result = runTidyreelOnFullDisk(
        {"describe", project.string(), "--lang", "de", "-o", output.string(), "--chapters"}, user);
    EXPECT_EQ(result.exitStatus, 1);
    const std::string last = logMessages(result.standardOutput).back();
    EXPECT_TRUE(
        last.starts_with("❌ YouTube-Beschreibung fehlgeschlagen: Datei konnte nicht geschrieben werden: " +
                         firstFile.string()))
        << last;
    EXPECT_TRUE(filesIn(output).empty()) << "no empty or temporary file stays behind";
}

}  // namespace
}  // namespace tidyreel::test

#include "test_support.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>

namespace tidyreel::test {
namespace {

const std::string chapterLines =
    "00:00:00 Anfahrt\n00:01:20 Gipfel & Kreuz\n00:01:35 Aussicht vom Gipfel\n00:02:00 Abstieg\n00:03:00 "
    "Hütte\n00:04:00 Heimweg";

bool printed(const CommandResult& result, const std::string& message) {
    const std::vector<std::string> messages = logMessages(result.standardOutput);
    return std::find(messages.begin(), messages.end(), message) != messages.end();
}

std::vector<std::string> filesIn(const std::filesystem::path& folder) {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        names.push_back(entry.path().filename().string());
    }
    std::sort(names.begin(), names.end());
    return names;
}

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

TEST_F(DescribeCommand, WritesTitlesChaptersAndDescriptionsThenRemembersTheChoices) {
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
    EXPECT_TRUE(printed(first, "✅ YouTube-Beschreibungen gespeichert"));
    EXPECT_TRUE(printed(first, "ℹ️ DEBUG: QUILLT2 = 'Mountain tour in autumn 2024'"));
    EXPECT_TRUE(printed(first,
                        "✅ ✓ 6 Kapitel + Videobeschreibungen exportiert: youtube_Bergtour im Her.YT1.txt & "
                        "youtube_Bergtour im Her.YT2.txt"));
    EXPECT_EQ(logMessages(first.standardOutput).back(), "✅ YouTube-Beschreibung erfolgreich erstellt");
    EXPECT_EQ(first.standardOutput.find("⚠️"), std::string::npos);

    // The folder, both switches and both texts are remembered.
    removeWrittenFiles();
    const CommandResult again = describe({});
    ASSERT_EQ(again.exitStatus, 0) << again.standardOutput << again.standardError;
    EXPECT_EQ(readTextFile(firstFile), expectedFirst);
    EXPECT_EQ(readTextFile(secondFile), expectedSecond);
    EXPECT_FALSE(printed(again, "✅ YouTube-Beschreibungen gespeichert"));
}

TEST_F(DescribeCommand, GivenSwitchesReplaceBothRememberedOnes) {
    ASSERT_EQ(describe({"-o", output.string(), "--chapters", "--descriptions", "--description1", "Text"})
                  .exitStatus,
              0);
    removeWrittenFiles();
    const CommandResult descriptionsOnly = describe({"--descriptions"});
    ASSERT_EQ(descriptionsOnly.exitStatus, 0) << descriptionsOnly.standardOutput;
    EXPECT_EQ(readTextFile(firstFile), "Bergtour im Herbst \n2024\n\nText");
    EXPECT_EQ(readTextFile(secondFile), "Mountain tour in autumn 2024");
    EXPECT_TRUE(printed(descriptionsOnly, "ℹ️ DEBUG: Starte Task: Videobeschreibung"));
    EXPECT_FALSE(printed(descriptionsOnly, "ℹ️ DEBUG: Starte Task: Kapitelmarker"));
}

TEST_F(DescribeCommand, WarnsWhenThePlatformWillNotTakeTheChapters) {
    const CommandResult result =
        runTidyreel({"describe", fixture("orchetect__DAWFileKit__24.fcpxml").string(), "-o", output.string(),
                     "--chapters", "--lang", "en"},
                    user);
    ASSERT_EQ(result.exitStatus, 0) << result.standardOutput;
    EXPECT_EQ(readTextFile(output / "youtube_orchetect__DAWF.YT1.txt"), "00:03:16 Shot_08");
    EXPECT_TRUE(
        printed(result,
                "⚠️ ⚠️ YouTube will not recognise the chapters: the first chapter must start at "
                "00:00, \"00:03:16 Shot_08\" starts later"));
    EXPECT_TRUE(
        printed(result,
                "⚠️ ⚠️ YouTube will not recognise the chapters: at least 3 chapters are needed, the "
                "list has only 1: \"00:03:16 Shot_08\""));
}

TEST_F(DescribeCommand, AcceptsABundleNamedWithATrailingSlash) {
    const CommandResult result =
        runTidyreel({"describe", fixture("60fps-rubric-markers.fcpxmld").string() + "/", "-o",
                     output.string(), "--chapters", "--lang", "de"},
                    user);
    EXPECT_EQ(result.exitStatus, 0) << result.standardOutput;
    EXPECT_TRUE(printed(result, "ℹ️ Ausgewählt: 60fps-rubric-markers.fcpxmld"));
    EXPECT_TRUE(printed(result, "ℹ️   (Keine Kapitelmarker, QUILLT-Texte oder Beschreibungen gefunden)"));
}

TEST_F(DescribeCommand, TitleTextsAreReadInOtherWorkflowsToo) {
    const CommandResult result =
        runTidyreel({"grade", project.string(), "-o", output.string(), "--lang", "de"}, user);
    const std::vector<std::string> messages = logMessages(result.standardOutput);
    const auto parsing = std::find(messages.begin(), messages.end(), "ℹ️ Lese FCPXML...");
    ASSERT_NE(parsing, messages.end()) << result.standardOutput;
    EXPECT_EQ(*(parsing + 1), "ℹ️ DEBUG: QUILLT1 = 'Bergtour im Herbst ");
    EXPECT_EQ(*(parsing + 2), "2024'");
    EXPECT_EQ(*(parsing + 3), "ℹ️ DEBUG: QUILLT2 = 'Mountain tour in autumn 2024'");
}

TEST_F(DescribeCommand, TellsWhenNeitherSwitchIsOn) {
    const CommandResult result = describe({"-o", output.string()});
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_NE(result.standardError.find("--chapters"), std::string::npos) << result.standardError;
    EXPECT_TRUE(filesIn(output).empty());
}

TEST_F(DescribeCommand, FailsWithAClearLineWhenTheFolderCannotBeWritten) {
    std::filesystem::create_directories(output);
    if (geteuid() == 0) {
        // Permissions do not stop the superuser; a folder in the file's place stops everyone.
        std::filesystem::create_directories(firstFile);
    } else {
        std::filesystem::permissions(output,
                                     std::filesystem::perms::owner_read | std::filesystem::perms::owner_exec);
    }
    const std::vector<std::string> before = filesIn(output);
    const CommandResult result = describe({"-o", output.string(), "--chapters"});
    EXPECT_EQ(result.exitStatus, 1);
    const std::string last = logMessages(result.standardOutput).back();
    EXPECT_TRUE(
        last.starts_with("❌ YouTube-Beschreibung fehlgeschlagen: Datei konnte nicht geschrieben werden: " +
                         firstFile.string()))
        << last;
    EXPECT_EQ(filesIn(output), before);
}

TEST_F(DescribeCommand, FailsOnAProjectThatIsNotFCPXML) {
    writeTextFile(project, "<fcpxml><resources>");
    const CommandResult result = describe({"-o", output.string(), "--chapters"});
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_TRUE(
        logMessages(result.standardOutput).back().starts_with("❌ YouTube-Beschreibung fehlgeschlagen: "))
        << result.standardOutput;
    EXPECT_TRUE(filesIn(output).empty());
}

TEST_F(DescribeCommand, SkipsBrokenMarkersAndATitleWithoutItsEffect) {
    writeTextFile(project,
                  R"(<fcpxml version="1.11"><resources><effect id="r7" name="Basic Title"/></resources>
<library><event><project name="P"><sequence duration="60s" tcStart="0s"><spine>
  <title ref="r9" offset="0s" start="0s" duration="60s"><text><text-style>Lost</text-style></text>
    <chapter-marker start="zero" value="Malformed"/>
    <chapter-marker start="0s"/>
    <chapter-marker offset="1/0s" value="Bad offset"/>
    <chapter-marker start="0s" value="Start"/>
  </title>
</spine></sequence></project></event></library></fcpxml>)");
    const CommandResult result = describe({"-o", output.string(), "--chapters", "--descriptions"});
    ASSERT_EQ(result.exitStatus, 0) << result.standardOutput;
    EXPECT_EQ(readTextFile(firstFile), "00:00:00 Start");
    EXPECT_EQ(result.standardOutput.find("QUILLT1 ="), std::string::npos);
}

}  // namespace
}  // namespace tidyreel::test

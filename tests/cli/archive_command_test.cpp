#include "cli/cli_support.h"
#include "test_support.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tidyreel::test {
namespace {

using ::testing::Contains;
using ::testing::HasSubstr;

TEST(ArchiveDryRun, PlansWithoutCreatingAnything) {
    IsolatedUserFolders folders;
    TempFolder output;
    const std::filesystem::path target = output / "not-yet";
    const CommandResult result =
        runTidyreel({"archive", fixture("orchetect__DAWFileKit__24.fcpxml").string(), "-o", target.string(),
                     "--buffer", "2", "--min-segment", "30", "--dry-run", "--lang", "de"},
                    folders);
    EXPECT_EQ(result.exitStatus, 0) << result.standardError;
    EXPECT_FALSE(std::filesystem::exists(target));
    const std::vector<std::string> messages = logMessages(result.standardOutput);
    EXPECT_THAT(messages,
                Contains("ℹ️ Settings: buffer=5.0s, gopSlack=15s (hardcoded), minSegment=30.0s"));
    EXPECT_THAT(messages, Contains("ℹ️   → Asset r4: 2 Segment(e), Einsparung: 427429/8000s (12.8%)"));
    EXPECT_THAT(result.standardOutput, HasSubstr("TestVideo.mp4"));
    EXPECT_THAT(result.standardOutput, HasSubstr("schneiden: 2 Segmente"));
    EXPECT_THAT(splitLines(result.standardOutput).back(), HasSubstr("Summe"));
    // The two numbers are remembered as the settings fields would remember them.
    const std::string settings = readTextFile(folders.configHome() / "Tidyreel" / "Tidyreel.conf");
    EXPECT_THAT(settings, HasSubstr("buffer=2"));
    EXPECT_THAT(settings, HasSubstr("minSegment=30"));
}

TEST(ArchiveDryRun, RoleSelectionExcludesClips) {
    IsolatedUserFolders folders;
    const CommandResult result = runTidyreel(
        {"archive", fixture("orchetect__DAWFileKit__24.fcpxml").string(), "--roles", "Titles", "--dry-run"},
        folders);
    EXPECT_EQ(result.exitStatus, 0);
    const std::vector<std::string> messages = logMessages(result.standardOutput);
    EXPECT_THAT(messages, Contains("ℹ️ Rollen-Filter: Eingeschlossen = [Titles]"));
    EXPECT_THAT(messages, Contains("ℹ️ Keine Assets zum Schneiden gefunden"));
    EXPECT_THAT(
        messages,
        Contains("ℹ️   ⊗ Clip 'TestVideo' (Rolle: Video) übersprungen (Rolle nicht ausgewählt)"));
}

TEST(ArchiveDryRun, UnreadableProjectFails) {
    IsolatedUserFolders folders;
    TempFolder folder;
    writeTextFile(folder / "broken.fcpxml", "<fcpxml><resources>");
    EXPECT_EQ(runTidyreel({"archive", (folder / "broken.fcpxml").string(), "--dry-run"}, folders).exitStatus,
              1);
    EXPECT_EQ(
        runTidyreel({"archive", (folder / "broken.fcpxml").string(), "--buffer", "-1"}, folders).exitStatus,
        2);
}

}  // namespace
}  // namespace tidyreel::test

// The installers on the command line: the folder is given, so a wrong folder name is a usage error.
#include "cli/cli_support.h"
#include "test_support.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tidyreel::test {
namespace {

using ::testing::HasSubstr;

TEST(InstallCommand, TitlesGoIntoAGivenTitlesFolderAndAreRemembered) {
    const IsolatedUserFolders user;
    const TempFolder folder_;
    std::filesystem::create_directories(folder_ / "Titles");
    std::filesystem::create_directories(folder_ / "Motion Templates.localized");
    const CommandResult installed =
        runTidyreel({"install-titles", (folder_ / "Titles").string(), "--lang", "de"}, user);
    EXPECT_EQ(installed.exitStatus, 0);
    EXPECT_THAT(installed.standardOutput,
                HasSubstr("QUILLT-Titel wurden erfolgreich installiert. Du findest sie in "
                          "Motion unter:\nTitel → Clipwright\n"));
    EXPECT_THAT(readTextFile(user.configHome() / "Tidyreel/Tidyreel.conf"),
                HasSubstr("quilltTemplatesInstalled=true"));

    const CommandResult refused =
        runTidyreel({"install-titles", (folder_ / "Motion Templates.localized").string()}, user);
    EXPECT_EQ(refused.exitStatus, 2);
    EXPECT_THAT(refused.standardError,
                HasSubstr("Bitte wähle den Ordner 'Titles.localized' (oder 'Titles' / 'Titel') "
                          "aus.\n\nDu hast gewählt: Motion Templates.localized\n"));
    EXPECT_EQ(runTidyreel({"install-titles", (folder_ / "missing/Titles").string()}, user).exitStatus, 2);
}

TEST(InstallCommand, EffectGoesIntoAGivenEffectsFolderAndAWrongFolderIsAUsageError) {
    const IsolatedUserFolders user;
    const TempFolder folder_;
    std::filesystem::create_directories(folder_ / "Effekte");
    std::filesystem::create_directories(folder_ / "Titles.localized");
    const CommandResult installed =
        runTidyreel({"install-effect", (folder_ / "Effekte").string(), "--lang", "en"}, user);
    EXPECT_EQ(installed.exitStatus, 0);
    EXPECT_THAT(
        installed.standardOutput,
        HasSubstr("Default effect was successfully installed. You can find it in Motion under:\nEffects → "
                  "Clipwright\n"));
    EXPECT_TRUE(
        std::filesystem::exists(folder_ / "Effekte/Clipwright/ClipwrightEffekt/ClipwrightEffekt.moef"));

    const CommandResult refused =
        runTidyreel({"install-effect", (folder_ / "Titles.localized").string()}, user);
    EXPECT_EQ(refused.exitStatus, 2);
    EXPECT_THAT(refused.standardError, HasSubstr("Falscher Ordner ausgewählt\n"));
    EXPECT_THAT(refused.standardError, HasSubstr("Du hast gewählt: Titles.localized"));
    EXPECT_FALSE(std::filesystem::exists(folder_ / "Titles.localized/Clipwright"));
}

}  // namespace
}  // namespace tidyreel::test

#include "platform/template_installation.h"

#include "test_support.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>

namespace tidyreel {
namespace {

using ::testing::HasSubstr;

TEST(TemplateInstallation, AFolderThatCannotBeMadeIsATidyreelErrorNamingIt) {
    const test::TempFolder folder;
    test::writeTextFile(folder / "Effects.localized", "a file where the folder should be");
    try {
        createFolders(folder / "Effects.localized" / "Clipwright");
        FAIL() << "the folder was made";
    } catch (const Error& error) {
        EXPECT_EQ(error.code(), ENOTDIR);
        EXPECT_THAT(error.what(), HasSubstr((folder / "Effects.localized" / "Clipwright").string()));
        EXPECT_THAT(error.what(), HasSubstr(std::strerror(ENOTDIR)));
    }
}

TEST(TemplateInstallation, ANewVersionReplacesTheOldOneWhole) {
    const test::TempFolder folder;
    test::writeTextFile(folder / "new" / "Title.moti", "new");
    test::writeTextFile(folder / "installed" / "Old.moti", "old");
    EXPECT_TRUE(replaceFolderWithCopy(folder / "new", folder / "installed"));
    EXPECT_EQ(test::readTextFile(folder / "installed" / "Title.moti"), "new");
    EXPECT_FALSE(std::filesystem::exists(folder / "installed" / "Old.moti"));
}

TEST(TemplateInstallation, AMissingTemplateLeavesTheInstalledVersionAlone) {
    const test::TempFolder folder;
    test::writeTextFile(folder / "installed" / "Title.moti", "installed");
    EXPECT_THROW(replaceFolderWithCopy(folder / "missing", folder / "installed"), Error);
    EXPECT_EQ(test::readTextFile(folder / "installed" / "Title.moti"), "installed");
}

}  // namespace
}  // namespace tidyreel

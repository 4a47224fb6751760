#include "platform/template_installation.h"

#include "test_support.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
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

// Copies in a child process whose files may not grow beyond 100 bytes, as on a full disk; whether it threw.
bool copyFailsOnFullDisk(const std::filesystem::path& source, const std::filesystem::path& target) {
    const pid_t child = fork();
    if (child == 0) {
        std::signal(SIGXFSZ, SIG_IGN);
        const rlimit small{100, 100};
        setrlimit(RLIMIT_FSIZE, &small);
        try {
            replaceFolderWithCopy(source, target);
        } catch (const Error&) {
            _exit(1);
        }
        _exit(0);
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) && WEXITSTATUS(status) == 1;
}

TEST(TemplateInstallation, AFullDiskLeavesTheInstalledVersionAndNoPartialCopy) {
    const test::TempFolder folder;
    test::writeTextFile(folder / "new" / "Title.moti", std::string(5000, 'n'));
    test::writeTextFile(folder / "Titles" / "QUILLT1" / "QUILLT1.moti", "installed");
    EXPECT_TRUE(copyFailsOnFullDisk(folder / "new", folder / "Titles" / "QUILLT1"));
    EXPECT_EQ(test::readTextFile(folder / "Titles" / "QUILLT1" / "QUILLT1.moti"), "installed");
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder / "Titles"),
                            std::filesystem::directory_iterator()),
              1);
}

TEST(TemplateInstallation, AMissingTemplateLeavesTheInstalledVersionAlone) {
    const test::TempFolder folder;
    test::writeTextFile(folder / "installed" / "Title.moti", "installed");
    EXPECT_THROW(replaceFolderWithCopy(folder / "missing", folder / "installed"), Error);
    EXPECT_EQ(test::readTextFile(folder / "installed" / "Title.moti"), "installed");
}

}  // namespace
}  // namespace tidyreel

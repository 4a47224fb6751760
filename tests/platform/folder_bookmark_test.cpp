#include "platform/folder_bookmark.h"

#include "base/language.h"
#include "test_support.h"

#include <gtest/gtest.h>

#include <cerrno>

namespace tidyreel {
namespace {

class FolderBookmark : public ::testing::Test {
protected:
    void SetUp() override { setPreferredLanguages({"en"}); }
    void TearDown() override { setPreferredLanguages({}); }

    test::TempFolder folder;
    std::filesystem::path output = folder / "Export";
};

TEST_F(FolderBookmark, TheSameFolderComesBackFreshAReplacedOneStale) {
    std::filesystem::create_directory(output);
    const std::string data = createFolderBookmark(output);
    EXPECT_EQ(resolveFolderBookmark(data).folder, output);
    EXPECT_FALSE(resolveFolderBookmark(data).isStale);

    std::filesystem::rename(output, folder / "Old Export");  // keeps the old inode alive and different
    std::filesystem::create_directory(output);
    const ResolvedBookmark replaced = resolveFolderBookmark(data);
    EXPECT_EQ(replaced.folder, output);
    EXPECT_TRUE(replaced.isStale);
    EXPECT_FALSE(resolveFolderBookmark(createFolderBookmark(output)).isStale) << "renewed";
}

TEST_F(FolderBookmark, AVanishedFolderAFileAndGarbageAreErrors) {
    std::filesystem::create_directory(output);
    const std::string data = createFolderBookmark(output);
    std::filesystem::remove(output);
    EXPECT_TRUE(test::throwsError([&] { resolveFolderBookmark(data); }, "Bookmark", ENOENT,
                                  "Folder not found: " + output.string() + " (No such file or directory)"));
    test::writeTextFile(output, "a file where the folder was");
    EXPECT_TRUE(test::throwsError([&] { resolveFolderBookmark(data); }, "Bookmark", ENOTDIR,
                                  "Not a folder: " + output.string()));
    for (const char* garbage : {"\x01\x02not a bookmark", "{\"path\": 3}", "[]", ""}) {
        EXPECT_TRUE(test::throwsError([&] { resolveFolderBookmark(garbage); }, "Bookmark", 1,
                                      "Invalid bookmark data"))
            << garbage;
    }
}

}  // namespace
}  // namespace tidyreel

#include "platform/file_write.h"

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

using ::testing::ElementsAre;
using ::testing::HasSubstr;

// Writes `bytes` in a child process whose files may not grow beyond `limit` bytes, as on a full disk;
// returns the error code the write failed with (0: it did not fail).
int writeOnFullDisk(const std::filesystem::path& file, const std::string& bytes, rlim_t limit) {
    const pid_t child = fork();
    if (child == 0) {
        // Without ignoring SIGXFSZ the kernel would end the process instead of failing the write.
        std::signal(SIGXFSZ, SIG_IGN);
        const rlimit small{limit, limit};
        setrlimit(RLIMIT_FSIZE, &small);
        try {
            writeFileAtomically(file, bytes);
        } catch (const Error& error) {
            _exit(error.code() == EFBIG ? EFBIG : 1);
        }
        _exit(0);
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TEST(AtomicWrite, ReplacesTheFileAndLeavesNothingElse) {
    const test::TempFolder folder;
    writeFileAtomically(folder / "a.txt", "old");
    writeFileAtomically(folder / "a.txt", "new");
    EXPECT_EQ(test::readTextFile(folder / "a.txt"), "new");
    EXPECT_THAT(test::filesIn(folder.path()), ElementsAre(folder / "a.txt"));
}

TEST(AtomicWrite, AFullDiskKeepsTheEarlierFileAndRemovesTheTemporaryOne) {
    const test::TempFolder folder;
    writeFileAtomically(folder / "result.fcpxml", "the good earlier result");
    EXPECT_EQ(writeOnFullDisk(folder / "result.fcpxml", std::string(200000, 'x'), 4096), EFBIG);
    EXPECT_EQ(test::readTextFile(folder / "result.fcpxml"), "the good earlier result");
    EXPECT_THAT(test::filesIn(folder.path()), ElementsAre(folder / "result.fcpxml"));
}

TEST(AtomicWrite, FailureNamesTheFileAndTheSystemsReason) {
    const test::TempFolder folder;
    try {
        writeFileAtomically(folder / "missing" / "a.txt", "x");
        FAIL() << "the write did not fail";
    } catch (const Error& error) {
        EXPECT_EQ(error.domain(), "FileSystem");
        EXPECT_EQ(error.code(), ENOENT);
        EXPECT_THAT(error.what(), HasSubstr((folder / "missing" / "a.txt").string()));
        EXPECT_THAT(error.what(), HasSubstr(std::strerror(ENOENT)));
    }
}

TEST(AtomicWrite, NamesThatAreNotUTF8AreWrittenByteForByte) {
    const test::TempFolder folder;
    const std::filesystem::path file = folder / "Kapitel \xff\xfe.txt";
    writeFileAtomically(file, "bytes");
    EXPECT_EQ(test::readTextFile(file), "bytes");
}

TEST(OutputNames, ATakenNameGetsTheNextFreeCounter) {
    const test::TempFolder folder;
    EXPECT_EQ(unusedPath(folder / "a.fcpxml"), folder / "a.fcpxml");
    test::writeTextFile(folder / "a.fcpxml", "");
    test::writeTextFile(folder / "a 2.fcpxml", "");
    // A dangling link is a name in use too: writing through it would land somewhere else.
    std::filesystem::create_symlink(folder / "nowhere", folder / "a 3.fcpxml");
    EXPECT_EQ(unusedPath(folder / "a.fcpxml"), folder / "a 4.fcpxml");
    std::filesystem::create_directory(folder / "b.fcpxmld");
    EXPECT_EQ(unusedPath(folder / "b.fcpxmld"), folder / "b 2.fcpxmld");
}

TEST(OutputNames, LeftoversOfAnInterruptedRunAreRemovedAndNothingElse) {
    const test::TempFolder folder;
    const std::filesystem::path partial = temporarySibling(folder / "C0001_trimmed.mov");
    EXPECT_EQ(partial.extension(), ".mov");
    EXPECT_EQ(eventualName(partial), "C0001_trimmed.mov");
    EXPECT_EQ(eventualName(folder / ".hidden.mov"), ".hidden.mov");
    test::writeTextFile(partial, "half");
    test::writeTextFile(folder / "C0001.mov", "kept");
    test::writeTextFile(folder / ".hidden.mov", "kept");
    EXPECT_EQ(removeTemporaryLeftovers(folder.path()), 1);
    EXPECT_THAT(test::filesIn(folder.path()), ElementsAre(folder / ".hidden.mov", folder / "C0001.mov"));
}

}  // namespace
}  // namespace tidyreel

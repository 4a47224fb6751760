#include "fcpxml/project_document.h"

#include "base/error.h"
#include "test_support.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <thread>

namespace tidyreel {
namespace {

using ::testing::HasSubstr;

// The error a project text is refused with.
Error refusal(std::string_view bytes) {
    try {
        parseProjectDocument(bytes);
    } catch (const Error& error) {
        return error;
    }
    ADD_FAILURE() << "accepted: " << bytes;
    return Error("", 0, "");
}

TEST(ProjectDocument, OnlyAnFCPXMLRootWithAReadableVersionIsAProject) {
    EXPECT_TRUE(parseProjectDocument("<fcpxml version=\"1.11\"><resources/></fcpxml>"));
    EXPECT_TRUE(parseProjectDocument("<fcpxml version=\"1.3\"/>"));
    EXPECT_TRUE(parseProjectDocument("<fcpxml version=\"1.14\"/>"));

    const Error html = refusal("<html><body>fcpxml</body></html>");
    EXPECT_EQ(html.domain(), "FCPXML");
    EXPECT_EQ(html.code(), 1);
    EXPECT_EQ(refusal("<fcpxml><resources/></fcpxml>").code(), 1);

    const Error old = refusal("<fcpxml version=\"1.2\"><project/></fcpxml>");
    EXPECT_EQ(old.code(), 2);
    EXPECT_STREQ(old.what(), "FCPXML version 1.2 is not supported (Tidyreel reads 1.3 to 1.13)");
    for (const char* version : {"2.0", "1", "1.x", "1.11beta", "", "-1.5"}) {
        EXPECT_EQ(refusal(std::string("<fcpxml version=\"") + version + "\"/>").code(), 2) << version;
    }
}

TEST(ProjectDocument, AFIFOIsReadAsAStreamAndADeviceIsRefused) {
    const test::TempFolder folder;
    const std::filesystem::path fifo = folder / "project.fcpxml";
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    std::thread writer([&] { test::writeTextFile(fifo, "<fcpxml version=\"1.11\"><resources/></fcpxml>"); });
    const std::shared_ptr<XmlDocument> document = loadProjectDocument(fifo);
    writer.join();
    EXPECT_TRUE(document->first("//resources"));

    try {
        loadProjectDocument("/dev/zero");
        FAIL() << "read a device";
    } catch (const Error& error) {
        EXPECT_EQ(error.code(), ENODEV);
        EXPECT_THAT(error.what(), HasSubstr("/dev/zero"));
    }
}

TEST(ProjectDocument, AFileBeyondTheLimitIsRefusedBeforeItIsRead) {
    const test::TempFolder folder;
    const std::filesystem::path big = folder / "big.fcpxml";
    test::writeTextFile(big, "");
    // A sparse file: its size is beyond 2 GiB, its blocks are not.
    std::filesystem::resize_file(big, kMaxDocumentBytes + 1);
    try {
        loadProjectDocument(big);
        FAIL() << "read more than 2 GiB";
    } catch (const Error& error) {
        EXPECT_EQ(error.code(), EFBIG);
    }

    const std::filesystem::path fifo = folder / "stream.fcpxml";
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    std::thread writer([&] { test::writeTextFile(fifo, "0123456789"); });
    EXPECT_THROW(readFileBytes(fifo, 4), Error) << "a stream is cut off at the limit as well";
    writer.join();
}

}  // namespace
}  // namespace tidyreel

#include "fcpxml/media_path.h"

#include "test_support.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

namespace tidyreel {
namespace {

TEST(MediaPathPath, DecodesFileURLsAndDropsTheLocalhostPrefix) {
    EXPECT_EQ(MediaPath::path("file:///Users/a/My%20Clip.mov"), "/Users/a/My Clip.mov");
    EXPECT_EQ(MediaPath::path("file:///Users/a/Gr%C3%BC%C3%9Fe.mov"), "/Users/a/Grüße.mov");
    EXPECT_EQ(MediaPath::path("file:///Users/a/Take%20%2319%20%25.mov"), "/Users/a/Take #19 %.mov");
    EXPECT_EQ(MediaPath::path("file:///Users/a/lower%c3%bc.mov"), "/Users/a/lowerü.mov");
    EXPECT_EQ(MediaPath::path("/already/a/path.mov"), "/already/a/path.mov");
    EXPECT_EQ(MediaPath::path("file:///localhost/Users/a/b.mov"), "/Users/a/b.mov");
    EXPECT_EQ(MediaPath::path("file:///localhostname/b.mov"), "/localhostname/b.mov");
}

TEST(MediaPathPath, KeepsTheTextWhenPercentEncodingIsMalformed) {
    EXPECT_EQ(MediaPath::path("file:///Users/a/100%.mov"), "/Users/a/100%.mov");
    EXPECT_EQ(MediaPath::path("file:///Users/a/%2"), "/Users/a/%2");
    EXPECT_EQ(MediaPath::path("file:///Users/a/%zz%20.mov"), "/Users/a/%zz%20.mov");
}

TEST(MediaPathURL, EncodesEverythingOutsideTheURLPathSet) {
    EXPECT_EQ(MediaPath::url("/Users/a/My Clip.mov"), "file:///Users/a/My%20Clip.mov");
    EXPECT_EQ(MediaPath::url("/Users/a/Grüße.mov"), "file:///Users/a/Gr%C3%BC%C3%9Fe.mov");
    EXPECT_EQ(MediaPath::url("/a/Take #19 100%?.mov"), "file:///a/Take%20%2319%20100%25%3F.mov");
    EXPECT_EQ(MediaPath::url("/a/[x]{y}<z>\"|\\^`"), "file:///a/%5Bx%5D%7By%7D%3Cz%3E%22%7C%5C%5E%60");
    EXPECT_EQ(MediaPath::url("/a-z_0.9~!$&'()*+,;=:@/b"), "file:///a-z_0.9~!$&'()*+,;=:@/b");
}

TEST(MediaPathURL, MakesPathsAbsolute) {
    EXPECT_EQ(MediaPath::url("clip.mov"),
              MediaPath::url(std::filesystem::current_path().string() + "/clip.mov"));
    const test::ScopedEnvironment home("HOME", "/home/editor name");
    EXPECT_EQ(MediaPath::url("~/clip.mov"), "file:///home/editor%20name/clip.mov");
    EXPECT_EQ(MediaPath::url("~"), "file:///home/editor%20name");
}

TEST(MediaPath, RoundTripsAbsolutePaths) {
    for (const char* path : {"/Users/a/My Clip.mov", "/Volumes/Drehtag 3/Grüße – Take #1 (50%).mxf",
                             "/a/?query&more=1.mov", "/a/tab\there.mov"}) {
        EXPECT_EQ(MediaPath::path(MediaPath::url(path)), path);
    }
}

}  // namespace
}  // namespace tidyreel

#include "base/file_names.h"

#include <gtest/gtest.h>

namespace tidyreel {
namespace {

TEST(FileNameParts, BaseAndExtensionSplitAtTheLastDot) {
    EXPECT_EQ(fileNameBase("Reise.2024.Teil1.fcpxml"), "Reise.2024.Teil1");
    EXPECT_EQ(fileNameExtension("Reise.2024.Teil1.fcpxml"), "fcpxml");
    EXPECT_EQ(fileNameBase("Projekt"), "Projekt");
    EXPECT_EQ(fileNameExtension("Projekt"), "");
    EXPECT_EQ(fileNameExtension(".hidden"), "");
}

TEST(FileNameParts, LowercasedExtensionKeepsItsDot) {
    EXPECT_EQ(lowercasedExtension("/a/Projekt.FCPXMLD"), ".fcpxmld");
    EXPECT_EQ(lowercasedExtension("/a/clip.final.M4V"), ".m4v");
    EXPECT_EQ(lowercasedExtension("/a/Projekt"), "");
}

}  // namespace
}  // namespace tidyreel

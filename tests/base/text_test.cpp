#include "base/text.h"

#include <gtest/gtest.h>

namespace tidyreel {
namespace {

TEST(TextTrimming, RemovesWhiteSpaceAndLineBreaksAtBothEndsOnly) {
    EXPECT_EQ(trimmedWhitespace(" \t\r\n Titel  mit\n\nAbsatz \n\t"), "Titel  mit\n\nAbsatz");
    EXPECT_EQ(trimmedWhitespace("\u00A0\u2003\u3000Text\u2028\u0085"), "Text");
    EXPECT_EQ(trimmedWhitespace(" \n\u00A0 "), "");
    EXPECT_EQ(trimmedWhitespace(""), "");
}

TEST(TextTrimming, KeepsCharactersThatOnlyShareBytesWithSpaces) {
    // "à" ends in the byte 0xA0 of a non-breaking space, "‐" (U+2010) starts like U+2000.
    EXPECT_EQ(trimmedWhitespace("à"), "à");
    EXPECT_EQ(trimmedWhitespace("\u2010x\u2010"), "\u2010x\u2010");
    EXPECT_EQ(trimmedWhitespace("\u200Bx"), "\u200Bx");  // a zero-width space is no white space
}

TEST(Lowercased, ChangesOnlyASCIILetters) {
    EXPECT_EQ(lowercased("FCPXMLD Mov"), "fcpxmld mov");
    EXPECT_EQ(lowercased("ÄÖÜ-İ"), "ÄÖÜ-İ");
}

}  // namespace
}  // namespace tidyreel

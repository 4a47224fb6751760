#include "base/utf8.h"

#include <gtest/gtest.h>

namespace tidyreel {
namespace {

TEST(PrefixCharacters, NeverSplitsACharacter) {
    EXPECT_EQ(prefixCharacters("Hochzeit am See", 15), "Hochzeit am See");
    EXPECT_EQ(prefixCharacters("Übermäßig große Überschrift", 15), "Übermäßig große");
    EXPECT_EQ(prefixCharacters("🎬🎬🎬", 2), "🎬🎬");
    EXPECT_EQ(prefixCharacters("e\u0301e\u0301e", 2), "e\u0301e\u0301");           // combining accents stay
    EXPECT_EQ(prefixCharacters("👍🏽x", 1), "👍🏽");                       // skin tone modifier
    EXPECT_EQ(prefixCharacters("👨\u200D👩\u200D👧 Familie", 1), "👨\u200D👩\u200D👧");  // joined emoji
    EXPECT_EQ(prefixCharacters("🇩🇪🇫🇷", 1), "🇩🇪");                                  // flags are pairs
    EXPECT_EQ(prefixCharacters("ab", 0), "");
    EXPECT_EQ(prefixCharacters("a\xFF\xFE", 2), "a\xFF");  // broken bytes count one each
}

TEST(ValidUTF8, RejectsMalformedOverlongSurrogateAndTooLargeSequences) {
    EXPECT_TRUE(isValidUTF8("Größe ✓ 🎬"));
    EXPECT_FALSE(isValidUTF8("\xff"));
    EXPECT_FALSE(isValidUTF8("\xc0\xaf"));          // overlong "/"
    EXPECT_FALSE(isValidUTF8("\xed\xa0\x80"));      // a UTF-16 surrogate
    EXPECT_FALSE(isValidUTF8("\xe2\x9c"));          // cut short
    EXPECT_FALSE(isValidUTF8("\xf4\x90\x80\x80"));  // beyond U+10FFFF
}

}  // namespace
}  // namespace tidyreel

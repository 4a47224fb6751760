#include "archive/media/broken_link_joins.h"

#include "base/error.h"
#include "test_support.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

namespace tidyreel {
namespace {

// One NAL unit as MP4 stores it: a four-byte length, the two header bytes (type, layer 0, temporal id 1),
// then `payload` bytes.
std::vector<std::uint8_t> nalUnit(int type, std::size_t payload, std::uint8_t fill = 0xa5) {
    const std::size_t length = payload + 2;
    std::vector<std::uint8_t> unit{
        static_cast<std::uint8_t>(length >> 24), static_cast<std::uint8_t>(length >> 16),
        static_cast<std::uint8_t>(length >> 8),  static_cast<std::uint8_t>(length),
        static_cast<std::uint8_t>(type << 1),    0x01};
    unit.insert(unit.end(), payload, fill);
    return unit;
}

std::vector<std::uint8_t> sample(const std::vector<std::vector<std::uint8_t>>& units) {
    std::vector<std::uint8_t> bytes;
    for (const auto& unit : units) {
        bytes.insert(bytes.end(), unit.begin(), unit.end());
    }
    return bytes;
}

const int kAccessUnitDelimiter = 35;
const int kPrefixSEI = 39;
const int kCleanRandomAccess = 21;
const int kBrokenLink = 16;
const int kIDR = 19;
const int kTrailing = 1;

TEST(BrokenLinkJoins, EverySliceOfACleanRandomAccessPictureBecomesABrokenLinkAndNothingElseChanges) {
    std::vector<std::uint8_t> picture =
        sample({nalUnit(kAccessUnitDelimiter, 1), nalUnit(kPrefixSEI, 20), nalUnit(kCleanRandomAccess, 300),
                nalUnit(kCleanRandomAccess, 7)});
    // A first header byte whose layer bit is set keeps it.
    picture[6 + 3 + 6 + 22] |= 0x01;
    std::vector<std::uint8_t> expected = picture;
    expected[6 + 3 + 6 + 22] = static_cast<std::uint8_t>((kBrokenLink << 1) | 0x01);
    expected[6 + 3 + 6 + 22 + 6 + 300] = static_cast<std::uint8_t>(kBrokenLink << 1);

    EXPECT_TRUE(markBrokenLink(picture));
    EXPECT_EQ(picture, expected);
}

TEST(BrokenLinkJoins, OtherPicturesStayAsTheyAre) {
    for (const int type : {kIDR, kTrailing, kBrokenLink}) {
        std::vector<std::uint8_t> picture = sample({nalUnit(kPrefixSEI, 4), nalUnit(type, 50)});
        const std::vector<std::uint8_t> before = picture;
        EXPECT_FALSE(markBrokenLink(picture)) << type;
        EXPECT_EQ(picture, before) << type;
    }
    // Parameter sets alone hold no picture.
    std::vector<std::uint8_t> parameters = sample({nalUnit(32, 10), nalUnit(33, 10), nalUnit(34, 10)});
    EXPECT_FALSE(markBrokenLink(parameters));
}

// A sample that cannot be read as NAL units is not marked halfway.
TEST(BrokenLinkJoins, MalformedSamplesAreRefusedUntouched) {
    std::vector<std::uint8_t> picture =
        sample({nalUnit(kCleanRandomAccess, 40), nalUnit(kCleanRandomAccess, 40)});
    picture.resize(picture.size() - 1);
    const std::vector<std::uint8_t> before = picture;
    EXPECT_THROW(markBrokenLink(picture), Error);
    EXPECT_EQ(picture, before);
}

}  // namespace
}  // namespace tidyreel

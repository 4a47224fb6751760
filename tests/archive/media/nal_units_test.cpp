#include "archive/media/nal_units.h"

#include "base/error.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

namespace tidyreel {
namespace {

// A sample of NAL units, each given as its bytes after the four-byte length.
std::vector<std::uint8_t> sample(const std::vector<std::vector<std::uint8_t>>& units) {
    std::vector<std::uint8_t> bytes;
    for (const auto& unit : units) {
        const std::size_t length = unit.size();
        bytes.insert(bytes.end(),
                     {static_cast<std::uint8_t>(length >> 24), static_cast<std::uint8_t>(length >> 16),
                      static_cast<std::uint8_t>(length >> 8), static_cast<std::uint8_t>(length)});
        bytes.insert(bytes.end(), unit.begin(), unit.end());
    }
    return bytes;
}

// H.264 header bytes: nal_ref_idc 3 and the type.
const std::uint8_t kSPS = 0x67;
const std::uint8_t kSEI = 0x06;
const std::uint8_t kIDRSlice = 0x65;
const std::uint8_t kSlice = 0x41;

TEST(NalUnits, HeadersAreFoundBehindTheirLengths) {
    const std::vector<std::uint8_t> bytes =
        sample({{kSPS, 1, 2, 3}, {kSEI}, std::vector<std::uint8_t>(300, kIDRSlice)});
    EXPECT_EQ(nalUnitHeaderOffsets(bytes, 1), (std::vector<std::size_t>{4, 12, 17}));
    EXPECT_TRUE(nalUnitHeaderOffsets({}, 1).empty());
}

// Lengths that run past the sample, stop short of it, or name a unit shorter than its header: not NAL units
// with four-byte lengths (two-byte lengths, Annex B start codes, a damaged file).
TEST(NalUnits, SamplesTheLengthsDoNotFillAreRefused) {
    std::vector<std::uint8_t> overlong = sample({{kIDRSlice, 1, 2, 3}});
    overlong[3] = 9;
    std::vector<std::uint8_t> trailing = sample({{kIDRSlice, 1, 2, 3}});
    trailing.insert(trailing.end(), {0, 0});
    const std::vector<std::uint8_t> annexB{0, 0, 0, 1, kIDRSlice, 0x88, 0x84};
    const std::vector<std::uint8_t> twoByteLengths{0, 3, kIDRSlice, 0x88, 0x84};
    for (const auto& bytes : {overlong, trailing, annexB, twoByteLengths}) {
        EXPECT_THROW(nalUnitHeaderOffsets(bytes, 1), Error);
    }
    EXPECT_THROW(nalUnitHeaderOffsets(sample({{0x2a}}), 2), Error);
}

TEST(NalUnits, OnlyAPictureWithAnIDRSliceIsAnIDRPicture) {
    EXPECT_TRUE(isH264IDRPicture(sample({{kSPS, 1}, {kSEI, 5}, {kIDRSlice, 0x88}})));
    // An I picture that is no IDR has type 1 slices, as every other picture; a 5 in a later byte is no type.
    EXPECT_FALSE(isH264IDRPicture(sample({{kSEI, 5}, {kSlice, kIDRSlice}})));
    EXPECT_FALSE(isH264IDRPicture(sample({{kSPS, 1}})));
    const std::vector<std::uint8_t> annexB{0, 0, 0, 1, kIDRSlice, 0x88, 0x84};
    EXPECT_FALSE(isH264IDRPicture(annexB));
}

}  // namespace
}  // namespace tidyreel

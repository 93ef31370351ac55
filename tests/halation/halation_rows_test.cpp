// The kernels on numbers: every blend of bytes, and the ends of 16 bits.
#include <algorithm>
#include <array>
#include <cstdint>
#include <random>
#include <vector>

#include <gtest/gtest.h>

#include "halation/halation_rows.h"
#include "reference/halation.h"

namespace {

TEST(BlendRow, EqualsTheBlendInDoublesOnAllBytesAndWeights) {
    std::array<std::uint8_t, 256> frame;
    std::array<std::uint8_t, 256> weights;
    for (int a = 0; a < 256; ++a)
        for (int m = 0; m < 256; ++m) {
            std::array<std::uint8_t, 256> result;
            result.fill(static_cast<std::uint8_t>(a));
            weights.fill(static_cast<std::uint8_t>(m));
            for (std::size_t b = 0; b < 256; ++b) frame[b] = static_cast<std::uint8_t>(b);
            kyf::BlendRow(result.data(), frame.data(), weights.data(), result.size());
            for (int b = 0; b < 256; ++b)
                ASSERT_EQ(result[static_cast<std::size_t>(b)], reference::BlendSample(a, b, m, 255, 255))
                    << a << ", " << b << ", " << m;
        }
}

// Every weight with samples of all sizes: what is rounded most is where the two differ by an odd number.
TEST(BlendRow, EqualsTheBlendInDoublesOnWords) {
    std::mt19937 random(11);
    std::vector<std::uint16_t> frame;
    for (const std::uint32_t end : {0U, 1U, 2U, 127U, 128U, 255U, 256U, 32767U, 32768U, 65533U, 65534U, 65535U})
        frame.push_back(static_cast<std::uint16_t>(end));
    while (frame.size() < 333) frame.push_back(static_cast<std::uint16_t>(random()));
    const std::vector<std::uint16_t> firsts(frame.begin(), frame.begin() + 40);
    for (int m = 0; m < 256; ++m)
        for (const std::uint16_t a : firsts) {
            std::vector<std::uint16_t> result(frame.size(), a);
            const std::vector<std::uint8_t> weights(frame.size(), static_cast<std::uint8_t>(m));
            kyf::BlendRow(result.data(), frame.data(), weights.data(), result.size());
            for (std::size_t i = 0; i < frame.size(); ++i)
                ASSERT_EQ(result[i], reference::BlendSample(a, frame[i], m, 255, 65535))
                    << a << ", " << frame[i] << ", " << m;
        }
}

TEST(BlendRow, LeavesSamplesWithoutWeightAloneAmongOthers) {
    for (const std::size_t weighted : {0U, 1U, 63U, 64U, 127U, 128U, 199U}) {
        std::vector<std::uint8_t> result(200, 10);
        const std::vector<std::uint8_t> frame(200, 250);
        std::vector<std::uint8_t> weights(200, 0);
        weights[weighted] = 255;
        kyf::BlendRow(result.data(), frame.data(), weights.data(), result.size());
        for (std::size_t i = 0; i < result.size(); ++i) EXPECT_EQ(result[i], i == weighted ? 250 : 10) << i;
    }
}

TEST(MaskRow, TakesAPixelForBrightWhenOneShownSampleIsAboveTheThreshold) {
    const std::vector<std::uint8_t> row{100, 101, 0, 100, 0, 0, 101, 0, 0, 101, 100, 100};
    std::vector<std::uint8_t> mask(12);
    EXPECT_TRUE(kyf::MaskRow(row.data(), mask.data(), 12, 1, 100));
    EXPECT_EQ(mask, (std::vector<std::uint8_t>{0, 255, 0, 0, 0, 0, 255, 0, 0, 255, 0, 0}));
    mask.resize(4);
    EXPECT_TRUE(kyf::MaskRow(row.data(), mask.data(), 4, 3, 100));
    EXPECT_EQ(mask, (std::vector<std::uint8_t>{255, 0, 255, 255}));
    mask.resize(3);
    EXPECT_TRUE(kyf::MaskRow(row.data(), mask.data(), 3, 4, 100)); // pixels begin with the sample that is not shown
    EXPECT_EQ(mask, (std::vector<std::uint8_t>{255, 255, 255}));
    EXPECT_FALSE(kyf::MaskRow(row.data() + 8, mask.data(), 1, 4, 101));
    EXPECT_EQ(mask[0], 0);
}

TEST(MaskRow, ComparesWithThresholdsThatNoSampleReaches) {
    const std::vector<std::uint16_t> row{0, 255, 256, 65535};
    std::vector<std::uint8_t> mask(4);
    EXPECT_TRUE(kyf::MaskRow(row.data(), mask.data(), 4, 1, 255));
    EXPECT_EQ(mask, (std::vector<std::uint8_t>{0, 0, 255, 255}));
    EXPECT_FALSE(kyf::MaskRow(row.data(), mask.data(), 4, 1, 65535));
    EXPECT_FALSE(kyf::MaskRow(row.data(), mask.data(), 4, 1, INT32_MAX));
    EXPECT_EQ(mask, (std::vector<std::uint8_t>(4, 0)));
    EXPECT_TRUE(kyf::MaskRow(row.data(), mask.data(), 4, 1, -1));
    EXPECT_EQ(mask, (std::vector<std::uint8_t>(4, 255)));
}

TEST(SpreadMask, GivesTheWeightToTheSamplesThatAreAskedFor) {
    const std::vector<std::uint8_t> mask{7, 0, 9};
    std::vector<std::uint8_t> weights(9);
    kyf::SpreadMask(mask.data(), weights.data(), 3, 3, 0, 3);
    EXPECT_EQ(weights, (std::vector<std::uint8_t>{7, 7, 7, 0, 0, 0, 9, 9, 9}));
    kyf::SpreadMask(mask.data(), weights.data(), 3, 3, 1, 2);
    EXPECT_EQ(weights, (std::vector<std::uint8_t>{0, 7, 0, 0, 0, 0, 0, 9, 0}));
    weights.resize(12);
    kyf::SpreadMask(mask.data(), weights.data(), 3, 4, 1, 4);
    EXPECT_EQ(weights, (std::vector<std::uint8_t>{0, 7, 7, 7, 0, 0, 0, 0, 0, 9, 9, 9}));
    weights.resize(3);
    kyf::SpreadMask(mask.data(), weights.data(), 3, 1, 0, 1);
    EXPECT_EQ(weights, mask);
}

} // namespace

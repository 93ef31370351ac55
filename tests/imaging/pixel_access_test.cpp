#include <array>
#include <climits>
#include <vector>

#include <gtest/gtest.h>
#include <kyimaging/kyimaging.h>

#include "imaging/shapes.h"
#include "reference/line_access.h"
#include "support/images.h"

namespace {

using Rgb = std::array<std::int32_t, 3>;

constexpr Rgb kUntouched{-1, -2, -3};

TEST(PixelAccess, StoresBlueGreenRedBottomUp) {
    const test::Image image(KyiAllocImageData(2, 2, KyiFormatBgr24));
    const Rgb red{255, 20, 3};
    KyiSetPixelDataRGB(image.get(), 1, 0, red.data());
    const auto* const bytes = static_cast<const std::uint8_t*>(image->Pixels);
    const std::int32_t secondLine = image->LineBytes; // row 0 of 2
    EXPECT_EQ(bytes[secondLine + 3], 3);
    EXPECT_EQ(bytes[secondLine + 4], 20);
    EXPECT_EQ(bytes[secondLine + 5], 255);
    EXPECT_EQ(KyiGetPixelAddress(image.get(), 1, 0), bytes + secondLine + 3);
}

TEST(PixelAccess, KeepsTheUnusedSampleOfFourBytePixelsInFront) {
    const test::Image image(KyiAllocImageData(1, 1, KyiFormatBgr32));
    auto* const bytes = static_cast<std::uint8_t*>(image->Pixels);
    bytes[0] = 99;
    const Rgb colour{1, 2, 3};
    KyiSetPixelDataRGB(image.get(), 0, 0, colour.data());
    EXPECT_EQ((std::vector<int>{bytes[0], bytes[1], bytes[2], bytes[3]}), (std::vector<int>{99, 3, 2, 1}));
}

TEST(PixelAccess, ReadsTheNearestPixelInEveryFormat) {
    for (const std::int32_t format : test::AllFormats()) {
        const test::Image image = test::RandomImage(5, 4, format, 3);
        for (const std::int32_t x : {0, 3, 4, -1, 5, INT_MIN, INT_MAX})
            for (const std::int32_t y : {0, 2, 3, -1, 4, INT_MIN, INT_MAX}) {
                SCOPED_TRACE(testing::Message() << "format " << format << " at " << x << ", " << y);
                if (KyiIsFormatBgr(format)) {
                    Rgb values{};
                    KyiGetPixelDataRGB(image.get(), x, y, values.data());
                    for (std::int32_t c = 0; c < 3; ++c)
                        EXPECT_EQ(values[static_cast<std::size_t>(c)], reference::Read(*image, x, y, c));
                } else {
                    std::int32_t value = -1;
                    KyiGetPixelData(image.get(), x, y, &value);
                    EXPECT_EQ(value, reference::Read(*image, x, y, 0));
                }
            }
    }
}

TEST(PixelAccess, WritesTheLowBitsOfOnePixelInEveryFormat) {
    const Rgb values{0x12345, -1, 0x7FFF0102};
    for (const std::int32_t format : test::AllFormats()) {
        const test::Image image = test::RandomImage(5, 4, format, 3);
        std::vector<std::uint8_t> expected = reference::Bytes(*image);
        for (std::int32_t c = 0; c < test::ChannelCount(format); ++c)
            reference::Write(*image, expected, 2, 1, c, values[static_cast<std::size_t>(c)]);
        if (KyiIsFormatBgr(format))
            KyiSetPixelDataRGB(image.get(), 2, 1, values.data());
        else
            KyiSetPixelData(image.get(), 2, 1, values[0]);
        EXPECT_EQ(expected, reference::Bytes(*image)) << "format " << format;
    }
}

TEST(PixelAccess, DropsWritesOutside) {
    for (const std::int32_t format : test::AllFormats()) {
        const test::Image image = test::RandomImage(5, 4, format, 3);
        const std::vector<std::uint8_t> before = reference::Bytes(*image);
        const Rgb values{1, 2, 3};
        for (const std::int32_t outside : {-1, 5, INT_MIN, INT_MAX}) {
            KyiSetPixelData(image.get(), outside, 0, 1);
            KyiSetPixelData(image.get(), 0, outside, 1);
            KyiSetPixelDataRGB(image.get(), outside, 0, values.data());
            KyiSetPixelDataRGB(image.get(), 0, outside, values.data());
        }
        EXPECT_EQ(before, reference::Bytes(*image)) << "format " << format;
    }
}

TEST(PixelAccess, LeavesEverythingAsItWasOnTheOtherKindOfImage) {
    const test::Image gray = test::RandomImage(3, 3, KyiFormatGray16, 1);
    const test::Image colour = test::RandomImage(3, 3, KyiFormatBgr48, 1);
    const auto grayBefore = reference::Bytes(*gray);
    const auto colourBefore = reference::Bytes(*colour);
    Rgb values = kUntouched;
    KyiGetPixelDataRGB(gray.get(), 1, 1, values.data());
    KyiGetPixelData(colour.get(), 1, 1, values.data());
    KyiSetPixelDataRGB(gray.get(), 1, 1, values.data());
    KyiSetPixelData(colour.get(), 1, 1, 5);
    EXPECT_EQ(values, kUntouched);
    EXPECT_EQ(grayBefore, reference::Bytes(*gray));
    EXPECT_EQ(colourBefore, reference::Bytes(*colour));
}

TEST(PixelAccess, AcceptsNull) {
    const test::Image gray = test::RandomImage(3, 3, KyiFormatGray8, 1);
    const test::Image colour = test::RandomImage(3, 3, KyiFormatBgr24, 1);
    Rgb values = kUntouched;
    EXPECT_EQ(KyiGetPixelAddress(nullptr, 0, 0), nullptr);
    KyiGetPixelData(nullptr, 0, 0, values.data());
    KyiGetPixelDataRGB(nullptr, 0, 0, values.data());
    KyiSetPixelData(nullptr, 0, 0, 1);
    KyiSetPixelDataRGB(nullptr, 0, 0, values.data());
    KyiGetPixelData(gray.get(), 0, 0, nullptr);
    KyiGetPixelDataRGB(colour.get(), 0, 0, nullptr);
    KyiSetPixelDataRGB(colour.get(), 0, 0, nullptr);
    EXPECT_EQ(values, kUntouched);
}

} // namespace

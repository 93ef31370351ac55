#include <algorithm>
#include <array>
#include <numeric>
#include <vector>

#include <gtest/gtest.h>
#include <kyimaging/kyimaging.h>

#include "imaging/shapes.h"
#include "reference/gray.h"
#include "reference/line_access.h"
#include "support/images.h"

namespace {

std::int32_t GrayPartner(std::int32_t format) { return KyiGetMaxVal(format) > 255 ? KyiFormatGray16 : KyiFormatGray8; }

void ExpectGray(const KyiImageData& source, const KyiImageData& gray) {
    for (std::int32_t y = 0; y < source.Height; ++y)
        for (std::int32_t x = 0; x < source.Width; ++x)
            ASSERT_EQ(reference::Gray(reference::Read(source, x, y, 0), reference::Read(source, x, y, 1),
                                      reference::Read(source, x, y, 2)),
                      reference::Read(gray, x, y, 0))
                << "at " << x << ", " << y;
}

TEST(TransformToGray, EqualsThePlainFormInEveryFormat) {
    for (const std::int32_t format : test::AllFormats()) {
        if (!KyiIsFormatBgr(format)) continue;
        for (const test::Shape& shape : test::kAwkwardShapes) {
            SCOPED_TRACE(Describe(shape, format));
            const test::Image source = test::RandomImage(shape.Width, shape.Height, format, 4);
            const test::Image gray = test::RandomImage(shape.Width, shape.Height, GrayPartner(format), 5);
            KyiTransformToGray(source.get(), gray.get(), 0);
            ExpectGray(*source, *gray);
        }
    }
}

TEST(TransformToGray, IsExactForEveryColourOf8Bits) {
    const test::Image source(KyiAllocImageData(65536, 16, KyiFormatBgr24));
    const test::Image gray(KyiAllocImageData(65536, 16, KyiFormatGray8));
    for (std::int32_t firstRed = 0; firstRed < 256; firstRed += 16) {
        for (std::int32_t row = 0; row < 16; ++row)
            for (std::int32_t x = 0; x < 65536; ++x) {
                auto* const pixel = static_cast<std::uint8_t*>(KyiGetPixelAddress(source.get(), x, row));
                pixel[0] = static_cast<std::uint8_t>(x);
                pixel[1] = static_cast<std::uint8_t>(x >> 8);
                pixel[2] = static_cast<std::uint8_t>(firstRed + row);
            }
        KyiTransformToGray(source.get(), gray.get(), 0);
        ExpectGray(*source, *gray);
    }
}

// Offsets to a neutral colour of level n that make the weighted sum, the 500 included, 1000 n, 1000 n - 1, 1000 n +
// 999.
constexpr std::array<std::int32_t, 3> kOnStep{7, -5, 3};
constexpr std::array<std::int32_t, 3> kBelowStep{-2, -1, 6};
constexpr std::array<std::int32_t, 3> kBelowNext{-1, 0, 7};

/// Adds offsets to a neutral colour; false when the result leaves the range.
bool OffsetColour(std::int32_t level, const std::array<std::int32_t, 3>& offsets, std::int32_t values[3]) {
    for (std::size_t c = 0; c < 3; ++c) values[c] = level + offsets[c];
    return std::all_of(values, values + 3, [](std::int32_t value) { return value >= 0 && value <= 65535; });
}

// Where a quotient that is only nearly right shows.
TEST(TransformToGray, IsExactAtEveryStepOf16Bits) {
    const std::vector<std::array<std::int32_t, 3>> offsets{kOnStep, kBelowStep, kBelowNext};
    const test::Image source(KyiAllocImageData(65536, 3, KyiFormatBgr48));
    const test::Image gray(KyiAllocImageData(65536, 3, KyiFormatGray16));
    KyiFill(source.get(), 0, 0, 0);
    for (std::int32_t y = 0; y < 3; ++y)
        for (std::int32_t level = 0; level < 65536; ++level) {
            std::int32_t values[3];
            if (OffsetColour(level, offsets[static_cast<std::size_t>(y)], values))
                KyiSetPixelDataRGB(source.get(), level, y, values);
        }
    KyiTransformToGray(source.get(), gray.get(), 0);
    ExpectGray(*source, *gray);
    EXPECT_EQ(reference::Read(*gray, 40000, 0, 0), 40000);
    EXPECT_EQ(reference::Read(*gray, 40000, 1, 0), 39999);
    EXPECT_EQ(reference::Read(*gray, 40000, 2, 0), 40000);
}

TEST(TransformToGray, KeepsNeutralColours) {
    std::vector<std::int32_t> levels(65536);
    std::iota(levels.begin(), levels.end(), 0);
    const test::Image source(KyiAllocImageData(65536, 1, KyiFormatBgr48));
    for (std::int32_t c = 0; c < 3; ++c) KyiSetLinePixel(source.get(), 0, 0, c, levels.data(), 65536);
    const test::Image gray(KyiAllocImageData(65536, 1, KyiFormatGray16));
    KyiTransformToGray(source.get(), gray.get(), 0);
    EXPECT_TRUE(test::SameValues(levels, test::ToPlanes(*gray)));
}

TEST(TransformToGray, LeavesAMisfitDestinationAsItWas) {
    const test::Image colour = test::RandomImage(6, 4, KyiFormatBgr24, 1);
    const test::Image gray = test::RandomImage(6, 4, KyiFormatGray8, 1);
    for (const auto& [width, height, format] :
         std::vector<std::array<std::int32_t, 3>>{{5, 4, 3}, {6, 3, 3}, {6, 4, 5}, {6, 4, 4}}) {
        const test::Image other = test::RandomImage(width, height, format, 9);
        const auto before = reference::Bytes(*other);
        KyiTransformToGray(colour.get(), other.get(), 0);
        KyiTransformToGray(gray.get(), other.get(), 0);
        EXPECT_EQ(before, reference::Bytes(*other)) << width << " x " << height << ", format " << format;
    }
    KyiTransformToGray(nullptr, gray.get(), 0);
    KyiTransformToGray(colour.get(), nullptr, 0);
}

} // namespace

#include <algorithm>
#include <cstring>
#include <limits>
#include <utility>

#include <gtest/gtest.h>

#include "filters/double_image.h"
#include "filters/filters.h"
#include "filters/image_layout.h"
#include "filters/numbers.h"
#include "safe3d/threads.h"
#include "support/images.h"

namespace {

TEST(GrayPartnerFormat, HasTheSampleWidthOfItsWord) {
    for (const std::int32_t format : test::AllFormats()) {
        const std::int32_t partner = kyf::GrayPartnerFormat(format);
        EXPECT_TRUE(KyiIsFormatGrayscale(partner)) << format;
        EXPECT_EQ(KyiGetMaxVal(format), KyiGetMaxVal(partner)) << format;
        EXPECT_TRUE(KyiIsFormatBgr(format) || partner == format) << format;
    }
    EXPECT_EQ(200, kyf::GrayPartnerFormat(204));
    EXPECT_EQ(202, kyf::GrayPartnerFormat(203));
    EXPECT_EQ(3, kyf::GrayPartnerFormat(101));
    EXPECT_EQ(5, kyf::GrayPartnerFormat(104));
    for (const std::int32_t unknown : {-1, 0, 6, 102, 206}) EXPECT_EQ(-1, kyf::GrayPartnerFormat(unknown));
}

TEST(CloneImageLayout, KeepsSizeFormatAndOrigin) {
    const test::Image source(KyiAllocImageDataEx(13, 7, KyiFormatBgr48, 5, 0));
    const kyf::ImagePtr clone = kyf::CloneImageLayout(*source);
    EXPECT_TRUE(KyiIsSameSize(source.get(), clone.get()));
    EXPECT_TRUE(KyiIsSamePixelFormat(source.get(), clone.get()));
    EXPECT_TRUE(KyiIsSameOrigin(source.get(), clone.get()));
}

TEST(CloneImageLayout, CopiesThePalette) {
    constexpr std::size_t kPaletteBytes = 256 * 4;
    const test::Image source(KyiAllocImageData(4, 4, KyiFormatGray8));
    std::memset(source->Palette, 0x5A, kPaletteBytes);
    const kyf::ImagePtr clone = kyf::CloneImageLayout(*source);
    EXPECT_NE(source->Palette, clone->Palette);
    EXPECT_EQ(0, std::memcmp(source->Palette, clone->Palette, kPaletteBytes));
    const kyf::ImagePtr image = kyf::NewImage(*source, KyiFormatGray16);
    EXPECT_EQ(0, std::memcmp(source->Palette, image->Palette, kPaletteBytes));
}

TEST(NewImage, RefusesAnUnknownFormat) {
    const test::Image source(KyiAllocImageData(4, 4, KyiFormatBgr24));
    EXPECT_THROW(kyf::NewImage(*source, -1), std::bad_alloc);
}

TEST(CopyToGray, CopiesGrayAndConvertsColourWithAnyNumberOfThreads) {
    for (const std::int32_t format : test::AllFormats())
        for (const auto& [width, height] : {std::pair{21, 8}, std::pair{1, 1}, std::pair{5, 3}})
            for (const int threads : {0, 1, 2, 5}) {
                const test::ThreadScope scope(std::max(threads, 1));
                const test::Image source = test::RandomImage(width, height, format, 9);
                const kyf::ImagePtr gray = kyf::NewImage(*source, kyf::GrayPartnerFormat(format));
                kyf::CopyToGray(*source, *gray, threads != 0);
                const test::Image expected(KyiAllocImageData(width, height, gray->Format));
                if (KyiIsFormatBgr(format)) KyiTransformToGray(source.get(), expected.get(), 0);
                EXPECT_TRUE(test::SameImage(KyiIsFormatBgr(format) ? *expected : *source, *gray)) << format;
            }
}

TEST(CopyToGray, LeavesAnImageOfAnotherSizeAsItIs) {
    const test::Image source = test::RandomImage(21, 8, KyiFormatBgr24, 9);
    const test::Image gray = test::RandomImage(21, 5, KyiFormatGray8, 10);
    const test::Image before(KyiDuplicateImageData(gray.get(), 0));
    kyf::CopyToGray(*source, *gray, 1);
    EXPECT_TRUE(test::SameImage(*before, *gray));
}

TEST(RowsOf, LooksIntoTheWholeImage) {
    const test::Image image = test::RandomImage(7, 9, KyiFormatBgr48, 11);
    const KyiImageData rows = kyf::RowsOf(*image, 2, 6);
    EXPECT_EQ(rows.Height, 4);
    for (std::int32_t y = 0; y < 4; ++y)
        EXPECT_EQ(KyiGetPixelAddress(&rows, 3, y), KyiGetPixelAddress(image.get(), 3, y + 2));
}

TEST(CopyFirstChannel, WritesRedOnly) {
    const test::Image source = test::RandomImage(21, 8, KyiFormatBgr24, 9);
    const test::Image destination = test::RandomImage(21, 8, KyiFormatBgr24, 10);
    const std::vector<std::int32_t> before = test::ToPlanes(*destination);
    kyf::CopyFirstChannel(*source, *destination);
    std::vector<std::int32_t> expected = test::ToPlanes(*source);
    std::copy(before.begin() + 21 * 8, before.end(), expected.begin() + 21 * 8);
    EXPECT_EQ(expected, test::ToPlanes(*destination));
}

TEST(CopyFirstChannel, CopiesGray) {
    const test::Image source = test::RandomImage(21, 8, KyiFormatGray16, 9);
    const test::Image destination = test::RandomImage(21, 8, KyiFormatGray16, 10);
    kyf::CopyFirstChannel(*source, *destination);
    EXPECT_TRUE(test::SameImage(*source, *destination));
}

TEST(MirrorBorderImage, RefusesASizeThatNoImageHas) {
    const test::Image source(KyiAllocImageData(4, 4, KyiFormatGray8));
    EXPECT_THROW(kyf::MirrorBorderImage(source.get(), std::numeric_limits<std::int32_t>::max(), 0, 0), std::bad_alloc);
    EXPECT_THROW(kyf::MirrorBorderImage(source.get(), -2, 0, 0), std::bad_alloc);
}

TEST(AllocDoubleImage, IsZeroAndInOneBlock) {
    const kyf::DoubleImagePtr image(kyf::AllocDoubleImage(17, 9));
    for (std::int32_t y = 0; y < 9; ++y) {
        EXPECT_EQ(image->Rows[0] + 17 * y, image->Rows[y]);
        for (std::int32_t x = 0; x < 17; ++x) EXPECT_EQ(0.0, image->Rows[y][x]);
    }
}

TEST(AllocDoubleImage, RefusesASizeBelowOne) {
    for (const std::int32_t size : {0, -1, std::numeric_limits<std::int32_t>::min()}) {
        EXPECT_EQ(nullptr, kyf::AllocDoubleImage(size, 5));
        EXPECT_EQ(nullptr, kyf::AllocDoubleImage(5, size));
        EXPECT_EQ(nullptr, kyf::AllocDoubleRows(size, 5));
    }
}

TEST(FreeDoubleImage, TakesNullAndAnImageWithoutRows) {
    kyf::FreeDoubleImage(nullptr);
    kyf::FreeDoubleRows(nullptr);
    KyfImageData* const image = kyf::AllocDoubleImage(3, 3);
    kyf::FreeDoubleRows(image->Rows);
    image->Rows = nullptr;
    kyf::FreeDoubleImage(image);
}

TEST(TruncateToInt32, GivesTheSmallestIntegerOutsideTheRange) {
    constexpr std::int32_t smallest = std::numeric_limits<std::int32_t>::min();
    EXPECT_EQ(smallest, kyf::TruncateToInt32(std::numeric_limits<double>::quiet_NaN()));
    EXPECT_EQ(smallest, kyf::TruncateToInt32(2147483648.0));
    EXPECT_EQ(smallest, kyf::TruncateToInt32(-2147483649.0));
    EXPECT_EQ(smallest, kyf::TruncateToInt32(-2147483648.9));
    EXPECT_EQ(2147483647, kyf::TruncateToInt32(2147483647.9));
    EXPECT_EQ(-3, kyf::TruncateToInt32(-3.99));
    EXPECT_EQ(3, kyf::TruncateToInt32(3.99));
}

TEST(TruncateToInt64, GivesTheSmallestIntegerOutsideTheRange) {
    constexpr std::int64_t smallest = std::numeric_limits<std::int64_t>::min();
    EXPECT_EQ(smallest, kyf::TruncateToInt64(std::numeric_limits<double>::quiet_NaN()));
    EXPECT_EQ(smallest, kyf::TruncateToInt64(9223372036854775808.0));
    EXPECT_EQ(-4000000000, kyf::TruncateToInt64(-4000000000.5));
}

TEST(WrappingProduct, KeepsTheLowBits) {
    EXPECT_EQ(0, kyf::WrappingProduct(65536, 65536));
    EXPECT_EQ(std::numeric_limits<std::int32_t>::min(), kyf::WrappingProduct(65536, 32768));
    EXPECT_EQ(std::numeric_limits<std::int32_t>::min(), kyf::WrappingSum(2147483647, 1));
    EXPECT_EQ(-1, kyf::WrappingDifference(2147483647, std::numeric_limits<std::int32_t>::min()));
}

} // namespace

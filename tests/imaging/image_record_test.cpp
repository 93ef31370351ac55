#include <climits>
#include <cstring>
#include <type_traits>
#include <vector>

#include <gtest/gtest.h>
#include <kyimaging/kyimaging.h>

#include "imaging/shapes.h"
#include "reference/line_access.h"
#include "support/images.h"

extern "C" int32_t UseTheInterfaceFromC(void);

namespace {

static_assert(std::is_standard_layout_v<KyiImageData> && offsetof(KyiImageData, Width) == 0 &&
              offsetof(KyiImageData, Height) == 4 && offsetof(KyiImageData, LineBytes) == 8 &&
              offsetof(KyiImageData, PixelBytes) == 12 && offsetof(KyiImageData, Origin) == 16 &&
              offsetof(KyiImageData, Format) == 20 && offsetof(KyiImageData, Pixels) == 24 &&
              offsetof(KyiImageData, Palette) == 24 + sizeof(void*));

TEST(ImageRecord, HasTheLayoutOfItsFormat) {
    const std::vector<std::pair<std::int32_t, std::int32_t>> formats{{3, 1},   {200, 1}, {5, 2},   {202, 2}, {4, 3},
                                                                     {101, 3}, {201, 3}, {100, 4}, {204, 4}, {7, 6},
                                                                     {104, 6}, {203, 6}, {205, 6}};
    for (const auto& [format, pixelBytes] : formats)
        for (const test::Shape& shape : test::kAwkwardShapes) {
            SCOPED_TRACE(Describe(shape, format));
            const test::Image image(KyiAllocImageDataEx(shape.Width, shape.Height, format, 17, 0));
            ASSERT_NE(image, nullptr);
            EXPECT_EQ(image->Width, shape.Width);
            EXPECT_EQ(image->Height, shape.Height);
            EXPECT_EQ(image->PixelBytes, pixelBytes);
            EXPECT_EQ(image->LineBytes, (shape.Width * pixelBytes + 3) / 4 * 4);
            EXPECT_EQ(image->Format, format);
            EXPECT_EQ(image->Origin, 17);
            EXPECT_EQ(reinterpret_cast<std::uintptr_t>(image->Pixels) % 64, 0u);
            EXPECT_NE(image->Palette, nullptr);
        }
}

TEST(ImageRecord, StartsWithTheDefaultOrigin) {
    EXPECT_EQ(test::Image(KyiAllocImageData(3, 3, KyiFormatGray8))->Origin, 0);
    const test::Image mask(KyiAllocMaskImageData(3, 2));
    EXPECT_EQ(mask->Origin, 0);
    EXPECT_EQ(mask->Format, KyiFormatGray8);
}

TEST(ImageRecord, PadsItsLinesWithZeros) {
    std::free(std::memset(std::malloc(4096), 0xA5, 4096)); // memory that is likely to come back
    const test::Image image(KyiAllocImageData(5, 40, KyiFormatBgr24));
    for (std::int32_t y = 0; y < 40; ++y)
        EXPECT_EQ(static_cast<const std::uint8_t*>(image->Pixels)[y * image->LineBytes + 15], 0) << "line " << y;
}

TEST(ImageRecord, RefusesSizesAndFormatsThatNoImageHas) {
    for (const std::int32_t bad : {0, -1, INT_MIN}) {
        EXPECT_EQ(KyiAllocImageData(bad, 5, KyiFormatGray8), nullptr);
        EXPECT_EQ(KyiAllocImageData(5, bad, KyiFormatGray8), nullptr);
        EXPECT_EQ(KyiAllocMaskImageData(bad, 5), nullptr);
        EXPECT_EQ(KyiAllocMaskImageData(5, bad), nullptr);
    }
    for (const std::int32_t format : {-1, 0, 1, 2, 6, 8, 99, 102, 103, 105, 199, 206, INT_MIN, INT_MAX})
        EXPECT_EQ(KyiAllocImageData(5, 5, format), nullptr) << format;
}

TEST(ImageRecord, RefusesImagesBeyondTheMemoryAndLinesBeyondTheirField) {
    EXPECT_EQ(KyiAllocImageData(INT_MAX, 1, KyiFormatGray8), nullptr);     // 2^31 bytes a line
    EXPECT_EQ(KyiAllocImageData(INT_MAX / 2, 1, KyiFormatBgr24), nullptr); // wraps in 32 bits
    EXPECT_EQ(KyiAllocImageData(INT_MAX / 6 * 5, 1, KyiFormatBgr48), nullptr);
    EXPECT_EQ(KyiAllocImageData(INT_MAX - 3, INT_MAX, KyiFormatGray8), nullptr);
    EXPECT_EQ(KyiAllocImageData(1 << 20, 1 << 28, KyiFormatBgr24), nullptr);
}

TEST(ImageRecord, FreesNull) { KyiFreeImageData(nullptr); }

TEST(ImageRecord, CanBeUsedFromC) { EXPECT_EQ(UseTheInterfaceFromC(), 0); }

TEST(Palette, IsCopiedWithADuplicateAndOnItsOwn) {
    const test::Image first(KyiAllocImageDataEx(2, 2, KyiFormatGray8, 5, 0));
    const test::Image second(KyiAllocImageData(2, 2, KyiFormatGray8));
    const test::Image fresh(KyiAllocImageData(2, 2, KyiFormatGray8));
    constexpr std::size_t kBytes = 256 * 4;
    EXPECT_EQ(std::memcmp(second->Palette, fresh->Palette, kBytes), 0);
    std::memset(first->Palette, 0x5A, kBytes);
    KyiFill(first.get(), 1, 0, 0);
    const test::Image copy(KyiDuplicateImageData(first.get(), 0));
    EXPECT_NE(copy->Palette, first->Palette);
    EXPECT_EQ(std::memcmp(copy->Palette, first->Palette, kBytes), 0);
    KyiCopyPalette(first->Palette, second->Palette);
    EXPECT_EQ(std::memcmp(second->Palette, first->Palette, kBytes), 0);
    KyiCopyPalette(nullptr, second->Palette);
    KyiCopyPalette(first->Palette, nullptr);
    EXPECT_EQ(std::memcmp(second->Palette, first->Palette, kBytes), 0);
}

TEST(Questions, TellTheTraitsOfEveryWord) {
    struct Traits {
        std::int32_t Format;
        bool IsBgr;
        bool IsGray;
        std::int32_t MaxVal;
    };
    const std::vector<Traits> words{{3, false, true, 255},     {200, false, true, 255},   {5, false, true, 65535},
                                    {202, false, true, 65535}, {4, true, false, 255},     {100, true, false, 255},
                                    {101, true, false, 255},   {201, true, false, 255},   {204, true, false, 255},
                                    {7, true, false, 65535},   {104, true, false, 65535}, {203, true, false, 65535},
                                    {205, true, false, 65535}, {0, false, false, 0},      {-1, false, false, 0},
                                    {6, false, false, 0},      {102, false, false, 0},    {206, false, false, 0}};
    for (const Traits& word : words) {
        SCOPED_TRACE(word.Format);
        EXPECT_EQ(KyiIsFormatBgr(word.Format) != 0, word.IsBgr);
        EXPECT_EQ(KyiIsFormatGrayscale(word.Format) != 0, word.IsGray);
        EXPECT_EQ(KyiGetMaxVal(word.Format), word.MaxVal);
        EXPECT_EQ(KyiGetDepth(word.Format), word.MaxVal == 0 ? 0 : word.MaxVal + 1);
    }
}

TEST(Questions, CompareSizeFormatAndOrigin) {
    const test::Image image(KyiAllocImageDataEx(4, 3, KyiFormatGray8, 1, 0));
    const test::Image wider(KyiAllocImageDataEx(5, 3, KyiFormatGray8, 1, 0));
    const test::Image higher(KyiAllocImageDataEx(4, 4, KyiFormatGray8Alternate, 1, 0));
    const test::Image other(KyiAllocImageDataEx(4, 3, KyiFormatGray8Alternate, 2, 0));
    EXPECT_FALSE(KyiIsSameSize(image.get(), wider.get()));
    EXPECT_FALSE(KyiIsSameSize(image.get(), higher.get()));
    EXPECT_TRUE(KyiIsSameSize(image.get(), other.get()));
    EXPECT_TRUE(KyiIsSamePixelFormat(image.get(), wider.get()));
    EXPECT_FALSE(KyiIsSamePixelFormat(image.get(), other.get()));
    EXPECT_TRUE(KyiIsSameOrigin(image.get(), higher.get()));
    EXPECT_FALSE(KyiIsSameOrigin(image.get(), other.get()));
    for (const auto question : {KyiIsSameSize, KyiIsSamePixelFormat, KyiIsSameOrigin}) {
        EXPECT_FALSE(question(image.get(), nullptr));
        EXPECT_FALSE(question(nullptr, image.get()));
        EXPECT_FALSE(question(nullptr, nullptr));
    }
}

} // namespace

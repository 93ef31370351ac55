#include <climits>
#include <omp.h>
#include <vector>

#include <gtest/gtest.h>
#include <kyimaging/kyimaging.h>

#include "imaging/shapes.h"
#include "reference/line_access.h"
#include "support/images.h"

namespace {

struct Rect {
    std::int32_t Values[4]; // column, row, width - 1, height - 1
};

/// Runs with the parallel flag off, then on with 1, 2 and 5 threads.
template <typename Check> void ForAllThreads(const Check& check) {
    const int before = omp_get_max_threads();
    for (const int threads : {0, 1, 2, 5}) {
        SCOPED_TRACE(testing::Message() << threads << " threads");
        omp_set_num_threads(threads > 0 ? threads : before);
        check(/*parallel=*/threads > 0);
    }
    omp_set_num_threads(before);
}

/// What a clip leaves in a destination that held `before`.
void ExpectClip(const KyiImageData& source, const KyiImageData& before, const Rect& rect, const KyiImageData& actual) {
    for (std::int32_t c = 0; c < test::ChannelCount(source.Format); ++c)
        for (std::int32_t y = 0; y < actual.Height; ++y)
            for (std::int32_t x = 0; x < actual.Width; ++x) {
                const bool isCovered = x <= rect.Values[2] && y <= rect.Values[3];
                const std::int32_t expected = isCovered ? reference::Read(source, std::int64_t{rect.Values[0]} + x,
                                                                          std::int64_t{rect.Values[1]} + y, c)
                                                        : reference::Read(before, x, y, c);
                ASSERT_EQ(expected, reference::Read(actual, x, y, c)) << "channel " << c << " at " << x << ", " << y;
            }
}

TEST(Duplicate, KeepsSizeFormatOriginAndPixels) {
    for (const std::int32_t format : test::AllFormats())
        for (const test::Shape& shape : test::kAwkwardShapes) {
            SCOPED_TRACE(Describe(shape, format));
            const test::Image image = test::RandomImage(shape.Width, shape.Height, format, 4);
            image->Origin = 3;
            const test::Image copy(KyiDuplicateImageData(image.get(), 1));
            ASSERT_TRUE(KyiIsSameSize(image.get(), copy.get()) && KyiIsSamePixelFormat(image.get(), copy.get()));
            EXPECT_TRUE(KyiIsSameOrigin(image.get(), copy.get()));
            EXPECT_NE(image->Pixels, copy->Pixels);
            EXPECT_EQ(reference::Bytes(*image), reference::Bytes(*copy));
        }
}

TEST(Duplicate, OfALargeImageIsTheSameWhateverTheThreads) {
    const test::Image image = test::RandomImage(1501, 1003, KyiFormatBgr24, 8);
    ForAllThreads([&](bool parallel) {
        const test::Image copy(KyiDuplicateImageData(image.get(), parallel));
        EXPECT_EQ(reference::Bytes(*image), reference::Bytes(*copy));
    });
}

TEST(Duplicate, OfNullIsNull) { EXPECT_EQ(KyiDuplicateImageData(nullptr, 1), nullptr); }

TEST(Copy, MakesTheDestinationEqualWhateverTheThreads) {
    const test::Image image = test::RandomImage(1501, 1003, KyiFormatBgr24, 8);
    ForAllThreads([&](bool parallel) {
        const test::Image copy = test::RandomImage(1501, 1003, KyiFormatBgr24, 9);
        copy->Origin = 7;
        KyiCopyImageData(image.get(), copy.get(), 0, parallel);
        EXPECT_EQ(reference::Bytes(*image), reference::Bytes(*copy));
        EXPECT_EQ(copy->Origin, 7);
    });
}

TEST(Copy, LeavesAMisfitDestinationAsItWas) {
    const test::Image image = test::RandomImage(8, 8, KyiFormatBgr24, 8);
    for (const auto& [width, height, format] :
         std::vector<std::array<std::int32_t, 3>>{{7, 8, 4}, {8, 7, 4}, {8, 8, 101}, {8, 8, 3}}) {
        const test::Image other = test::RandomImage(width, height, format, 9);
        const auto before = reference::Bytes(*other);
        KyiCopyImageData(image.get(), other.get(), 0, 1);
        EXPECT_EQ(before, reference::Bytes(*other));
    }
    KyiCopyImageData(nullptr, image.get(), 0, 1);
    KyiCopyImageData(image.get(), nullptr, 0, 1);
    KyiCopyImageData(image.get(), image.get(), 0, 1);
}

TEST(Clip, TakesTheCentreOfABorderedImage) {
    for (const std::int32_t format : test::AllFormats()) {
        const test::Image source = test::RandomImage(14, 11, format, 5);
        const test::Image centre = test::RandomImage(10, 7, format, 6);
        const Rect rect{{2, 2, 9, 6}};
        KyiClipImage(source.get(), centre.get(), rect.Values);
        ExpectClip(*source, *centre, rect, *centre);
    }
}

TEST(Clip, RepeatsTheEdgesAndDropsWhatDoesNotFit) {
    const std::vector<Rect> rects{{{0, 0, 0, 0}},
                                  {{-3, -2, 9, 6}},
                                  {{4, 3, 20, 20}},
                                  {{2, 1, 3, 2}},
                                  {{-50, 2, 9, 6}},
                                  {{50, -50, 9, 6}},
                                  {{1, 1, INT_MAX, INT_MAX}},
                                  {{INT_MIN, INT_MIN, 9, 6}},
                                  {{INT_MAX, INT_MAX, INT_MAX, INT_MAX}}};
    for (const std::int32_t format : test::AllFormats())
        for (const test::Shape& shape : {test::Shape{1, 1}, test::Shape{7, 5}, test::Shape{33, 9}}) {
            const test::Image source = test::RandomImage(shape.Width, shape.Height, format, 5);
            for (const Rect& rect : rects) {
                SCOPED_TRACE(testing::Message() << Describe(shape, format) << ", from " << rect.Values[0] << ", "
                                                << rect.Values[1] << ", " << rect.Values[2] << " more");
                const test::Image before = test::RandomImage(10, 7, format, 6);
                const test::Image clip = test::RandomImage(10, 7, format, 6);
                KyiClipImage(source.get(), clip.get(), rect.Values);
                ExpectClip(*source, *before, rect, *clip);
            }
        }
}

TEST(Clip, LeavesTheDestinationAsItWasForAnythingElse) {
    const test::Image source = test::RandomImage(9, 9, KyiFormatGray8, 5);
    const test::Image other = test::RandomImage(5, 5, KyiFormatGray16, 5);
    const test::Image same = test::RandomImage(5, 5, KyiFormatGray8, 5);
    const auto otherBefore = reference::Bytes(*other);
    const auto sameBefore = reference::Bytes(*same);
    const Rect all{{0, 0, 4, 4}};
    KyiClipImage(source.get(), other.get(), all.Values);
    KyiClipImage(source.get(), same.get(), nullptr);
    KyiClipImage(nullptr, same.get(), all.Values);
    KyiClipImage(source.get(), nullptr, all.Values);
    for (const std::int32_t bad : {-1, -2, INT_MIN}) {
        const Rect narrow{{0, 0, bad, 4}};
        const Rect flat{{0, 0, 4, bad}};
        KyiClipImage(source.get(), same.get(), narrow.Values);
        KyiClipImage(source.get(), same.get(), flat.Values);
    }
    EXPECT_EQ(otherBefore, reference::Bytes(*other));
    EXPECT_EQ(sameBefore, reference::Bytes(*same));
}

TEST(Paste, PutsTheSourceAtItsPlaceAndDropsTheRest) {
    for (const std::int32_t format : test::AllFormats())
        for (const std::int32_t x : {0, 3, -2, 8, 9, -5, -6, INT_MAX, INT_MIN})
            for (const std::int32_t y : {0, 2, -2, 6, 7, -4, INT_MAX, INT_MIN}) {
                const test::Image source = test::RandomImage(5, 4, format, 1);
                const test::Image destination = test::RandomImage(9, 7, format, 2);
                std::vector<std::uint8_t> expected = reference::Bytes(*destination);
                for (std::int64_t row = 0; row < 4; ++row)
                    for (std::int64_t column = 0; column < 5; ++column) {
                        for (std::int32_t c = 0; c < test::ChannelCount(format); ++c)
                            reference::Write(*destination, expected, x + column, y + row, c,
                                             reference::Read(*source, column, row, c));
                        const bool isInside = x + column >= 0 && x + column < 9 && y + row >= 0 && y + row < 7;
                        if (destination->PixelBytes == 4 && isInside) // the unused sample comes along
                            expected[reference::ByteIndex(*destination, x + column, y + row, 3)] =
                                reference::Bytes(*source)[reference::ByteIndex(*source, column, row, 3)];
                    }
                KyiPasteImageData(source.get(), destination.get(), x, y, 1);
                ASSERT_EQ(expected, reference::Bytes(*destination)) << "format " << format << " at " << x << ", " << y;
            }
}

TEST(Paste, OfALargeImageIsTheSameWhateverTheThreads) {
    const test::Image source = test::RandomImage(1201, 1003, KyiFormatBgr24, 1);
    const test::Image before = test::RandomImage(1501, 1103, KyiFormatBgr24, 2);
    const test::Image plain(KyiDuplicateImageData(before.get(), 0));
    KyiPasteImageData(source.get(), plain.get(), 77, -5, 0);
    ForAllThreads([&](bool parallel) {
        const test::Image destination(KyiDuplicateImageData(before.get(), 0));
        KyiPasteImageData(source.get(), destination.get(), 77, -5, parallel);
        EXPECT_EQ(reference::Bytes(*plain), reference::Bytes(*destination));
    });
}

TEST(Paste, ThenClipGivesTheSourceBack) {
    const test::Image source = test::RandomImage(21, 13, KyiFormatBgr48, 1);
    const test::Image canvas = test::RandomImage(40, 40, KyiFormatBgr48, 2);
    const test::Image back = test::RandomImage(21, 13, KyiFormatBgr48, 3);
    KyiPasteImageData(source.get(), canvas.get(), 11, 17, 0);
    const Rect rect{{11, 17, 20, 12}};
    KyiClipImage(canvas.get(), back.get(), rect.Values);
    EXPECT_TRUE(test::SameImage(*source, *back));
}

TEST(Paste, LeavesAMisfitDestinationAsItWas) {
    const test::Image source = test::RandomImage(5, 4, KyiFormatGray8, 1);
    const test::Image destination = test::RandomImage(9, 7, KyiFormatGray8Alternate, 2);
    const auto before = reference::Bytes(*destination);
    KyiPasteImageData(source.get(), destination.get(), 0, 0, 0);
    KyiPasteImageData(nullptr, destination.get(), 0, 0, 0);
    KyiPasteImageData(source.get(), nullptr, 0, 0, 0);
    KyiPasteImageData(destination.get(), destination.get(), 1, 1, 0);
    EXPECT_EQ(before, reference::Bytes(*destination));
}

TEST(Fill, SetsEverySampleToTheLowBits) {
    for (const std::int32_t format : test::AllFormats())
        for (const std::int32_t value : {0, 255, 0x1234, -2}) {
            const test::Image image = test::RandomImage(7, 3, format, 2);
            KyiFill(image.get(), value, 0, 0);
            const std::int32_t expected = value & KyiGetMaxVal(format);
            for (const std::int32_t sample : test::ToPlanes(*image))
                ASSERT_EQ(sample, expected) << "format " << format << ", value " << value;
        }
    KyiFill(nullptr, 0, 0, 0);
}

} // namespace

// Whole adds against the plain form.
#include <gtest/gtest.h>

#include "filters/shapes.h"
#include "halation/record.h"
#include "progress/tree.h"
#include "reference/halation.h"

namespace {

using test::Image;
using test::Shape;

constexpr std::uint32_t kSeed = 20240517;

/// The library's result after two frames, or three where `third` is given.
Image RunSeries(const Image& first, const Image& second, const reference::HalationSettings& settings,
                test::Threads threads, bool watched) {
    const test::ThreadScope scope(threads.Count);
    test::Tree tree;
    const test::Record record =
        test::StartedRecord({settings.Threshold, settings.PreSmoothing, settings.MaskSmoothing});
    EXPECT_EQ(test::Add(record, first, threads.Flag), KyfResultOk);
    EXPECT_EQ(test::Add(record, second, threads.Flag, watched ? tree.Root : nullptr), KyfResultOk);
    KyiImageData* result = nullptr;
    EXPECT_EQ(KyfHalationExtractRemovalImage(record.get(), &result), KyfResultOk);
    return Image(result);
}

void ExpectSameAsPlain(Shape shape, std::int32_t format, std::size_t content,
                       const reference::HalationSettings& settings) {
    SCOPED_TRACE(test::Describe(shape, format, content) + ", threshold " + std::to_string(settings.Threshold) +
                 ", smoothings " + std::to_string(settings.PreSmoothing) + ", " +
                 std::to_string(settings.MaskSmoothing));
    const Image first = test::MakeContent(shape, format, content, kSeed);
    const Image second = test::MakeContent(shape, format, 0, kSeed + 1);
    const Image expected = reference::AddToHalation(*first, *second, settings, false).Result;
    for (const test::Threads threads : test::kThreads)
        for (const bool watched : {false, true}) {
            SCOPED_TRACE(testing::Message()
                         << "flag " << threads.Flag << ", threads " << threads.Count << (watched ? ", watched" : ""));
            const Image actual = RunSeries(first, second, settings, threads, watched);
            ASSERT_TRUE(test::SamePixelBytes(*expected, *actual));
        }
}

TEST(Halation, EqualsThePlainFormOnAllFormatsAndShapes) {
    std::size_t turn = 0;
    for (const Shape shape : test::kAwkwardShapes)
        for (const std::int32_t format : test::AllFormats())
            ExpectSameAsPlain(shape, format, turn++ % test::kContents, {120, 40, 60});
}

TEST(Halation, EqualsThePlainFormAtAllKindsOfSettings) {
    for (const std::int32_t format : {KyiFormatGray8, KyiFormatBgr24, KyiFormatBgr32, KyiFormatBgr48})
        for (const std::int32_t threshold : {1, 128, 254, 255})
            for (const std::int32_t smoothing : {1, 8, 100}) {
                ExpectSameAsPlain({129, 18}, format, 0, {threshold, smoothing, 101 - smoothing});
                ExpectSameAsPlain({129, 18}, format, 2, {threshold, smoothing, 101 - smoothing});
            }
}

} // namespace

#include <array>
#include <limits>

#include <gtest/gtest.h>

#include "alignment/frame_warp.h"
#include "filters/shapes.h"
#include "reference/frame_warp.h"
#include "support/images.h"

namespace {

constexpr std::uint32_t kSeed = 20240817;
constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNan = std::numeric_limits<double>::quiet_NaN();

std::string Describe(const KyfFrameShift& shift) {
    return "scales " + std::to_string(shift.ScaleX) + ", " + std::to_string(shift.ScaleY) + ", shift " +
           std::to_string(shift.ShiftX) + ", " + std::to_string(shift.ShiftY) + ", angle " +
           std::to_string(shift.Angle);
}

test::Image Untouched(const KyiImageData& like) { return test::RandomImage(like.Width, like.Height, like.Format, 5); }

void ExpectSameAsPlain(const KyiImageData& source, const KyfFrameShift& shift) {
    SCOPED_TRACE(Describe(shift));
    const test::Image expected = Untouched(source);
    for (std::int32_t channel = 0; channel < test::ChannelCount(source.Format); ++channel)
        reference::WarpChannel(source, *expected, shift, channel);
    for (const test::Threads threads : test::kThreads) {
        const test::ThreadScope scope(threads.Count);
        const test::Image actual = Untouched(source);
        kyf::WarpFrame(source, *actual, shift, threads.Flag);
        ASSERT_TRUE(test::SameImage(*expected, *actual)) << "flag " << threads.Flag << ", threads " << threads.Count;
    }
}

constexpr std::array<KyfFrameShift, 12> kShifts{{{1.0, 1.0, 0, 0, 0.0},
                                                 {1.0, 1.0, 3, -2, 0.0},
                                                 {1.0, 1.0, -40, 25, 0.0},
                                                 {0.87, 0.87, -3, 4, 0.0},
                                                 {1.013, 1.013, 1, 0, 0.0},
                                                 {0.997, 0.997, 0, -1, 0.0},
                                                 {3.7, 3.7, 2, 2, 0.0},
                                                 {0.3, 1.9, 0, 5, 0.0},
                                                 {1.0, 0.99, 0, 0, 0.0},
                                                 {1.0, 1.0, 0, 0, 7.5},
                                                 {0.9, 1.1, -2, 3, -120.0},
                                                 {1.0, 1.0, 0, 0, 360.0}}};

TEST(WarpFrame, EqualsThePlainFormWhateverTheThreads) {
    std::size_t turn = 0;
    for (const test::Shape shape : test::kAwkwardShapes)
        for (const std::int32_t format : test::AllFormats())
            for (std::size_t i = 0; i < 3; ++i) {
                const std::size_t content = turn % test::kContents;
                SCOPED_TRACE(test::Describe(shape, format, content));
                ExpectSameAsPlain(*test::MakeContent(shape, format, content, kSeed), kShifts[turn++ % kShifts.size()]);
                if (HasFatalFailure()) return;
            }
}

// Wider than a tile of columns and higher than a block of rows, so that both join.
TEST(WarpFrame, EqualsThePlainFormAcrossTilesAndBlocks) {
    for (const std::int32_t format : {KyiFormatGray8, KyiFormatBgr24, KyiFormatBgr32, KyiFormatBgr48})
        for (const KyfFrameShift& shift : kShifts)
            ExpectSameAsPlain(*test::TexturedImage(801, 131, format, kSeed), shift);
}

TEST(WarpFrame, EqualsThePlainFormAtScalesThatNothingGuards) {
    constexpr std::int32_t least = std::numeric_limits<std::int32_t>::min();
    constexpr std::int32_t greatest = std::numeric_limits<std::int32_t>::max();
    for (const test::Shape shape : {test::Shape{1, 1}, test::Shape{2, 2}, test::Shape{33, 65}})
        for (const std::int32_t format : {KyiFormatGray16, KyiFormatBgr24})
            for (const KyfFrameShift& shift :
                 {KyfFrameShift{0.0, 0.0, 0, 0, 0.0}, KyfFrameShift{kNan, kNan, least, least, 0.0},
                  KyfFrameShift{kInfinity, kInfinity, 1, -1, 0.0}, KyfFrameShift{-kInfinity, 1.0, 0, 0, 0.0},
                  KyfFrameShift{-1.0, -1.1, 0, 3, 0.0}, KyfFrameShift{1.0, kNan, 0, 0, 0.0},
                  KyfFrameShift{1e-300, 1e300, 0, 0, 0.0}, KyfFrameShift{1.0, 1.0, greatest, least, 0.0},
                  KyfFrameShift{1.0, 1.0, 0, 0, kNan}, KyfFrameShift{1.0, 1.0, 0, 0, kInfinity},
                  KyfFrameShift{0.0, kNan, 4, 4, 30.0}, KyfFrameShift{1.0, 1.0, 0, 0, 1e-320}})
                ExpectSameAsPlain(*test::RandomImage(shape.Width, shape.Height, format, kSeed), shift);
}

TEST(WarpFrame, KeepsAFrameThatDoesNotMoveButForItsBrightestSample) {
    for (const std::int32_t format : test::AllFormats()) {
        const test::Image frame = test::RandomImage(64, 33, format, kSeed);
        const test::Image warped = Untouched(*frame);
        kyf::WarpFrame(*frame, *warped, {1.0, 1.0, 0, 0, 0.0}, 1);
        std::vector<std::int32_t> expected = test::ToPlanes(*frame);
        for (std::int32_t& sample : expected) sample = std::min(sample, KyiGetMaxVal(format) - 1);
        EXPECT_TRUE(test::SameValues(expected, test::ToPlanes(*warped)));
    }
}

TEST(WarpFrame, LeavesNothingInTheUnusedSample) {
    for (const KyfFrameShift& shift : kShifts)
        for (const test::Threads threads : test::kThreads) {
            SCOPED_TRACE(Describe(shift));
            const test::ThreadScope scope(threads.Count);
            const test::Image warped = test::RandomImage(67, 35, KyiFormatBgr32, 5);
            kyf::WarpFrame(*test::RandomImage(67, 35, KyiFormatBgr32, kSeed), *warped, shift, threads.Flag);
            for (std::int32_t y = 0; y < 35; ++y)
                for (std::int32_t x = 0; x < 67; ++x)
                    ASSERT_EQ(*static_cast<const std::uint8_t*>(KyiGetPixelAddress(warped.get(), x, y)), 0);
        }
}

TEST(WarpFrame, LeavesAlonePixelsThatItDoesNotKnowAndImagesThatDoNotFit) {
    const KyfFrameShift shift{1.0, 1.0, 1, 1, 0.0};
    const test::Image source = test::RandomImage(9, 8, KyiFormatBgr24, kSeed);
    for (const test::Image& other :
         {test::RandomImage(8, 8, KyiFormatBgr24, 3), test::RandomImage(9, 8, KyiFormatGray8, 3)}) {
        const test::Image before(KyiDuplicateImageData(other.get(), 0));
        kyf::WarpFrame(*source, *other, shift, 0);
        EXPECT_TRUE(test::SameImage(*before, *other));
    }
    const test::Image same = test::RandomImage(9, 8, KyiFormatBgr24, 3);
    const test::Image before(KyiDuplicateImageData(same.get(), 0));
    KyiImageData odd = *source;
    KyiImageData destination = *same;
    odd.PixelBytes = destination.PixelBytes = 5;
    kyf::WarpFrame(odd, destination, shift, 0);
    EXPECT_TRUE(test::SameImage(*before, *same));
}

TEST(MapForward, EqualsThePlainForm) {
    for (const test::Shape size : {test::Shape{1, 1}, test::Shape{20, 15}, test::Shape{4001, 3000}})
        for (const KyfFrameShift& shift : kShifts)
            for (const std::int32_t x : {-5, 0, 1, 19, 4000, std::numeric_limits<std::int32_t>::min()})
                for (const std::int32_t y : {-2, 0, 14, 2999, std::numeric_limits<std::int32_t>::max()}) {
                    const KyPoint expected = reference::MapForward({x, y}, size.Width, size.Height, shift);
                    const KyPoint actual = kyf::MapForward({x, y}, size.Width, size.Height, shift);
                    EXPECT_EQ(expected.x, actual.x) << Describe(shift);
                    EXPECT_EQ(expected.y, actual.y) << Describe(shift);
                }
}

} // namespace

#include <cmath>
#include <limits>
#include <vector>

#include <gtest/gtest.h>

#include "filters/double_fields.h"
#include "filters/filters.h"
#include "filters/shapes.h"
#include "support/images.h"

namespace {

using test::Image;

std::vector<std::int32_t> Repeat(std::int32_t value, std::int32_t width, std::int32_t height) {
    return std::vector<std::int32_t>(static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * 3, value);
}

Image Flat(std::int32_t width, std::int32_t height, std::int32_t format, std::int32_t value) {
    return test::FromPlanes(width, height, format, Repeat(value, width, height));
}

Image OneRow(const std::vector<std::int32_t>& samples) {
    return test::FromPlanes(static_cast<std::int32_t>(samples.size()), 1, KyiFormatGray8, samples);
}

Image Filtered(void (*filter)(const KyiImageData*, KyiImageData*, KyiBool), const KyiImageData& source) {
    Image out(KyiDuplicateImageData(&source, 0));
    filter(&source, out.get(), 1);
    return out;
}

Image Smoothed(const KyiImageData& source, double size) {
    Image out(KyiDuplicateImageData(&source, 0));
    kyf::FilterSplineImage(&source, out.get(), size, size, 1.0, 1, nullptr);
    return out;
}

TEST(FilterEdgeStrength, IsZeroOnAFlatImage) {
    for (const std::int32_t format : test::AllFormats()) {
        const std::int32_t top = KyiGetMaxVal(format);
        const Image out = Filtered(kyf::FilterEdgeStrength, *Flat(19, 11, format, top));
        EXPECT_TRUE(test::SameImage(*Flat(19, 11, format, 0), *out));
    }
}

TEST(FilterEdgeStrength, EndsOneBelowTheLargestValueAtAFullStep) {
    const Image out = Filtered(kyf::FilterEdgeStrength, *OneRow({0, 0, 0, 255, 255, 255}));
    EXPECT_EQ((std::vector<std::int32_t>{0, 0, 254, 254, 0, 0}), test::ToPlanes(*out));
}

TEST(FilterEdgeStrength, IsFourTimesAStepBelowTheCap) {
    const Image out = Filtered(kyf::FilterEdgeStrength, *OneRow({0, 0, 63, 63, 0, 0}));
    EXPECT_EQ((std::vector<std::int32_t>{0, 252, 252, 252, 252, 252}), test::ToPlanes(*out));
}

TEST(FilterEdgeStrength, RepeatsTheColumnBeforeTheLast) {
    const Image out = Filtered(kyf::FilterEdgeStrength, *test::RandomImage(23, 9, KyiFormatGray16, 4));
    for (std::int32_t y = 0; y < out->Height; ++y) {
        std::int32_t ends[2];
        KyiGetLinePixel(out.get(), 21, y, 0, ends, 2);
        EXPECT_EQ(ends[0], ends[1]) << "row " << y;
    }
}

TEST(FilterEdgeStrength, IsZeroInAColumnOfOnePixel) {
    const Image out = Filtered(kyf::FilterEdgeStrength, *test::RandomImage(1, 40, KyiFormatBgr24, 5));
    EXPECT_TRUE(test::SameImage(*Flat(1, 40, KyiFormatBgr24, 0), *out));
}

TEST(FilterMaximum5x5, KeepsAFlatImage) {
    for (const std::int32_t format : test::AllFormats()) {
        const Image source = Flat(140, 70, format, 77);
        EXPECT_TRUE(test::SameImage(*source, *Filtered(kyf::FilterMaximum5x5, *source)));
    }
}

TEST(FilterMaximum5x5, WidensABrightSampleByTwoToTheRightAndOneToTheLeft) {
    std::vector<std::int32_t> row(30, 3);
    row[10] = 200;
    std::vector<std::int32_t> expected(30, 3);
    for (const std::size_t x : {9U, 10U, 11U, 12U}) expected[x] = 200;
    EXPECT_EQ(expected, test::ToPlanes(*Filtered(kyf::FilterMaximum5x5, *OneRow(row))));
}

TEST(FilterMaximum5x5, CommutesWithARiseOfAllSamples) {
    std::vector<std::int32_t> low(61 * 37);
    for (std::size_t i = 0; i < low.size(); ++i) low[i] = static_cast<std::int32_t>(i * i * 7 % 101);
    std::vector<std::int32_t> high = low;
    for (std::int32_t& sample : high) sample += 150;
    std::vector<std::int32_t> expected =
        test::ToPlanes(*Filtered(kyf::FilterMaximum5x5, *test::FromPlanes(61, 37, KyiFormatGray8, low)));
    for (std::int32_t& sample : expected) sample += 150;
    EXPECT_EQ(expected,
              test::ToPlanes(*Filtered(kyf::FilterMaximum5x5, *test::FromPlanes(61, 37, KyiFormatGray8, high))));
}

TEST(FilterSplineImage, KeepsAConstantAndEndsOneBelowTheLargestValue) {
    EXPECT_TRUE(
        test::SameImage(*Flat(40, 35, KyiFormatBgr24, 100), *Smoothed(*Flat(40, 35, KyiFormatBgr24, 100), 3.0)));
    EXPECT_TRUE(
        test::SameImage(*Flat(40, 35, KyiFormatGray8, 254), *Smoothed(*Flat(40, 35, KyiFormatGray8, 255), 3.0)));
    EXPECT_TRUE(
        test::SameImage(*Flat(40, 35, KyiFormatBgr48, 65534), *Smoothed(*Flat(40, 35, KyiFormatBgr48, 65535), 3.0)));
}

TEST(FilterSplineImage, KeepsARamp) {
    std::vector<std::int32_t> samples(80 * 50);
    for (std::size_t i = 0; i < samples.size(); ++i) samples[i] = static_cast<std::int32_t>(2 * (i % 80) + i / 80);
    const Image source = test::FromPlanes(80, 50, KyiFormatGray8, samples);
    EXPECT_TRUE(test::SameImage(*source, *Smoothed(*source, 6.0)));
}

TEST(FilterSplineImage, IsBlackWhereTheCutoffIsNotANumber) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    EXPECT_TRUE(test::SameImage(*Flat(40, 9, KyiFormatGray8, 0), *Smoothed(*Flat(40, 9, KyiFormatGray8, 90), nan)));
}

TEST(FilterSplineImage, CompletesTheNodeWithNothingToDo) {
    KyfProgress* const node = KyfAllocProgress(nullptr, nullptr);
    const Image source = test::RandomImage(20, 10, KyiFormatBgr24, 3);
    const Image out(KyiAllocImageData(20, 10, KyiFormatBgr24));
    kyf::FilterSplineImage(source.get(), out.get(), 0.0, 0.0, 1.0, 1, node);
    EXPECT_TRUE(test::SameImage(*source, *out));
    EXPECT_NE(0, node->Completed);
    EXPECT_EQ(100, KyfProgressGetPersent(node));
    KyfFreeProgress(node);
}

TEST(FilterSplineDouble, HalvesAWaveAtTheCutoff) {
    constexpr std::int32_t width = 1200;
    constexpr double wavelength = 40.0;
    const kyf::DoubleImagePtr field(kyf::AllocDoubleImage(width, 3));
    const auto wave = [](std::int32_t x) { return 100.0 * std::sin(2.0 * 3.141592653589793 * x / wavelength); };
    for (std::int32_t y = 0; y < 3; ++y)
        for (std::int32_t x = 0; x < width; ++x) field->Rows[y][x] = wave(x);
    ASSERT_EQ(KyfResultOk, kyf::FilterSplineDouble(field.get(), field.get(), wavelength, 0.0, 0, 0));
    for (std::int32_t x = 400; x < 800; ++x) EXPECT_NEAR(0.5 * wave(x) + 0.01, field->Rows[1][x], 1e-6) << x;
}

TEST(FilterSplineDouble, RaisesAConstantByTwoHundredths) {
    const kyf::DoubleImagePtr field(kyf::AllocDoubleImage(50, 41));
    for (std::int32_t y = 0; y < 41; ++y) std::fill_n(field->Rows[y], 50, 7.25);
    ASSERT_EQ(KyfResultOk, kyf::FilterSplineDouble(field.get(), field.get(), 5.0, 5.0, 0, 1));
    for (const double value : test::ToValues(*field)) EXPECT_NEAR(7.27, value, 1e-9);
}

TEST(FilterSplineDouble, LeavesEverythingWhereTheMarginsMeet) {
    const kyf::DoubleImagePtr field = test::RandomField(10, 8, 2);
    const std::vector<double> before = test::ToValues(*field);
    for (const std::int32_t margin : {4, 5, 1000, std::numeric_limits<std::int32_t>::max()}) {
        EXPECT_EQ(KyfResultOk, kyf::FilterSplineDouble(field.get(), field.get(), 5.0, 5.0, margin, 1));
        EXPECT_TRUE(test::SameValues(before, test::ToValues(*field)));
    }
}

TEST(ReduceImage, CapsSixteenBitsAtTwoHundredAndFiftyFiveInOneThreadOnly) {
    const Image source = Flat(40, 20, KyiFormatGray16, 1000);
    const Image out(KyiAllocImageData(20, 10, KyiFormatGray16));
    kyf::ReduceImage(source.get(), out.get(), 0);
    EXPECT_TRUE(test::SameImage(*Flat(20, 10, KyiFormatGray16, 255), *out));
    kyf::ReduceImage(source.get(), out.get(), 1);
    const std::int32_t parallel = kyf::UseParallelProcess(source.get(), 1) ? 1000 : 255;
    EXPECT_TRUE(test::SameImage(*Flat(20, 10, KyiFormatGray16, parallel), *out));
}

TEST(Filters, LeaveADestinationOfAnotherKindAsItWas) {
    const Image source = test::RandomImage(20, 10, KyiFormatGray8, 1);
    for (const Image& other :
         {test::RandomImage(21, 10, KyiFormatGray8, 2), test::RandomImage(20, 9, KyiFormatGray8, 2),
          test::RandomImage(20, 10, KyiFormatGray16, 2)}) {
        const Image before(KyiDuplicateImageData(other.get(), 0));
        kyf::FilterEdgeStrength(source.get(), other.get(), 1);
        kyf::FilterMaximum5x5(source.get(), other.get(), 1);
        kyf::FilterSplineImage(source.get(), other.get(), 2.0, 2.0, 1.0, 1, nullptr);
        EXPECT_TRUE(test::SamePixelBytes(*before, *other));
    }
    const Image larger = test::RandomImage(40, 5, KyiFormatGray8, 2);
    const Image before(KyiDuplicateImageData(larger.get(), 0));
    kyf::ReduceImage(source.get(), larger.get(), 1);
    EXPECT_TRUE(test::SamePixelBytes(*before, *larger));
}

} // namespace

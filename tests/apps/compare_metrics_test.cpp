#include <array>
#include <cmath>
#include <limits>

#include <gtest/gtest.h>

#include "metrics.h"
#include "support/images.h"

namespace {

using test::FromPlanes;
using test::Image;

constexpr double kC1 = 0.01 * 255 * 0.01 * 255;
constexpr double kC2 = 0.03 * 255 * 0.03 * 255;

std::array<double, 11> Window() {
    std::array<double, 11> weights{};
    double sum = 0.0;
    for (int i = 0; i < 11; ++i) sum += weights[static_cast<std::size_t>(i)] = std::exp(-(i - 5) * (i - 5) / 4.5);
    for (double& weight : weights) weight /= sum;
    return weights;
}

double Similarity(const Image& first, const Image& second) {
    const std::optional<double> result = app::StructuralSimilarity(*first, *second);
    return result ? *result : std::numeric_limits<double>::quiet_NaN();
}

Image Filled(int width, int height, int format, int value) {
    Image image(KyiAllocImageData(width, height, format));
    KyiFill(image.get(), value, 0, 0);
    return image;
}

/// The formula over every window with its 121 weights, sums of deviations and all.
double PlainSimilarity(const KyiImageData& first, const KyiImageData& second, double peak) {
    const std::array<double, 11> weights = Window();
    const std::vector<std::int32_t> x = test::ToPlanes(first);
    const std::vector<std::int32_t> y = test::ToPlanes(second);
    double sum = 0.0;
    for (int top = 0; top + 11 <= first.Height; ++top)
        for (int left = 0; left + 11 <= first.Width; ++left) {
            const auto average = [&](const auto& value) {
                double total = 0.0;
                for (std::size_t j = 0; j < 11; ++j)
                    for (std::size_t i = 0; i < 11; ++i)
                        total += weights[j] * weights[i] *
                                 value((static_cast<std::size_t>(top) + j) * static_cast<std::size_t>(first.Width) +
                                       static_cast<std::size_t>(left) + i);
                return total;
            };
            const double meanX = average([&](std::size_t at) { return x[at]; });
            const double meanY = average([&](std::size_t at) { return y[at]; });
            const double xx = average([&](std::size_t at) { return (x[at] - meanX) * (x[at] - meanX); });
            const double yy = average([&](std::size_t at) { return (y[at] - meanY) * (y[at] - meanY); });
            const double xy = average([&](std::size_t at) { return (x[at] - meanX) * (y[at] - meanY); });
            const double c1 = 1e-4 * peak * peak;
            const double c2 = 9e-4 * peak * peak;
            sum += (2 * meanX * meanY + c1) * (2 * xy + c2) / ((meanX * meanX + meanY * meanY + c1) * (xx + yy + c2));
        }
    return sum / (static_cast<double>(first.Width - 10) * (first.Height - 10));
}

TEST(SampleDifferences, AreSecondMinusFirst) {
    const std::array<std::int32_t, 2> first{10, 20};
    const std::array<std::int32_t, 2> second{13, 16};
    const app::SampleDifferences result =
        app::CompareSamples(*FromPlanes(2, 1, KyiFormatGray8, first), *FromPlanes(2, 1, KyiFormatGray8, second));
    EXPECT_EQ(12.5, result.MeanSquare);
    EXPECT_EQ(-0.5, result.Mean);
    EXPECT_EQ(3.5, result.MeanAbsolute);
    EXPECT_EQ(4, result.Largest);
}

TEST(SampleDifferences, CountEveryChannel) {
    const std::array<std::int32_t, 3> first{100, 100, 100};
    const std::array<std::int32_t, 3> second{101, 98, 102};
    for (const int format : {KyiFormatBgr24, KyiFormatBgr48}) {
        const app::SampleDifferences result =
            app::CompareSamples(*FromPlanes(1, 1, format, first), *FromPlanes(1, 1, format, second));
        EXPECT_EQ(3.0, result.MeanSquare);
        EXPECT_DOUBLE_EQ(1.0 / 3.0, result.Mean);
        EXPECT_DOUBLE_EQ(5.0 / 3.0, result.MeanAbsolute);
        EXPECT_EQ(2, result.Largest);
    }
}

TEST(PeakSignalToNoise, IsInfiniteForEqualImages) {
    EXPECT_EQ(std::numeric_limits<double>::infinity(), app::PeakSignalToNoise(0.0, 255.0));
}

TEST(PeakSignalToNoise, FollowsTheDefinition) {
    EXPECT_DOUBLE_EQ(0.0, app::PeakSignalToNoise(65535.0 * 65535.0, 65535.0));
    EXPECT_DOUBLE_EQ(20.0, app::PeakSignalToNoise(25.5 * 25.5, 255.0));
    EXPECT_NEAR(48.1308036, app::PeakSignalToNoise(1.0, 255.0), 1e-7);
}

TEST(StructuralSimilarity, IsExactlyOneForEqualImages) {
    for (const int format : {KyiFormatGray8, KyiFormatBgr24, KyiFormatGray16, KyiFormatBgr48}) {
        const Image image = test::RandomImage(33, 17, format, 7);
        EXPECT_EQ(1.0, Similarity(image, image)) << format;
    }
}

TEST(StructuralSimilarity, OfTwoFlatImagesIsTheLuminanceTerm) {
    const double expected = (2.0 * 100 * 120 + kC1) / (100.0 * 100 + 120.0 * 120 + kC1);
    EXPECT_NEAR(expected, Similarity(Filled(11, 11, KyiFormatGray8, 100), Filled(11, 11, KyiFormatGray8, 120)), 1e-12);
}

TEST(StructuralSimilarity, OfACheckerboardAndItsNegativeIsThatOfTheirMoments) {
    std::vector<std::int32_t> board(121);
    std::vector<std::int32_t> negative(121);
    for (std::size_t i = 0; i < board.size(); ++i) { // i counts fields: 11 is odd, so colours change along it
        board[i] = i % 2 == 0 ? 254 : 0;
        negative[i] = 254 - board[i];
    }
    double along = 0.0; // weighted mean of +1, -1, ... along one axis; its square is that of the board of +-1
    const std::array<double, 11> weights = Window();
    for (std::size_t i = 0; i < weights.size(); ++i) along += i % 2 == 0 ? weights[i] : -weights[i];
    const double tilt = along * along;
    const double meanX = 127.0 * (1.0 + tilt);
    const double meanY = 127.0 * (1.0 - tilt);
    const double variance = 127.0 * 127.0 * (1.0 - tilt * tilt);
    const double expected = (2 * meanX * meanY + kC1) * (-2 * variance + kC2) /
                            ((meanX * meanX + meanY * meanY + kC1) * (2 * variance + kC2));
    EXPECT_LT(expected, -0.99);
    EXPECT_NEAR(expected,
                Similarity(FromPlanes(11, 11, KyiFormatGray8, board), FromPlanes(11, 11, KyiFormatGray8, negative)),
                1e-9);
}

TEST(StructuralSimilarity, EqualsThePlainForm) {
    for (const int format : {KyiFormatGray8, KyiFormatGray16}) {
        const Image first = test::TexturedImage(31, 23, format, 1);
        const Image second = test::RandomImage(31, 23, format, 2);
        EXPECT_NEAR(PlainSimilarity(*first, *second, KyiGetMaxVal(format)), Similarity(first, second), 1e-9);
    }
}

TEST(StructuralSimilarity, OfColourIsThatOfTheGrayImages) {
    const Image first = test::TexturedImage(20, 15, KyiFormatBgr24, 1);
    const Image second = test::RandomImage(20, 15, KyiFormatBgr24, 2);
    const Image firstGray(KyiAllocImageData(20, 15, KyiFormatGray8));
    const Image secondGray(KyiAllocImageData(20, 15, KyiFormatGray8));
    KyiTransformToGray(first.get(), firstGray.get(), 0);
    KyiTransformToGray(second.get(), secondGray.get(), 0);
    EXPECT_EQ(Similarity(firstGray, secondGray), Similarity(first, second));
}

TEST(StructuralSimilarity, IsSymmetric) {
    const Image first = test::TexturedImage(40, 30, KyiFormatBgr48, 1);
    const Image second = test::RandomImage(40, 30, KyiFormatBgr48, 2);
    EXPECT_EQ(Similarity(first, second), Similarity(second, first));
}

TEST(StructuralSimilarity, NeedsElevenPixelsEachWay) {
    EXPECT_FALSE(app::StructuralSimilarity(*Filled(10, 40, KyiFormatGray8, 1), *Filled(10, 40, KyiFormatGray8, 1)));
    EXPECT_FALSE(app::StructuralSimilarity(*Filled(40, 10, KyiFormatGray8, 1), *Filled(40, 10, KyiFormatGray8, 1)));
}

TEST(HeightDifferences, LeaveHolesOfEitherMapOut) {
    constexpr double kHole = std::numeric_limits<double>::quiet_NaN();
    const std::array<double, 5> first{0.0, 1.0, kHole, 5.0, 9.0};
    const std::array<double, 5> second{1.0, -1.0, 2.0, 5.0, std::numeric_limits<double>::infinity()};
    const app::HeightDifferences result = app::CompareHeights(first, second);
    EXPECT_EQ(3U, result.Measured);
    EXPECT_DOUBLE_EQ(std::sqrt(5.0 / 3.0), result.RootMeanSquare);
    EXPECT_DOUBLE_EQ(-1.0 / 3.0, result.Mean);
    EXPECT_EQ(2.0, result.Largest);
}

TEST(HeightDifferences, OfNothingButHolesAreNone) {
    const std::array<double, 2> first{std::numeric_limits<double>::quiet_NaN(), 1.0};
    const std::array<double, 2> second{1.0, std::numeric_limits<double>::quiet_NaN()};
    EXPECT_EQ(0U, app::CompareHeights(first, second).Measured);
}

} // namespace

// Fills, smoothing and samples against the plain form, on heights of every kind.
#include <array>
#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "filters/shapes.h"
#include "height/height_session.h"
#include "height/noise_cut.h"
#include "height/noise_cut_data.h"
#include "reference/noise_cut.h"
#include "support/images.h"

namespace {

using reference::Field;
using reference::IntField;
using test::Shape;

constexpr std::int32_t kDepth = 256;

enum class Content { Positive, Mixed, Odd, FewLevels, Count };

double OddHeight(std::mt19937& random) {
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    const std::array<double, 12> odd{0.0,
                                     -0.0,
                                     reference::kMark,
                                     -reference::kMark,
                                     std::numeric_limits<double>::denorm_min(),
                                     std::numeric_limits<double>::quiet_NaN(),
                                     kInfinity,
                                     -kInfinity,
                                     1e300,
                                     -1e300,
                                     2147483647.0,
                                     3e9};
    return odd[random() % odd.size()];
}

Field RandomHeights(Shape shape, Content content, std::uint32_t seed) {
    std::mt19937 random(seed);
    std::uniform_real_distribution<double> heights(content == Content::Positive ? 0.0 : -40.0, 100.0);
    Field field(static_cast<std::size_t>(shape.Height), std::vector<double>(static_cast<std::size_t>(shape.Width)));
    for (auto& row : field)
        for (double& height : row) {
            height = content == Content::FewLevels ? static_cast<double>(random() % 3) - 1.0 : heights(random);
            if (content == Content::Odd && random() % 4 == 0) height = OddHeight(random);
        }
    return field;
}

/// A part `marked` of the pixels is below any threshold: strewn, or in one piece when `isBlob`.
IntField RandomMap(Shape shape, double marked, bool isBlob, std::uint32_t seed) {
    std::mt19937 random(seed);
    std::uniform_real_distribution<double> part(0.0, 1.0);
    const double edge = std::sqrt(marked);
    IntField map(static_cast<std::size_t>(shape.Height),
                 std::vector<std::int32_t>(static_cast<std::size_t>(shape.Width)));
    for (std::size_t y = 0; y < map.size(); ++y)
        for (std::size_t x = 0; x < map[y].size(); ++x) {
            const bool isInside = static_cast<double>(y) < edge * shape.Height && // the top left corner
                                  static_cast<double>(x) < edge * shape.Width;
            map[y][x] = (isBlob ? isInside : part(random) < marked) ? 10 : 200;
        }
    return map;
}

/// NaN for a NaN, and bits for all else.
testing::AssertionResult SameHeights(const Field& expected, const KyfImageData& actual) {
    for (std::int32_t y = 0; y < actual.Height; ++y)
        for (std::int32_t x = 0; x < actual.Width; ++x) {
            const double e = expected[static_cast<std::size_t>(y)][static_cast<std::size_t>(x)];
            const double a = actual.Rows[y][x];
            const bool isSame = std::isnan(e) ? std::isnan(a) : e == a && std::signbit(e) == std::signbit(a);
            if (!isSame) return testing::AssertionFailure() << x << ", " << y << ": expected " << e << ", got " << a;
        }
    return testing::AssertionSuccess();
}

struct Cut {
    double Marked;
    bool IsBlob;
    std::int32_t FillType;
    std::int32_t Smoothing;
};

void ExpectSameAsPlain(Shape shape, Content content, const Cut& cut) {
    SCOPED_TRACE(testing::Message() << shape.Width << " x " << shape.Height << ", content " << static_cast<int>(content)
                                    << ", marked " << cut.Marked << (cut.IsBlob ? " in one piece" : "") << ", fill "
                                    << cut.FillType << ", smoothing " << cut.Smoothing);
    constexpr double kRatio = 0.5;
    test::NoiseCutData data(RandomHeights(shape, content, 5), RandomMap(shape, cut.Marked, cut.IsBlob, 6), kDepth);
    Field expected(data.Heights().size());
    reference::CutHeights(data.Heights(), data.Map(), kDepth, kRatio, cut.FillType, expected);
    reference::SmoothHeights(expected, shape.Width, cut.Smoothing);
    const kyf::JudgedHeights judged{data.Record.HeightData, data.Record.DifferentiationMap};
    const kyf::DoubleImagePtr work = kyf::NewWorkHeights(judged.Heights);
    kyf::CutHeights(judged, kRatio, cut.FillType, *work);
    ASSERT_EQ(kyf::SmoothHeights(*work, shape.Width, cut.Smoothing), KyfResultOk);
    ASSERT_TRUE(SameHeights(expected, *work));
}

TEST(NoiseCut, EqualsThePlainFormOnStrewnMarks) {
    for (const Shape shape : test::kAwkwardShapes)
        for (int content = 0; content < static_cast<int>(Content::Count); ++content)
            for (const double marked : {0.0, 0.01, 0.1, 0.5, 0.9, 1.0})
                for (const std::int32_t fill : {0, 1, 2})
                    ExpectSameAsPlain(shape, static_cast<Content>(content), {marked, false, fill, 0});
}

TEST(NoiseCut, EqualsThePlainFormOnMarksInOnePiece) {
    for (const Shape shape : test::kAwkwardShapes)
        for (int content = 0; content < static_cast<int>(Content::Count); ++content)
            for (const double marked : {0.1, 0.6, 0.97})
                ExpectSameAsPlain(shape, static_cast<Content>(content), {marked, true, 0, 0});
}

TEST(NoiseCut, EqualsThePlainFormWithSmoothing) {
    for (const Shape shape : test::kAwkwardShapes)
        for (const std::int32_t smoothing : {-3, 1, 10, 100, 400})
            for (const std::int32_t fill : {0, 1, 2})
                ExpectSameAsPlain(shape, Content::Mixed, {0.3, false, fill, smoothing});
}

// Of equal least heights the first one counts: that of the pixel, which may be a zero of either sign.
TEST(NoiseCut, FillsWithTheFirstOfTheSmallestZeros) {
    for (const bool isNegativeFirst : {false, true}) {
        Field heights(3, std::vector<double>(21, 5.0));
        heights[1][3] = isNegativeFirst ? -0.0 : 0.0;
        heights[1][14] = isNegativeFirst ? 0.0 : -0.0;
        heights[2][0] = isNegativeFirst ? 0.0 : -0.0;
        IntField map(3, std::vector<std::int32_t>(21, 200));
        map[0][0] = 0;
        test::NoiseCutData data(heights, map, kDepth);
        const kyf::JudgedHeights judged{data.Record.HeightData, data.Record.DifferentiationMap};
        const kyf::DoubleImagePtr work = kyf::NewWorkHeights(judged.Heights);
        kyf::CutHeights(judged, 0.5, KyfNoiseCutFillSmallest, *work);
        EXPECT_EQ(work->Rows[0][0], 0.0);
        EXPECT_EQ(std::signbit(work->Rows[0][0]), isNegativeFirst);
    }
}

test::Image Untouched(Shape shape, std::int32_t format) {
    return test::RandomImage(shape.Width, shape.Height, format, 33);
}

/// The destination as the plain form leaves it.
test::Image ExpectedSamples(const Field& heights, const reference::Sampling& sampling, bool isPreview, Shape shape,
                            std::int32_t format) {
    test::Image image = Untouched(shape, format);
    const std::int32_t levels = KyiGetDepth(format);
    for (std::size_t y = 0; y < heights.size(); ++y)
        for (std::size_t x = 0; x < heights[y].size(); ++x) {
            const double height = heights[y][x];
            const std::int32_t sample = isPreview
                                            ? reference::PreviewSample(height, sampling, levels)
                                            : reference::LowBits(reference::HeightSample(height, sampling), levels);
            KyiSetPixelData(image.get(), static_cast<std::int32_t>(x), static_cast<std::int32_t>(y), sample);
        }
    return image;
}

void ExpectSameSamples(Shape shape, Content content, const reference::Sampling& sampling, std::int32_t format) {
    SCOPED_TRACE(testing::Message() << shape.Width << " x " << shape.Height << ", content " << static_cast<int>(content)
                                    << ", raw " << sampling.IsRaw << ", offset " << sampling.Offset << ", step "
                                    << sampling.Step << ", format " << format);
    test::NoiseCutData data(RandomHeights(shape, content, 8), RandomMap(shape, 0.3, false, 9), kDepth);
    data.Record.Parameter = {0.5, KyfNoiseCutFillSmallest, 0};
    data.Record.IsRawHeight = sampling.IsRaw ? 1 : 0;
    data.Record.Offset = sampling.Offset;
    data.Record.Step = sampling.Step;
    Field work(data.Heights().size());
    reference::MarkHeights(data.Heights(), data.Map(), kDepth, 0.5, work);
    const test::Image preview = Untouched(shape, format);
    KyfPreviewFilterHeightNoiseCut(preview.get(), preview.get(), &data.Record);
    ASSERT_TRUE(test::SamePixelBytes(*ExpectedSamples(work, sampling, true, shape, format), *preview));
    reference::CutHeights(data.Heights(), data.Map(), kDepth, 0.5, KyfNoiseCutFillSmallest, work);
    const test::Image image = Untouched(shape, format);
    ASSERT_EQ(KyfFilterHeightNoiseCut(image.get(), image.get(), &data.Record, nullptr), KyfResultOk);
    ASSERT_TRUE(test::SamePixelBytes(*ExpectedSamples(work, sampling, false, shape, format), *image));
}

TEST(NoiseCutSamples, EqualThePlainFormAtAnyScale) {
    constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
    const std::array<reference::Sampling, 9> samplings{{{true, 5.0, 2.0},
                                                        {false, 5.0, 0.0},
                                                        {false, -40.0, 0.5},
                                                        {false, 10.0, 0.002},
                                                        {false, 10.0, -0.7},
                                                        {false, 0.0, 1e-8}, // beyond 32 bits
                                                        {false, 0.0, 1e-17},
                                                        {false, kNaN, 1.0},
                                                        {false, 0.0, kNaN}}};
    for (const Shape shape : {Shape{1, 1}, Shape{65, 5}, Shape{257, 31}, Shape{5, 63}})
        for (int content = 0; content < static_cast<int>(Content::Count); ++content)
            for (const reference::Sampling& sampling : samplings)
                for (const std::int32_t format : {KyiFormatGray8, KyiFormatGray16, KyiFormatGray16Alternate})
                    ExpectSameSamples(shape, static_cast<Content>(content), sampling, format);
}

} // namespace

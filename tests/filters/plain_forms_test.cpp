#include <algorithm>
#include <array>
#include <limits>
#include <span>

#include <gtest/gtest.h>

#include "filters/double_fields.h"
#include "filters/filters.h"
#include "filters/shapes.h"
#include "reference/edge_strength.h"
#include "reference/maximum5x5.h"
#include "reference/mirror_border.h"
#include "reference/reduce.h"
#include "reference/spline_double.h"
#include "reference/spline_image.h"
#include "support/images.h"

namespace {

using test::Image;
using test::Shape;
using test::Threads;

constexpr std::uint32_t kSeed = 20240229;

Image Untouched(const KyiImageData& like) { return test::RandomImage(like.Width, like.Height, like.Format, kSeed + 1); }

// Runs `filter` and `plain`, both (source, destination, flag), on one image with all threads.
template <typename Filter, typename Plain>
void ExpectSameAsPlainOn(const KyiImageData& source, Filter filter, Plain plain) {
    for (const bool parallel : {false, true}) {
        const Image expected = Untouched(source);
        plain(source, *expected, parallel);
        for (const Threads threads : test::kThreads) {
            if (kyf::UseParallelProcess(&source, threads.Flag) != parallel) continue;
            SCOPED_TRACE(testing::Message() << "flag " << threads.Flag << ", threads " << threads.Count);
            const test::ThreadScope scope(threads.Count);
            const Image actual = Untouched(source);
            filter(source, *actual, threads.Flag);
            ASSERT_TRUE(test::SamePixelBytes(*expected, *actual));
            const Image both(KyiDuplicateImageData(&source, 0));
            filter(*both, *both, threads.Flag);
            ASSERT_TRUE(test::SamePixelBytes(*expected, *both)) << "in place";
        }
    }
}

// Over shapes and formats, with the contents by turns.
template <typename Filter, typename Plain>
void ExpectSameAsPlain(std::span<const Shape> shapes, Filter filter, Plain plain) {
    std::size_t turn = 0;
    for (const Shape shape : shapes)
        for (const std::int32_t format : test::AllFormats()) {
            const std::size_t content = turn++ % test::kContents;
            SCOPED_TRACE(test::Describe(shape, format, content));
            ExpectSameAsPlainOn(*test::MakeContent(shape, format, content, kSeed), filter, plain);
        }
}

TEST(FilterEdgeStrength, EqualsThePlainFormWhateverTheThreads) {
    ExpectSameAsPlain(
        test::kAwkwardShapes,
        [](const KyiImageData& in, KyiImageData& out, KyiBool flag) { kyf::FilterEdgeStrength(&in, &out, flag); },
        [](const KyiImageData& in, KyiImageData& out, bool) { reference::FilterEdgeStrength(in, out); });
}

TEST(FilterMaximum5x5, EqualsThePlainFormWhateverTheThreads) {
    ExpectSameAsPlain(
        test::kAwkwardShapes,
        [](const KyiImageData& in, KyiImageData& out, KyiBool flag) { kyf::FilterMaximum5x5(&in, &out, flag); },
        [](const KyiImageData& in, KyiImageData& out, bool) { reference::FilterMaximum5x5(in, out); });
}

struct SplineSizes {
    double X;
    double Y;
    double Scale;
};

// One block of lanes and a part of another, on either axis; and what is too small to filter.
constexpr std::array<Shape, 5> kFewShapes{{{1, 1}, {2, 5}, {3, 3}, {35, 9}, {7, 40}}};

void ExpectSameSpline(std::span<const Shape> shapes, const SplineSizes& sizes, KyfProgress* (*makeNode)()) {
    SCOPED_TRACE(testing::Message() << "sizes " << sizes.X << ", " << sizes.Y << ", scale " << sizes.Scale);
    ExpectSameAsPlain(
        shapes,
        [&](const KyiImageData& in, KyiImageData& out, KyiBool flag) {
            KyfProgress* const node = makeNode();
            kyf::FilterSplineImage(&in, &out, sizes.X, sizes.Y, sizes.Scale, flag, node);
            KyfFreeProgress(node);
        },
        [&](const KyiImageData& in, KyiImageData& out, bool parallel) {
            reference::FilterSplineImage(in, out, sizes.X, sizes.Y, sizes.Scale, parallel);
        });
}

KyfProgress* NoNode() { return nullptr; }
KyfProgress* NewNode() { return KyfAllocProgress(nullptr, nullptr); }

TEST(FilterSplineImage, EqualsThePlainFormWhateverTheThreads) {
    ExpectSameSpline(test::kAwkwardShapes, {1.7, 2.3, 1.0}, NoNode);
    ExpectSameSpline(kFewShapes, {0.0, 1.1, 1.0}, NoNode);
    ExpectSameSpline(kFewShapes, {1.1, 0.0, 1.0}, NoNode);
}

TEST(FilterSplineImage, EqualsThePlainFormWithANode) {
    ExpectSameSpline(kFewShapes, {12.0, 3.0, 1.0}, NewNode);
    ExpectSameSpline(kFewShapes, {0.0, 2.0, 1.0}, NewNode);
}

TEST(FilterSplineImage, EqualsThePlainFormAtAnyScale) {
    ExpectSameSpline(kFewShapes, {2.0, 2.0, 2.5}, NoNode);
    ExpectSameSpline(kFewShapes, {2.0, 2.0, -3.0}, NoNode);
    ExpectSameSpline(kFewShapes, {2.0, 1.5, 0.0}, NoNode);
}

void CountCall(KyfProgress* node) { ++*static_cast<int*>(KyfProgressGetArgs(node)); }

// The kernels differ where a scale is not 1, and in what they report: one reports lines, the other whole passes.
TEST(FilterSplineImage, RunsInParallelFromTheSizeLimitOnAsCountedInTheSource) {
    if (!kyf::UseParallelProcess(test::RandomImage(1, 1, KyiFormatGray8, 1).get(), 1))
        GTEST_SKIP() << "one processor: nothing runs in parallel";
    const Image source = test::RandomImage(35, 20, KyiFormatGray8, kSeed);
    for (const bool isAtLimit : {true, false}) {
        SCOPED_TRACE(isAtLimit ? "at the limit" : "one pixel below");
        const Image expected = Untouched(*source);
        const Image actual = Untouched(*source);
        reference::FilterSplineImage(*source, *expected, 2.0, 2.0, 2.5, isAtLimit);
        int calls = 0;
        KyfProgress* const node = KyfAllocProgress(CountCall, &calls);
        kyf::g_parallelProcImageSize = isAtLimit ? 35 * 20 : 35 * 20 + 1;
        kyf::FilterSplineImage(source.get(), actual.get(), 2.0, 2.0, 2.5, 1, node);
        kyf::g_parallelProcImageSize = 0;
        KyfFreeProgress(node);
        EXPECT_TRUE(test::SamePixelBytes(*expected, *actual));
        if (isAtLimit)
            EXPECT_EQ(calls, 3); // two passes and the node
        else
            EXPECT_EQ(calls, 3 + 19 + 34); // and all lines but the first of each pass, which is 0 percent
    }
}

TEST(FilterSplineImage, EqualsThePlainFormAtCutoffsThatMakeNoFilter) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double infinity = std::numeric_limits<double>::infinity();
    for (const double size : {nan, infinity, 0.5, 0.25, -2.0, 1e-300, 1e9})
        ExpectSameSpline(kFewShapes, {size, size, 1.0}, NoNode);
}

TEST(ReduceImage, EqualsThePlainFormWhateverTheThreads) {
    for (const Shape shape : test::kAwkwardShapes)
        for (const Shape target :
             {Shape{1, 1}, Shape{2, 1}, Shape{3, 2}, Shape{16, 8}, Shape{64, 15}, Shape{128, 31}}) {
            const std::int32_t width = std::min(shape.Width, target.Width);
            const std::int32_t height = std::min(shape.Height, target.Height);
            for (const std::int32_t format : test::AllFormats()) {
                const Image source = test::RandomImage(shape.Width, shape.Height, format, kSeed);
                for (const Threads threads : test::kThreads) {
                    SCOPED_TRACE(test::Describe(shape, format, 0));
                    const test::ThreadScope scope(threads.Count);
                    const Image expected = test::RandomImage(width, height, format, 3);
                    const Image actual = test::RandomImage(width, height, format, 3);
                    reference::ReduceImage(*source, *expected, kyf::UseParallelProcess(source.get(), threads.Flag));
                    kyf::ReduceImage(source.get(), actual.get(), threads.Flag);
                    ASSERT_TRUE(test::SamePixelBytes(*expected, *actual)) << "to " << width << " x " << height;
                }
            }
        }
}

TEST(ReduceImage, EqualsThePlainFormBetweenFormats) {
    for (const std::int32_t from : test::AllFormats())
        for (const std::int32_t to : test::AllFormats())
            for (const KyiBool flag : {0, 1}) {
                SCOPED_TRACE(testing::Message() << "format " << from << " to " << to << ", flag " << flag);
                const Image source = test::RandomImage(31, 22, from, kSeed);
                const Image expected = test::RandomImage(15, 7, to, 3);
                const Image actual = test::RandomImage(15, 7, to, 3);
                reference::ReduceImage(*source, *expected, kyf::UseParallelProcess(source.get(), flag));
                kyf::ReduceImage(source.get(), actual.get(), flag);
                ASSERT_TRUE(test::SamePixelBytes(*expected, *actual));
            }
}

TEST(MirrorBorderImage, EqualsThePlainForm) {
    for (const Shape shape : test::kAwkwardShapes)
        for (const Shape border : {Shape{0, 0}, Shape{1, 1}, Shape{2, 2}, Shape{0, 3}, Shape{5, 0}, Shape{9, 70}})
            for (const std::int32_t format : test::AllFormats()) {
                SCOPED_TRACE(test::Describe(shape, format, 0));
                const Image source = test::RandomImage(shape.Width, shape.Height, format, kSeed);
                const Image expected(reference::MirrorBorderImage(*source, border.Width, border.Height));
                const Image actual(kyf::MirrorBorderImage(source.get(), border.Width, border.Height, 1));
                ASSERT_TRUE(test::SamePixelBytes(*expected, *actual));
            }
}

reference::Field Rows(const KyfImageData& image) {
    reference::Field field;
    for (std::int32_t y = 0; y < image.Height; ++y) field.emplace_back(image.Rows[y], image.Rows[y] + image.Width);
    return field;
}

std::vector<double> Flat(const reference::Field& field) {
    std::vector<double> values;
    for (const auto& row : field) values.insert(values.end(), row.begin(), row.end());
    return values;
}

void ExpectSameDoubles(Shape shape, double cutoffX, double cutoffY, std::int32_t margin, bool inPlace) {
    SCOPED_TRACE(testing::Message() << shape.Width << " x " << shape.Height << ", cutoffs " << cutoffX << ", "
                                    << cutoffY << ", margin " << margin << (inPlace ? ", in place" : ""));
    for (const Threads threads : test::kThreads) {
        const test::ThreadScope scope(threads.Count);
        const kyf::DoubleImagePtr source = test::RandomField(shape.Width, shape.Height, kSeed);
        const kyf::DoubleImagePtr other = test::RandomField(shape.Width, shape.Height, kSeed + 1);
        KyfImageData& destination = inPlace ? *source : *other;
        reference::Field expected = Rows(destination);
        reference::FilterSplineDouble(Rows(*source), expected, cutoffX, cutoffY, margin);
        ASSERT_EQ(KyfResultOk,
                  kyf::FilterSplineDouble(source.get(), &destination, cutoffX, cutoffY, margin, threads.Flag));
        ASSERT_TRUE(test::SameValues(Flat(expected), test::ToValues(destination)));
    }
}

TEST(FilterSplineDouble, EqualsThePlainFormWhateverTheThreads) {
    for (const Shape shape : test::kAwkwardShapes)
        for (const bool inPlace : {false, true})
            for (const Shape cutoffs : {Shape{3, 5}, Shape{0, 3}, Shape{7, 0}, Shape{0, 0}, Shape{40, 40}})
                ExpectSameDoubles(shape, cutoffs.Width, cutoffs.Height, 0, inPlace);
}

TEST(FilterSplineDouble, EqualsThePlainFormInsideAMargin) {
    for (const Shape shape : test::kAwkwardShapes)
        for (const std::int32_t margin : {1, 2, 20}) ExpectSameDoubles(shape, 3.5, 4.5, margin, false);
}

} // namespace

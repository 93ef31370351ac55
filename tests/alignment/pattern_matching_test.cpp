#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <functional>
#include <limits>
#include <random>

#include <gtest/gtest.h>

#include "alignment/pattern_matching.h"
#include "alignment/pattern_matching_rows.h"
#include "filters/shapes.h"
#include "reference/pattern_matching.h"
#include "support/images.h"

namespace {

using reference::SampleTable;
using test::Shape;

constexpr std::int32_t kStartStep = 8;

using Content = std::function<std::int32_t(std::int32_t x, std::int32_t y)>;

SampleTable MakeTable(Shape shape, const Content& content) {
    SampleTable table(static_cast<std::size_t>(shape.Height));
    for (std::int32_t y = 0; y < shape.Height; ++y)
        for (std::int32_t x = 0; x < shape.Width; ++x) table[static_cast<std::size_t>(y)].push_back(content(x, y));
    return table;
}

SampleTable CutOut(const SampleTable& table, std::int32_t left, std::int32_t top, Shape shape) {
    return MakeTable(shape, [&](std::int32_t x, std::int32_t y) { return reference::At(table, left + x, top + y); });
}

Content Noise(std::int32_t levels, std::int32_t step, std::uint32_t seed) {
    return [random = std::mt19937(seed), levels, step](std::int32_t, std::int32_t) mutable {
        return static_cast<std::int32_t>(random() % static_cast<std::uint32_t>(levels)) * step;
    };
}

test::Image ImageOf(const SampleTable& table) {
    std::vector<std::int32_t> samples;
    for (const auto& row : table) samples.insert(samples.end(), row.begin(), row.end());
    return test::FromPlanes(reference::WidthOf(table), reference::HeightOf(table), KyiFormatGray16, samples);
}

KyPoint Find(const SampleTable& search, const SampleTable& sample, KyiBool parallel) {
    KyfPatternMatching matcher;
    kyf::PreparePatternMatching(matcher);
    const KyfRect searched{0, 0, reference::WidthOf(search), reference::HeightOf(search)};
    const KyfRect matched{0, 0, reference::WidthOf(sample), reference::HeightOf(sample)};
    kyf::LoadSearchImage(matcher, ImageOf(search).get(), searched, parallel);
    kyf::LoadTemplate(matcher, ImageOf(sample).get(), matched, parallel);
    return kyf::SearchTemplate(matcher, parallel);
}

testing::AssertionResult IsAt(KyPoint expected, KyPoint actual) {
    if (expected.x == actual.x && expected.y == actual.y) return testing::AssertionSuccess();
    return testing::AssertionFailure() << "expected " << expected.x << ", " << expected.y << ", got " << actual.x
                                       << ", " << actual.y;
}

void ExpectSameAsPlain(const SampleTable& search, const SampleTable& sample) {
    const KyPoint expected = reference::SearchTemplate(search, sample, kStartStep);
    for (const test::Threads threads : test::kThreads) {
        const test::ThreadScope scope(threads.Count);
        ASSERT_TRUE(IsAt(expected, Find(search, sample, threads.Flag))) << "flag " << threads.Flag;
    }
}

constexpr std::array<Shape, 9> kSearchShapes{
    {{1, 1}, {9, 7}, {16, 16}, {33, 40}, {64, 64}, {65, 31}, {129, 50}, {300, 9}, {170, 170}}};
constexpr std::array<Shape, 9> kTemplateShapes{
    {{1, 1}, {3, 9}, {7, 7}, {8, 8}, {9, 17}, {16, 30}, {64, 8}, {135, 20}, {40, 140}}};

// 8 bits, 12 bits and 16 bits, bright ones among them; few levels make ties, one level makes no scores at all.
std::vector<Content> Contents() {
    return {Noise(256, 1, 1),
            Noise(4096, 1, 2),
            Noise(65536, 1, 3),
            Noise(2, 1, 4),
            Noise(2, 65535, 5),
            Noise(1, 1, 6),
            [](std::int32_t x, std::int32_t y) { return 60000 + (x * 7 + y * 13) % 5000; },
            [](std::int32_t x, std::int32_t y) { return (x / 5 + y / 5) % 2 * 200; }};
}

TEST(SearchTemplate, EqualsThePlainFormWhateverTheThreads) {
    for (const Shape shape : kSearchShapes)
        for (const Shape sample : kTemplateShapes)
            for (std::size_t content = 0; content < Contents().size(); ++content) {
                SCOPED_TRACE(testing::Message() << sample.Width << " x " << sample.Height << " in " << shape.Width
                                                << " x " << shape.Height << ", content " << content);
                const Content samples = Contents()[content];
                const SampleTable search = MakeTable(shape, samples);
                ExpectSameAsPlain(search, MakeTable(sample, samples));
                if (sample.Width <= shape.Width && sample.Height <= shape.Height)
                    ExpectSameAsPlain(search, CutOut(search, (shape.Width - sample.Width) / 3,
                                                     (shape.Height - sample.Height) / 2, sample));
                if (HasFatalFailure()) return;
            }
}

// Beyond half a million bright samples doubles round, and squares of the first window of a row wrap.
TEST(SearchTemplate, EqualsThePlainFormWhereSumsOfSquaresAreRounded) {
    const SampleTable search = MakeTable({1060, 1030}, Noise(1200, -1, 7));
    SampleTable bright = search;
    for (auto& row : bright)
        for (std::int32_t& sample : row) sample += 65535;
    ExpectSameAsPlain(bright, CutOut(bright, 20, 9, {1040, 1010}));
    ExpectSameAsPlain(bright, MakeTable({1050, 1020}, Noise(65536, 1, 8)));
}

// Beyond 4 million samples sums pass 2^53. Odd squares then are rounded, each in its turn.
TEST(SearchLevel, AddsUpRoundedSquaresInTheOrderOfThePlainForm) {
    const SampleTable search = MakeTable({2104, 2052}, Noise(2, 1, 9));
    SampleTable bright = search;
    for (auto& row : bright)
        for (std::int32_t& sample : row) sample = sample ? 46345 : 46341;
    const SampleTable sample = CutOut(bright, 1, 0, {2100, 2050});
    KyfPatternMatching matcher;
    kyf::PreparePatternMatching(matcher);
    kyf::LoadSearchImage(matcher, ImageOf(bright).get(), {0, 0, 2104, 2052}, 0);
    kyf::LoadTemplate(matcher, ImageOf(sample).get(), {0, 0, 2100, 2050}, 0);
    kyf::SearchLevel(matcher, {0, 0, 3, 1}, 1, 0);

    reference::SearchState state{bright, sample, 0, 0, 1, 1, 3, 2050, 2100, {}, {}};
    reference::FillWindowTables(state);
    EXPECT_TRUE(test::SameValues(state.WindowSums[0], matcher.WindowSums));
    EXPECT_TRUE(test::SameValues(state.WindowSquareSums[0], matcher.WindowSquareSums));
    double sum = 0.0;
    double squareSum = 0.0;
    reference::SumTemplate(sample, 1, sum, squareSum);
    EXPECT_EQ(sum, matcher.TemplateSums[0]);
    EXPECT_EQ(squareSum, matcher.TemplateSquareSums[0]);
    EXPECT_GT(squareSum, kyf::kExactIntegers);
}

// A million samples: from there on loading and the row sums go by threads.
TEST(SearchLevel, FillsTheTablesOfThePlainFormWithSeveralThreads) {
    constexpr std::int32_t width = 1031;
    constexpr std::int32_t height = 1027;
    const SampleTable search = MakeTable({width, height}, Noise(256, 1, 10));
    const SampleTable sample = CutOut(search, 2, 1, {width - 4, height - 3});
    reference::SearchState state{search, sample, 0, 0, 1, 3, 4, height - 3, width - 4, {}, {}};
    reference::FillWindowTables(state);
    for (const test::Threads threads : test::kThreads) {
        SCOPED_TRACE(testing::Message() << "flag " << threads.Flag << ", threads " << threads.Count);
        const test::ThreadScope scope(threads.Count);
        KyfPatternMatching matcher;
        kyf::PreparePatternMatching(matcher);
        kyf::LoadSearchImage(matcher, ImageOf(search).get(), {0, 0, width, height}, threads.Flag);
        kyf::LoadTemplate(matcher, ImageOf(sample).get(), {0, 0, width - 4, height - 3}, threads.Flag);
        EXPECT_TRUE(IsAt({2, 1}, kyf::SearchLevel(matcher, {0, 0, 4, 3}, 1, threads.Flag)));
        for (std::size_t row = 0; row < 3; ++row) {
            const auto first = static_cast<std::ptrdiff_t>(4 * row);
            const auto rowOf = [&](const std::vector<double>& table) {
                return std::vector<double>(table.begin() + first, table.begin() + first + 4);
            };
            EXPECT_TRUE(test::SameValues(state.WindowSums[row], rowOf(matcher.WindowSums)));
            EXPECT_TRUE(test::SameValues(state.WindowSquareSums[row], rowOf(matcher.WindowSquareSums)));
        }
    }
}

// Differences of 12 bits are squared in narrow lanes: one bright image of the two is enough to need wide ones. No
// square wraps here, so that every position has a score.
TEST(SearchTemplate, EqualsThePlainFormWhereOnlyOneImageIsBright) {
    const std::array<Content, 2> contents{Noise(4096, 1, 11), Noise(40000, 1, 12)};
    for (const std::size_t bright : {0u, 1u}) {
        SCOPED_TRACE(bright == 0 ? "search image bright" : "template bright");
        const SampleTable search = MakeTable({170, 150}, contents[1 - bright]);
        const SampleTable noise = MakeTable({90, 80}, contents[bright]);
        ExpectSameAsPlain(search, noise);
        // Alike but for brightness, so that positions complete.
        SampleTable scaled = CutOut(search, 33, 29, {90, 80});
        for (auto& row : scaled)
            for (std::int32_t& sample : row) sample = bright == 0 ? sample / 16 : sample * 15;
        ExpectSameAsPlain(search, scaled);
    }
}

TEST(SumSquaredDifferences, AddsUpRoundedSquaresOneByOne) {
    constexpr std::int32_t side = 1500;
    const std::vector<std::uint16_t> bright(side * side, 65535);
    const std::vector<std::uint16_t> dark(side * side, 0);
    double expected = 0.0;
    for (std::int32_t i = 0; i < side * side; ++i) expected += 65535.0 * 65535.0;
    double actual = 0.0;
    const double limit = std::numeric_limits<double>::infinity();
    EXPECT_TRUE(kyf::SumSquaredDifferences({bright.data(), side}, {dark.data(), side}, side, side, limit, actual));
    EXPECT_EQ(expected, actual);
    EXPECT_GT(expected, kyf::kExactIntegers);
    EXPECT_FALSE(
        kyf::SumSquaredDifferences({bright.data(), side}, {dark.data(), side}, side, side, expected - 4, actual));
}

// A smooth scene, so that the coarse levels lead to the place.
TEST(SearchTemplate, FindsWhatWasCutOut) {
    const SampleTable search = MakeTable({200, 160}, [](std::int32_t x, std::int32_t y) {
        return static_cast<std::int32_t>(2000 + 900 * std::sin(x * 0.05 + 1) + 700 * std::cos(y * 0.04) + 3 * x);
    });
    for (const KyPoint place : {KyPoint{0, 0}, KyPoint{16, 40}, KyPoint{61, 33}, KyPoint{90, 64}})
        EXPECT_TRUE(IsAt(place, Find(search, CutOut(search, place.x, place.y, {96, 80}), 0)));
}

TEST(SearchTemplate, TakesTheLastOfEquallyGoodPositions) {
    const auto tile = [](std::int32_t x, std::int32_t y) { return (x % 16) * 9 + (y % 16) * 5; };
    const SampleTable search = MakeTable({80, 80}, tile);
    // The right and bottom ends of a window are excluded: 48 is the last place of the first level.
    EXPECT_TRUE(IsAt({32, 32}, Find(search, MakeTable({32, 32}, tile), 0)));
}

TEST(SearchTemplate, AddsTheCornerThatTheSearchImageWasLoadedFrom) {
    const test::Image scene = test::TexturedImage(120, 100, KyiFormatBgr24, 3);
    KyfPatternMatching matcher;
    kyf::PreparePatternMatching(matcher);
    kyf::LoadSearchImage(matcher, scene.get(), {10, 20, 110, 90}, 0);
    kyf::LoadTemplate(matcher, scene.get(), {34, 44, 66, 76}, 0);
    EXPECT_TRUE(IsAt({34, 44}, kyf::SearchTemplate(matcher, 0)));
}

TEST(SearchTemplate, OnlyAddsTheCornerWithoutAStep) {
    KyfPatternMatching matcher;
    kyf::PreparePatternMatching(matcher);
    matcher.StartStep = 0;
    kyf::LoadSearchImage(matcher, test::RandomImage(9, 9, 3, 1).get(), {2, 3, 9, 9}, 0);
    EXPECT_TRUE(IsAt({2, 3}, kyf::SearchTemplate(matcher, 0)));
}

TEST(LoadTemplate, KeepsTheOldOneWithoutAnImageOrARectangle) {
    const test::Image image = test::RandomImage(20, 20, KyiFormatGray8, 1);
    KyfPatternMatching matcher;
    kyf::PreparePatternMatching(matcher);
    kyf::LoadTemplate(matcher, image.get(), {0, 0, 8, 9}, 0);
    const std::vector<double> sums = matcher.TemplateSums;
    kyf::LoadTemplate(matcher, nullptr, {0, 0, 3, 3}, 0);
    kyf::LoadTemplate(matcher, image.get(), {4, 4, 4, 9}, 0);
    kyf::LoadTemplate(matcher, image.get(), {4, 9, 8, 9}, 0);
    EXPECT_EQ(matcher.Template.Width, 8);
    EXPECT_EQ(matcher.Template.Height, 9);
    EXPECT_EQ(matcher.TemplateSums, sums);
}

TEST(LoadSearchImage, RepeatsTheEdgeBeyondTheImage) {
    const test::Image image = test::RandomImage(5, 4, KyiFormatBgr48, 1);
    const std::vector<std::int32_t> planes = test::ToPlanes(*image);
    KyfPatternMatching matcher;
    kyf::PreparePatternMatching(matcher);
    kyf::LoadSearchImage(matcher, image.get(), {-3, -2, 9, 8}, 0);
    ASSERT_EQ(matcher.Search.Width, 12);
    ASSERT_EQ(matcher.Search.Height, 10);
    for (std::int32_t y = 0; y < 10; ++y)
        for (std::int32_t x = 0; x < 12; ++x) {
            const std::int32_t place = 20 + std::clamp(y - 2, 0, 3) * 5 + std::clamp(x - 3, 0, 4);
            ASSERT_EQ(matcher.Search.Row(y)[x], planes[static_cast<std::size_t>(place)]) << x << ", " << y;
        }
}

TEST(ResetPatternMatching, SignsTheRecordAndEmptiesIt) {
    kyf::ResetPatternMatching(nullptr);
    KyfPatternMatching matcher;
    kyf::PreparePatternMatching(matcher);
    kyf::LoadTemplate(matcher, test::RandomImage(20, 20, 3, 1).get(), {0, 0, 8, 9}, 0);
    kyf::ResetPatternMatching(&matcher);
    EXPECT_EQ(std::u16string(matcher.Signature), u"KYPTM");
    EXPECT_TRUE(matcher.Template.Samples.empty());
    EXPECT_TRUE(matcher.TemplateSums.empty());
    EXPECT_EQ(matcher.StartStep, 0);
}

} // namespace

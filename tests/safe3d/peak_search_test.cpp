#include "safe3d/peak_search.h"

#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "reference/peak_search.h"
#include "safe3d/maps.h"
#include "support/arrays.h"
#include "support/case_files.h"

namespace {

using kyf::PeakSearchSettings;
using kyf::PeakWorkspace;
using reference::Column;

std::int32_t Size(const Column& column) { return static_cast<std::int32_t>(column.size()); }

Column Smooth(std::int32_t width, const Column& source) {
    Column scratch(kyf::SmoothingScratch(width, Size(source)));
    Column result(source.size());
    kyf::SmoothTriangular(width, Size(source), source.data(), result.data(), scratch.data());
    return result;
}

Column Differentiate(const Column& luminance) {
    Column slope(luminance.size(), -7.0);
    kyf::DifferentiateLuminance(luminance.data(), slope.data(), Size(luminance));
    return slope;
}

// Bits, except that any NaN stands for any other.
testing::AssertionResult SameNumbers(std::span<const double> expected, std::span<const double> actual) {
    Column a(expected.begin(), expected.end());
    Column b(actual.begin(), actual.end());
    for (double& value : a)
        if (std::isnan(value)) value = std::numeric_limits<double>::quiet_NaN();
    for (double& value : b)
        if (std::isnan(value)) value = std::numeric_limits<double>::quiet_NaN();
    return test::SameValues(a, b);
}

// A column with one to three humps on noise.
Column RandomColumn(std::size_t count, std::uint32_t seed) {
    Column column = test::RandomDoubles(count, 0.0, seed % 3 == 0 ? 60.0 : 3.0, seed);
    const Column places = test::RandomDoubles(6, 0.0, 1.0, seed + 1);
    for (std::size_t hump = 0; hump < 1 + seed % 3; ++hump)
        for (std::size_t i = 0; i < count; ++i) {
            const double distance = static_cast<double>(i) - places[hump] * static_cast<double>(count);
            column[i] += 150.0 * places[hump + 3] * std::exp(-distance * distance / 6.0);
        }
    return column;
}

class StackCases : public testing::TestWithParam<std::string> {};
TEST_P(StackCases, GiveThePeaksOfTheModel) {
    const test::Case data = test::LoadCase("peakfit", GetParam());
    const auto n = data.Json.at("N").get<std::int32_t>();
    const auto thresholds = data.Json.at("threshold").get<std::vector<double>>();
    const auto e = test::ReadDoubles(data.File("E.npy"));
    const auto w1 = test::ReadDoubles(data.File("W1.npy"));
    const auto w2 = test::ReadDoubles(data.File("W2.npy"));
    const auto found = test::ReadInts(data.File("found.npy"));
    const auto peaks = test::ReadInts(data.File("peak.npy"));
    PeakWorkspace workspace(n);
    for (std::size_t curve = 0; curve < thresholds.size(); ++curve) {
        for (std::int32_t adoption = 0; adoption < 3; ++adoption) {
            for (std::int32_t ascending = 0; ascending < 2; ++ascending) {
                SCOPED_TRACE("curve " + std::to_string(curve) + ", adoption " + std::to_string(adoption) +
                             ", ascending " + std::to_string(ascending));
                Column banded(static_cast<std::size_t>(n));
                Column segmented(static_cast<std::size_t>(n));
                std::int32_t peak = data.Json.at("peak_before").get<std::int32_t>();
                const PeakSearchSettings settings{data.Json.at("short_ratio").get<double>(),
                                                  data.Json.at("long_ratio").get<double>(), thresholds[curve], adoption,
                                                  ascending != 0};
                const bool isFound = kyf::SearchPeak(n, e.Entry(curve).data(), banded.data(), segmented.data(),
                                                     settings, peak, workspace);
                const auto at = static_cast<std::size_t>(adoption * 2 + ascending);
                EXPECT_EQ(found.Entry(curve)[at] != 0, isFound);
                EXPECT_EQ(peaks.Entry(curve)[at], peak);
                EXPECT_TRUE(test::SameValues(w1.Entry(curve), banded));
                EXPECT_TRUE(test::SameValues(w2.Entry(curve), segmented));
            }
        }
    }
}
TEST_P(StackCases, GiveTheLuminanceSlopesOfTheModel) {
    const test::Case data = test::LoadCase("peakfit", GetParam());
    const auto k = test::ReadDoubles(data.File("K.npy"));
    const auto slopes = test::ReadDoubles(data.File("Kd.npy"));
    const auto smoothed = test::ReadDoubles(data.File("Ks.npy"));
    for (std::size_t curve = 0; curve < k.Shape[0]; ++curve) {
        const auto entry = k.Entry(curve);
        const Column slope = Differentiate(Column(entry.begin(), entry.end()));
        EXPECT_TRUE(SameNumbers(slopes.Entry(curve), slope)) << "curve " << curve;
        EXPECT_TRUE(SameNumbers(smoothed.Entry(curve), Smooth(data.Json.at("Ks_width").get<std::int32_t>(), slope)));
    }
}
INSTANTIATE_TEST_SUITE_P(Peaks, StackCases, testing::ValuesIn(test::CaseNames("peakfit", "stack_of_")),
                         [](const auto& test) { return test.param; });

TEST(SmoothTriangular, GivesTheAveragesOfTheModel) {
    const test::Case data = test::LoadCase("peakfit", "triangular_smoothing");
    const auto source = test::ReadDoubles(data.File("source.npy"));
    const auto smoothed = test::ReadDoubles(data.File("smoothed.npy"));
    const auto widths = data.Json.at("widths").get<std::vector<std::int32_t>>();
    for (std::size_t i = 0; i < widths.size(); ++i)
        EXPECT_TRUE(test::SameValues(smoothed.Entry(i), Smooth(widths[i], source.Values))) << "width " << widths[i];
}

TEST(SmoothTriangular, EqualsThePlainForm) {
    for (const std::size_t count : {1U, 2U, 5U, 31U, 32U, 33U, 50U, 64U, 65U, 200U})
        for (const std::int32_t width : {0, 2, 3, 4, 7, 10, 30, 63, 120}) {
            const Column source = test::RandomDoubles(count, -5.0, 300.0, static_cast<std::uint32_t>(count));
            EXPECT_TRUE(test::SameValues(reference::SmoothTriangular(width, source), Smooth(width, source)))
                << count << " frames, width " << width;
        }
}

TEST(SmoothTriangular, KeepsAConstant) {
    const Column constant(40, 3.0);
    EXPECT_TRUE(test::SameValues(constant, Smooth(12, constant)));
}

TEST(DifferentiateLuminance, EqualsThePlainForm) {
    for (std::size_t count = 1; count < 40; ++count) {
        const Column source = test::RandomDoubles(count, 0.0, 255.0, static_cast<std::uint32_t>(count));
        EXPECT_TRUE(SameNumbers(reference::DifferentiateLuminance(source), Differentiate(source))) << count;
    }
}

TEST(DifferentiateLuminance, GivesNoNumberForAConstantSlope) {
    for (const double value : Differentiate(Column(9, 100.0))) EXPECT_TRUE(std::isnan(value));
}

TEST(DifferentiateLuminance, IsZeroForStacksTooShortForASlope) {
    EXPECT_TRUE(test::SameValues(Column(4, 0.0), Differentiate({1.0, 5.0, 9.0, 2.0})));
    EXPECT_TRUE(test::SameValues(Column{42.5}, Differentiate({42.5})));
}

TEST(SearchPeak, EqualsThePlainForm) {
    for (const std::int32_t n : {1, 2, 3, 4, 5, 7, 8, 9, 16, 33, 50, 71, 130}) {
        PeakWorkspace workspace(n);
        for (std::uint32_t seed = 0; seed < 60; ++seed) {
            const Column e = RandomColumn(static_cast<std::size_t>(n), seed);
            const auto adoption = static_cast<std::int32_t>(seed % 4);
            const bool isAscending = seed % 5 < 2;
            const double threshold = seed % 7 == 0 ? 0.0 : 5.0 * (seed % 7);
            SCOPED_TRACE(std::to_string(n) + " frames, seed " + std::to_string(seed));
            const auto expected = reference::SearchPeak(e, 0.2, 0.6, threshold, adoption, isAscending, -1);
            Column banded(e.size());
            Column segmented(e.size(), -1.0);
            std::int32_t peak = -1;
            const bool isFound = kyf::SearchPeak(n, e.data(), banded.data(), segmented.data(),
                                                 {0.2, 0.6, threshold, adoption, isAscending}, peak, workspace);
            EXPECT_EQ(expected.Found, isFound);
            EXPECT_EQ(expected.Peak, peak);
            EXPECT_TRUE(test::SameValues(expected.W1, banded));
            EXPECT_TRUE(test::SameValues(expected.W2.empty() ? Column(e.size(), -1.0) : expected.W2, segmented));
        }
    }
}

TEST(SearchPeak, LeavesThePeakAloneWhereNothingRises) {
    PeakWorkspace workspace(12);
    Column banded(12);
    Column segmented(12);
    std::int32_t peak = 5;
    EXPECT_FALSE(kyf::SearchPeak(12, Column(12, 0.0).data(), banded.data(), segmented.data(), {0.2, 0.6, 18.0, 0, true},
                                 peak, workspace));
    EXPECT_EQ(5, peak);
}

// Two humps of 7 frames; the second with `share` of the first. Short stacks are not band-passed.
std::int32_t PeakOfTwo(double share, std::int32_t adoption, bool isAscending, bool& isFound) {
    const Column e{0.0, 100.0, 0.0, 0.0, 0.0, 100.0 * share, 0.0};
    PeakWorkspace workspace(7);
    Column banded(7);
    Column segmented(7);
    std::int32_t peak = -1;
    isFound = kyf::SearchPeak(7, e.data(), banded.data(), segmented.data(), {0.2, 0.6, 5.0, adoption, isAscending},
                              peak, workspace);
    return peak;
}

TEST(SearchPeak, CallsAPeakAmbiguousOnlyBesideAWeakerOneOfMoreThanTwoFifths) {
    bool isFound = false;
    EXPECT_EQ(1, PeakOfTwo(1.0, 0, true, isFound));
    EXPECT_TRUE(isFound) << "an equal peak is no rival";
    EXPECT_EQ(1, PeakOfTwo(0.41, 0, true, isFound));
    EXPECT_FALSE(isFound);
    EXPECT_EQ(1, PeakOfTwo(0.4, 0, true, isFound));
    EXPECT_TRUE(isFound);
}

TEST(SearchPeak, TakesThePeakOnTheSideOfTheLargerHeights) {
    bool isFound = false;
    EXPECT_EQ(5, PeakOfTwo(0.6, 1, true, isFound));
    EXPECT_TRUE(isFound);
    EXPECT_EQ(1, PeakOfTwo(0.6, 1, false, isFound));
    EXPECT_EQ(1, PeakOfTwo(0.6, 2, true, isFound));
    EXPECT_TRUE(isFound);
}

TEST(NextSegment, GivesTheRunsOfTheModel) {
    const test::Case data = test::LoadCase("peakfit", "next_segment");
    const auto w2 = test::ReadDoubles(data.File("W2.npy"));
    const auto start = test::ReadInts(data.File("start.npy"));
    const auto values = test::ReadDoubles(data.File("peak_value.npy"));
    const auto places = test::ReadInts(data.File("peak_index_begin_end.npy"));
    for (std::size_t row = 0; row < start.Values.size(); ++row) {
        const kyf::Segment segment =
            kyf::NextSegment(data.Json.at("N").get<std::int32_t>(), w2.Entry(row).data(), start.Values[row]);
        EXPECT_EQ(values.Values[row], segment.PeakValue) << "row " << row;
        EXPECT_EQ(places.Entry(row)[0], segment.PeakIndex) << "row " << row;
        EXPECT_EQ(places.Entry(row)[1], segment.Begin) << "row " << row;
        EXPECT_EQ(places.Entry(row)[2], segment.End) << "row " << row;
    }
}

} // namespace

#include "safe3d/gaussian_fit.h"

#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "reference/gaussian_fit.h"
#include "reference/peak_search.h"
#include "safe3d/maps.h"
#include "support/arrays.h"
#include "support/case_files.h"

namespace {

using kyf::FitParameters;
using kyf::FitRecord;
using kyf::FitResult;
using kyf::FitWorkspace;

/// A Gaussian that is not the library's own, so that it is asked sample by sample.
class OtherGauss : public kyf::CFunc {
  public:
    double Value(double x, const double* parameters) const override { return m_gauss.Value(x, parameters); }
    void Derivatives(double x, const double* parameters, double* result) const override {
        m_gauss.Derivatives(x, parameters, result);
        if (x == 0.0) ++Steps;
    }
    mutable int Steps = 0;

  private:
    kyf::CGauss m_gauss;
};

struct Outcome {
    FitResult Result;
    FitRecord Record;
    FitParameters Best;
};

Outcome RunFit(const std::vector<double>& data, const FitParameters& start, const kyf::CFunc& function) {
    const auto count = static_cast<std::int32_t>(data.size());
    FitWorkspace workspace(count);
    Outcome outcome{FitResult::Converged, {data.data(), count, &function, 3, 0.0, {}, {}, {}, {}}, {0.0, 0.0, 0.0}};
    outcome.Result = kyf::FitLevenbergMarquardt(outcome.Record, start.data(), outcome.Best.data(), workspace);
    return outcome;
}

testing::AssertionResult SameNumbers(std::span<const double> expected, std::span<const double> actual) {
    std::vector<double> a(expected.begin(), expected.end());
    std::vector<double> b(actual.begin(), actual.end());
    for (auto* list : {&a, &b})
        for (double& value : *list)
            if (std::isnan(value)) value = std::numeric_limits<double>::quiet_NaN();
    return test::SameValues(a, b);
}

// A hump on noise, and sometimes a start that leads nowhere.
std::vector<double> RandomHump(std::size_t count, std::uint32_t seed) {
    std::vector<double> data = test::RandomDoubles(count, 0.0, seed % 4 == 0 ? 80.0 : 6.0, seed);
    const std::vector<double> shape = test::RandomDoubles(3, 0.0, 1.0, seed + 99);
    for (std::size_t i = 0; i < count; ++i) {
        const double distance = static_cast<double>(i) - shape[0] * static_cast<double>(count);
        data[i] += 200.0 * shape[1] * std::exp(-distance * distance * shape[2]);
    }
    return data;
}

TEST(SolveLinear, GivesTheSolutionsOfTheModel) {
    const test::Case data = test::LoadCase("peakfit", "linear_solve");
    const auto rows = test::ReadDoubles(data.File("rows.npy"));
    const auto solutions = test::ReadDoubles(data.File("solution.npy"));
    const auto results = data.Json.at("result").get<std::vector<std::int32_t>>();
    for (std::size_t system = 0; system < results.size(); ++system) {
        std::array<std::array<double, 4>, 3> matrix{};
        for (std::size_t i = 0; i < 12; ++i) matrix[i / 4][i % 4] = rows.Entry(system)[i];
        FitParameters solution{9.0, 9.0, 9.0};
        EXPECT_EQ(results[system], kyf::SolveLinear(3, matrix.data(), solution.data())) << "system " << system;
        EXPECT_TRUE(SameNumbers(solutions.Entry(system), solution)) << "system " << system;
    }
}

TEST(SolveLinear, EqualsThePlainForm) {
    for (std::uint32_t seed = 0; seed < 200; ++seed) {
        const std::vector<double> numbers = test::RandomDoubles(12, -3.0, 3.0, seed);
        std::array<std::array<double, 4>, 3> matrix{};
        std::vector<std::vector<double>> rows(3, std::vector<double>(4));
        for (std::size_t i = 0; i < 12; ++i) {
            // Some zeros and equal entries, where the choice of the pivot shows.
            const double number = seed % 3 == 0 ? std::round(numbers[i]) : numbers[i];
            rows[i / 4][i % 4] = matrix[i / 4][i % 4] = number;
        }
        std::vector<double> expected;
        FitParameters solution{};
        EXPECT_EQ(reference::SolveLinear(rows, expected), kyf::SolveLinear(3, matrix.data(), solution.data()));
        EXPECT_TRUE(SameNumbers(expected, solution)) << "seed " << seed;
    }
}

TEST(FitLevenbergMarquardt, GivesTheFitsOfTheModel) {
    const test::Case data = test::LoadCase("peakfit", "levenberg_marquardt");
    const auto samples = test::ReadDoubles(data.File("data.npy"));
    const auto starts = test::ReadDoubles(data.File("start.npy"));
    const auto best = test::ReadDoubles(data.File("best.npy"));
    const auto chiSquare = test::ReadDoubles(data.File("chiSquare.npy"));
    const auto results = data.Json.at("result").get<std::vector<std::int32_t>>();
    const auto iterations = data.Json.at("iterations").get<std::vector<std::int32_t>>();
    for (std::size_t fit = 0; fit < results.size(); ++fit) {
        SCOPED_TRACE("fit " + std::to_string(fit));
        const auto entry = samples.Entry(fit);
        const std::vector<double> column(entry.begin(), entry.end());
        const FitParameters start{starts.Entry(fit)[0], starts.Entry(fit)[1], starts.Entry(fit)[2]};
        const Outcome outcome = RunFit(column, start, kyf::CGauss());
        EXPECT_EQ(results[fit], static_cast<std::int32_t>(outcome.Result));
        EXPECT_TRUE(SameNumbers(best.Entry(fit), outcome.Best));
        EXPECT_TRUE(SameNumbers(chiSquare.Entry(fit), std::span(&outcome.Record.ChiSquare, 1)));
        EXPECT_EQ(iterations[fit], reference::FitLevenbergMarquardt(column, start).Iterations);
    }
}

TEST(FitLevenbergMarquardt, EqualsThePlainForm) {
    for (const std::size_t count : {2U, 3U, 5U, 7U, 9U, 15U, 40U}) {
        for (std::uint32_t seed = 0; seed < 150; ++seed) {
            SCOPED_TRACE(std::to_string(count) + " samples, seed " + std::to_string(seed));
            const std::vector<double> data = RandomHump(count, seed);
            const std::vector<double> numbers = test::RandomDoubles(3, 0.0, 1.0, seed + 7);
            const FitParameters start{250.0 * numbers[0], seed % 5 == 0 ? 0.0 : 2.0 * numbers[1],
                                      numbers[2] * static_cast<double>(count)};
            const reference::Fit expected = reference::FitLevenbergMarquardt(data, start);
            const Outcome fast = RunFit(data, start, kyf::CGauss());
            EXPECT_EQ(expected.Result, static_cast<int>(fast.Result));
            EXPECT_TRUE(SameNumbers(std::span(&expected.ChiSquare, 1), std::span(&fast.Record.ChiSquare, 1)));
            EXPECT_TRUE(SameNumbers(expected.Best, fast.Record.Best));
            const Outcome slow = RunFit(data, start, OtherGauss());
            EXPECT_EQ(fast.Result, slow.Result);
            EXPECT_TRUE(SameNumbers(fast.Record.Best, slow.Record.Best));
            EXPECT_TRUE(SameNumbers(fast.Best, slow.Best));
        }
    }
}

TEST(FitLevenbergMarquardt, EndsAtOnceWhereTheFirstStepDoesNotHelp) {
    const FitParameters start{100.0, 0.5, 3.0};
    std::vector<double> data;
    for (int i = 0; i < 7; ++i) data.push_back(kyf::CGauss().Value(i, start.data())); // nothing is left to gain
    const OtherGauss function;
    const Outcome outcome = RunFit(data, start, function);
    EXPECT_EQ(FitResult::Converged, outcome.Result);
    EXPECT_EQ(1, function.Steps);
    EXPECT_TRUE(test::SameValues(start, outcome.Best));
}

class FitCases : public testing::TestWithParam<std::string> {};
TEST_P(FitCases, GiveTheFitsOfTheModel) {
    const test::Case data = test::LoadCase("peakfit", GetParam());
    const auto n = data.Json.at("N").get<std::int32_t>();
    const auto e = test::ReadDoubles(data.File("E.npy"));
    const auto w1 = test::ReadDoubles(data.File("W1.npy"));
    const auto peaks = test::ReadInts(data.File("fit_peak.npy"));
    const auto windows = test::ReadInts(data.File("fit_window.npy"));
    const auto isFitted = test::ReadInts(data.File("fit_ok.npy"));
    const auto estimates = test::ReadDoubles(data.File("estimate.npy"));
    const auto amplitudes = test::ReadDoubles(data.File("fitted_amplitude.npy"));
    FitWorkspace workspace(n);
    const std::size_t perCurve = peaks.Values.size() / peaks.Shape[0];
    for (std::size_t fit = 0; fit < peaks.Values.size(); ++fit) {
        SCOPED_TRACE("fit " + std::to_string(fit));
        const std::size_t curve = fit / perCurve;
        const std::int32_t peak = peaks.Values[fit];
        const kyf::FitWindow window = kyf::WindowOfPeak(n, peak);
        EXPECT_EQ(windows.Values[2 * fit], window.First);
        EXPECT_EQ(windows.Values[2 * fit + 1], window.Last);
        FitParameters estimate{};
        double amplitude = data.Json.at("amplitude_before").get<double>();
        EXPECT_EQ(isFitted.Values[fit] != 0,
                  kyf::FitPeak(e.Entry(curve).data(), w1.Entry(curve).data(), n, peak, estimate, amplitude, workspace));
        EXPECT_TRUE(SameNumbers(std::span(estimates.Values).subspan(3 * fit, 3), estimate));
        EXPECT_TRUE(SameNumbers(std::span(amplitudes.Values).subspan(fit, 1), std::span(&amplitude, 1)));
    }
}
TEST_P(FitCases, AgreeWithThePlainFormInEveryStep) {
    const test::Case data = test::LoadCase("peakfit", GetParam());
    const auto e = test::ReadDoubles(data.File("E.npy"));
    const auto w1 = test::ReadDoubles(data.File("W1.npy"));
    const auto peaks = test::ReadInts(data.File("fit_peak.npy"));
    const auto results = test::ReadInts(data.File("fit_result.npy"));
    const auto iterations = test::ReadInts(data.File("fit_iterations.npy"));
    const auto fitted = test::ReadDoubles(data.File("fitted.npy"));
    const std::size_t perCurve = peaks.Values.size() / peaks.Shape[0];
    for (std::size_t fit = 0; fit < peaks.Values.size(); ++fit) {
        const auto column = e.Entry(fit / perCurve);
        const auto banded = w1.Entry(fit / perCurve);
        const reference::PeakFit plain =
            reference::FitPeak({column.begin(), column.end()}, {banded.begin(), banded.end()}, peaks.Values[fit]);
        EXPECT_EQ(results.Values[fit], plain.Fitted.Result) << "fit " << fit;
        EXPECT_EQ(iterations.Values[fit], plain.Fitted.Iterations) << "fit " << fit;
        if (plain.Fitted.Result == -2) continue;
        EXPECT_TRUE(SameNumbers(std::span(fitted.Values).subspan(3 * fit, 3), plain.Fitted.Best)) << "fit " << fit;
    }
}
INSTANTIATE_TEST_SUITE_P(Fits, FitCases, testing::ValuesIn(test::CaseNames("peakfit", "stack_of_")),
                         [](const auto& test) { return test.param; });

TEST(FitPeak, EqualsThePlainForm) {
    for (const std::int32_t n : {1, 2, 3, 5, 8, 16, 18, 20, 37, 50, 90}) {
        FitWorkspace workspace(n);
        for (std::uint32_t seed = 0; seed < 40; ++seed) {
            std::vector<double> e = RandomHump(static_cast<std::size_t>(n), seed);
            if (seed % 6 == 0)
                for (double& value : e) value = value < 20.0 ? 0.0 : value;
            const std::vector<double> w1 = reference::SmoothTriangular(n / 5, e);
            const auto peak = static_cast<std::int32_t>(seed * 31U % static_cast<std::uint32_t>(n));
            SCOPED_TRACE(std::to_string(n) + " frames, seed " + std::to_string(seed));
            const reference::PeakFit expected = reference::FitPeak(e, w1, peak);
            FitParameters estimate{-5.0, -5.0, -5.0};
            double amplitude = -1.0;
            EXPECT_EQ(expected.IsConfirmed, kyf::FitPeak(e.data(), w1.data(), n, peak, estimate, amplitude, workspace));
            EXPECT_TRUE(
                SameNumbers(expected.HasEstimate ? expected.Estimate : FitParameters{-5.0, -5.0, -5.0}, estimate));
            const double fitted = expected.IsConfirmed ? expected.Fitted.Best[0] : -1.0;
            EXPECT_TRUE(SameNumbers(std::span(&fitted, 1), std::span(&amplitude, 1)));
        }
    }
}

TEST(FitPeak, RefusesAFlatWindow) {
    const std::vector<double> flat(20, 0.0);
    FitWorkspace workspace(20);
    FitParameters estimate{};
    double amplitude = -1.0;
    EXPECT_FALSE(kyf::FitPeak(flat.data(), flat.data(), 20, 9, estimate, amplitude, workspace));
    EXPECT_EQ(-1.0, amplitude);
}

} // namespace

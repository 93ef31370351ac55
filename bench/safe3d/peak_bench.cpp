// Peak search and fit on columns of a stack. An item is a column, as of one pixel; the argument is the number of
// frames. "Plain" is the form of tests/reference.
#include <cmath>

#include <benchmark/benchmark.h>

#include "reference/gaussian_fit.h"
#include "reference/peak_search.h"
#include "safe3d/gaussian_fit.h"
#include "safe3d/maps.h"
#include "safe3d/peak_search.h"

namespace {

constexpr std::size_t kColumns = 512;

// Columns of one hump each, at many places and widths, over noise.
std::vector<reference::Column> MakeColumns(std::size_t count) {
    std::vector<reference::Column> columns;
    for (std::uint32_t i = 0; i < kColumns; ++i) {
        reference::Column column = test::RandomDoubles(count, 0.0, 8.0, i);
        const reference::Column shape = test::RandomDoubles(3, 0.1, 0.9, i + 4711);
        for (std::size_t frame = 0; frame < count; ++frame) {
            const double distance = static_cast<double>(frame) - shape[0] * static_cast<double>(count);
            column[frame] += 300.0 * shape[1] * std::exp(-distance * distance * shape[2] / 8.0);
        }
        columns.push_back(column);
    }
    return columns;
}

template <typename Column> void ForColumns(benchmark::State& state, Column body) {
    const auto columns = MakeColumns(static_cast<std::size_t>(state.range(0)));
    for (auto _ : state)
        for (const reference::Column& column : columns) body(column);
    state.counters["ns/column"] =
        benchmark::Counter(static_cast<double>(kColumns) * static_cast<double>(state.iterations()) * 1e-9,
                           benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

void SearchPlain(benchmark::State& state) {
    ForColumns(state, [](const reference::Column& column) {
        benchmark::DoNotOptimize(reference::SearchPeak(column, 0.2, 0.6, 18.0, 0, true, 0).Peak);
    });
}

void Search(benchmark::State& state) {
    const auto count = static_cast<std::int32_t>(state.range(0));
    kyf::PeakWorkspace workspace(count);
    reference::Column banded(static_cast<std::size_t>(count));
    reference::Column segmented(static_cast<std::size_t>(count));
    std::int32_t peak = 0;
    ForColumns(state, [&](const reference::Column& column) {
        benchmark::DoNotOptimize(kyf::SearchPeak(count, column.data(), banded.data(), segmented.data(),
                                                 {0.2, 0.6, 18.0, 0, true}, peak, workspace));
    });
}

std::int32_t HighestOf(const reference::Column& column) {
    return static_cast<std::int32_t>(std::max_element(column.begin(), column.end()) - column.begin());
}

void FitPlain(benchmark::State& state) {
    ForColumns(state, [](const reference::Column& column) {
        benchmark::DoNotOptimize(reference::FitPeak(column, column, HighestOf(column)).IsConfirmed);
    });
}

void Fit(benchmark::State& state) {
    const auto count = static_cast<std::int32_t>(state.range(0));
    kyf::FitWorkspace workspace(count);
    kyf::FitParameters estimate{};
    double amplitude = 0.0;
    ForColumns(state, [&](const reference::Column& column) {
        benchmark::DoNotOptimize(
            kyf::FitPeak(column.data(), column.data(), count, HighestOf(column), estimate, amplitude, workspace));
    });
}

BENCHMARK(SearchPlain)->Arg(20)->Arg(50)->Arg(200);
BENCHMARK(Search)->Arg(20)->Arg(50)->Arg(200);
BENCHMARK(FitPlain)->Arg(20)->Arg(50)->Arg(200);
BENCHMARK(Fit)->Arg(20)->Arg(50)->Arg(200);

} // namespace

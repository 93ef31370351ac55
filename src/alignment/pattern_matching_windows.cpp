#include "alignment/pattern_matching_windows.h"

#include <algorithm>

#include "filters/numbers.h"

namespace kyf {

namespace {

constexpr std::int64_t kParallelSamples = 1 << 20; // below, threads cost more than they save

// No sum on the way exceeds three times the squares of a window: what a row starts with, and what enters and leaves.
bool IsExact(const KyfPatternMatching& matcher) noexcept {
    const double peak = matcher.Search.Peak;
    return 3.0 * peak * peak * matcher.SampleCount < kExactIntegers;
}

// Sums of one row of samples under the positions of a row: the first directly, the others by sliding.
void SlideAlong(const std::uint16_t* samples, std::int32_t width, std::int32_t positions, std::int64_t* sums,
                std::int64_t* squareSums) noexcept {
    const RowSums first = SumRowWrapping(samples, width);
    std::int64_t sum = first.Sum;
    std::int64_t squareSum = first.Squares;
    sums[0] = sum;
    squareSums[0] = squareSum;
    for (std::int32_t j = 1; j < positions; ++j) {
        const std::int64_t entering = samples[j + width - 1];
        const std::int64_t leaving = samples[j - 1];
        sum += entering - leaving;
        squareSum += entering * entering - leaving * leaving;
        sums[j] = sum;
        squareSums[j] = squareSum;
    }
}

// Sums of whole windows from those of their rows, position row after position row.
void SlideDown(const std::vector<std::int64_t>& rowSums, const KyfPatternMatching& matcher,
               std::vector<double>& table) {
    const auto columns = static_cast<std::size_t>(matcher.PositionColumns);
    const auto height = static_cast<std::size_t>(matcher.SampleRows);
    std::vector<std::int64_t> window(columns);
    const std::vector<std::int64_t> nothing(columns);
    const auto row = [&](std::size_t y) { return rowSums.data() + y * columns; };
    for (std::size_t y = 0; y < height; ++y) SlideSums(window.data(), row(y), nothing.data(), matcher.PositionColumns);
    for (std::size_t i = 0;; ++i) {
        std::copy(window.begin(), window.end(), table.begin() + static_cast<std::ptrdiff_t>(i * columns));
        if (i + 1 == static_cast<std::size_t>(matcher.PositionRows)) return;
        SlideSums(window.data(), row(i + height), row(i), matcher.PositionColumns);
    }
}

// All sums are integers that doubles hold, so that their order is free: each sample is taken once a row of positions
// would take it, and rows are shared by the windows over them.
void FillExactly(KyfPatternMatching& matcher, const SampleBlock& search, KyiBool parallel) {
    const std::int32_t rows = matcher.PositionRows + matcher.SampleRows - 1;
    const auto columns = static_cast<std::size_t>(matcher.PositionColumns);
    std::vector<std::int64_t> sums(static_cast<std::size_t>(rows) * columns);
    std::vector<std::int64_t> squareSums(sums.size());
    const bool useThreads = parallel != 0 && std::int64_t{rows} * search.Stride >= kParallelSamples;
#pragma omp parallel for schedule(static) if (useThreads)
    for (std::int32_t y = 0; y < rows; ++y) {
        const std::size_t start = static_cast<std::size_t>(y) * columns;
        SlideAlong(search.Samples + search.Stride * y, matcher.SampleColumns, matcher.PositionColumns, &sums[start],
                   &squareSums[start]);
    }
    SlideDown(sums, matcher, matcher.WindowSums);
    SlideDown(squareSums, matcher, matcher.WindowSquareSums);
}

double Sample(const SampleBlock& search, std::int32_t x, std::int32_t y) noexcept {
    return search.Samples[search.Stride * y + x];
}

// Bright 16-bit templates of more than half a million samples: doubles round, and so the order counts.
void FillRowInOrder(const KyfPatternMatching& matcher, const SampleBlock& search, std::int32_t i, double* sums,
                    double* squareSums) noexcept {
    double sum = 0.0;
    double squareSum = 0.0;
    for (std::int32_t k = 0; k < matcher.SampleRows; ++k)
        for (std::int32_t m = 0; m < matcher.SampleColumns; ++m) {
            const std::int32_t sample = search.Samples[search.Stride * (i + k) + m];
            sum += sample;
            squareSum += WrappingProduct(sample, sample);
        }
    sums[0] = sum;
    squareSums[0] = squareSum;
    for (std::int32_t j = 1; j < matcher.PositionColumns; ++j) {
        for (std::int32_t k = 0; k < matcher.SampleRows; ++k) {
            const double entering = Sample(search, j + matcher.SampleColumns - 1, i + k);
            sum += entering;
            squareSum += entering * entering;
        }
        for (std::int32_t k = 0; k < matcher.SampleRows; ++k) {
            const double leaving = Sample(search, j - 1, i + k);
            sum -= leaving;
            squareSum -= leaving * leaving;
        }
        sums[j] = sum;
        squareSums[j] = squareSum;
    }
}

void FillInOrder(KyfPatternMatching& matcher, const SampleBlock& search, KyiBool parallel) {
#pragma omp parallel for schedule(static) if (parallel != 0)
    for (std::int32_t i = 0; i < matcher.PositionRows; ++i) {
        const std::size_t start = static_cast<std::size_t>(i) * static_cast<std::size_t>(matcher.PositionColumns);
        FillRowInOrder(matcher, search, i, &matcher.WindowSums[start], &matcher.WindowSquareSums[start]);
    }
}

} // namespace

void FillWindowTables(KyfPatternMatching& matcher, const SampleBlock& search, KyiBool parallel) {
    const std::size_t positions =
        static_cast<std::size_t>(matcher.PositionRows) * static_cast<std::size_t>(matcher.PositionColumns);
    matcher.WindowSums.assign(positions, 0.0);
    matcher.WindowSquareSums.assign(positions, 0.0);
    if (matcher.SampleRows == 0 || matcher.SampleColumns == 0) return;
    if (IsExact(matcher))
        FillExactly(matcher, search, parallel);
    else
        FillInOrder(matcher, search, parallel);
}

} // namespace kyf

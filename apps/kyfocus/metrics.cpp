#include "metrics.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <vector>

#include "per_thread.h"

namespace app {
namespace {

struct RowSums {
    std::int64_t Square = 0;
    std::int64_t Signed = 0;
    std::int64_t Absolute = 0;
    std::int32_t Largest = 0;
};

/// Scratch of one thread.
struct RowPair {
    explicit RowPair(std::size_t width) : First(width), Second(width) {}
    std::vector<std::int32_t> First;
    std::vector<std::int32_t> Second;
};

/// Adds one row of one channel. Exact: a row of 2^31 samples of 16 bits stays below 2^63.
void AddRow(std::span<const std::int32_t> first, std::span<const std::int32_t> second, RowSums& sums) noexcept {
    for (std::size_t x = 0; x < first.size(); ++x) {
        const std::int32_t difference = second[x] - first[x];
        const std::int32_t magnitude = std::abs(difference);
        sums.Square += std::int64_t{difference} * difference;
        sums.Signed += difference;
        sums.Absolute += magnitude;
        sums.Largest = std::max(sums.Largest, magnitude);
    }
}

} // namespace

SampleDifferences CompareSamples(const KyiImageData& first, const KyiImageData& second) {
    const int channels = KyiIsFormatBgr(first.Format) ? 3 : 1;
    std::vector<RowSums> rows(static_cast<std::size_t>(first.Height));
    PerThread<RowPair> scratch(static_cast<std::size_t>(first.Width));
#pragma omp parallel
    {
        RowPair& row = scratch.Mine();
#pragma omp for schedule(static)
        for (int y = 0; y < first.Height; ++y)
            for (int channel = 0; channel < channels; ++channel) {
                KyiGetLinePixel(&first, 0, y, channel, row.First.data(), first.Width);
                KyiGetLinePixel(&second, 0, y, channel, row.Second.data(), first.Width);
                AddRow(row.First, row.Second, rows[static_cast<std::size_t>(y)]);
            }
    }
    double square = 0.0;
    double sum = 0.0;
    double absolute = 0.0;
    SampleDifferences result;
    for (const RowSums& row : rows) {
        square += static_cast<double>(row.Square);
        sum += static_cast<double>(row.Signed);
        absolute += static_cast<double>(row.Absolute);
        result.Largest = std::max(result.Largest, row.Largest);
    }
    const double count = static_cast<double>(first.Width) * first.Height * channels;
    result.MeanSquare = square / count;
    result.Mean = sum / count;
    result.MeanAbsolute = absolute / count;
    return result;
}

double PeakSignalToNoise(double meanSquare, double peak) {
    if (meanSquare == 0.0) return std::numeric_limits<double>::infinity();
    return 10.0 * std::log10(peak * peak / meanSquare);
}

HeightDifferences CompareHeights(std::span<const double> first, std::span<const double> second, double offset,
                                 double limit) {
    HeightDifferences result;
    double square = 0.0;
    double sum = 0.0;
    for (std::size_t i = 0; i < first.size(); ++i) {
        if (!std::isfinite(first[i]) || !std::isfinite(second[i])) continue;
        const double difference = second[i] - offset - first[i];
        square += difference * difference;
        sum += difference;
        result.Largest = std::max(result.Largest, std::abs(difference));
        result.Near += std::abs(difference) <= limit;
        ++result.Measured;
    }
    if (result.Measured == 0) return result;
    result.RootMeanSquare = std::sqrt(square / static_cast<double>(result.Measured));
    result.Mean = sum / static_cast<double>(result.Measured);
    return result;
}

} // namespace app

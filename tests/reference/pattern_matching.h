/// Template search in its plain form: row tables of integers, every sum in the order in which it is told.
#ifndef KYFOCUS_TESTS_REFERENCE_PATTERN_MATCHING_H
#define KYFOCUS_TESTS_REFERENCE_PATTERN_MATCHING_H

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

#include <kyimaging/kyimaging.h>

namespace reference {

using SampleTable = std::vector<std::vector<std::int32_t>>;
using SumTable = std::vector<std::vector<double>>;

inline std::int32_t WidthOf(const SampleTable& table) {
    return table.empty() ? 0 : static_cast<std::int32_t>(table.front().size());
}
inline std::int32_t HeightOf(const SampleTable& table) { return static_cast<std::int32_t>(table.size()); }

inline std::int32_t At(const SampleTable& table, std::int32_t x, std::int32_t y) {
    return table.at(static_cast<std::size_t>(y)).at(static_cast<std::size_t>(x));
}

/// The level of a search in hand.
struct SearchState {
    const SampleTable& Search;
    const SampleTable& Template;
    std::int32_t Left;
    std::int32_t Top;
    std::int32_t Step;
    std::int32_t PositionRows;
    std::int32_t PositionColumns;
    std::int32_t SampleRows;
    std::int32_t SampleColumns;
    SumTable WindowSums;
    SumTable WindowSquareSums;
};

inline void FillWindowTables(SearchState& state) {
    const std::int32_t s = state.Step;
    const auto pixel = [&](std::int32_t column, std::int32_t row) {
        return At(state.Search, state.Left + column * s, state.Top + row * s);
    };
    if (state.PositionColumns == 0) return;
    for (std::int32_t i = 0; i < state.PositionRows; ++i) {
        std::vector<double> sums;
        std::vector<double> squareSums;
        double sum = 0.0;
        double squareSum = 0.0;
        for (std::int32_t k = 0; k < state.SampleRows; ++k)
            for (std::int32_t m = 0; m < state.SampleColumns; ++m) {
                const std::int32_t v = pixel(m, i + k);
                sum += v;
                squareSum += static_cast<std::int32_t>(static_cast<std::uint32_t>(v) * static_cast<std::uint32_t>(v));
            }
        sums.push_back(sum);
        squareSums.push_back(squareSum);
        for (std::int32_t j = 1; j < state.PositionColumns; ++j) {
            for (std::int32_t k = 0; k < state.SampleRows; ++k) {
                const double v = pixel(j + state.SampleColumns - 1, i + k);
                sum += v;
                squareSum += v * v;
            }
            for (std::int32_t k = 0; k < state.SampleRows; ++k) {
                const double v = pixel(j - 1, i + k);
                sum -= v;
                squareSum -= v * v;
            }
            sums.push_back(sum);
            squareSums.push_back(squareSum);
        }
        state.WindowSums.push_back(sums);
        state.WindowSquareSums.push_back(squareSums);
    }
}

inline void SumTemplate(const SampleTable& table, std::int32_t s, double& sum, double& squareSum) {
    sum = 0.0;
    squareSum = 0.0;
    for (std::int32_t r = 0; r < HeightOf(table) / s; ++r)
        for (std::int32_t c = 0; c < WidthOf(table) / s; ++c) {
            const double v = At(table, c * s, r * s);
            sum += v;
            squareSum += v * v;
        }
}

inline KyPoint ScanLevel(const SearchState& state) {
    const std::int32_t s = state.Step;
    double ST = 0.0;
    double SST = 0.0;
    SumTemplate(state.Template, s, ST, SST);
    const double N = static_cast<double>(state.SampleColumns) * state.SampleRows;
    const double a = 2 * ST / N;
    const double sigmaT = std::sqrt(SST - ST * ST / N);
    double best = 0.0;
    KyPoint result{state.Left, state.Top};
    for (std::int32_t i = 0; i < state.PositionRows; ++i)
        for (std::int32_t j = 0; j < state.PositionColumns; ++j) {
            const double SI = state.WindowSums[static_cast<std::size_t>(i)][static_cast<std::size_t>(j)];
            const double SSI = state.WindowSquareSums[static_cast<std::size_t>(i)][static_cast<std::size_t>(j)];
            const double sigmaI = std::sqrt(SSI - SI * SI / N);
            const double d = 2 * sigmaI * sigmaT;
            const double u = (SSI + SST - SI * a) / d;
            const double limit = (u - best) * d;
            const std::int32_t x = state.Left + j * s;
            const std::int32_t y = state.Top + i * s;
            double q = 0.0;
            bool isAbandoned = false;
            for (std::int32_t k = 0; k < state.SampleRows && !isAbandoned; ++k)
                for (std::int32_t m = 0; m < state.SampleColumns && !isAbandoned; ++m) {
                    const double difference = At(state.Search, x + m * s, y + k * s) - At(state.Template, m * s, k * s);
                    q += difference * difference;
                    isAbandoned = q > limit;
                }
            if (isAbandoned) continue;
            result = {x, y};
            best = u - q / d;
        }
    return result;
}

/// The position of the template in the search image; `startStep` is 8 in a stack.
inline KyPoint SearchTemplate(const SampleTable& search, const SampleTable& sample, std::int32_t startStep) {
    KyPoint position{};
    const std::int32_t lastRight = WidthOf(search) - WidthOf(sample);
    const std::int32_t lastBottom = HeightOf(search) - HeightOf(sample);
    for (std::int32_t s = startStep; s > 0; s /= 2) {
        std::int32_t left = 0;
        std::int32_t top = 0;
        std::int32_t right = lastRight;
        std::int32_t bottom = lastBottom;
        if (s != startStep) {
            left = position.x - 2 * s < 1 ? 0 : position.x - 2 * s;
            top = position.y - 2 * s < 1 ? 0 : position.y - 2 * s;
            right = std::min(position.x + 2 * s, lastRight);
            bottom = std::min(position.y + 2 * s, lastBottom);
        }
        SearchState state{search,
                          sample,
                          left,
                          top,
                          s,
                          std::max((bottom - top) / s, 0),
                          std::max((right - left) / s, 0),
                          HeightOf(sample) / s,
                          WidthOf(sample) / s,
                          {},
                          {}};
        FillWindowTables(state);
        position = ScanLevel(state);
    }
    return position;
}

} // namespace reference

#endif

#include "filters/spline_lines.h"

#include <algorithm>

#include "filters/transpose.h"
#include "platform/simd.h"

namespace kyf {

namespace {

constexpr int kLanes = kSplineLanes;
// Positions that are converted and solved in one go, so that they are still in the first-level cache.
constexpr std::int32_t kRun = 32;

template <typename T>
KY_ALWAYS_INLINE void LoadRun(const T* __restrict in, std::ptrdiff_t step, double scale, double* __restrict work,
                              std::int32_t first, std::int32_t last) noexcept {
    for (std::int32_t i = first; i < last; ++i) {
        const T* const from = in + step * i;
        double* const to = work + static_cast<std::ptrdiff_t>(i) * kLanes;
        for (int k = 0; k < kLanes; ++k) to[k] = static_cast<double>(from[k]) * scale;
    }
}

// The comparisons are false for what is not a number, which truncates to the smallest integer and so is stored as 0.
template <bool UnitScale, typename T>
KY_ALWAYS_INLINE void StoreRun(const double* __restrict work, const SplineConversion& conversion, T* __restrict out,
                               std::ptrdiff_t step, std::int32_t first, std::int32_t last) noexcept {
    const double scale = UnitScale ? 1.0 : conversion.StoreScale;
    const double offset = scale / 100.0;
    const double cap = conversion.Cap;
    for (std::int32_t i = first; i < last; ++i) {
        const double* const from = work + static_cast<std::ptrdiff_t>(i) * kLanes;
        T* const to = out + step * i;
        for (int k = 0; k < kLanes; ++k) {
            const double value = (offset + from[k]) / scale;
            const double inRange = value >= 0.0 && value < 2147483648.0 ? value : 0.0;
            to[k] = static_cast<T>(static_cast<std::int32_t>(std::min(inRange, cap)));
        }
    }
}

KY_ALWAYS_INLINE void EliminateRun(const SplineBand& band, double* work, std::int32_t first,
                                   std::int32_t last) noexcept {
    for (std::int32_t i = std::max(first, 1); i < last; ++i) {
        const auto at = static_cast<std::size_t>(i);
        double* const b = work + at * kLanes;
        const double* const b1 = b - kLanes;
        const double m = band.First[at];
        if (i == 1) {
#pragma omp simd
            for (int k = 0; k < kLanes; ++k) b[k] -= m * b1[k];
            continue;
        }
        const double* const b2 = b1 - kLanes;
        const double m2 = band.Second[at];
#pragma omp simd
        for (int k = 0; k < kLanes; ++k) b[k] = (b[k] - m2 * b2[k]) - m * b1[k];
    }
}

KY_ALWAYS_INLINE void SubstituteLast(const SplineBand& band, double* work) noexcept {
    const auto last = static_cast<std::size_t>(band.Count - 1);
    double* const y = work + last * kLanes;
    double* const before = y - kLanes;
#pragma omp simd
    for (int k = 0; k < kLanes; ++k) {
        y[k] = y[k] / band.Diagonal[last];
        before[k] = (before[k] - y[k] * band.Upper[last - 1]) / band.Diagonal[last - 1];
    }
}

KY_ALWAYS_INLINE void SubstituteRun(const SplineBand& band, double* work, std::int32_t first,
                                    std::int32_t last) noexcept {
    for (std::int32_t i = std::min(last, band.Count - 2) - 1; i >= first; --i) {
        const auto at = static_cast<std::size_t>(i);
        double* const y = work + at * kLanes;
        const double* const y1 = y + kLanes;
        const double* const y2 = y1 + kLanes;
        const double d = band.Diagonal[at];
        const double e = band.Upper[at];
        const double f = band.Outer[at];
#pragma omp simd
        for (int k = 0; k < kLanes; ++k) y[k] = ((y[k] - y1[k] * e) - y2[k] * f) / d;
    }
}

template <typename T>
KY_ALWAYS_INLINE void Solve(const SplineLines<T>& lines, const SplineBand& band, const SplineConversion& conversion,
                            double* work) noexcept {
    const std::int32_t count = band.Count;
    const bool solves = count >= 3;
    for (std::int32_t first = 0; first < count; first += kRun) {
        const std::int32_t last = std::min(first + kRun, count);
        LoadRun(lines.In, lines.InStep, conversion.LoadScale, work, first, last);
        if (solves) EliminateRun(band, work, first, last);
    }
    if (solves) SubstituteLast(band, work);
    for (std::int32_t last = count; last > 0; last -= kRun) {
        const std::int32_t first = std::max(last - kRun, 0);
        if (solves) SubstituteRun(band, work, first, last);
        if (conversion.StoreScale == 1.0)
            StoreRun<true>(work, conversion, lines.Out, lines.OutStep, first, last);
        else
            StoreRun<false>(work, conversion, lines.Out, lines.OutStep, first, last);
    }
}

template <typename T> KY_ALWAYS_INLINE void ToLanes(const T* const* rows, std::int32_t count, T* tile) noexcept {
    constexpr int n = kSquare<T>;
    std::int32_t i = 0;
    for (; i + n <= count; i += n)
        for (int k = 0; k < kLanes; k += n)
            TransposeSquare<T>([&](int j) { return rows[k + j] + i; },
                               [&](int j) { return tile + static_cast<std::ptrdiff_t>(i + j) * kLanes + k; });
    for (; i < count; ++i)
        for (int k = 0; k < kLanes; ++k) tile[static_cast<std::ptrdiff_t>(i) * kLanes + k] = rows[k][i];
}

template <typename T> KY_ALWAYS_INLINE void ToRows(const T* tile, std::int32_t count, T* const* rows) noexcept {
    constexpr int n = kSquare<T>;
    std::int32_t i = 0;
    for (; i + n <= count; i += n)
        for (int k = 0; k < kLanes; k += n)
            TransposeSquare<T>([&](int j) { return tile + static_cast<std::ptrdiff_t>(i + j) * kLanes + k; },
                               [&](int j) { return rows[k + j] + i; });
    for (; i < count; ++i)
        for (int k = 0; k < kLanes; ++k) rows[k][i] = tile[static_cast<std::ptrdiff_t>(i) * kLanes + k];
}

} // namespace

KY_SIMD_CLONES void SolveLines(const SplineLines<std::uint8_t>& lines, const SplineBand& band,
                               const SplineConversion& conversion, double* work) noexcept {
    Solve(lines, band, conversion, work);
}

KY_SIMD_CLONES void SolveLines(const SplineLines<std::uint16_t>& lines, const SplineBand& band,
                               const SplineConversion& conversion, double* work) noexcept {
    Solve(lines, band, conversion, work);
}

KY_SIMD_CLONES void SolveLines(const SplineBand& band, double* work) noexcept {
    if (band.Count < 3) return;
    EliminateRun(band, work, 0, band.Count);
    SubstituteLast(band, work);
    SubstituteRun(band, work, 0, band.Count);
}

KY_SIMD_CLONES void RowsToLanes(const std::uint8_t* const* rows, std::int32_t count, std::uint8_t* tile) noexcept {
    ToLanes(rows, count, tile);
}

KY_SIMD_CLONES void RowsToLanes(const std::uint16_t* const* rows, std::int32_t count, std::uint16_t* tile) noexcept {
    ToLanes(rows, count, tile);
}

KY_SIMD_CLONES void LanesToRows(const std::uint8_t* tile, std::int32_t count, std::uint8_t* const* rows) noexcept {
    ToRows(tile, count, rows);
}

KY_SIMD_CLONES void LanesToRows(const std::uint16_t* tile, std::int32_t count, std::uint16_t* const* rows) noexcept {
    ToRows(tile, count, rows);
}

} // namespace kyf

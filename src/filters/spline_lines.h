/// Kernels of the spline filters: kSplineLanes lines are solved side by side, one line a lane.
#ifndef KYFOCUS_FILTERS_SPLINE_LINES_H
#define KYFOCUS_FILTERS_SPLINE_LINES_H

#include <cstddef>
#include <cstdint>

#include "filters/spline_band.h"

namespace kyf {

constexpr int kSplineLanes = 32;

/// Sample conversion of the image filter. A sample is loaded times LoadScale; a solution y is stored as
/// (StoreScale / 100 + y) / StoreScale, truncated, 0 where that is negative or no 32-bit number, Cap at most.
struct SplineConversion {
    double LoadScale;
    double StoreScale;
    double Cap;
};

/// Lines as samples: sample i of lane k is at i * step + k. Input and output may be the same.
template <typename T> struct SplineLines {
    const T* In;
    std::ptrdiff_t InStep;
    T* Out;
    std::ptrdiff_t OutStep;
};

/// Solves the lines. @param work  Scratch of Count * kSplineLanes numbers.
void SolveLines(const SplineLines<std::uint8_t>& lines, const SplineBand& band, const SplineConversion& conversion,
                double* work) noexcept;
void SolveLines(const SplineLines<std::uint16_t>& lines, const SplineBand& band, const SplineConversion& conversion,
                double* work) noexcept;
/// Solves doubles in place: sample i of lane k is work[i * kSplineLanes + k].
void SolveLines(const SplineBand& band, double* work) noexcept;

/// Rows to lanes and back: sample i of row k is at tile[i * kSplineLanes + k].
void RowsToLanes(const std::uint8_t* const* rows, std::int32_t count, std::uint8_t* tile) noexcept;
void RowsToLanes(const std::uint16_t* const* rows, std::int32_t count, std::uint16_t* tile) noexcept;
void LanesToRows(const std::uint8_t* tile, std::int32_t count, std::uint8_t* const* rows) noexcept;
void LanesToRows(const std::uint16_t* tile, std::int32_t count, std::uint16_t* const* rows) noexcept;

} // namespace kyf

#endif

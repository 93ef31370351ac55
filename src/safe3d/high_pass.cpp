#include "safe3d/edge_data.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "platform/simd.h"

namespace kyf {

namespace {

constexpr int kTaps = 7;
constexpr int kReach = kTaps / 2;
constexpr std::array<double, kTaps> kHighPassFilter{-0.061487, -0.127437, -0.193436, 0.764720,
                                                    -0.193436, -0.127437, -0.061487};

std::int32_t Mirror(std::int32_t position, std::int32_t length) {
    if (position < 0) position = -position;
    if (position >= length) position = 2 * length - 1 - position;
    return std::clamp(position, 0, length - 1); // axes shorter than the filter's reach
}

/// One pixel; along[k] are the samples along x, rows[k][x] those along y.
template <typename Along>
KY_ALWAYS_INLINE double GradientLength(const double* const* rows, std::int32_t x, Along along) {
    double totalX = 0.0;
    double totalY = 0.0;
    for (int k = 0; k < kTaps; ++k) totalX += kHighPassFilter[static_cast<std::size_t>(k)] * along(k);
    for (int k = 0; k < kTaps; ++k) totalY += kHighPassFilter[static_cast<std::size_t>(k)] * rows[k][x];
    return std::sqrt(totalX * totalX + totalY * totalY);
}

// Columns whose samples all lie inside. This file is compiled without errno of roots, so that they are taken side by
// side.
KY_SIMD_CLONES void HighPassColumns(const double* const* rows, std::int32_t first, std::int32_t last, double* out) {
    const double* const row = rows[kReach];
    for (std::int32_t x = first; x < last; ++x)
        out[x] = GradientLength(rows, x, [&](int k) { return row[x + k - kReach]; });
}

void HighPassRow(const KyfImageData& source, std::int32_t y, double* out) {
    std::array<const double*, kTaps> rows{};
    for (std::int32_t k = 0; k < kTaps; ++k)
        rows[static_cast<std::size_t>(k)] = source.Rows[Mirror(y + k - kReach, source.Height)];
    const std::int32_t width = source.Width;
    const double* const row = source.Rows[y];
    const auto edge = [&](std::int32_t first, std::int32_t last) {
        for (std::int32_t x = first; x < last; ++x)
            out[x] = GradientLength(rows.data(), x, [&](int k) { return row[Mirror(x + k - kReach, width)]; });
    };
    const std::int32_t first = std::min<std::int32_t>(kReach, width);
    const std::int32_t last = std::max(width - kReach, first);
    edge(0, first);
    HighPassColumns(rows.data(), first, last, out);
    edge(last, width);
}

} // namespace

void FilterHighPass(const KyfImageData& source, KyfImageData& destination) {
#pragma omp parallel for schedule(static)
    for (std::int32_t y = 0; y < source.Height; ++y) HighPassRow(source, y, destination.Rows[y]);
}

} // namespace kyf

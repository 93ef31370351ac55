#include "height/noise_cut_window.h"

#include <cstring>

#include "height/noise_cut_rows.h"
#include "platform/simd.h"

namespace kyf {

namespace {

using Lanes = double __attribute__((vector_size(kFillLanes * sizeof(double))));

// Eight counts or flags of a byte each. Counts are 81 at most, so that they add up without a carry.
using Bytes8 = std::uint64_t;

KY_ALWAYS_INLINE Bytes8 LoadBytes(const std::uint8_t* bytes) noexcept {
    Bytes8 loaded;
    std::memcpy(&loaded, bytes, sizeof loaded);
    return loaded;
}

/// sums = the sum of nine lines, from a block ahead of the row to one behind it.
KY_ALWAYS_INLINE void AddColumns(const WindowRow (&rows)[kFillRows], std::uint8_t* WindowRow::*bytes,
                                 std::uint8_t* __restrict sums, std::int32_t width) noexcept {
    const std::uint8_t* lines[kFillRows];
    for (std::int32_t i = 0; i < kFillRows; ++i) lines[i] = rows[i].*bytes;
    for (std::int32_t x = -kFillLanes; x < width + kFillLanes; ++x)
        sums[x] = static_cast<std::uint8_t>(lines[0][x] + lines[1][x] + lines[2][x] + lines[3][x] + lines[4][x] +
                                            lines[5][x] + lines[6][x] + lines[7][x] + lines[8][x]);
}

/// Means of the windows around x to x + 7. A lane's sum is one plain sum: what does not count adds 0, which changes no
/// bit of a sum that began with 0.
KY_ALWAYS_INLINE void MeanWindows(const WindowRow (&rows)[kFillRows], const std::uint8_t* counts, std::int32_t x,
                                  double (&means)[kFillLanes]) noexcept {
    Lanes sum{};
    for (const WindowRow& row : rows)
        for (std::int32_t i = x - kFillReach; i <= x + kFillReach; ++i) {
            Lanes heights;
            std::memcpy(&heights, row.Heights + i, sizeof heights);
            sum += heights;
        }
    std::memcpy(means, &sum, sizeof sum);
    Bytes8 count = 0;
    for (std::int32_t i = x - kFillReach; i <= x + kFillReach; ++i) count += LoadBytes(counts + i);
    std::uint8_t divisors[kFillLanes];
    std::memcpy(divisors, &count, sizeof count);
    for (std::int32_t k = 0; k < kFillLanes; ++k) means[k] /= static_cast<double>(divisors[k]);
}

} // namespace

KY_SIMD_CLONES void LoadWindowRow(const double* row, std::int32_t width, const WindowRow& loaded) noexcept {
    double* __restrict const heights = loaded.Heights;
    std::uint8_t* __restrict const counted = loaded.Counted;
    std::uint8_t* __restrict const live = loaded.Live;
    for (std::int32_t x = 0; x < width; ++x) {
        const double height = row[x];
        heights[x] = height >= 0.0 ? height : 0.0;
        counted[x] = height >= 0.0 ? 1 : 0;
        live[x] = ((height >= 0.0) & (height != kCutMark)) ? 1 : 0;
    }
}

KY_SIMD_CLONES std::int32_t FillRow(const WindowRow (&rows)[kFillRows], double* row, std::int32_t width,
                                    std::uint8_t* const (&columns)[2]) noexcept {
    const auto [counts, lives] = columns;
    AddColumns(rows, &WindowRow::Counted, counts, width);
    AddColumns(rows, &WindowRow::Live, lives, width);
    const WindowRow& middle = rows[kFillReach];
    std::int32_t left = 0;
    for (std::int32_t x = 0; x < width; x += kFillLanes) {
        const Bytes8 marked = LoadBytes(middle.Counted + x) ^ LoadBytes(middle.Live + x);
        if (marked == 0) continue;
        // With nothing but marks and negative heights around, the mean of the marks is the mark.
        if ((LoadBytes(lives + x - kFillReach) | LoadBytes(lives + x + kFillReach)) == 0) {
            left += __builtin_popcountll(marked);
            continue;
        }
        double means[kFillLanes];
        MeanWindows(rows, counts, x, means);
        std::uint8_t isMarked[kFillLanes];
        std::memcpy(isMarked, &marked, sizeof marked);
        for (std::int32_t k = 0; k < kFillLanes; ++k)
            if (isMarked[k] != 0) {
                row[x + k] = means[k];
                left += means[k] == kCutMark ? 1 : 0;
            }
    }
    return left;
}

} // namespace kyf

#include <algorithm>
#include <array>

#include "platform/simd.h"
#include "selection2d/rows.h"

namespace kyf {

namespace {

constexpr int kBlock = 64;

// Window sums of a block from the sum of its first pixel; returns the sum of the pixel behind the block.
KY_ALWAYS_INLINE std::int32_t RunSums(const std::int32_t* steps, std::int32_t sum, std::int32_t* sums, int count) {
    for (int i = 0; i < count; ++i) {
        sums[i] = sum;
        sum += steps[i];
    }
    return sum;
}

// Weights that are 0 already are only read: a mask is 0 almost everywhere, frame after frame.
KY_ALWAYS_INLINE void ClearBlock(double* weights, int count) noexcept {
    unsigned any = 0;
    for (int i = 0; i < count; ++i) any |= weights[i] != 0.0 ? 1u : 0u;
    if (any) std::fill_n(weights, count, 0.0);
}

} // namespace

KY_SIMD_CLONES void AddCounts(std::uint16_t* counts, const std::uint8_t* entering, int width) noexcept {
    for (int x = 0; x < width; ++x) counts[x] = static_cast<std::uint16_t>(counts[x] + entering[x]);
}

KY_SIMD_CLONES void SlideCounts(std::uint16_t* counts, const std::uint8_t* entering, const std::uint8_t* leaving,
                                int width) noexcept {
    for (int x = 0; x < width; ++x) counts[x] = static_cast<std::uint16_t>(counts[x] + entering[x] - leaving[x]);
}

KY_SIMD_CLONES void AverageRow(const std::uint16_t* counts, double* weights, int width, int window) noexcept {
    const int half = window / 2;
    const int end = width - half - 1; // one short on the far side, so that every step below reads inside the row
    const double area = static_cast<double>(window) * window;
    std::int32_t sum = 0;
    for (int x = 0; x < window && x < width; ++x) sum += counts[x];
    for (int x = half; x < end; x += kBlock) {
        const int count = std::min(kBlock, end - x);
        std::array<std::int32_t, kBlock> steps;
        std::array<std::int32_t, kBlock> sums;
        std::int32_t moving = 0;
        for (int i = 0; i < count; ++i) {
            const std::int32_t step = counts[x + i + half + 1] - counts[x + i - half];
            steps[static_cast<std::size_t>(i)] = step;
            moving |= step;
        }
        if (moving != 0) {
            sum = RunSums(steps.data(), sum, sums.data(), count);
            for (int i = 0; i < count; ++i) weights[x + i] = sums[static_cast<std::size_t>(i)] / area;
        } else if (sum != 0) {
            std::fill_n(weights + x, count, sum / area);
        } else {
            ClearBlock(weights + x, count);
        }
    }
}

} // namespace kyf

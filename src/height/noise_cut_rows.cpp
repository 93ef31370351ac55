#include "height/noise_cut_rows.h"

#include <algorithm>
#include <cstddef>
#include <iterator>

#include "filters/numbers.h"
#include "platform/simd.h"

namespace kyf {

namespace {

constexpr std::int32_t kChunk = 64; // numbers that stay in the first-level cache between the steps

template <bool IsSmallest> KY_ALWAYS_INLINE bool Beats(double height, double best) noexcept {
    return IsSmallest ? (height < best) & (height != kCutMark) : height > best;
}

/// The smallest height but the marks, or the greatest of all; of equal ones any, which tells the zeros of either sign
/// not apart.
template <bool IsSmallest> KY_ALWAYS_INLINE double Extend(double best, const double* row, std::int32_t width) noexcept {
    double bests[kChunk];
    std::fill(std::begin(bests), std::end(bests), best);
    for (std::int32_t x = 0; x < width; x += kChunk) {
        const std::int32_t count = std::min(kChunk, width - x);
        for (std::int32_t k = 0; k < count; ++k)
            bests[k] = Beats<IsSmallest>(row[x + k], bests[k]) ? row[x + k] : bests[k];
    }
    for (const double chunkBest : bests)
        if (Beats<IsSmallest>(chunkBest, best)) best = chunkBest;
    return best;
}

// The low 32 bits of a sample are all that any store looks at.
KY_ALWAYS_INLINE void LowBits(const double* row, const HeightSampling& sampling, std::uint32_t* bits,
                              std::int32_t count) noexcept {
    double values[kChunk];
    bool fits = true;
    for (std::int32_t i = 0; i < count; ++i) {
        const double value = sampling.IsScaled ? (row[i] - sampling.Offset) / sampling.Step : row[i];
        values[i] = value;
        fits &= (value > -2147483649.0) & (value < 2147483648.0);
    }
    if (fits)
        for (std::int32_t i = 0; i < count; ++i)
            bits[i] = static_cast<std::uint32_t>(static_cast<std::int32_t>(values[i]));
    else
        for (std::int32_t i = 0; i < count; ++i)
            bits[i] = static_cast<std::uint32_t>(static_cast<std::uint64_t>(TruncateToInt64(values[i])));
}

template <typename T>
KY_ALWAYS_INLINE void Sample(const double* row, const HeightSampling& sampling, T* samples,
                             std::int32_t width) noexcept {
    std::uint32_t bits[kChunk];
    for (std::int32_t x = 0; x < width; x += kChunk) {
        const std::int32_t count = std::min(kChunk, width - x);
        LowBits(row + x, sampling, bits, count);
        for (std::int32_t i = 0; i < count; ++i) samples[x + i] = static_cast<T>(bits[i]);
    }
}

template <typename T>
KY_ALWAYS_INLINE void Preview(const double* row, const HeightSampling& sampling, std::int32_t top, T* samples,
                              std::int32_t width) noexcept {
    constexpr std::uint32_t kFirstHeldDown = 0xFF00;
    constexpr std::uint32_t kHeldDown = 0xFEFF;
    std::uint32_t bits[kChunk];
    for (std::int32_t x = 0; x < width; x += kChunk) {
        const std::int32_t count = std::min(kChunk, width - x);
        LowBits(row + x, sampling, bits, count);
        for (std::int32_t i = 0; i < count; ++i) {
            const std::uint32_t shown = bits[i] >= kFirstHeldDown ? kHeldDown : bits[i];
            samples[x + i] = static_cast<T>(row[x + i] == kCutMark ? static_cast<std::uint32_t>(top) : shown);
        }
    }
}

} // namespace

KY_SIMD_CLONES std::int32_t MarkRow(const double* heights, const std::int32_t* map, std::int32_t threshold, double* row,
                                    std::int32_t width) noexcept {
    std::int32_t marks = 0;
    for (std::int32_t x = 0; x < width; ++x) {
        const double height = map[x] < threshold ? kCutMark : heights[x];
        row[x] = height;
        marks += height == kCutMark ? 1 : 0;
    }
    return marks;
}

KY_SIMD_CLONES std::int32_t CountMarks(const double* row, std::int32_t width) noexcept {
    std::int32_t marks = 0;
    for (std::int32_t x = 0; x < width; ++x) marks += row[x] == kCutMark ? 1 : 0;
    return marks;
}

KY_SIMD_CLONES double ExtendSmallest(double least, const double* row, std::int32_t width) noexcept {
    const double smallest = Extend</*IsSmallest=*/true>(least, row, width);
    // Of zeros the first one counts, whatever its sign.
    return smallest == 0.0 && least != 0.0 ? *std::find(row, row + width, 0.0) : smallest;
}

KY_SIMD_CLONES double ExtendLargest(double greatest, const double* row, std::int32_t width) noexcept {
    return Extend</*IsSmallest=*/false>(greatest, row, width);
}

KY_SIMD_CLONES void ReplaceMarks(double* row, double height, std::int32_t width) noexcept {
    for (std::int32_t x = 0; x < width; ++x) row[x] = row[x] == kCutMark ? height : row[x];
}

KY_SIMD_CLONES void SampleRow(const double* row, const HeightSampling& sampling, std::uint8_t* samples,
                              std::int32_t width) noexcept {
    Sample(row, sampling, samples, width);
}

KY_SIMD_CLONES void SampleRow(const double* row, const HeightSampling& sampling, std::uint16_t* samples,
                              std::int32_t width) noexcept {
    Sample(row, sampling, samples, width);
}

KY_SIMD_CLONES void PreviewRow(const double* row, const HeightSampling& sampling, std::int32_t top,
                               std::uint8_t* samples, std::int32_t width) noexcept {
    Preview(row, sampling, top, samples, width);
}

KY_SIMD_CLONES void PreviewRow(const double* row, const HeightSampling& sampling, std::int32_t top,
                               std::uint16_t* samples, std::int32_t width) noexcept {
    Preview(row, sampling, top, samples, width);
}

} // namespace kyf

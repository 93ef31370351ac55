#include "halation/halation_rows.h"

#include <algorithm>
#include <cstring>
#include <limits>

#include "platform/simd.h"

namespace kyf {

namespace {

/// Samples that are looked at together for a weight: most of a picture has none.
constexpr std::size_t kBlock = 64;

template <int Stride, typename T>
KY_ALWAYS_INLINE bool MaskPixels(const T* row, std::uint8_t* mask, std::int32_t width, T limit) noexcept {
    constexpr int last = Stride - 1; // of the shown samples, which are three in colour
    std::uint8_t any = 0;
    for (std::int32_t x = 0; x < width; ++x) {
        const T* const pixel = row + static_cast<std::ptrdiff_t>(x) * Stride;
        T brightest = pixel[last];
        if constexpr (Stride > 1) brightest = std::max(std::max(pixel[last - 2], pixel[last - 1]), brightest);
        const std::uint8_t value = brightest > limit ? kMaskTop : 0;
        mask[x] = value;
        any |= value;
    }
    return any != 0;
}

template <typename T>
KY_ALWAYS_INLINE bool MaskSamples(const T* row, std::uint8_t* mask, std::int32_t width, int stride,
                                  std::int32_t threshold) noexcept {
    if (threshold < 0) { // everything is above it
        std::memset(mask, kMaskTop, static_cast<std::size_t>(width));
        return true;
    }
    const auto limit = static_cast<T>(std::min<std::int32_t>(threshold, std::numeric_limits<T>::max()));
    switch (stride) {
    case 3: return MaskPixels<3>(row, mask, width, limit);
    case 4: return MaskPixels<4>(row, mask, width, limit);
    default: return MaskPixels<1>(row, mask, width, limit);
    }
}

// The blend is told in doubles: floor((1 - t) * a + b * t + 0.5) with t = weight / 255. Whole numbers give the same:
// ((255 - weight) * a + weight * b) / 255 keeps a distance of 1 / 510 or more from every half, since 255 is odd, and
// the doubles are off by less than 1e-10. No result leaves the range of a and b, so that there is nothing to clamp.
KY_ALWAYS_INLINE std::uint8_t Blend(std::uint8_t a, std::uint8_t b, std::uint8_t weight) noexcept {
    const auto mix = static_cast<std::uint16_t>((kMaskTop - weight) * a + weight * b + kMaskTop / 2);
    const auto next = static_cast<std::uint16_t>(mix + 1);
    return static_cast<std::uint8_t>(static_cast<std::uint16_t>(next + (mix >> 8U)) >> 8U); // mix / 255 below 65535
}

KY_ALWAYS_INLINE std::uint16_t Blend(std::uint16_t a, std::uint16_t b, std::uint8_t weight) noexcept {
    const std::uint32_t keep = static_cast<std::uint32_t>(kMaskTop) - weight;
    const std::uint32_t mix = keep * a + std::uint32_t{weight} * b + kMaskTop / 2;
    return static_cast<std::uint16_t>((mix + 1 + ((mix + (mix >> 8U) + 1) >> 8U)) >> 8U); // mix / 255 below 2^24
}

KY_ALWAYS_INLINE bool HasWeight(const std::uint8_t* weights) noexcept {
    std::uint64_t any = 0;
    for (std::size_t i = 0; i < kBlock; i += sizeof any) {
        std::uint64_t eight;
        std::memcpy(&eight, weights + i, sizeof eight);
        any |= eight;
    }
    return any != 0;
}

template <typename T>
KY_ALWAYS_INLINE void BlendSamples(T* result, const T* frame, const std::uint8_t* weights, std::size_t count) noexcept {
    std::size_t i = 0;
    for (; i + kBlock <= count; i += kBlock) {
        if (!HasWeight(weights + i)) continue;
        for (std::size_t k = i; k < i + kBlock; ++k) result[k] = Blend(result[k], frame[k], weights[k]);
    }
    for (; i < count; ++i) result[i] = Blend(result[i], frame[i], weights[i]);
}

template <int Stride>
KY_ALWAYS_INLINE void Spread(const std::uint8_t* __restrict mask, std::uint8_t* __restrict weights, std::int32_t width,
                             int first, int last) noexcept {
    std::uint8_t taken[Stride];
    for (int s = 0; s < Stride; ++s) taken[s] = s >= first && s < last ? kMaskTop : 0;
    for (std::int32_t x = 0; x < width; ++x)
        for (int s = 0; s < Stride; ++s)
            weights[static_cast<std::ptrdiff_t>(x) * Stride + s] = static_cast<std::uint8_t>(mask[x] & taken[s]);
}

} // namespace

KY_SIMD_CLONES bool MaskRow(const std::uint8_t* row, std::uint8_t* mask, std::int32_t width, int stride,
                            std::int32_t threshold) noexcept {
    return MaskSamples(row, mask, width, stride, threshold);
}

KY_SIMD_CLONES bool MaskRow(const std::uint16_t* row, std::uint8_t* mask, std::int32_t width, int stride,
                            std::int32_t threshold) noexcept {
    return MaskSamples(row, mask, width, stride, threshold);
}

KY_SIMD_CLONES void SpreadMask(const std::uint8_t* mask, std::uint8_t* weights, std::int32_t width, int stride,
                               int first, int last) noexcept {
    switch (stride) {
    case 3: return Spread<3>(mask, weights, width, first, last);
    case 4: return Spread<4>(mask, weights, width, first, last);
    default: return Spread<1>(mask, weights, width, first, last);
    }
}

KY_SIMD_CLONES void BlendRow(std::uint8_t* result, const std::uint8_t* frame, const std::uint8_t* weights,
                             std::size_t count) noexcept {
    BlendSamples(result, frame, weights, count);
}

KY_SIMD_CLONES void BlendRow(std::uint16_t* result, const std::uint16_t* frame, const std::uint8_t* weights,
                             std::size_t count) noexcept {
    BlendSamples(result, frame, weights, count);
}

} // namespace kyf

#include "safe3d/blend_by_height.h"

#include <algorithm>

#include "filters/numbers.h"
#include "platform/simd.h"

namespace kyf {

namespace {

constexpr std::int32_t kBlock = 32; // pixels that are looked at together: most rows of most steps have none to blend
constexpr std::int32_t kMostSamples = kBlock * 4;

struct Fractions {
    double Of[kMostSamples];          // weight of the next frame
    std::uint8_t IsHit[kMostSamples]; // whether the sample is blended
};

KY_ALWAYS_INLINE bool Fits(double value) { return (value > -2147483649.0) & (value < 2147483648.0); }

// TruncateToInt32 without a branch.
KY_ALWAYS_INLINE std::int32_t Truncate(double value) {
    const bool fits = Fits(value);
    const auto whole = static_cast<std::int32_t>(fits ? value : 0.0);
    return fits ? whole : std::numeric_limits<std::int32_t>::min();
}

KY_ALWAYS_INLINE double FractionAt(const BlendStep& step, std::uint16_t sample) {
    const double value = sample * step.Scale + step.Offset;
    const double fraction = value - Truncate(value);
    return value == step.LastFrame ? 1.0 : fraction;
}

template <typename T> KY_ALWAYS_INLINE T BlendSample(T previous, T next, double fraction) {
    return static_cast<T>(Truncate(next * fraction + previous * (1 - fraction)));
}

/// Samples of the map that a step blends, cut to 16 bits. Empty when First is above Last.
struct HitRange {
    std::uint16_t First;
    std::uint16_t Last;
};

HitRange RangeOf(const BlendStep& step) {
    if (step.Lowest > 65535 || step.Highest < 0) return {1, 0};
    return {static_cast<std::uint16_t>(std::max(step.Lowest, 0)),
            static_cast<std::uint16_t>(std::min(step.Highest, 65535))};
}

KY_ALWAYS_INLINE std::uint8_t IsHit(HitRange range, std::uint16_t sample) {
    return static_cast<std::uint8_t>((sample >= range.First) & (sample <= range.Last));
}

KY_ALWAYS_INLINE bool HasHit(HitRange range, const std::uint16_t* map, std::int32_t count) {
    std::uint8_t hits = 0;
    for (std::int32_t x = 0; x < count; ++x) hits = static_cast<std::uint8_t>(hits | IsHit(range, map[x]));
    return hits != 0;
}

// Weights of all samples of a block, Stride to a pixel, of which the first `channels` count.
template <int Stride>
KY_ALWAYS_INLINE void FillFractions(const BlendStep& step, HitRange range, const std::uint16_t* map, int channels,
                                    std::int32_t count, Fractions& fractions) {
    double of[kBlock];
    std::uint8_t isHit[kBlock];
    for (std::int32_t x = 0; x < count; ++x) of[x] = FractionAt(step, map[x]);
    for (std::int32_t x = 0; x < count; ++x) isHit[x] = IsHit(range, map[x]);
    for (std::int32_t x = 0; x < count; ++x) {
        for (int c = 0; c < Stride; ++c) {
            fractions.Of[x * Stride + c] = of[x];
            fractions.IsHit[x * Stride + c] = c < channels ? isHit[x] : std::uint8_t{0};
        }
    }
}

template <typename T>
KY_ALWAYS_INLINE void BlendSamples(const Fractions& fractions, const T* previous, const T* next, T* __restrict out,
                                   std::int32_t count) {
    for (std::int32_t i = 0; i < count; ++i) {
        const T blended = BlendSample(previous[i], next[i], fractions.Of[i]);
        out[i] = fractions.IsHit[i] ? blended : out[i];
    }
}

template <int Stride, typename T>
KY_ALWAYS_INLINE void BlendBlocks(const BlendStep& step, const std::uint16_t* map, const T* previous, const T* next,
                                  T* out, int channels, std::int32_t width) {
    const HitRange range = RangeOf(step);
    Fractions fractions;
    for (std::int32_t x = 0; x < width; x += kBlock) {
        const std::int32_t at = x * Stride;
        const auto blend = [&](std::int32_t count) __attribute__((always_inline)) {
            if (!HasHit(range, map + x, count)) return;
            FillFractions<Stride>(step, range, map + x, channels, count, fractions);
            BlendSamples(fractions, previous + at, next + at, out + at, count * Stride);
        };
        if (width - x >= kBlock)
            blend(kBlock);
        else
            blend(width - x);
    }
}

// Images whose pixels have different sizes: a frame that reads back in another format than the first.
template <typename T>
KY_ALWAYS_INLINE void BlendApart(const BlendStep& step, const std::uint16_t* map, const T* previous, const T* next,
                                 T* out, const BlendStrides& strides, int channels, std::int32_t width) {
    for (std::int32_t x = 0; x < width; ++x) {
        if (map[x] < step.Lowest || map[x] > step.Highest) continue;
        const double fraction = FractionAt(step, map[x]);
        for (int c = 0; c < channels; ++c)
            out[x * strides.Out + c] =
                BlendSample(previous[x * strides.Previous + c], next[x * strides.Next + c], fraction);
    }
}

template <typename T>
KY_ALWAYS_INLINE void BlendAny(const BlendStep& step, const std::uint16_t* map, const T* previous, const T* next,
                               T* out, const BlendStrides& strides, int channels, std::int32_t width) {
    if (strides.Previous != strides.Out || strides.Next != strides.Out || strides.Out == 2 || strides.Out > 4)
        return BlendApart(step, map, previous, next, out, strides, channels, width);
    if (strides.Out == 1) return BlendBlocks<1>(step, map, previous, next, out, channels, width);
    if (strides.Out == 3) return BlendBlocks<3>(step, map, previous, next, out, channels, width);
    BlendBlocks<4>(step, map, previous, next, out, channels, width);
}

KY_SIMD_CLONES void BlendRow8(const BlendStep& step, const std::uint16_t* map, const std::uint8_t* previous,
                              const std::uint8_t* next, std::uint8_t* out, const BlendStrides& strides, int channels,
                              std::int32_t width) {
    BlendAny(step, map, previous, next, out, strides, channels, width);
}

KY_SIMD_CLONES void BlendRow16(const BlendStep& step, const std::uint16_t* map, const std::uint16_t* previous,
                               const std::uint16_t* next, std::uint16_t* out, const BlendStrides& strides, int channels,
                               std::int32_t width) {
    BlendAny(step, map, previous, next, out, strides, channels, width);
}

KY_SIMD_CLONES void FindRange16(const std::uint16_t* map, std::int32_t count, std::uint16_t& lowest,
                                std::uint16_t& highest) {
    std::uint16_t low = 65535;
    std::uint16_t high = 0;
    for (std::int32_t x = 0; x < count; ++x) {
        low = map[x] < low ? map[x] : low;
        high = map[x] > high ? map[x] : high;
    }
    lowest = low;
    highest = high;
}

} // namespace

SampleRange RangeOfSamples(const std::uint16_t* map, std::int32_t count) {
    SampleRange range{};
    FindRange16(map, count, range.Lowest, range.Highest);
    return range;
}

BlendStep MakeBlendStep(std::int32_t frame, std::int32_t frameCount, double scale, double offset) {
    return {TruncateToInt32(((frame - 1) - offset) / scale + 0.5), TruncateToInt32((frame - offset) / scale + 0.5),
            scale, offset, static_cast<double>(frameCount - 1)};
}

void BlendRow(const BlendStep& step, const std::uint16_t* map, const std::uint8_t* previous, const std::uint8_t* next,
              std::uint8_t* out, const BlendStrides& strides, int channels, std::int32_t width) {
    BlendRow8(step, map, previous, next, out, strides, channels, width);
}

void BlendRow(const BlendStep& step, const std::uint16_t* map, const std::uint16_t* previous, const std::uint16_t* next,
              std::uint16_t* out, const BlendStrides& strides, int channels, std::int32_t width) {
    BlendRow16(step, map, previous, next, out, strides, channels, width);
}

} // namespace kyf

#include "safe3d/height_repair.h"

#include <algorithm>

#include "filters/numbers.h"
#include "platform/simd.h"

namespace kyf {

namespace {

struct Range {
    std::uint16_t Low;
    std::uint16_t High;
};

// Rounds one row; returns the least and the largest frame number. One beyond 32 bits has 16 low bits of 0.
KY_SIMD_CLONES Range RoundRow(std::uint16_t* samples, std::int32_t width, double scale, double offset) {
    for (std::int32_t x = 0; x < width; ++x) {
        const double value = samples[x] * scale + offset + 0.5;
        const double fitting = ((value > -2147483649.0) & (value < 2147483648.0)) ? value : 0.0;
        samples[x] = static_cast<std::uint16_t>(static_cast<std::int32_t>(fitting));
    }
    std::uint16_t low = 65535;
    std::uint16_t high = 0;
    for (std::int32_t x = 0; x < width; ++x) {
        low = samples[x] < low ? samples[x] : low;
        high = samples[x] > high ? samples[x] : high;
    }
    return {low, high};
}

KY_SIMD_CLONES void SpreadRow(std::uint16_t* samples, std::int32_t width, std::uint16_t low, std::uint16_t factor) {
    for (std::int32_t x = 0; x < width; ++x)
        samples[x] = static_cast<std::uint16_t>(static_cast<std::uint32_t>(samples[x] - low) * factor);
}

} // namespace

void RoundToWholeFrames(KyfImageDataUint16& image, KyiBool parallel) {
    std::uint16_t low = 65535;
    std::uint16_t high = 0;
#pragma omp parallel for schedule(static) reduction(min : low) reduction(max : high) if (parallel)
    for (std::int32_t y = 0; y < image.Height; ++y) {
        const Range range = RoundRow(image.Rows[y], image.Width, image.Scale, image.Offset);
        low = std::min(low, range.Low);
        high = std::max(high, range.High);
    }
    const std::int32_t factor = high > low ? 65535 / (high - low) : 65535;
#pragma omp parallel for schedule(static) if (parallel)
    for (std::int32_t y = 0; y < image.Height; ++y)
        SpreadRow(image.Rows[y], image.Width, low, static_cast<std::uint16_t>(factor));
    image.Scale = 1.0 / factor;
    image.Offset = low;
}

} // namespace kyf

/// Plain form of the height conversions: one height at a time, in the order of the map.
#ifndef KYFOCUS_TESTS_REFERENCE_HEIGHT_CONVERSION_H
#define KYFOCUS_TESTS_REFERENCE_HEIGHT_CONVERSION_H

#include <cstdint>
#include <cstring>
#include <limits>

namespace reference {

struct ConvertedRange {
    double Step;
    double Min;
    double Max;
};

/// Smallest integer for a NaN and for what does not fit.
inline std::int32_t ToInt(double value) {
    if (value > -2147483649.0 && value < 2147483648.0) return static_cast<std::int32_t>(value);
    return std::numeric_limits<std::int32_t>::min();
}

/// @param divisor  65535 with 16-bit samples, 255 with bytes.
template <typename Sample>
ConvertedRange ConvertHeights(const double* const* rows, std::int32_t width, std::int32_t height, double scale,
                              double divisor, std::uint8_t* output, std::int32_t stride) {
    double min = std::numeric_limits<double>::max();
    double max = -std::numeric_limits<double>::max();
    for (std::int32_t y = 0; y < height; ++y)
        for (std::int32_t x = 0; x < width; ++x) {
            if (!(rows[y][x] >= min)) min = rows[y][x];
            if (!(rows[y][x] <= max)) max = rows[y][x];
        }
    double step = scale * 0.01;
    std::memset(output, 0, static_cast<std::size_t>(height) * static_cast<std::size_t>(stride));
    if (min != max) { // true for a NaN on either side
        step = (max - min) / divisor;
        for (std::int32_t y = 0; y < height; ++y)
            for (std::int32_t x = 0; x < width; ++x) {
                const double quotient = (rows[y][x] - min) / step;
                const double limited = quotient > divisor - 1.0 ? divisor - 1.0 : quotient;
                const auto sample = static_cast<Sample>(ToInt(limited));
                const std::size_t line = static_cast<std::size_t>(height - 1 - y) * static_cast<std::size_t>(stride);
                std::memcpy(output + line + static_cast<std::size_t>(x) * sizeof(Sample), &sample, sizeof sample);
            }
    }
    return {step, min, max};
}

} // namespace reference

#endif

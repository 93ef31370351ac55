// Heights to samples: range first, then row after row, the last row of the map first.
#include <cmath>
#include <cstddef>
#include <cstring>
#include <limits>

#include "height/convert_rows.h"
#include "height/height.h"

namespace kyf {

namespace {

/// `Divisor` steps lie between the least and the greatest height; samples stop one short of that, at `Limit`.
template <typename Sample> struct Levels;
template <> struct Levels<std::uint16_t> {
    static constexpr double Divisor = 65535.0;
    static constexpr double Limit = 65534.0;
};
template <> struct Levels<std::uint8_t> {
    static constexpr double Divisor = 255.0;
    static constexpr double Limit = 254.0;
};

struct Measured {
    Extremes Ends;
    bool HasNaN;
};

Measured Measure(const HeightWindow& window) noexcept {
    Measured found{{std::numeric_limits<double>::max(), -std::numeric_limits<double>::max()}, false};
    for (std::int32_t y = 0; y < window.Height; ++y)
        if (ExtendExtremes(found.Ends, window.Rows[y], window.Width)) found.HasNaN = true;
    return found;
}

/// Without NaNs, with a step that is a positive number, all quotients lie between 0 and a little above the divisor.
bool IsTame(const Measured& found, double step) noexcept {
    return !found.HasNaN && std::isfinite(found.Ends.Min) && std::isfinite(step) && step > 0.0;
}

template <typename Sample>
HeightRange Convert(const HeightWindow& window, double scale, void* output, std::int32_t strideBytes) noexcept {
    const Measured found = Measure(window);
    const auto [min, max] = found.Ends;
    auto* const bytes = static_cast<std::uint8_t*>(output);
    const auto stride = static_cast<std::size_t>(strideBytes);
    if (min == max) {
        std::memset(bytes, 0, static_cast<std::size_t>(window.Height) * stride);
        return {scale * 0.01, min, max};
    }
    const double step = (max - min) / Levels<Sample>::Divisor;
    const SampleRule rule{min, step, Levels<Sample>::Limit, IsTame(found, step)};
    const std::size_t lineBytes = static_cast<std::size_t>(window.Width) * sizeof(Sample);
    for (std::int32_t y = 0; y < window.Height; ++y) {
        std::uint8_t* const line = bytes + static_cast<std::size_t>(window.Height - 1 - y) * stride;
        ConvertRow(window.Rows[y], reinterpret_cast<Sample*>(line), window.Width, rule);
        std::memset(line + lineBytes, 0, stride - lineBytes);
    }
    return {step, min, max};
}

} // namespace

double FlatScale(const KyfFocusComposition& session) noexcept {
    return session.ScaleX > session.ScaleY ? session.ScaleX : session.ScaleY;
}

HeightRange ConvertTo16Bit(const HeightWindow& window, double scale, void* output, std::int32_t strideBytes) noexcept {
    return Convert<std::uint16_t>(window, scale, output, strideBytes);
}

HeightRange ConvertTo8Bit(const HeightWindow& window, double scale, void* output, std::int32_t strideBytes) noexcept {
    return Convert<std::uint8_t>(window, scale, output, strideBytes);
}

} // namespace kyf

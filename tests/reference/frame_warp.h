/// Frame warp in its plain form: one channel, pixel by pixel.
#ifndef KYFOCUS_TESTS_REFERENCE_FRAME_WARP_H
#define KYFOCUS_TESTS_REFERENCE_FRAME_WARP_H

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <numbers>

#include <kyfocus/alignment.h>

namespace reference {

/// To a whole number toward zero; the smallest integer where there is none.
inline std::int32_t Whole(double value) {
    if (std::isnan(value) || value >= 2147483648.0 || value <= -2147483649.0)
        return std::numeric_limits<std::int32_t>::min();
    return static_cast<std::int32_t>(value);
}

inline std::int32_t Less(std::int32_t a, std::int32_t b) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(a) - static_cast<std::uint32_t>(b));
}

inline KyPoint MapForward(KyPoint point, std::int32_t width, std::int32_t height, const KyfFrameShift& shift) {
    const std::int32_t cx = width / 2;
    const std::int32_t cy = height / 2;
    const double t = -(shift.Angle * std::numbers::pi / 180.0);
    const double c = std::cos(t);
    const double n = std::sin(t);
    const double dx = Less(point.x, cx);
    const double dy = Less(point.y, cy);
    return {Whole(((dx * c + dy * n + cx) - cx) * shift.ScaleY + cx + shift.ShiftX),
            Whole(((dy * c - dx * n + cy) - cy) * shift.ScaleY + cy + shift.ShiftY)};
}

template <typename Sample>
double SampleAt(const KyiImageData& image, std::int32_t column, std::int32_t row, std::int32_t offset) {
    const std::int32_t x = std::clamp(column, 0, image.Width - 1);
    const std::int32_t y = std::clamp(row, 0, image.Height - 1);
    return static_cast<const Sample*>(KyiGetPixelAddress(&image, x, y))[offset];
}

template <typename Sample>
std::int32_t WarpedSample(const KyiImageData& source, std::int32_t x, std::int32_t y, const KyfFrameShift& shift,
                          double c, double n, std::int32_t offset) {
    const std::int32_t W = source.Width;
    const std::int32_t H = source.Height;
    const std::int32_t hw = W / 2;
    const std::int32_t hh = H / 2;
    const double top = KyiGetMaxVal(source.Format) - 1;
    const double dx = Less(x, shift.ShiftX);
    const double dy = Less(y, shift.ShiftY);
    const double sy = (c * dy + n * dx) / shift.ScaleY;
    const double sx = (c * dx - n * dy) / shift.ScaleX;
    const std::int32_t iy = Less(Whole(sy), sy <= 0.0 ? 1 : 0);
    const std::int32_t ix = Less(Whole(sx), sx <= 0.0 ? 1 : 0);
    if (iy < -hh - 1 || iy > H - hh || ix < -hw - 1 || ix > W - hw) return 0;
    const double fx = sx - ix;
    const double fy = sy - iy;
    const double A = SampleAt<Sample>(source, ix + hw, iy + hh, offset);
    const double B = SampleAt<Sample>(source, ix + hw + 1, iy + hh, offset);
    const double C = SampleAt<Sample>(source, ix + hw, iy + hh + 1, offset);
    const double D = SampleAt<Sample>(source, ix + hw + 1, iy + hh + 1, offset);
    double value = (D * fx + C * (1 - fx)) * fy + (A * (1 - fx) + B * fx) * (1 - fy);
    if (value <= 0.0) value = 0;
    if (value >= top) value = top;
    return Whole(value);
}

template <typename Sample>
void WarpChannel(const KyiImageData& source, KyiImageData& destination, const KyfFrameShift& shift,
                 std::int32_t offset) {
    const double t = shift.Angle * std::numbers::pi / 180.0;
    const double c = std::cos(t);
    const double n = std::sin(t);
    for (std::int32_t y = 0; y < source.Height; ++y)
        for (std::int32_t x = 0; x < source.Width; ++x)
            static_cast<Sample*>(KyiGetPixelAddress(&destination, x, y))[offset] = static_cast<Sample>(
                WarpedSample<Sample>(source, x - source.Width / 2, y - source.Height / 2, shift, c, n, offset));
}

/// One channel of a frame; any other pixel size does nothing.
inline void WarpChannel(const KyiImageData& source, KyiImageData& destination, const KyfFrameShift& shift,
                        std::int32_t channel) {
    switch (source.PixelBytes) {
    case 1: return WarpChannel<std::uint8_t>(source, destination, shift, std::int32_t{0});
    case 2: return WarpChannel<std::uint16_t>(source, destination, shift, std::int32_t{0});
    case 3: return WarpChannel<std::uint8_t>(source, destination, shift, 3 - channel - 1);
    case 4: return WarpChannel<std::uint8_t>(source, destination, shift, 4 - channel - 1);
    case 6: return WarpChannel<std::uint16_t>(source, destination, shift, (6 >> 1) - channel - 1);
    default: return;
    }
}

} // namespace reference

#endif

/// Block-average reduction, the plain form: one line after the other through the pixel calls.
#ifndef KYFOCUS_TESTS_REFERENCE_REDUCE_H
#define KYFOCUS_TESTS_REFERENCE_REDUCE_H

#include <cstdint>
#include <vector>

#include <kyimaging/kyimaging.h>

namespace reference {

inline std::int32_t ReducedSample(const KyiImageData& source, const KyiImageData& destination, std::int32_t x,
                                  std::int32_t y, std::int32_t channel) {
    const double rx = static_cast<double>(source.Width) / destination.Width;
    const double ry = static_cast<double>(source.Height) / destination.Height;
    double ax = rx;
    double ay = ry;
    if (rx == static_cast<std::int32_t>(rx)) ax = rx + 1.0;
    if (ry == static_cast<std::int32_t>(ry)) ay = ry + 1.0;
    std::uint32_t sum = 0;
    for (std::int32_t j = 0; j < ay - 1.0; ++j)
        for (std::int32_t i = 0; i < ax - 1.0; ++i) {
            std::int32_t sample = 0;
            KyiGetLinePixel(&source, static_cast<std::int32_t>(x * rx) + i, static_cast<std::int32_t>(y * ry) + j,
                            channel, &sample, 1);
            sum += static_cast<std::uint32_t>(sample);
        }
    return static_cast<std::int32_t>(sum) / (static_cast<std::int32_t>(ry) * static_cast<std::int32_t>(rx));
}

/// @param parallel  Which of the two kernels: they differ in their cap.
inline void ReduceImage(const KyiImageData& source, KyiImageData& destination, bool parallel) {
    if (source.Width == destination.Width && source.Height == destination.Height) {
        KyiCopyImageData(&source, &destination, 0, 0);
        return;
    }
    std::int32_t top = 255;
    if (parallel) {
        const bool bytes = source.PixelBytes == 1 || source.PixelBytes == 3 || source.PixelBytes == 4;
        top = bytes ? static_cast<std::uint8_t>(KyiGetMaxVal(destination.Format))
                    : static_cast<std::uint16_t>(KyiGetMaxVal(destination.Format));
    }
    for (std::int32_t channel = 0; channel < (KyiIsFormatBgr(source.Format) ? 3 : 1); ++channel)
        for (std::int32_t y = 0; y < destination.Height; ++y)
            for (std::int32_t x = 0; x < destination.Width; ++x) {
                std::int32_t value = ReducedSample(source, destination, x, y, channel);
                if (value < 1) value = 0;
                if (value >= top) value = top;
                KyiSetLinePixel(&destination, x, y, channel, &value, 1);
            }
}

} // namespace reference

#endif

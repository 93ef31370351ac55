/// Plain form of the way of a frame to its channel on a graphics processor, and of the median with the mask that the
/// CUDA device is given.
#ifndef KYFOCUS_TESTS_REFERENCE_GPU_CHANNEL_H
#define KYFOCUS_TESTS_REFERENCE_GPU_CHANNEL_H

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

#include <kyimaging/kyimaging.h>

#include "reference/height_repair.h"
#include "reference/median.h"

namespace reference {

using Bytes = std::vector<std::uint8_t>;

inline std::uint8_t ByteOf(const KyiImageData& image, int x, int y, int byte) {
    return static_cast<const std::uint8_t*>(KyiGetPixelAddress(&image, x, y))[byte];
}

/// Rows of three bytes a pixel. @param isReduced  The frame has been reduced before: only first bytes count.
inline Bytes Pack(const KyiImageData& image, bool isReduced) {
    Bytes packed;
    for (int y = 0; y < image.Height; ++y)
        for (int x = 0; x < image.Width; ++x)
            for (int byte = 0; byte < 3; ++byte)
                packed.push_back(ByteOf(image, x, y, KyiIsFormatBgr(image.Format) && !isReduced ? byte : 0));
    return packed;
}

struct PackedSize {
    int Width;
    int Height;
};

inline Bytes ReducePacked(const Bytes& source, const PackedSize& from, const PackedSize& to) {
    const double xRatio = static_cast<double>(from.Width) / to.Width;
    const double yRatio = static_cast<double>(from.Height) / to.Height;
    const double dx = xRatio == std::floor(xRatio) ? xRatio + 1 : xRatio;
    const double dy = yRatio == std::floor(yRatio) ? yRatio + 1 : yRatio;
    Bytes result;
    for (int i = 0; i < to.Height; ++i) {
        for (int k = 0; k < to.Width; ++k) {
            for (int byte = 0; byte < 3; ++byte) {
                int sum = 0;
                for (int j = 0; j < dy - 1; ++j) {
                    for (int l = 0; l < dx - 1; ++l) {
                        const int y = std::clamp(static_cast<int>(yRatio * i) + j, 0, from.Height - 1);
                        const int x = std::clamp(static_cast<int>(xRatio * k) + l, 0, from.Width - 1);
                        sum += source[static_cast<std::size_t>((y * from.Width + x) * 3 + byte)];
                    }
                }
                const int mean = sum / (static_cast<int>(yRatio) * static_cast<int>(xRatio));
                result.push_back(static_cast<std::uint8_t>(std::clamp(mean, 0, 255)));
            }
        }
    }
    return result;
}

inline DoubleGrid CopyGreen(const Bytes& packed, const PackedSize& size) {
    DoubleGrid channel{size.Width, size.Height, {}};
    for (std::size_t i = 0; i < packed.size(); i += 3) channel.Values.push_back(packed[i + 1]);
    return channel;
}

/// The mask as the device sees it: the first half, in bytes, of an array that has two bytes a pixel.
inline IntGrid HalfMask(const IntGrid& mask) {
    IntGrid seen = mask;
    for (std::size_t i = 0; i < seen.Values.size(); ++i) seen.Values[i] = i % 2 == 0 ? mask.Values[i / 2] : 0;
    return seen;
}

inline IntGrid MiddleFilterOnCuda(const IntGrid& image, const IntGrid& mask, int size) {
    return MiddleFilter(image, HalfMask(mask), size);
}

} // namespace reference

#endif

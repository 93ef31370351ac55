/// Where lines, pixels and samples lie in a pixel block.
///
/// imaging/ makes and holds images, gives access to their pixels, reads and writes image files and keeps the trace log.
/// It uses platform/ and the codec libraries, and knows nothing of focus.
#ifndef KYFOCUS_IMAGING_LAYOUT_H
#define KYFOCUS_IMAGING_LAYOUT_H

#include <cstddef>
#include <cstdint>

#include <kyimaging/kyimaging.h>

namespace kyi {

/// First byte of image row y, which lies inside the image.
inline std::uint8_t* RowAddress(const KyiImageData& image, std::int32_t y) noexcept {
    const std::ptrdiff_t line = std::ptrdiff_t{image.Height} - 1 - y;
    return static_cast<std::uint8_t*>(image.Pixels) + line * image.LineBytes;
}

/// First byte of pixel (x, y), which lies inside the image.
inline std::uint8_t* PixelAddress(const KyiImageData& image, std::int32_t x, std::int32_t y) noexcept {
    return RowAddress(image, y) + std::ptrdiff_t{x} * image.PixelBytes;
}

inline bool IsInside(const KyiImageData& image, std::int32_t x, std::int32_t y) noexcept {
    return x >= 0 && y >= 0 && x < image.Width && y < image.Height;
}

inline bool IsWideSample(const KyiImageData& image) noexcept { return image.PixelBytes == 2 || image.PixelBytes == 6; }

inline std::int32_t SamplesPerPixel(const KyiImageData& image) noexcept {
    return IsWideSample(image) ? image.PixelBytes / 2 : image.PixelBytes;
}

/// Byte of channel 0, 1 or 2 inside a pixel; 0 on a one-channel image whatever the channel. Negative for a channel
/// that a colour image lacks.
inline std::int32_t ChannelOffset(const KyiImageData& image, std::int32_t channel) noexcept {
    const std::int32_t samples = SamplesPerPixel(image);
    if (samples == 1) return 0;
    if (channel < 0 || channel > 2) return -1;
    return (samples - 1 - channel) * (IsWideSample(image) ? 2 : 1);
}

/// Bytes of the lines together.
inline std::size_t PixelBlockBytes(const KyiImageData& image) noexcept {
    return static_cast<std::size_t>(image.Height) * static_cast<std::size_t>(image.LineBytes);
}

/// Whether both are there and have one size and format, hence one layout.
inline bool IsSameLayout(const KyiImageData* first, const KyiImageData* second) noexcept {
    return KyiIsSameSize(first, second) && KyiIsSamePixelFormat(first, second);
}

} // namespace kyi

#endif

/// Pixel access by the bytes of the block: one sample at a time, nothing shared with the library.
#ifndef KYFOCUS_TESTS_REFERENCE_LINE_ACCESS_H
#define KYFOCUS_TESTS_REFERENCE_LINE_ACCESS_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

#include <kyimaging/kyimaging.h>

namespace reference {

/// The pixel block as bytes.
inline std::vector<std::uint8_t> Bytes(const KyiImageData& image) {
    const auto* const first = static_cast<const std::uint8_t*>(image.Pixels);
    return {first, first + static_cast<std::ptrdiff_t>(image.Height) * image.LineBytes};
}

inline bool IsWide(const KyiImageData& image) { return image.PixelBytes == 2 || image.PixelBytes == 6; }

/// Index of the first byte of a channel's sample at (x, y), which lies inside.
inline std::size_t ByteIndex(const KyiImageData& image, std::int64_t x, std::int64_t y, std::int32_t channel) {
    std::int64_t byte = (image.Height - 1 - y) * image.LineBytes + x * image.PixelBytes;
    if (image.PixelBytes == 3 || image.PixelBytes == 4) byte += image.PixelBytes - 1 - channel;
    if (image.PixelBytes == 6) byte += 2 * (2 - channel);
    return static_cast<std::size_t>(byte);
}

/// Sample of the pixel nearest to (x, y).
inline std::int32_t Read(const KyiImageData& image, std::int64_t x, std::int64_t y, std::int32_t channel) {
    const std::int64_t nearX = std::min<std::int64_t>(std::max<std::int64_t>(x, 0), image.Width - 1);
    const std::int64_t nearY = std::min<std::int64_t>(std::max<std::int64_t>(y, 0), image.Height - 1);
    const auto* const at = static_cast<const std::uint8_t*>(image.Pixels) + ByteIndex(image, nearX, nearY, channel);
    return IsWide(image) ? at[0] + 256 * at[1] : at[0];
}

/// Puts a sample into the bytes of a block laid out as the image's; one outside is dropped.
inline void Write(const KyiImageData& image, std::vector<std::uint8_t>& bytes, std::int64_t x, std::int64_t y,
                  std::int32_t channel, std::int32_t value) {
    if (x < 0 || y < 0 || x >= image.Width || y >= image.Height) return;
    const std::size_t at = ByteIndex(image, x, y, channel);
    const auto low = static_cast<std::uint32_t>(value);
    bytes[at] = static_cast<std::uint8_t>(low);
    if (IsWide(image)) bytes[at + 1] = static_cast<std::uint8_t>(low >> 8);
}

} // namespace reference

#endif

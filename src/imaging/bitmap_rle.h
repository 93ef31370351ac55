/// Run lengths of 4- and 8-bit bitmaps.
#ifndef KYFOCUS_IMAGING_BITMAP_RLE_H
#define KYFOCUS_IMAGING_BITMAP_RLE_H

#include <cstddef>
#include <cstdint>
#include <span>

namespace kyi {

/// Decodes into palette indexes, a byte each. Pixels that the data leaves out stay as they are.
/// @param bits     4 or 8.
/// @param pixels   Lines of `lineBytes` bytes, in the order of the data (the lowest line of the picture first).
/// @return false when the data ends early or leads out of the image.
bool DecodeRunLengths(std::span<const std::uint8_t> data, int bits, std::uint8_t* pixels, std::size_t lineBytes,
                      std::size_t width, std::size_t height) noexcept;

} // namespace kyi

#endif

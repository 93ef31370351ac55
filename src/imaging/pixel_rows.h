/// Kernels of the codecs: one row of samples in, one row out. No files, no images, no checks.
///
/// Rows may be the same memory where a kernel says "in place"; otherwise they do not overlap. Counts are pixels.
#ifndef KYFOCUS_IMAGING_PIXEL_ROWS_H
#define KYFOCUS_IMAGING_PIXEL_ROWS_H

#include <cstddef>
#include <cstdint>

namespace kyi {

/// Exchanges the first and third byte of three-byte pixels. In place.
void SwapRedBlue8(const std::uint8_t* in, std::uint8_t* out, std::size_t count) noexcept;

/// Exchanges the first and third 16-bit sample of three-sample pixels. In place. No alignment asked for, here and
/// below.
void SwapRedBlue16(const std::uint8_t* in, std::uint8_t* out, std::size_t count) noexcept;

/// Exchanges the two bytes of each of `count` samples. In place.
void SwapBytes16(const std::uint8_t* in, std::uint8_t* out, std::size_t count) noexcept;

/// 255 - v of bytes; also 65535 - v of 16-bit samples, as `count` counts bytes. In place.
void InvertBytes(const std::uint8_t* in, std::uint8_t* out, std::size_t count) noexcept;

/// Copies `count` units of `unitBytes` (1 or 2), stepping `inStride` and `outStride` bytes.
void CopyStrided(const std::uint8_t* in, std::size_t inStride, std::uint8_t* out, std::size_t outStride,
                 std::size_t unitBytes, std::size_t count) noexcept;

/// Takes pixels of `bits` (1, 2, 4 or 8) bits, highest bits first, apart into one byte each.
void UnpackBits(const std::uint8_t* in, int bits, std::uint8_t* out, std::size_t count) noexcept;

/// out = table[in]. In place.
void MapBytes(const std::uint8_t* in, const std::uint8_t table[256], std::uint8_t* out, std::size_t count) noexcept;

/// Three bytes of table[3 * in].
void MapBytesTo24(const std::uint8_t* in, const std::uint8_t table[768], std::uint8_t* out, std::size_t count) noexcept;

/// Four-byte pixels to three: leaves out the byte at `skipped`, 0 or 3.
void Drop1Of4(const std::uint8_t* in, int skipped, std::uint8_t* out, std::size_t count) noexcept;

} // namespace kyi

#endif

/// Headers of bitmap files.
#ifndef KYFOCUS_IMAGING_BITMAP_HEADER_H
#define KYFOCUS_IMAGING_BITMAP_HEADER_H

#include <array>
#include <cstdint>

#include "imaging/image_file.h"

namespace kyi {

/// Values of the compression field. `Block` is this library's own, see bitmap_codec.h.
enum class BitmapCompression : std::uint32_t {
    None = 0,
    Rle8 = 1,
    Rle4 = 2,
    BitFields = 3,
    AlphaBitFields = 6,
    Block = 0x3149594b // "KYI1"
};

constexpr std::uint32_t kBlockPixelOffset = 128;

/// Saved pixels begin at a multiple of this. Out of the page cache the system copies them two to three times as fast as
/// from an odd place, as memory is aligned to it too.
constexpr std::uint32_t kPixelAlignment = 64;

/// A header that was found sound. Which bits go with which compression is checked.
struct BitmapHeader {
    std::int32_t Width = 0;
    std::int32_t Height = 0;
    bool TopDown = false;
    int Bits = 0; ///< per pixel; of a block 8, 16, 24, 32 or 48
    BitmapCompression Compression = BitmapCompression::None;
    std::array<std::uint32_t, 3> Masks{}; ///< red, green, blue, of 16 and 32 bits
    std::uint64_t PixelOffset = 0;
    std::int32_t BlockFormat = 0; ///< format word of a block

    std::uint32_t PaletteOffset = 0;
    std::uint32_t PaletteEntries = 0;    ///< 0 to 256; 0 above 8 bits
    std::uint32_t PaletteEntryBytes = 0; ///< 3 or 4

    /// Bytes from one stored line to the next, where lines are not compressed.
    std::size_t LineBytes() const noexcept {
        return (static_cast<std::size_t>(Width) * static_cast<std::size_t>(Bits) + 31) / 32 * 4;
    }
};

/// Throws FileError for what is damaged or not read.
BitmapHeader ReadBitmapHeader(platform::InputFile& file);

/// The bytes ahead of the pixels in a saved file: headers and, for format 3, the palette.
std::vector<std::uint8_t> MakeBitmapHeader(const KyiImageData& image);

} // namespace kyi

#endif

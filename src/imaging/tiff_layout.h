/// How the pixels of a TIFF's page are stored.
#ifndef KYFOCUS_IMAGING_TIFF_LAYOUT_H
#define KYFOCUS_IMAGING_TIFF_LAYOUT_H

#include <array>
#include <cstdint>

#include "imaging/image_file.h"
#include "imaging/tiff_handle.h"

namespace kyi {

enum class TiffKind {
    Gray,
    Palette,
    Colour, ///< red, green, blue as the first three samples
    Other   ///< what libtiff turns into colour as a whole
};

/// A page that can be read. Strips and tiles are both blocks: a strip is as wide as the image.
struct TiffLayout {
    std::int32_t Width = 0;
    std::int32_t Height = 0;
    int Bits = 0;            ///< per sample: 1, 2, 4, 8 or 16
    std::size_t Samples = 0; ///< per pixel
    TiffKind Kind = TiffKind::Other;
    bool WhiteIsZero = false;
    bool InPlanes = false;
    bool Tiled = false;
    bool Uncompressed = false; ///< bytes lie in the file as they are, but for the order of the two of a 16-bit sample
    bool Swapped = false;      ///< that order is not this machine's
    std::uint32_t BlockWidth = 0;
    std::uint32_t BlockHeight = 0;
    std::array<std::uint8_t, 256> GrayTable{}; ///< of gray below 8 bits and of a gray palette
    std::array<std::uint8_t, 768> PaletteBgr{};
    bool GrayPalette = false;

    std::size_t SamplesPerBlock() const noexcept { return InPlanes ? 1 : Samples; }
    std::uint32_t BlocksAcross() const noexcept { return (static_cast<std::uint32_t>(Width) - 1) / BlockWidth + 1; }
    std::uint32_t BlocksDown() const noexcept { return (static_cast<std::uint32_t>(Height) - 1) / BlockHeight + 1; }
    /// Bytes of one row of a block.
    std::uint64_t BlockRowBytes() const noexcept {
        return (std::uint64_t{BlockWidth} * SamplesPerBlock() * static_cast<std::uint64_t>(Bits) + 7) / 8;
    }
    std::int32_t Format() const noexcept {
        const bool gray = Kind == TiffKind::Gray || (Kind == TiffKind::Palette && GrayPalette);
        if (gray) return Bits == 16 ? KyiFormatGray16 : KyiFormatGray8;
        return Kind == TiffKind::Colour && Bits == 16 ? KyiFormatBgr48 : KyiFormatBgr24;
    }
};

/// Throws FileError for what is damaged or not read. Asks libtiff to turn JPEG data into colour.
TiffLayout ReadTiffLayout(const TiffHandle& tiff);

} // namespace kyi

#endif

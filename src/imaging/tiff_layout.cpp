#include "imaging/tiff_layout.h"

#include <string>

namespace kyi {

namespace {

std::uint16_t Photometric(const TiffHandle& tiff, std::size_t samples) {
    std::uint16_t photometric = 0;
    if (TIFFGetField(tiff.Get(), TIFFTAG_PHOTOMETRIC, &photometric)) return photometric;
    return samples >= 3 ? PHOTOMETRIC_RGB : PHOTOMETRIC_MINISBLACK;
}

void ChooseKind(const TiffHandle& tiff, TiffLayout& layout, std::uint16_t compression) {
    switch (Photometric(tiff, layout.Samples)) {
    case PHOTOMETRIC_MINISWHITE: layout.WhiteIsZero = true; [[fallthrough]];
    case PHOTOMETRIC_MINISBLACK: layout.Kind = TiffKind::Gray; return;
    case PHOTOMETRIC_PALETTE: layout.Kind = TiffKind::Palette; return;
    case PHOTOMETRIC_RGB: layout.Kind = layout.Samples >= 3 ? TiffKind::Colour : TiffKind::Other; return;
    case PHOTOMETRIC_YCBCR:
        if (compression != COMPRESSION_JPEG || layout.Samples != 3 || layout.Bits != 8 || layout.InPlanes) return;
        layout.Kind = TiffKind::Colour;
        TIFFSetField(tiff.Get(), TIFFTAG_JPEGCOLORMODE, JPEGCOLORMODE_RGB);
        return;
    default: return;
    }
}

void CheckSamples(const TiffHandle& tiff, const TiffLayout& layout) {
    if (layout.Kind == TiffKind::Other) return;
    switch (tiff.Tag<std::uint16_t>(TIFFTAG_SAMPLEFORMAT, SAMPLEFORMAT_UINT)) {
    case SAMPLEFORMAT_UINT:
    case SAMPLEFORMAT_VOID: break;
    case SAMPLEFORMAT_INT: throw FileError("TIFF images of signed samples are not read");
    case SAMPLEFORMAT_IEEEFP: throw FileError("TIFF images of floating-point samples are not read");
    default: throw FileError("TIFF images of complex samples are not read");
    }
    const int bits = layout.Bits;
    const bool small = bits == 1 || bits == 2 || bits == 4;
    const bool oneSample = layout.SamplesPerBlock() == 1;
    const bool readable = (small && oneSample && layout.Kind != TiffKind::Colour) || bits == 8 ||
                          (bits == 16 && layout.Kind != TiffKind::Palette);
    if (!readable)
        throw FileError("TIFF images of " + std::to_string(layout.Samples) + " samples of " + std::to_string(bits) +
                        " bits are not read in this arrangement");
}

void SetBlocks(const TiffHandle& tiff, TiffLayout& layout) {
    layout.Tiled = TIFFIsTiled(tiff.Get()) != 0;
    const auto width = static_cast<std::uint32_t>(layout.Width);
    const auto height = static_cast<std::uint32_t>(layout.Height);
    if (layout.Tiled) {
        layout.BlockWidth = tiff.Tag<std::uint32_t>(TIFFTAG_TILEWIDTH, 0);
        layout.BlockHeight = tiff.Tag<std::uint32_t>(TIFFTAG_TILELENGTH, 0);
        if (tiff.Tag<std::uint32_t>(TIFFTAG_TILEDEPTH, 1) != 1) throw FileError("TIFF volumes are not read");
    } else {
        layout.BlockWidth = width;
        layout.BlockHeight = std::min(height, tiff.Tag<std::uint32_t>(TIFFTAG_ROWSPERSTRIP, height));
    }
    if (layout.BlockWidth == 0 || layout.BlockHeight == 0)
        throw FileError("damaged TIFF: strips or tiles without size");
}

void FillGrayTable(TiffLayout& layout) {
    const std::size_t top = (std::size_t{1} << std::min(layout.Bits, 8)) - 1;
    for (std::size_t i = 0; i <= top; ++i)
        layout.GrayTable[i] = static_cast<std::uint8_t>((layout.WhiteIsZero ? top - i : i) * 255 / top);
}

void ReadPalette(const TiffHandle& tiff, TiffLayout& layout) {
    std::uint16_t* red = nullptr;
    std::uint16_t* green = nullptr;
    std::uint16_t* blue = nullptr;
    if (!TIFFGetField(tiff.Get(), TIFFTAG_COLORMAP, &red, &green, &blue)) throw FileError("damaged TIFF: no palette");
    const std::size_t count = std::size_t{1} << layout.Bits;
    unsigned all = 0;
    for (std::size_t i = 0; i < count; ++i) all |= red[i] | green[i] | blue[i];
    const int shift = all > 255 ? 8 : 0; // some programs wrote 8 bits into the 16
    layout.GrayPalette = true;
    for (std::size_t i = 0; i < count; ++i) {
        const std::uint16_t entry[3] = {blue[i], green[i], red[i]};
        for (std::size_t c = 0; c < 3; ++c) layout.PaletteBgr[3 * i + c] = static_cast<std::uint8_t>(entry[c] >> shift);
        const std::uint8_t* const bgr = layout.PaletteBgr.data() + 3 * i;
        layout.GrayPalette = layout.GrayPalette && bgr[0] == bgr[1] && bgr[1] == bgr[2];
        layout.GrayTable[i] = bgr[0];
    }
}

} // namespace

TiffLayout ReadTiffLayout(const TiffHandle& tiff) {
    TiffLayout layout;
    const auto width = tiff.Tag<std::uint32_t>(TIFFTAG_IMAGEWIDTH, 0);
    const auto height = tiff.Tag<std::uint32_t>(TIFFTAG_IMAGELENGTH, 0);
    CheckImageSize(width, height, 6);
    layout.Width = static_cast<std::int32_t>(width);
    layout.Height = static_cast<std::int32_t>(height);
    layout.Bits = tiff.Tag<std::uint16_t>(TIFFTAG_BITSPERSAMPLE, 1);
    layout.Samples = tiff.Tag<std::uint16_t>(TIFFTAG_SAMPLESPERPIXEL, 1);
    if (layout.Samples == 0) throw FileError("damaged TIFF: pixels without samples");
    const auto compression = tiff.Tag<std::uint16_t>(TIFFTAG_COMPRESSION, COMPRESSION_NONE);
    layout.InPlanes = layout.Samples > 1 &&
                      tiff.Tag<std::uint16_t>(TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG) == PLANARCONFIG_SEPARATE;
    ChooseKind(tiff, layout, compression);
    CheckSamples(tiff, layout);
    SetBlocks(tiff, layout);
    if (layout.Kind == TiffKind::Palette)
        ReadPalette(tiff, layout);
    else
        FillGrayTable(layout);
    layout.Swapped = TIFFIsByteSwapped(tiff.Get()) != 0;
    layout.Uncompressed = compression == COMPRESSION_NONE && !layout.Tiled &&
                          tiff.Tag<std::uint16_t>(TIFFTAG_FILLORDER, FILLORDER_MSB2LSB) == FILLORDER_MSB2LSB;
    return layout;
}

} // namespace kyi

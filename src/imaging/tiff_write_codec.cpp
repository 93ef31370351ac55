#include "imaging/tiff_codec.h"

#include "imaging/pixel_rows.h"
#include "imaging/tiff_handle.h"

namespace kyi {

namespace {

constexpr std::size_t kStripBytes = std::size_t{256} << 10;
// Room for the tables of a file whose offsets have 32 bits.
constexpr std::uint64_t kMostClassicBytes = 0xff000000;

std::size_t SamplesInFile(const KyiImageData& image) { return KyiIsFormatBgr(image.Format) ? 3 : 1; }

void TurnRow(const KyiImageData& image, std::int32_t y, std::uint8_t* out, std::size_t rowBytes) noexcept {
    const std::uint8_t* const line = RowAddress(image, y);
    const auto width = static_cast<std::size_t>(image.Width);
    switch (image.PixelBytes) {
    case 3: return SwapRedBlue8(line, out, width);
    case 4: Drop1Of4(line, 0, out, width); return SwapRedBlue8(out, out, width);
    case 6: return SwapRedBlue16(line, out, width);
    default: return CopyStrided(line, 1, out, 1, 1, rowBytes);
    }
}

bool SetTags(TIFF* tiff, const KyiImageData& image, std::uint32_t rowsPerStrip) {
    const auto samples = static_cast<int>(SamplesInFile(image));
    return TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, static_cast<std::uint32_t>(image.Width)) &&
           TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, static_cast<std::uint32_t>(image.Height)) &&
           TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, IsWideSample(image) ? 16 : 8) &&
           TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, samples) &&
           TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, samples == 3 ? PHOTOMETRIC_RGB : PHOTOMETRIC_MINISBLACK) &&
           TIFFSetField(tiff, TIFFTAG_COMPRESSION, COMPRESSION_NONE) &&
           TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG) &&
           TIFFSetField(tiff, TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT) &&
           TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, rowsPerStrip);
}

bool WriteStrips(TIFF* tiff, const KyiImageData& image, std::size_t rowBytes, std::size_t rowsPerStrip) {
    const auto height = static_cast<std::size_t>(image.Height);
    std::vector<std::uint8_t> strip(rowBytes * rowsPerStrip);
    for (std::size_t top = 0; top < height; top += rowsPerStrip) {
        const std::size_t rows = std::min(rowsPerStrip, height - top);
        for (std::size_t i = 0; i < rows; ++i)
            TurnRow(image, static_cast<std::int32_t>(top + i), strip.data() + i * rowBytes, rowBytes);
        const auto bytes = static_cast<tmsize_t>(rows * rowBytes);
        if (TIFFWriteEncodedStrip(tiff, static_cast<std::uint32_t>(top / rowsPerStrip), strip.data(), bytes) != bytes)
            return false;
    }
    return true;
}

} // namespace

void SaveTiff(platform::FileReplacement& file, const KyiImageData& image) {
    const std::size_t rowBytes =
        static_cast<std::size_t>(image.Width) * SamplesInFile(image) * (IsWideSample(image) ? 2 : 1);
    const auto height = static_cast<std::size_t>(image.Height);
    const std::size_t rowsPerStrip = std::clamp<std::size_t>(kStripBytes / rowBytes, 1, height);
    TiffHandle tiff(file, rowBytes * height > kMostClassicBytes);
    const bool written = SetTags(tiff.Get(), image, static_cast<std::uint32_t>(rowsPerStrip)) &&
                         WriteStrips(tiff.Get(), image, rowBytes, rowsPerStrip);
    const bool closed = tiff.Close();
    tiff.Check(written && closed);
}

} // namespace kyi

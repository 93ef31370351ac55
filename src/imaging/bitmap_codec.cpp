#include "imaging/bitmap_codec.h"

#include <bit>
#include <cstring>
#include <string>

#include "imaging/bitmap_header.h"
#include "imaging/bitmap_rle.h"
#include "imaging/pixel_rows.h"

namespace kyi {

static_assert(std::endian::native == std::endian::little, "the pixel block is written as it lies in memory");

namespace {

/// A palette, filled up with black to 256 entries.
struct Palette {
    std::array<std::uint8_t, 768> Bgr{};
    std::array<std::uint8_t, 256> Gray{};
    bool IsGray = true;
    bool IsIdentity = true; ///< entry i is the gray i, for all 256
};

Palette ReadPalette(platform::InputFile& file, const BitmapHeader& header) {
    std::array<std::uint8_t, 1024> stored{};
    ReadExactly(file, header.PaletteOffset, stored.data(),
                std::size_t{header.PaletteEntries} * header.PaletteEntryBytes);
    Palette palette;
    for (std::size_t i = 0; i < header.PaletteEntries; ++i) {
        const std::uint8_t* const entry = stored.data() + i * header.PaletteEntryBytes;
        std::memcpy(palette.Bgr.data() + 3 * i, entry, 3);
        palette.Gray[i] = entry[0];
        palette.IsGray = palette.IsGray && entry[0] == entry[1] && entry[1] == entry[2];
    }
    for (std::size_t i = 0; i < 256; ++i) palette.IsIdentity = palette.IsIdentity && palette.Gray[i] == i;
    return palette;
}

/// Scales a channel of a 16- or 32-bit pixel to 0..255.
class MaskedChannel {
  public:
    explicit MaskedChannel(std::uint32_t mask)
        : m_mask(mask), m_shift(mask == 0 ? 0 : std::countr_zero(mask)), m_max(mask >> m_shift) {
        if ((std::uint64_t{m_max} & (std::uint64_t{m_max} + 1)) != 0)
            throw FileError("the bitmap's channel masks have gaps");
    }
    std::uint8_t Of(std::uint32_t pixel) const noexcept {
        if (m_max == 0) return 0;
        const std::uint64_t value = (pixel & m_mask) >> m_shift;
        return static_cast<std::uint8_t>((value * 255 + m_max / 2) / m_max);
    }

  private:
    std::uint32_t m_mask;
    int m_shift;
    std::uint32_t m_max;
};

std::int32_t RowOf(const BitmapHeader& header, std::int32_t storedLine) {
    return header.TopDown ? storedLine : header.Height - 1 - storedLine;
}

void CheckHoldsPixels(const platform::InputFile& file, const BitmapHeader& header) {
    const std::uint64_t bytes = std::uint64_t{header.LineBytes()} * static_cast<std::uint64_t>(header.Height);
    const std::uint64_t held = file.Size() - header.PixelOffset;
    if (held < bytes)
        throw FileError("the file is truncated: " + std::to_string(held) + " bytes of pixels, " +
                        std::to_string(bytes) + " expected");
}

// Whether the lines lie in the file as in an image with lines of `lineBytes` bytes. From an odd place, pieces that go
// through the cache are the faster way.
bool LiesAsInMemory(const BitmapHeader& header, std::int32_t lineBytes) {
    return header.PixelOffset % kPixelAlignment == 0 && !header.TopDown &&
           header.LineBytes() == static_cast<std::size_t>(lineBytes);
}

/// Samples that the file holds as they are.
OwnedImage LoadBlock(platform::InputFile& file, const BitmapHeader& header, std::int32_t format) {
    CheckHoldsPixels(file, header);
    OwnedImage image = NewImage(header.Width, header.Height, format);
    const std::size_t lineBytes = header.LineBytes();
    if (LiesAsInMemory(header, image->LineBytes)) {
        ReadExactly(file, header.PixelOffset, image->Pixels, PixelBlockBytes(*image));
        return image;
    }
    const std::size_t used = static_cast<std::size_t>(image->Width) * static_cast<std::size_t>(image->PixelBytes);
    ReadLines(file, header.PixelOffset, lineBytes, header.Height, [&](std::int32_t line, std::uint8_t* bytes) {
        std::memcpy(RowAddress(*image, RowOf(header, line)), bytes, used);
    });
    return image;
}

void MapToGray(KyiImageData& image, const Palette& palette) {
    if (palette.IsIdentity) return;
    for (std::int32_t y = 0; y < image.Height; ++y) {
        std::uint8_t* const line = RowAddress(image, y);
        MapBytes(line, palette.Gray.data(), line, static_cast<std::size_t>(image.Width));
    }
}

OwnedImage LoadGrayPalette(platform::InputFile& file, const BitmapHeader& header, const Palette& palette) {
    OwnedImage image;
    if (header.Bits == 8) {
        image = LoadBlock(file, header, KyiFormatGray8);
    } else {
        CheckHoldsPixels(file, header);
        image = NewImage(header.Width, header.Height, KyiFormatGray8);
        ReadLines(file, header.PixelOffset, header.LineBytes(), header.Height,
                  [&](std::int32_t line, const std::uint8_t* bytes) {
                      UnpackBits(bytes, header.Bits, RowAddress(*image, RowOf(header, line)),
                                 static_cast<std::size_t>(header.Width));
                  });
    }
    MapToGray(*image, palette);
    return image;
}

OwnedImage LoadColourPalette(platform::InputFile& file, const BitmapHeader& header, const Palette& palette) {
    CheckHoldsPixels(file, header);
    OwnedImage image = NewImage(header.Width, header.Height, KyiFormatBgr24);
    const auto width = static_cast<std::size_t>(header.Width);
    std::vector<std::uint8_t> indexes(width);
    ReadLines(file, header.PixelOffset, header.LineBytes(), header.Height,
              [&](std::int32_t line, const std::uint8_t* bytes) {
                  UnpackBits(bytes, header.Bits, indexes.data(), width);
                  MapBytesTo24(indexes.data(), palette.Bgr.data(), RowAddress(*image, RowOf(header, line)), width);
              });
    return image;
}

OwnedImage LoadRunLengths(platform::InputFile& file, const BitmapHeader& header, const Palette& palette) {
    const std::uint64_t dataBytes = file.Size() - header.PixelOffset;
    const auto width = static_cast<std::size_t>(header.Width);
    std::uint64_t held = dataBytes + ImageBytes(header.Width, header.Height, KyiFormatGray8);
    if (!palette.IsGray) held += ImageBytes(header.Width, header.Height, KyiFormatBgr24);
    CheckHeldBytes(held, dataBytes);
    OwnedImage indexes = NewImage(header.Width, header.Height, KyiFormatGray8);
    std::memset(indexes->Pixels, 0, PixelBlockBytes(*indexes));
    std::vector<std::uint8_t> data(static_cast<std::size_t>(dataBytes));
    ReadExactly(file, header.PixelOffset, data.data(), data.size());
    // A block is bottom-up, and so are the run lengths.
    if (!DecodeRunLengths(data, header.Bits, static_cast<std::uint8_t*>(indexes->Pixels),
                          static_cast<std::size_t>(indexes->LineBytes), width, static_cast<std::size_t>(header.Height)))
        throw FileError("the bitmap's run lengths are damaged or truncated");
    if (palette.IsGray) {
        MapToGray(*indexes, palette);
        return indexes;
    }
    OwnedImage image = NewImage(header.Width, header.Height, KyiFormatBgr24);
    for (std::int32_t y = 0; y < header.Height; ++y)
        MapBytesTo24(RowAddress(*indexes, y), palette.Bgr.data(), RowAddress(*image, y), width);
    return image;
}

OwnedImage LoadMasked(platform::InputFile& file, const BitmapHeader& header) {
    const MaskedChannel red(header.Masks[0]);
    const MaskedChannel green(header.Masks[1]);
    const MaskedChannel blue(header.Masks[2]);
    const bool plain = header.Bits == 32 && header.Masks == std::array<std::uint32_t, 3>{0xff0000, 0xff00, 0xff};
    CheckHoldsPixels(file, header);
    OwnedImage image = NewImage(header.Width, header.Height, KyiFormatBgr24);
    const auto width = static_cast<std::size_t>(header.Width);
    const std::size_t pixelBytes = static_cast<std::size_t>(header.Bits) / 8;
    ReadLines(file, header.PixelOffset, header.LineBytes(), header.Height,
              [&](std::int32_t line, const std::uint8_t* bytes) {
                  std::uint8_t* const out = RowAddress(*image, RowOf(header, line));
                  if (plain) return Drop1Of4(bytes, 3, out, width);
                  for (std::size_t x = 0; x < width; ++x) {
                      std::uint32_t pixel = 0;
                      std::memcpy(&pixel, bytes + x * pixelBytes, pixelBytes);
                      out[3 * x] = blue.Of(pixel);
                      out[3 * x + 1] = green.Of(pixel);
                      out[3 * x + 2] = red.Of(pixel);
                  }
              });
    return image;
}

// Format of the samples that the file holds as they are; 0 where they are to be converted.
std::int32_t StoredFormat(platform::InputFile& file, const BitmapHeader& header) {
    if (header.Compression == BitmapCompression::Block) return header.BlockFormat;
    if (header.Bits == 24) return KyiFormatBgr24;
    if (header.Bits != 8 || header.Compression != BitmapCompression::None) return 0;
    const Palette palette = ReadPalette(file, header);
    return palette.IsGray && palette.IsIdentity ? KyiFormatGray8 : 0;
}

} // namespace

bool IsBitmap(std::span<const std::uint8_t> start) noexcept {
    return start.size() >= 2 && start[0] == 'B' && start[1] == 'M';
}

OwnedImage LoadBitmap(platform::InputFile& file) {
    const BitmapHeader header = ReadBitmapHeader(file);
    if (header.Compression == BitmapCompression::Block) return LoadBlock(file, header, header.BlockFormat);
    if (header.Bits == 24) return LoadBlock(file, header, KyiFormatBgr24);
    if (header.Bits > 8) return LoadMasked(file, header);
    const Palette palette = ReadPalette(file, header);
    if (header.Compression != BitmapCompression::None) return LoadRunLengths(file, header, palette);
    return palette.IsGray ? LoadGrayPalette(file, header, palette) : LoadColourPalette(file, header, palette);
}

bool ReloadBitmap(platform::InputFile& file, KyiImageData& image) {
    const BitmapHeader header = ReadBitmapHeader(file);
    if (header.Width != image.Width || header.Height != image.Height) return false;
    if (!LiesAsInMemory(header, image.LineBytes) || StoredFormat(file, header) != image.Format) return false;
    CheckHoldsPixels(file, header);
    ReadExactly(file, header.PixelOffset, image.Pixels, PixelBlockBytes(image));
    return true;
}

void SaveBitmap(platform::FileReplacement& file, const KyiImageData& image) {
    const std::vector<std::uint8_t> header = MakeBitmapHeader(image);
    if (file.Append(header.data(), header.size())) file.Append(image.Pixels, PixelBlockBytes(image));
}

} // namespace kyi

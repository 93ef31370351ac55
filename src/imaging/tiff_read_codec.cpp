#include "imaging/tiff_codec.h"

#include <cstring>
#include <limits>

#include "imaging/pixel_rows.h"
#include "imaging/tiff_layout.h"

namespace kyi {

namespace {

/// The product, or the largest number where it is too large for that.
std::uint64_t Times(std::uint64_t a, std::uint64_t b) noexcept {
    constexpr std::uint64_t kMost = std::numeric_limits<std::uint64_t>::max();
    return a != 0 && b > kMost / a ? kMost : a * b;
}

class TiffReader {
  public:
    explicit TiffReader(platform::InputFile& file) : m_file(file), m_tiff(file), m_layout(ReadTiffLayout(m_tiff)) {}

    OwnedImage Load() {
        CheckClaims();
        OwnedImage image = NewImage(m_layout.Width, m_layout.Height, m_layout.Format());
        m_tiff.BeginPixels();
        if (m_layout.Kind == TiffKind::Other) {
            ReadOther(*image);
        } else {
            for (std::uint16_t plane = 0; plane < Planes(); ++plane) {
                if (m_layout.Uncompressed)
                    ReadPlainStrips(*image, plane);
                else
                    ReadBlocks(*image, plane);
            }
        }
        m_tiff.Check(true);
        return image;
    }

  private:
    // Before any pixel is allocated: blocks lie inside the file, and the file is not too small for what it claims.
    void CheckClaims() {
        const std::uint64_t decoded = DecodedBytes();
        CheckHeldBytes(decoded, m_file.Size());
        const std::uint64_t image = ImageBytes(m_layout.Width, m_layout.Height, m_layout.Format());
        CheckHeldBytes(image + WorkingBytes(), m_file.Size());
        if (m_layout.Kind != TiffKind::Other) CheckBlocks();
        if (!m_layout.Uncompressed) CheckPackedBytes(MostHeldBytes(m_file.Size()) - decoded);
    }

    /// Bytes of all blocks that are read, to their ends beyond the image.
    std::uint64_t DecodedBytes() const noexcept {
        const std::uint64_t rows = m_layout.Tiled ? std::uint64_t{m_layout.BlocksDown()} * m_layout.BlockHeight
                                                  : static_cast<std::uint32_t>(m_layout.Height);
        return Times(Times(m_layout.BlockRowBytes(), m_layout.BlocksAcross()), Times(rows, Planes()));
    }

    /// Memory beside the image.
    std::uint64_t WorkingBytes() const noexcept {
        const std::uint64_t pixels =
            std::uint64_t{static_cast<std::uint32_t>(m_layout.Width)} * static_cast<std::uint32_t>(m_layout.Height);
        const std::uint64_t colours = m_layout.Kind == TiffKind::Other ? pixels * sizeof(std::uint32_t) : 0;
        if (m_layout.Uncompressed) return colours;
        return colours + (1 + CopiesInDecoder()) * m_layout.BlockRowBytes() * m_layout.BlockHeight;
    }

    /// Copies of a block, or what takes as much memory as so many.
    std::uint64_t CopiesInDecoder() const noexcept {
        switch (m_tiff.Tag<std::uint16_t>(TIFFTAG_COMPRESSION, COMPRESSION_NONE)) {
        case COMPRESSION_NONE:
        case COMPRESSION_CCITTRLE:
        case COMPRESSION_CCITTRLEW:
        case COMPRESSION_CCITTFAX3:
        case COMPRESSION_CCITTFAX4:
        case COMPRESSION_LZW:
        case COMPRESSION_PACKBITS:
        case COMPRESSION_DEFLATE:
        case COMPRESSION_ADOBE_DEFLATE:
        case COMPRESSION_LZMA:
        case COMPRESSION_ZSTD: return 0;
        default: return 2; // the coefficients of a JPEG
        }
    }

    /// Blocks are in the file, as many as the image needs, and no uncompressed one lies on another.
    void CheckBlocks() const {
        const std::uint64_t told = m_layout.Tiled ? TIFFNumberOfTiles(m_tiff.Get()) : TIFFNumberOfStrips(m_tiff.Get());
        if (told < Blocks()) throw FileError("damaged TIFF: too few strips or tiles");
        std::uint64_t held = 0;
        for (std::uint64_t block = 0; block < Blocks(); ++block) held += CheckBlock(static_cast<std::uint32_t>(block));
        if (m_layout.Uncompressed && held > m_file.Size()) throw FileError("damaged TIFF: strips overlap");
    }

    /// libtiff reads all bytes of a block, and blocks may share them. Every block counts, wherever others end the
    /// reading: of planes libtiff takes a row from each before the next row.
    void CheckPackedBytes(std::uint64_t most) const {
        const bool isOldJpeg = m_tiff.Tag<std::uint16_t>(TIFFTAG_COMPRESSION, COMPRESSION_NONE) == COMPRESSION_OJPEG;
        std::uint64_t packed = 0;
        for (std::uint64_t block = 0; block < Blocks(); ++block) {
            const std::uint64_t told = TIFFGetStrileByteCount(m_tiff.Get(), static_cast<std::uint32_t>(block));
            // Without bytes a block is not read, but of an old JPEG file it is all that follows.
            packed += told == 0 && isOldJpeg ? m_file.Size() : std::min(told, m_file.Size());
            if (packed > most) throw FileError("damaged TIFF: strips or tiles that share their bytes");
        }
    }

    std::uint64_t Blocks() const noexcept {
        return std::uint64_t{m_layout.BlocksAcross()} * m_layout.BlocksDown() * Planes();
    }

    /// Planes that are read: of gray and palettes with further samples only the first.
    std::uint64_t Planes() const noexcept {
        if (!m_layout.InPlanes) return 1;
        if (m_layout.Kind == TiffKind::Other) return m_layout.Samples;
        return m_layout.Kind == TiffKind::Colour ? 3 : 1;
    }

    /// Bytes of pixels that a strip must hold when it is not compressed.
    std::uint64_t PlainBytes(std::uint32_t block) const noexcept {
        return m_layout.BlockRowBytes() * RowsOf(block % m_layout.BlocksDown());
    }

    std::uint64_t CheckBlock(std::uint32_t block) const {
        const std::uint64_t offset = TIFFGetStrileOffset(m_tiff.Get(), block);
        const std::uint64_t stored = TIFFGetStrileByteCount(m_tiff.Get(), block);
        const std::uint64_t needed = m_layout.Uncompressed ? PlainBytes(block) : 1;
        if (stored < needed || offset > m_file.Size() || m_file.Size() - offset < std::max(stored, needed))
            throw FileError("the file is truncated");
        return needed;
    }

    /// Rows of the image in the blocks of one row of blocks.
    std::uint32_t RowsOf(std::uint32_t blockRow) const noexcept {
        return std::min(m_layout.BlockHeight,
                        static_cast<std::uint32_t>(m_layout.Height) - blockRow * m_layout.BlockHeight);
    }

    // Strips that follow each other in the file are read as one.
    void ReadPlainStrips(KyiImageData& image, std::uint16_t plane) {
        const std::uint32_t strips = m_layout.BlocksDown();
        const std::uint32_t base = plane * strips;
        const auto rowBytes = static_cast<std::size_t>(m_layout.BlockRowBytes());
        const bool swap = m_layout.Swapped && m_layout.Bits == 16;
        std::uint32_t first = 0;
        while (first < strips) {
            const std::uint64_t offset = TIFFGetStrileOffset(m_tiff.Get(), base + first);
            std::uint64_t end = offset;
            std::uint32_t last = first;
            std::uint32_t rows = 0;
            do {
                end += PlainBytes(last);
                rows += RowsOf(last++);
            } while (last < strips && TIFFGetStrileOffset(m_tiff.Get(), base + last) == end);
            const auto top = static_cast<std::int32_t>(first * m_layout.BlockHeight);
            ReadLines(m_file, offset, rowBytes, static_cast<std::int32_t>(rows),
                      [&](std::int32_t row, std::uint8_t* bytes) {
                          if (swap) SwapBytes16(bytes, bytes, rowBytes / 2);
                          ConvertRow(bytes, plane, RowAddress(image, top + row), m_layout.BlockWidth);
                      });
            first = last;
        }
    }

    void ReadBlocks(KyiImageData& image, std::uint16_t plane) {
        const auto rowBytes = static_cast<std::size_t>(m_layout.BlockRowBytes());
        std::vector<std::uint8_t> block(rowBytes * m_layout.BlockHeight);
        const std::uint32_t across = m_layout.BlocksAcross();
        const std::uint32_t down = m_layout.BlocksDown();
        for (std::uint32_t i = 0; i < across * down; ++i) {
            const std::uint32_t rows = RowsOf(i / across);
            const std::uint32_t left = i % across * m_layout.BlockWidth;
            const std::size_t asked = m_layout.Tiled ? block.size() : rowBytes * rows;
            DecodeBlock(plane * across * down + i, block.data(), asked);
            const std::uint32_t used = std::min(m_layout.BlockWidth, static_cast<std::uint32_t>(m_layout.Width) - left);
            for (std::uint32_t row = 0; row < rows; ++row) {
                std::uint8_t* const line =
                    RowAddress(image, static_cast<std::int32_t>(i / across * m_layout.BlockHeight + row));
                ConvertRow(block.data() + row * rowBytes, plane,
                           line + std::size_t{left} * static_cast<std::size_t>(image.PixelBytes), used);
            }
        }
    }

    void DecodeBlock(std::uint32_t index, std::uint8_t* to, std::size_t bytes) {
        const auto asked = static_cast<tmsize_t>(bytes);
        const tmsize_t got = m_layout.Tiled ? TIFFReadEncodedTile(m_tiff.Get(), index, to, asked)
                                            : TIFFReadEncodedStrip(m_tiff.Get(), index, to, asked);
        m_tiff.Check(got == asked);
    }

    /// `count` pixels of a block's row, or of one plane of them.
    void ConvertRow(const std::uint8_t* in, std::uint16_t plane, std::uint8_t* out, std::size_t count) const noexcept {
        switch (m_layout.Kind) {
        case TiffKind::Gray: return ConvertGray(in, out, count);
        case TiffKind::Palette: return ConvertPalette(in, out, count);
        default: break;
        }
        if (m_layout.InPlanes)
            CopySample(in, 1, plane, out, count);
        else
            ConvertColour(in, out, count);
    }

    void ConvertGray(const std::uint8_t* in, std::uint8_t* out, std::size_t count) const noexcept {
        if (m_layout.Bits < 8) {
            UnpackBits(in, m_layout.Bits, out, count);
            return MapBytes(out, m_layout.GrayTable.data(), out, count);
        }
        const std::size_t sampleBytes = SampleBytes();
        CopyStrided(in, sampleBytes * m_layout.SamplesPerBlock(), out, sampleBytes, sampleBytes, count);
        if (m_layout.WhiteIsZero) InvertBytes(out, out, count * sampleBytes);
    }

    void ConvertPalette(const std::uint8_t* in, std::uint8_t* out, std::size_t count) const noexcept {
        const std::size_t samples = m_layout.SamplesPerBlock();
        std::array<std::uint8_t, 256> indexes{};
        const std::size_t outBytes = m_layout.GrayPalette ? 1 : 3;
        for (std::size_t x = 0; x < count; x += indexes.size()) {
            const std::size_t here = std::min(indexes.size(), count - x);
            // 256 pixels are whole bytes, whatever their bits.
            if (m_layout.Bits == 8)
                CopyStrided(in + x * samples, samples, indexes.data(), 1, 1, here);
            else
                UnpackBits(in + x * static_cast<std::size_t>(m_layout.Bits) / 8, m_layout.Bits, indexes.data(), here);
            if (m_layout.GrayPalette)
                MapBytes(indexes.data(), m_layout.GrayTable.data(), out + x, here);
            else
                MapBytesTo24(indexes.data(), m_layout.PaletteBgr.data(), out + x * outBytes, here);
        }
    }

    void ConvertColour(const std::uint8_t* in, std::uint8_t* out, std::size_t count) const noexcept {
        const std::size_t samples = m_layout.Samples;
        if (samples == 3) return m_layout.Bits == 8 ? SwapRedBlue8(in, out, count) : SwapRedBlue16(in, out, count);
        if (samples == 4 && m_layout.Bits == 8) {
            Drop1Of4(in, 3, out, count);
            return SwapRedBlue8(out, out, count);
        }
        for (std::size_t channel = 0; channel < 3; ++channel)
            CopySample(in + channel * SampleBytes(), samples, channel, out, count);
    }

    /// One channel, from every `samples`th sample on.
    void CopySample(const std::uint8_t* in, std::size_t samples, std::size_t channel, std::uint8_t* out,
                    std::size_t count) const noexcept {
        const std::size_t bytes = SampleBytes();
        CopyStrided(in, samples * bytes, out + (2 - channel) * bytes, 3 * bytes, bytes, count);
    }

    std::size_t SampleBytes() const noexcept { return m_layout.Bits == 16 ? 2 : 1; }

    void ReadOther(KyiImageData& image) {
        const auto width = static_cast<std::size_t>(image.Width);
        std::vector<std::uint32_t> pixels(width * static_cast<std::size_t>(image.Height));
        std::array<char, 1024> reason{};
        TIFFRGBAImage converter;
        if (!TIFFRGBAImageOK(m_tiff.Get(), reason.data()) ||
            !TIFFRGBAImageBegin(&converter, m_tiff.Get(), /*stopOnError=*/1, reason.data()))
            throw FileError(std::string("this kind of TIFF is not read: ") + reason.data());
        converter.req_orientation = converter.orientation; // rows as they are stored
        const int read = TIFFRGBAImageGet(&converter, pixels.data(), converter.width, converter.height);
        TIFFRGBAImageEnd(&converter);
        m_tiff.Check(read != 0);
        for (std::int32_t y = 0; y < image.Height; ++y) {
            std::uint8_t* const line = RowAddress(image, y);
            Drop1Of4(reinterpret_cast<const std::uint8_t*>(pixels.data() + static_cast<std::size_t>(y) * width), 3,
                     line, width);
            SwapRedBlue8(line, line, width);
        }
    }

    platform::InputFile& m_file;
    TiffHandle m_tiff;
    TiffLayout m_layout;
};

} // namespace

bool IsTiff(std::span<const std::uint8_t> start) noexcept {
    static constexpr std::uint8_t kStarts[4][4] = {
        {'I', 'I', 42, 0}, {'M', 'M', 0, 42}, {'I', 'I', 43, 0}, {'M', 'M', 0, 43}};
    for (const auto& known : kStarts)
        if (start.size() >= 4 && std::memcmp(start.data(), known, 4) == 0) return true;
    return false;
}

OwnedImage LoadTiff(platform::InputFile& file) { return TiffReader(file).Load(); }

} // namespace kyi

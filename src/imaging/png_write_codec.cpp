#include "imaging/png_codec.h"

#include <zlib.h>

#include "imaging/buffered_file.h"
#include "imaging/pixel_rows.h"
#include "imaging/png_guard.h"

namespace kyi {

namespace {

// Runs and symbol lengths without a search for longer matches: on the noise of a camera that search finds nothing. The
// average filter leaves the least to code.
constexpr int kStrategy = Z_RLE;
constexpr int kFilter = PNG_FILTER_AVG;
// Data of one chunk. Larger chunks mean fewer checksums and writes.
constexpr std::size_t kChunkBytes = std::size_t{64} << 10;

class PngWriter {
  public:
    PngWriter(platform::FileReplacement& file, const KyiImageData& image)
        : m_image(image), m_output(file), m_row(static_cast<std::size_t>(image.LineBytes)),
          m_png(png_create_write_struct(PNG_LIBPNG_VER_STRING, &m_errors, PngErrors::OnError, PngErrors::OnWarning)) {
        if (m_png) m_info = png_create_info_struct(m_png);
        if (!m_info) {
            png_destroy_write_struct(&m_png, nullptr);
            throw FileError("out of memory");
        }
    }
    ~PngWriter() { png_destroy_write_struct(&m_png, &m_info); }
    PngWriter(const PngWriter&) = delete;
    PngWriter& operator=(const PngWriter&) = delete;

    void Save() {
        const bool encoded = TryPng(m_png, [this] {
            WriteHeader();
            for (std::int32_t y = 0; y < m_image.Height; ++y) png_write_row(m_png, TurnedRow(y));
            png_write_end(m_png, m_info);
        });
        m_output.Flush();
        if (!encoded) throw FileError(m_errors.Text());
    }

  private:
    static void OnWrite(png_structp png, png_bytep from, std::size_t bytes) {
        if (!static_cast<PngWriter*>(png_get_io_ptr(png))->m_output.Append(from, bytes)) png_error(png, "not written");
    }
    static void OnFlush(png_structp) {}

    bool IsColour() const noexcept { return KyiIsFormatBgr(m_image.Format) != 0; }

    void WriteHeader() {
        png_set_write_fn(m_png, this, OnWrite, OnFlush);
        png_set_user_limits(m_png, PNG_UINT_31_MAX, PNG_UINT_31_MAX);
        png_set_compression_strategy(m_png, kStrategy);
        png_set_filter(m_png, PNG_FILTER_TYPE_BASE, kFilter);
        png_set_compression_buffer_size(m_png, kChunkBytes);
        png_set_IHDR(m_png, m_info, static_cast<png_uint_32>(m_image.Width), static_cast<png_uint_32>(m_image.Height),
                     IsWideSample(m_image) ? 16 : 8, IsColour() ? PNG_COLOR_TYPE_RGB : PNG_COLOR_TYPE_GRAY,
                     PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
        png_write_info(m_png, m_info);
    }

    /// Row y as it stands in the file: red first, high bytes first.
    const std::uint8_t* TurnedRow(std::int32_t y) noexcept {
        const std::uint8_t* const line = RowAddress(m_image, y);
        const auto width = static_cast<std::size_t>(m_image.Width);
        switch (m_image.PixelBytes) {
        case 1: return line;
        case 2: SwapBytes16(line, m_row.data(), width); break;
        case 3: SwapRedBlue8(line, m_row.data(), width); break;
        case 4:
            Drop1Of4(line, 0, m_row.data(), width);
            SwapRedBlue8(m_row.data(), m_row.data(), width);
            break;
        default:
            SwapRedBlue16(line, m_row.data(), width);
            SwapBytes16(m_row.data(), m_row.data(), 3 * width);
            break;
        }
        return m_row.data();
    }

    const KyiImageData& m_image;
    BufferedOutput m_output;
    std::vector<std::uint8_t> m_row;
    PngErrors m_errors;
    png_structp m_png;
    png_infop m_info = nullptr;
};

} // namespace

void SavePng(platform::FileReplacement& file, const KyiImageData& image) { PngWriter(file, image).Save(); }

} // namespace kyi

#include "imaging/png_codec.h"

#include <limits>

#include "imaging/buffered_file.h"
#include "imaging/pixel_rows.h"
#include "imaging/png_guard.h"

namespace kyi {

namespace {

class PngReader {
  public:
    explicit PngReader(platform::InputFile& file)
        : m_file(file), m_input(file),
          m_png(png_create_read_struct(PNG_LIBPNG_VER_STRING, &m_errors, PngErrors::OnError, PngErrors::OnWarning)) {
        if (m_png) m_info = png_create_info_struct(m_png);
        if (!m_info) {
            png_destroy_read_struct(&m_png, nullptr, nullptr);
            throw FileError("out of memory");
        }
    }
    ~PngReader() { png_destroy_read_struct(&m_png, &m_info, nullptr); }
    PngReader(const PngReader&) = delete;
    PngReader& operator=(const PngReader&) = delete;

    OwnedImage Load() {
        ReadHeader();
        ChooseFormat();
        constexpr std::uint64_t kRowsBytes = 2 * 8; // of a pixel: libpng's row and the one above, in its widest form
        CheckHeldBytes(ImageBytes(m_width, m_height, m_format) + kRowsBytes * m_width, m_file.Size());
        OwnedImage image = NewImage(m_width, m_height, m_format);
        ReadRows(*image);
        return image;
    }

  private:
    static void OnRead(png_structp png, png_bytep to, std::size_t bytes) {
        auto* const reader = static_cast<PngReader*>(png_get_io_ptr(png));
        if (reader->m_input.Read(to, bytes)) return;
        reader->m_atEnd = true;
        png_error(png, "the file ends early");
    }

    template <typename Work> void Do(Work&& work) {
        if (TryPng(m_png, work)) return;
        if (m_atEnd) ReadExactly(m_file, m_file.Size(), &m_atEnd, 1); // tells a reading error from the end
        throw FileError(m_errors.Text());
    }

    void ReadHeader() {
        Do([this] {
            png_set_read_fn(m_png, this, OnRead);
            // Limits are those of CheckImageSize, which comes before any row.
            png_set_user_limits(m_png, PNG_UINT_31_MAX, PNG_UINT_31_MAX);
            // Neither profiles nor texts are asked for; whether a chunk is whole is checked all the same.
            png_set_keep_unknown_chunks(m_png, PNG_HANDLE_CHUNK_NEVER, nullptr, -1);
            // Each chunk has its checksum; another one over all samples would cost a twentieth of the time.
            png_set_option(m_png, PNG_IGNORE_ADLER32, PNG_OPTION_ON);
            png_read_info(m_png, m_info);
            m_width = png_get_image_width(m_png, m_info);
            m_height = png_get_image_height(m_png, m_info);
            m_bits = png_get_bit_depth(m_png, m_info);
            m_colourType = png_get_color_type(m_png, m_info);
        });
        CheckImageSize(m_width, m_height, 6);
    }

    void ChooseFormat() {
        if (m_colourType == PNG_COLOR_TYPE_PALETTE) ReadPalette();
        const bool colour =
            m_colourType == PNG_COLOR_TYPE_PALETTE ? !m_grayPalette : (m_colourType & PNG_COLOR_MASK_COLOR) != 0;
        if (m_bits == 16)
            m_format = colour ? KyiFormatBgr48 : KyiFormatGray16;
        else
            m_format = colour ? KyiFormatBgr24 : KyiFormatGray8;
    }

    std::size_t PixelBytes() const {
        return (m_format == KyiFormatBgr24 || m_format == KyiFormatBgr48 ? 3u : 1u) * (m_bits == 16 ? 2u : 1u);
    }

    void ReadPalette() {
        png_colorp entries = nullptr;
        int count = 0;
        Do([&] { png_get_PLTE(m_png, m_info, &entries, &count); });
        m_grayPalette = true;
        for (int i = 0; i < count; ++i) {
            m_grays[static_cast<std::size_t>(i)] = entries[i].red;
            m_grayPalette = m_grayPalette && entries[i].red == entries[i].green && entries[i].red == entries[i].blue;
        }
    }

    // What libpng is left to do; the order of samples is turned here, line by line, with wider steps than its own.
    void SetTransforms() {
        if (m_colourType == PNG_COLOR_TYPE_PALETTE) {
            if (m_grayPalette)
                png_set_packing(m_png);
            else
                png_set_palette_to_rgb(m_png);
        } else if (m_bits < 8) {
            png_set_expand_gray_1_2_4_to_8(m_png);
        }
        png_set_strip_alpha(m_png);
    }

    void TurnRow(std::uint8_t* line) const noexcept {
        const std::size_t width = m_width;
        if (m_bits == 16) SwapBytes16(line, line, m_format == KyiFormatBgr48 ? 3 * width : width);
        if (m_format == KyiFormatBgr48) SwapRedBlue16(line, line, width);
        if (m_format == KyiFormatBgr24) SwapRedBlue8(line, line, width);
        if (m_grayPalette) MapBytes(line, m_grays.data(), line, width);
    }

    void ReadRows(KyiImageData& image) {
        int passes = 1;
        std::size_t rowBytes = 0;
        Do([&] {
            SetTransforms();
            passes = png_set_interlace_handling(m_png);
            png_read_update_info(m_png, m_info);
            rowBytes = png_get_rowbytes(m_png, m_info);
        });
        if (rowBytes != m_width * PixelBytes()) throw FileError("the PNG's rows are of an unknown kind");
        Do([&] {
            for (int pass = 0; pass < passes; ++pass) {
                for (std::int32_t y = 0; y < image.Height; ++y) {
                    png_read_row(m_png, RowAddress(image, y), nullptr);
                    if (pass == passes - 1) TurnRow(RowAddress(image, y));
                }
            }
            png_read_end(m_png, nullptr);
        });
    }

    platform::InputFile& m_file;
    BufferedInput m_input;
    PngErrors m_errors;
    png_structp m_png;
    png_infop m_info = nullptr;
    bool m_atEnd = false;

    std::uint32_t m_width = 0;
    std::uint32_t m_height = 0;
    int m_bits = 0;
    int m_colourType = 0;
    std::int32_t m_format = 0;
    bool m_grayPalette = false;
    std::array<std::uint8_t, 256> m_grays{};
};

} // namespace

bool IsPng(std::span<const std::uint8_t> start) noexcept {
    return start.size() >= 8 && png_sig_cmp(start.data(), 0, 8) == 0;
}

OwnedImage LoadPng(platform::InputFile& file) { return PngReader(file).Load(); }

} // namespace kyi

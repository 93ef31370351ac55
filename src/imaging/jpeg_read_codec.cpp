#include "imaging/jpeg_codec.h"

#include "imaging/buffered_file.h"
#include "imaging/jpeg_guard.h"

namespace kyi {

namespace {

// A picture needs a few dozen scans at most; each takes as long as the whole picture.
constexpr int kMostScans = 200;

class JpegReader {
  public:
    explicit JpegReader(platform::InputFile& file) : m_file(file), m_input(file) {
        m_codec.err = m_errors.Install();
        m_codec.client_data = this;
    }
    ~JpegReader() { jpeg_destroy_decompress(&m_codec); }
    JpegReader(const JpegReader&) = delete;
    JpegReader& operator=(const JpegReader&) = delete;

    OwnedImage Load() {
        Do([this] { jpeg_create_decompress(&m_codec); }); // after a constructor's exception nothing would destroy it
        SetCallbacks();
        Do([this] { jpeg_read_header(&m_codec, TRUE); });
        const std::int32_t format = ChooseFormat();
        const auto width = static_cast<std::int64_t>(m_codec.image_width);
        const auto height = static_cast<std::int64_t>(m_codec.image_height);
        CheckImageSize(width, height, 3);
        CheckHeldBytes(ImageBytes(width, height, format) + CoefficientBytes(), m_file.Size());
        OwnedImage image = NewImage(width, height, format);
        if (m_codec.out_color_space == JCS_CMYK) m_cmykRow.resize(static_cast<std::size_t>(width) * 4);
        Do([&] { ReadRows(*image); });
        return image;
    }

  private:
    template <typename Work> void Do(Work&& work) {
        if (m_errors.Try(work)) return;
        if (m_atEnd) ReadExactly(m_file, m_file.Size(), &m_atEnd, 1); // tells a reading error from the end
        throw FileError(m_errors.Text());
    }

    static JpegReader& Of(j_decompress_ptr codec) { return *static_cast<JpegReader*>(codec->client_data); }

    static boolean OnFill(j_decompress_ptr codec) {
        JpegReader& reader = Of(codec);
        const std::span<const std::uint8_t> piece = reader.m_input.Next();
        reader.m_atEnd = piece.empty();
        if (piece.empty()) reader.m_errors.Fail("the file is truncated");
        codec->src->next_input_byte = piece.data();
        codec->src->bytes_in_buffer = piece.size();
        return TRUE;
    }

    static void OnSkip(j_decompress_ptr codec, long bytes) {
        while (bytes > static_cast<long>(codec->src->bytes_in_buffer)) {
            bytes -= static_cast<long>(codec->src->bytes_in_buffer);
            OnFill(codec);
        }
        if (bytes <= 0) return;
        codec->src->next_input_byte += bytes;
        codec->src->bytes_in_buffer -= static_cast<std::size_t>(bytes);
    }

    static void OnProgress(j_common_ptr codec) {
        auto* const decoder = reinterpret_cast<j_decompress_ptr>(codec);
        if (decoder->input_scan_number > kMostScans) Of(decoder).m_errors.Fail("damaged JPEG: too many scans");
    }

    void SetCallbacks() noexcept {
        m_source.init_source = [](j_decompress_ptr) {};
        m_source.fill_input_buffer = OnFill;
        m_source.skip_input_data = OnSkip;
        m_source.resync_to_restart = jpeg_resync_to_restart;
        m_source.term_source = [](j_decompress_ptr) {};
        m_codec.src = &m_source;
        m_progress.progress_monitor = OnProgress;
        m_codec.progress = &m_progress;
    }

    /// Of a picture in one scan they are not kept.
    std::uint64_t CoefficientBytes() noexcept {
        if (!jpeg_has_multiple_scans(&m_codec)) return 0;
        std::uint64_t bytes = 0;
        for (int i = 0; i < m_codec.num_components; ++i) {
            const jpeg_component_info& component = m_codec.comp_info[i];
            bytes += std::uint64_t{component.width_in_blocks} * component.height_in_blocks * sizeof(JBLOCK);
        }
        return bytes;
    }

    std::int32_t ChooseFormat() noexcept {
        switch (m_codec.jpeg_color_space) {
        case JCS_GRAYSCALE: m_codec.out_color_space = JCS_GRAYSCALE; return KyiFormatGray8;
        case JCS_CMYK:
        case JCS_YCCK: m_codec.out_color_space = JCS_CMYK; return KyiFormatBgr24;
        default: m_codec.out_color_space = JCS_EXT_BGR; return KyiFormatBgr24;
        }
    }

    void ReadRows(KyiImageData& image) {
        jpeg_start_decompress(&m_codec);
        while (m_codec.output_scanline < m_codec.output_height) {
            std::uint8_t* const line = RowAddress(image, static_cast<std::int32_t>(m_codec.output_scanline));
            JSAMPROW row = m_cmykRow.empty() ? line : m_cmykRow.data();
            jpeg_read_scanlines(&m_codec, &row, 1);
            if (!m_cmykRow.empty()) TurnCmykRow(line);
        }
        jpeg_finish_decompress(&m_codec);
    }

    // Adobe's programs store inks as light; other files as ink.
    void TurnCmykRow(std::uint8_t* line) const noexcept {
        const unsigned flip = m_codec.saw_Adobe_marker ? 0 : 255;
        for (std::size_t x = 0; 4 * x < m_cmykRow.size(); ++x) {
            const unsigned key = m_cmykRow[4 * x + 3] ^ flip;
            for (std::size_t c = 0; c < 3; ++c)
                line[3 * x + 2 - c] = static_cast<std::uint8_t>(((m_cmykRow[4 * x + c] ^ flip) * key + 127) / 255);
        }
    }

    platform::InputFile& m_file;
    BufferedInput m_input;
    JpegErrors m_errors;
    jpeg_decompress_struct m_codec{};
    jpeg_source_mgr m_source{};
    jpeg_progress_mgr m_progress{};
    std::vector<std::uint8_t> m_cmykRow;
    bool m_atEnd = false;
};

} // namespace

bool IsJpeg(std::span<const std::uint8_t> start) noexcept {
    return start.size() >= 3 && start[0] == 0xff && start[1] == 0xd8 && start[2] == 0xff;
}

OwnedImage LoadJpeg(platform::InputFile& file) { return JpegReader(file).Load(); }

} // namespace kyi

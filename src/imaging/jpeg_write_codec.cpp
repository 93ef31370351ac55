#include "imaging/jpeg_codec.h"

#include "imaging/buffered_file.h"
#include "imaging/jpeg_guard.h"

namespace kyi {

namespace {

constexpr int kQuality = 95;

class JpegWriter {
  public:
    explicit JpegWriter(platform::FileReplacement& file) : m_file(file), m_buffer(kFileBufferBytes) {
        m_codec.err = m_errors.Install();
        m_codec.client_data = this;
    }
    ~JpegWriter() { jpeg_destroy_compress(&m_codec); }
    JpegWriter(const JpegWriter&) = delete;
    JpegWriter& operator=(const JpegWriter&) = delete;

    void Save(const KyiImageData& image) {
        const bool encoded = m_errors.Try([&] {
            jpeg_create_compress(&m_codec); // not in the constructor, after whose exceptions nothing destroys it
            SetUp(image);
            jpeg_start_compress(&m_codec, TRUE);
            for (std::int32_t y = 0; y < image.Height; ++y) {
                JSAMPROW row = RowAddress(image, y);
                jpeg_write_scanlines(&m_codec, &row, 1);
            }
            jpeg_finish_compress(&m_codec);
        });
        if (!encoded) throw FileError(m_errors.Text());
    }

  private:
    static JpegWriter& Of(j_compress_ptr codec) { return *static_cast<JpegWriter*>(codec->client_data); }

    void Restart() noexcept {
        m_destination.next_output_byte = m_buffer.data();
        m_destination.free_in_buffer = m_buffer.size();
    }

    static void OnStart(j_compress_ptr codec) { Of(codec).Restart(); }

    // Called when the buffer is full, whatever its counters say.
    static boolean OnFull(j_compress_ptr codec) {
        JpegWriter& writer = Of(codec);
        if (!writer.m_file.Append(writer.m_buffer.data(), writer.m_buffer.size())) writer.m_errors.Fail("not written");
        writer.Restart();
        return TRUE;
    }

    static void OnEnd(j_compress_ptr codec) {
        JpegWriter& writer = Of(codec);
        const std::size_t used = writer.m_buffer.size() - writer.m_destination.free_in_buffer;
        if (!writer.m_file.Append(writer.m_buffer.data(), used)) writer.m_errors.Fail("not written");
    }

    void SetUp(const KyiImageData& image) {
        m_destination.init_destination = OnStart;
        m_destination.empty_output_buffer = OnFull;
        m_destination.term_destination = OnEnd;
        m_codec.dest = &m_destination;
        m_codec.image_width = static_cast<JDIMENSION>(image.Width);
        m_codec.image_height = static_cast<JDIMENSION>(image.Height);
        m_codec.input_components = image.PixelBytes;
        m_codec.in_color_space = image.PixelBytes == 1   ? JCS_GRAYSCALE
                                 : image.PixelBytes == 3 ? JCS_EXT_BGR
                                                         : JCS_EXT_XBGR;
        jpeg_set_defaults(&m_codec);
        jpeg_set_quality(&m_codec, kQuality, TRUE);
        m_codec.comp_info[0].h_samp_factor = 1;
        m_codec.comp_info[0].v_samp_factor = 1;
    }

    platform::FileReplacement& m_file;
    std::vector<std::uint8_t> m_buffer;
    JpegErrors m_errors;
    jpeg_compress_struct m_codec{};
    jpeg_destination_mgr m_destination{};
};

} // namespace

void CheckFitsJpeg(const KyiImageData& image) {
    if (IsWideSample(image)) throw FileError("a JPEG holds 8 bits a sample, the image has 16");
    if (image.Width > JPEG_MAX_DIMENSION || image.Height > JPEG_MAX_DIMENSION)
        throw FileError("a JPEG has at most 65500 pixels on a side");
}

void SaveJpeg(platform::FileReplacement& file, const KyiImageData& image) { JpegWriter(file).Save(image); }

} // namespace kyi

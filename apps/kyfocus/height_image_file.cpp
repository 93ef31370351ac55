#include "height_image_file.h"

#include <array>
#include <bit>
#include <cerrno>
#include <charconv>
#include <csetjmp>
#include <cstdio>
#include <cstring>
#include <memory>

#include <png.h>

#include "errors.h"
#include "images.h"

namespace app {
namespace {

constexpr int kCompressionLevel = 3; // noise in the low bits hardly shrinks at the levels above, which take far longer

struct CloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, CloseFile>;

/// libpng's two records, freed together.
struct PngWriter {
    png_structp Png = nullptr;
    png_infop Info = nullptr;
    ~PngWriter() { png_destroy_write_struct(&Png, &Info); }
};

/// The shortest text that reads back as the same number, with a decimal point in every locale.
std::string ToText(double value) {
    std::array<char, 32> text;
    return {text.data(), std::to_chars(text.data(), text.data() + text.size(), value).ptr};
}

void KeepMessage(png_structp png, png_const_charp message) {
    *static_cast<std::string*>(png_get_error_ptr(png)) = message;
    png_longjmp(png, 1);
}
void DropMessage(png_structp, png_const_charp) {}

std::array<std::array<std::string, 2>, 5> TextFields(const HeightScale& scale) {
    const std::string step = ToText(scale.Step);
    const std::string offset = ToText(scale.Offset);
    return {{{"Height step", step},
             {"Height offset", offset},
             {"Height unit", scale.Unit},
             {"Description", "height = " + offset + " + sample * " + step + ", in " + scale.Unit},
             {"Software", "kyfocus"}}};
}

/// Nothing in here owns anything: libpng leaves by longjmp when it fails. @return whether it went well.
bool WritePng(const PngWriter& writer, std::FILE* file, const KyiImageData& image, png_text* fields, int fieldCount) {
    if (setjmp(png_jmpbuf(writer.Png))) return false;
    png_init_io(writer.Png, file);
    png_set_compression_level(writer.Png, kCompressionLevel);
    png_set_IHDR(writer.Png, writer.Info, static_cast<png_uint_32>(image.Width), static_cast<png_uint_32>(image.Height),
                 16, PNG_COLOR_TYPE_GRAY, PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    png_set_text(writer.Png, writer.Info, fields, fieldCount);
    png_write_info(writer.Png, writer.Info);
    if constexpr (std::endian::native == std::endian::little) png_set_swap(writer.Png);
    for (int y = 0; y < image.Height; ++y)
        png_write_row(writer.Png, static_cast<png_const_bytep>(KyiGetPixelAddress(&image, 0, y)));
    png_write_end(writer.Png, nullptr);
    return true;
}

} // namespace

void SaveHeightImage(const std::filesystem::path& path, const KyiImageData& image, const HeightScale& scale) {
    const auto fail = [&](const std::string& reason) {
        throw Failure(DisplayPath(path) + ": cannot be written: " + reason);
    };
    if (image.PixelBytes != 2) fail("a height image has 16 bits, not " + DescribeFormat(image.Format));
    auto texts = TextFields(scale);
    std::array<png_text, 5> fields{};
    for (std::size_t index = 0; index < fields.size(); ++index) {
        fields[index].compression = PNG_ITXT_COMPRESSION_NONE; // UTF-8, as a unit may need
        fields[index].key = texts[index][0].data();
        fields[index].text = texts[index][1].data();
    }
    File file(std::fopen(path.c_str(), "wb"));
    if (!file) fail(std::strerror(errno));
    std::string reason;
    PngWriter writer;
    writer.Png = png_create_write_struct(PNG_LIBPNG_VER_STRING, &reason, KeepMessage, DropMessage);
    writer.Info = writer.Png ? png_create_info_struct(writer.Png) : nullptr;
    if (!writer.Info) throw std::bad_alloc();
    errno = 0;
    if (!WritePng(writer, file.get(), image, fields.data(), static_cast<int>(fields.size())))
        fail(errno != 0 ? std::strerror(errno) : reason);
    if (std::fclose(file.release()) != 0) fail(std::strerror(errno));
}

} // namespace app

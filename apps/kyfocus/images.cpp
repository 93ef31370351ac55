#include "images.h"

#include <string_view>

#include "errors.h"

namespace app {
namespace {

/// Length of the UTF-8 character at `position`, or 0 where the bytes are not one. `character` receives its code.
std::size_t DecodeUtf8(const std::string& bytes, std::size_t position, char32_t& character) {
    const auto byte = [&](std::size_t index) { return static_cast<unsigned char>(bytes[position + index]); };
    const unsigned char first = byte(0);
    if (first < 0x80) {
        character = first;
        return 1;
    }
    const std::size_t length = first >= 0xC2 && first < 0xE0 ? 2
                               : (first & 0xF0) == 0xE0      ? 3
                               : (first & 0xF8) == 0xF0      ? 4
                                                             : 0;
    if (length == 0 || position + length > bytes.size()) return 0;
    character = first & (0x7FU >> length);
    for (std::size_t index = 1; index < length; ++index) {
        if ((byte(index) & 0xC0) != 0x80) return 0;
        character = character << 6 | (byte(index) & 0x3FU);
    }
    const char32_t least = length == 2 ? 0x80 : length == 3 ? 0x800 : 0x10000;
    const bool isSurrogate = character >= 0xD800 && character < 0xE000;
    return character >= least && character <= 0x10FFFF && !isSurrogate ? length : 0;
}

std::string LastFileError() {
    const std::string reason = KyiGetLastFileError();
    return reason.empty() ? "unknown reason" : reason;
}

} // namespace

std::wstring WidePath(const std::filesystem::path& path) {
    const std::string& bytes = path.native();
    std::wstring text;
    for (std::size_t position = 0; position < bytes.size();) {
        char32_t character = 0;
        const std::size_t length = DecodeUtf8(bytes, position, character);
        if (length == 0) character = 0xDC00U + static_cast<unsigned char>(bytes[position]);
        text.push_back(static_cast<wchar_t>(character));
        position += length == 0 ? 1 : length;
    }
    return text;
}

std::string DisplayPath(const std::filesystem::path& path) { return path.native(); }

Image LoadImage(const std::filesystem::path& path) {
    KyiImageData* image = nullptr;
    if (!KyiLoadImageData(WidePath(path).c_str(), &image) || !image)
        throw Failure(DisplayPath(path) + ": cannot be read as an image: " + LastFileError());
    return Image(image);
}

void SaveImage(const std::filesystem::path& path, const KyiImageData& image) {
    if (KyiSaveImageData(WidePath(path).c_str(), &image, 0)) return;
    std::string reason = LastFileError();
    constexpr std::string_view kKnown = "the file cannot be written: ";
    if (reason.starts_with(kKnown)) reason.erase(0, kKnown.size());
    throw Failure(DisplayPath(path) + ": cannot be written: " + reason);
}

std::string DescribeFormat(int format) {
    const std::string bits = KyiGetDepth(format) == 256 ? "8-bit" : "16-bit";
    return bits + (KyiIsFormatBgr(format) ? " colour" : " gray");
}

std::string DescribeImage(const KyiImageData& image) {
    return std::to_string(image.Width) + " x " + std::to_string(image.Height) + " " + DescribeFormat(image.Format);
}

std::size_t ImageBytes(const KyiImageData& image) {
    return static_cast<std::size_t>(image.LineBytes) * static_cast<std::size_t>(image.Height);
}

} // namespace app

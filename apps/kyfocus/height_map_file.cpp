#include "height_map_file.h"

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <limits>
#include <memory>
#include <string_view>
#include <system_error>

#include <tiffio.h>

#include "errors.h"
#include "images.h"

namespace app {
namespace {

constexpr std::uint32_t kRowsPerStrip = 64;

struct CloseTiff {
    void operator()(TIFF* tiff) const { TIFFClose(tiff); }
};
struct FreeOptions {
    void operator()(TIFFOpenOptions* options) const { TIFFOpenOptionsFree(options); }
};
using Tiff = std::unique_ptr<TIFF, CloseTiff>;

/// Keeps the first message of a file, with the system's reason: later ones are consequences.
int KeepMessage(TIFF*, void* user, const char*, const char* format, va_list arguments) {
    auto& reason = *static_cast<std::string*>(user);
    if (!reason.empty()) return 1;
    const int error = errno; // 0 at the start: the system's part in it, if any
    char text[400];
    std::vsnprintf(text, sizeof text, format, arguments);
    reason = text;
    if (error != 0) reason.append(": ").append(std::strerror(error));
    return 1;
}
int DropMessage(TIFF*, void*, const char*, const char*, va_list) { return 1; }

/// Null, with `reason` set, when the file can't be opened. `reason` must outlive the handle.
Tiff Open(const std::filesystem::path& file, const char* mode, std::string& reason) {
    const std::unique_ptr<TIFFOpenOptions, FreeOptions> options(TIFFOpenOptionsAlloc());
    if (!options) throw std::bad_alloc();
    TIFFOpenOptionsSetErrorHandlerExtR(options.get(), KeepMessage, &reason);
    TIFFOpenOptionsSetWarningHandlerExtR(options.get(), DropMessage, nullptr);
    return Tiff(TIFFOpenExt(file.c_str(), mode, options.get()));
}

[[noreturn]] void Fail(const std::filesystem::path& file, const std::string& reason) {
    throw Failure(DisplayPath(file) + ": " + reason);
}

bool HoldsHeights(TIFF* tiff) {
    std::uint16_t bits = 0;
    std::uint16_t samples = 0;
    std::uint16_t kind = 0;
    TIFFGetFieldDefaulted(tiff, TIFFTAG_BITSPERSAMPLE, &bits);
    TIFFGetFieldDefaulted(tiff, TIFFTAG_SAMPLESPERPIXEL, &samples);
    TIFFGetFieldDefaulted(tiff, TIFFTAG_SAMPLEFORMAT, &kind);
    return bits == 32 && samples == 1 && kind == SAMPLEFORMAT_IEEEFP;
}

/// Refuses a file that is too short for its size before memory is taken.
void CheckLength(TIFF* tiff, const std::filesystem::path& file, std::uint64_t bytes) {
    constexpr std::uint64_t kMostCompression = 2048; // deflate reaches 1032
    std::uint16_t compression = 0;
    TIFFGetFieldDefaulted(tiff, TIFFTAG_COMPRESSION, &compression);
    std::error_code error;
    const std::uint64_t length = std::filesystem::file_size(file, error);
    if (error || bytes / (compression == COMPRESSION_NONE ? 1 : kMostCompression) > length) Fail(file, "cut short");
}

HeightMap EmptyMap(TIFF* tiff, const std::filesystem::path& file) {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    TIFFGetField(tiff, TIFFTAG_IMAGEWIDTH, &width);
    TIFFGetField(tiff, TIFFTAG_IMAGELENGTH, &height);
    constexpr std::uint64_t kMostPixels = std::numeric_limits<std::int32_t>::max() / sizeof(float);
    if (width == 0 || height == 0 || std::uint64_t{width} * height > kMostPixels) Fail(file, "size out of range");
    CheckLength(tiff, file, std::uint64_t{width} * height * sizeof(float));
    HeightMap map{static_cast<int>(width), static_cast<int>(height), {}};
    map.Values.resize(std::size_t{width} * height);
    return map;
}

void WriteRows(TIFF* tiff, const HeightMap& map, const std::string& description) {
    TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, static_cast<std::uint32_t>(map.Width));
    TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, static_cast<std::uint32_t>(map.Height));
    TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, 32);
    TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, 1);
    TIFFSetField(tiff, TIFFTAG_SAMPLEFORMAT, SAMPLEFORMAT_IEEEFP);
    TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISBLACK);
    TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    TIFFSetField(tiff, TIFFTAG_COMPRESSION, COMPRESSION_NONE);
    TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, kRowsPerStrip);
    TIFFSetField(tiff, TIFFTAG_IMAGEDESCRIPTION, description.c_str());
    std::vector<float> row(static_cast<std::size_t>(map.Width)); // libtiff takes its rows as changeable memory
    for (int y = 0; y < map.Height; ++y) {
        const auto first = map.Values.begin() + static_cast<std::ptrdiff_t>(y) * map.Width;
        std::transform(first, first + map.Width, row.begin(), [](double height) { return static_cast<float>(height); });
        if (TIFFWriteScanline(tiff, row.data(), static_cast<std::uint32_t>(y), 0) < 0) return;
    }
    TIFFFlush(tiff);
}

} // namespace

bool IsHeightMapFile(const std::filesystem::path& file) {
    std::string reason;
    const Tiff tiff = Open(file, "r", reason);
    return tiff && HoldsHeights(tiff.get());
}

HeightMap LoadHeightMap(const std::filesystem::path& file) {
    std::string reason;
    errno = 0;
    const Tiff tiff = Open(file, "r", reason);
    if (!tiff) Fail(file, reason.empty() ? "cannot be read" : reason);
    if (!HoldsHeights(tiff.get())) Fail(file, "not a height map (expected a TIFF of one 32-bit float a pixel)");
    if (TIFFIsTiled(tiff.get())) Fail(file, "height map in tiles (expected strips)");
    HeightMap map = EmptyMap(tiff.get(), file);
    std::vector<float> row(static_cast<std::size_t>(map.Width));
    for (int y = 0; y < map.Height; ++y) {
        if (TIFFReadScanline(tiff.get(), row.data(), static_cast<std::uint32_t>(y), 0) < 0)
            Fail(file, reason.empty() ? "damaged or cut short" : reason);
        std::copy(row.begin(), row.end(), map.Values.begin() + static_cast<std::ptrdiff_t>(y) * map.Width);
    }
    return map;
}

std::string HeightUnit(const std::filesystem::path& file) {
    constexpr std::string_view kKey = "unit=";
    constexpr std::size_t kLongest = 32; // a longer one is no unit
    std::string reason;
    const Tiff tiff = Open(file, "r", reason);
    const char* description = nullptr;
    if (!tiff || TIFFGetField(tiff.get(), TIFFTAG_IMAGEDESCRIPTION, &description) != 1) return {};
    const std::string_view text = description;
    const std::size_t key = text.rfind(kKey);
    if (key == std::string_view::npos || (key > 0 && text[key - 1] != ' ' && text[key - 1] != '\n')) return {};
    const std::string_view line = text.substr(key + kKey.size());
    const std::string_view unit = line.substr(0, line.find_first_of("\r\n"));
    const bool isText = std::none_of(unit.begin(), unit.end(), [](unsigned char byte) { return byte < ' '; });
    return isText && unit.size() <= kLongest ? std::string(unit) : std::string();
}

void SaveHeightMap(const std::filesystem::path& file, const HeightMap& map, const std::string& description) {
    std::string reason;
    errno = 0;
    {
        const Tiff tiff = Open(file, "w", reason);
        if (tiff)
            WriteRows(tiff.get(), map, description);
        else if (reason.empty())
            reason = "cannot be opened";
    } // closing writes what is left and may still fail
    if (!reason.empty()) Fail(file, "cannot be written: " + reason);
}

} // namespace app

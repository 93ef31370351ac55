#include "height_map_file.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <string_view>
#include <system_error>

#include "errors.h"
#include "images.h"
#include "tiff_file.h"

namespace app {
namespace {

constexpr std::uint32_t kRowsPerStrip = 64;

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

/// What is compressed may hold this for each byte of the file: deflate and LZW make up to 1400 bytes of one, and a
/// float becomes a double.
constexpr std::uint64_t kMostBytesPerFileByte = 3072;
constexpr std::uint64_t kAlwaysAllowedBytes = std::uint64_t{16} << 20;

/// libtiff reads all bytes of a strip, and strips may share them.
std::uint64_t PackedBytes(TIFF* tiff, std::uint64_t most) {
    std::uint64_t bytes = 0;
    for (std::uint32_t strip = 0; strip < TIFFNumberOfStrips(tiff) && bytes <= most; ++strip) {
        const std::uint64_t here = TIFFGetStrileByteCount(tiff, strip);
        if (here == 0) break; // none behind it is read
        bytes += std::min(here, most);
    }
    return bytes;
}

/// Refuses a file that is too short for its size before memory is taken.
void CheckLength(TIFF* tiff, const std::filesystem::path& file, std::uint64_t pixels) {
    std::uint16_t compression = 0;
    TIFFGetFieldDefaulted(tiff, TIFFTAG_COMPRESSION, &compression);
    std::error_code error;
    const std::uint64_t length = std::filesystem::file_size(file, error);
    if (error || (compression == COMPRESSION_NONE && pixels * sizeof(float) > length)) Fail(file, "cut short");
    const std::uint64_t most =
        std::max(kAlwaysAllowedBytes, std::min(length, std::uint64_t{1} << 40) * kMostBytesPerFileByte);
    if (compression != COMPRESSION_NONE && pixels * sizeof(double) > most)
        Fail(file, "claims far more heights than the file can hold");
    if (PackedBytes(tiff, most) > most) Fail(file, "damaged: strips that share their bytes");
}

HeightMap EmptyMap(TIFF* tiff, const std::filesystem::path& file) {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    TIFFGetField(tiff, TIFFTAG_IMAGEWIDTH, &width);
    TIFFGetField(tiff, TIFFTAG_IMAGELENGTH, &height);
    constexpr std::uint64_t kMostPixels = std::numeric_limits<std::int32_t>::max() / sizeof(float);
    if (width == 0 || height == 0 || std::uint64_t{width} * height > kMostPixels) Fail(file, "size out of range");
    CheckLength(tiff, file, std::uint64_t{width} * height);
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
    const TiffFile tiff(file, TiffFile::For::Reading);
    return tiff.Get() && HoldsHeights(tiff.Get());
}

HeightMap LoadHeightMap(const std::filesystem::path& file) {
    const TiffFile tiff(file, TiffFile::For::Reading);
    if (!tiff.Get()) Fail(file, tiff.Reason().empty() ? "cannot be read" : tiff.Reason());
    if (!HoldsHeights(tiff.Get())) Fail(file, "not a height map (expected a TIFF of one 32-bit float a pixel)");
    if (TIFFIsTiled(tiff.Get())) Fail(file, "height map in tiles (expected strips)");
    HeightMap map = EmptyMap(tiff.Get(), file);
    std::vector<float> row(static_cast<std::size_t>(map.Width));
    for (int y = 0; y < map.Height; ++y) {
        if (TIFFReadScanline(tiff.Get(), row.data(), static_cast<std::uint32_t>(y), 0) < 0)
            Fail(file, tiff.Reason().empty() ? "damaged or cut short" : tiff.Reason());
        std::copy(row.begin(), row.end(), map.Values.begin() + static_cast<std::ptrdiff_t>(y) * map.Width);
    }
    return map;
}

std::string HeightUnit(const std::filesystem::path& file) {
    constexpr std::string_view kKey = "unit=";
    constexpr std::size_t kLongest = 32; // a longer one is no unit
    const TiffFile tiff(file, TiffFile::For::Reading);
    const char* description = nullptr;
    if (!tiff.Get() || TIFFGetField(tiff.Get(), TIFFTAG_IMAGEDESCRIPTION, &description) != 1) return {};
    const std::string_view text = description;
    const std::size_t key = text.rfind(kKey);
    if (key == std::string_view::npos || (key > 0 && text[key - 1] != ' ' && text[key - 1] != '\n')) return {};
    const std::string_view line = text.substr(key + kKey.size());
    const std::string_view unit = line.substr(0, line.find_first_of("\r\n"));
    const bool isText = std::none_of(unit.begin(), unit.end(), [](unsigned char byte) { return byte < ' '; });
    return isText && unit.size() <= kLongest ? std::string(unit) : std::string();
}

void SaveHeightMap(const std::filesystem::path& file, const HeightMap& map, const std::string& description) {
    TiffFile tiff(file, TiffFile::For::Writing);
    if (tiff.Get()) WriteRows(tiff.Get(), map, description);
    const bool isOpen = tiff.Get() != nullptr;
    tiff.Close(); // may still fail
    if (!isOpen || !tiff.Reason().empty())
        Fail(file, "cannot be written: " + (tiff.Reason().empty() ? "cannot be opened" : tiff.Reason()));
}

} // namespace app

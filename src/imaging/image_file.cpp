#include "imaging/image_file.h"

#include <system_error>

#include "imaging/formats.h"

namespace kyi {

namespace {

constexpr std::int64_t kMostPixels = 1'500'000'000;
constexpr std::int64_t kLongestLine = 0x7ffffffc;
constexpr std::int64_t kLineAlignment = 4;
constexpr std::uint64_t kMostBytesPerFileByte = 6144;
constexpr std::uint64_t kAlwaysAllowedBytes = std::uint64_t{16} << 20;

} // namespace

std::uint64_t MostHeldBytes(std::uint64_t fileBytes) noexcept {
    return std::max(kAlwaysAllowedBytes, std::min(fileBytes, std::uint64_t{1} << 40) * kMostBytesPerFileByte);
}

void CheckImageSize(std::int64_t width, std::int64_t height, std::int32_t pixelBytes) {
    if (width < 1 || height < 1) throw FileError("the image has no pixels");
    if (width > kLongestLine / pixelBytes || height > kMostPixels || width * height > kMostPixels)
        throw FileError("the image is larger than 1.5 gigapixels or its lines are too long");
}

void CheckHeldBytes(std::uint64_t bytes, std::uint64_t fileBytes) {
    if (bytes > MostHeldBytes(fileBytes)) throw FileError("the file claims far more pixels than it can hold");
}

std::uint64_t ImageBytes(std::int64_t width, std::int64_t height, std::int32_t format) noexcept {
    const std::int64_t used = width * FindFormat(format).PixelBytes;
    return static_cast<std::uint64_t>((used + kLineAlignment - 1) / kLineAlignment * kLineAlignment * height);
}

OwnedImage NewImage(std::int64_t width, std::int64_t height, std::int32_t format) {
    CheckImageSize(width, height, FindFormat(format).PixelBytes);
    OwnedImage image(KyiAllocImageData(static_cast<std::int32_t>(width), static_cast<std::int32_t>(height), format));
    if (!image) throw FileError("no memory for the image");
    return image;
}

void ReadExactly(platform::InputFile& file, std::uint64_t offset, void* to, std::size_t bytes) {
    if (file.ReadAt(offset, to, bytes) == bytes) return;
    if (file.ErrorNumber() != 0)
        throw std::system_error(file.ErrorNumber(), std::generic_category(), "the file cannot be read");
    throw FileError("the file is truncated");
}

} // namespace kyi

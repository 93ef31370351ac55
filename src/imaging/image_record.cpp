#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>

#include <kyimaging/kyimaging.h>

#include "imaging/formats.h"
#include "imaging/layout.h"
#include "imaging/palette.h"
#include "platform/pages.h"

namespace kyi {

namespace {

constexpr std::size_t kPixelAlignment = 64;

// More than any machine of today holds. Allocators that report a size out of bounds by ending the process, as those of
// the sanitizers do, are not asked for more.
constexpr std::size_t kLargestBlock = std::size_t{1} << 39;

/// A record with all that it owns but the pixels.
struct ImageRecord {
    KyiImageData Image; // first: its address is the record's
    Palette OwnPalette;
};

/// 0 for a size that has none.
std::int32_t LineBytesOf(std::int32_t width, std::int32_t pixelBytes) noexcept {
    if (width < 1) return 0;
    const std::int64_t bytes = (static_cast<std::int64_t>(width) * pixelBytes + 3) / 4 * 4;
    return bytes <= std::numeric_limits<std::int32_t>::max() ? static_cast<std::int32_t>(bytes) : 0;
}

void* AllocatePixels(std::size_t bytes) noexcept {
    if (bytes > kLargestBlock) return nullptr;
    const std::size_t rounded = (bytes + kPixelAlignment - 1) / kPixelAlignment * kPixelAlignment;
    void* const block = std::aligned_alloc(kPixelAlignment, rounded);
    if (block) platform::PreferLargePages(block, rounded);
    return block;
}

// A block that goes into a file as a whole shall not carry what memory held before.
void ClearPadding(const KyiImageData& image) noexcept {
    const auto used = static_cast<std::size_t>(image.Width) * static_cast<std::size_t>(image.PixelBytes);
    const std::size_t padding = static_cast<std::size_t>(image.LineBytes) - used;
    if (padding == 0) return;
    for (std::int32_t y = 0; y < image.Height; ++y) std::memset(RowAddress(image, y) + used, 0, padding);
}

} // namespace

void SetGrayRamp(Palette& palette) noexcept {
    for (std::uint32_t i = 0; i < palette.Entries.size(); ++i) palette.Entries[i] = i * 0x010101u;
}

} // namespace kyi

KyiImageData* KyiAllocImageData(int32_t width, int32_t height, int32_t format) {
    return KyiAllocImageDataEx(width, height, format, 0, 0);
}

KyiImageData* KyiAllocImageDataEx(int32_t width, int32_t height, int32_t format, int32_t origin, int32_t) {
    const int32_t pixelBytes = kyi::FindFormat(format).PixelBytes;
    const int32_t lineBytes = kyi::LineBytesOf(width, pixelBytes);
    if (lineBytes == 0 || height < 1) return nullptr;
    auto* const record = new (std::nothrow) kyi::ImageRecord;
    if (!record) return nullptr;
    KyiImageData& image = record->Image;
    image = {width, height, lineBytes, pixelBytes, origin, format, nullptr, &record->OwnPalette};
    image.Pixels = kyi::AllocatePixels(kyi::PixelBlockBytes(image));
    if (!image.Pixels) {
        delete record;
        return nullptr;
    }
    kyi::ClearPadding(image);
    kyi::SetGrayRamp(record->OwnPalette);
    return &image;
}

KyiImageData* KyiAllocMaskImageData(int32_t width, int32_t height) {
    return KyiAllocImageData(width, height, KyiFormatGray8);
}

void KyiFreeImageData(KyiImageData* image) {
    if (!image) return;
    std::free(image->Pixels);
    delete reinterpret_cast<kyi::ImageRecord*>(image);
}

void KyiCopyPalette(const void* source, void* destination) {
    if (source && destination) std::memmove(destination, source, sizeof(kyi::Palette));
}

/// Copies between images: whole, clipped, pasted.
#include <algorithm>
#include <cstring>

#include <kyimaging/kyimaging.h>

#include "imaging/layout.h"

namespace kyi {

namespace {

// Below this a second thread costs more than it copies.
constexpr std::size_t kParallelBytes = std::size_t{1} << 20;

constexpr std::size_t kCopyBlock = std::size_t{1} << 18;

void CopyBytes(const void* source, void* destination, std::size_t bytes, bool parallel) noexcept {
    const auto* const from = static_cast<const std::uint8_t*>(source);
    auto* const to = static_cast<std::uint8_t*>(destination);
    const auto blocks = static_cast<std::int64_t>((bytes + kCopyBlock - 1) / kCopyBlock);
#pragma omp parallel for schedule(static) if (parallel && bytes >= kParallelBytes)
    for (std::int64_t i = 0; i < blocks; ++i) {
        const std::size_t at = static_cast<std::size_t>(i) * kCopyBlock;
        std::memcpy(to + at, from + at, std::min(kCopyBlock, bytes - at));
    }
}

void RepeatPixel(const std::uint8_t* pixel, std::uint8_t* out, std::int64_t count, std::size_t pixelBytes) noexcept {
    for (std::int64_t i = 0; i < count; ++i, out += pixelBytes) std::memcpy(out, pixel, pixelBytes);
}

/// Row y of source from column x on, `count` pixels, with the edges repeated beyond it.
void ClipRow(const KyiImageData& source, std::int64_t x, std::int64_t y, std::uint8_t* out,
             std::int64_t count) noexcept {
    const std::int64_t width = source.Width;
    const auto pixelBytes = static_cast<std::size_t>(source.PixelBytes);
    const auto row = static_cast<std::int32_t>(std::clamp<std::int64_t>(y, 0, source.Height - 1));
    const std::int64_t left = std::clamp<std::int64_t>(-x, 0, count);
    const std::int64_t right = std::clamp<std::int64_t>(width - x, left, count);
    RepeatPixel(RowAddress(source, row), out, left, pixelBytes);
    out += static_cast<std::size_t>(left) * pixelBytes;
    if (right > left) {
        const std::size_t bytes = static_cast<std::size_t>(right - left) * pixelBytes;
        std::memcpy(out, PixelAddress(source, static_cast<std::int32_t>(x + left), row), bytes);
        out += bytes;
    }
    RepeatPixel(PixelAddress(source, source.Width - 1, row), out, count - right, pixelBytes);
}

} // namespace

} // namespace kyi

KyiImageData* KyiDuplicateImageData(const KyiImageData* image, KyiBool parallel) {
    if (!image) return nullptr;
    KyiImageData* const copy = KyiAllocImageDataEx(image->Width, image->Height, image->Format, image->Origin, 0);
    if (!copy) return nullptr;
    KyiCopyPalette(image->Palette, copy->Palette);
    kyi::CopyBytes(image->Pixels, copy->Pixels, kyi::PixelBlockBytes(*image), parallel != 0);
    return copy;
}

void KyiCopyImageData(const KyiImageData* source, KyiImageData* destination, int32_t, KyiBool parallel) {
    if (source == destination || !kyi::IsSameLayout(source, destination)) return;
    kyi::CopyBytes(source->Pixels, destination->Pixels, kyi::PixelBlockBytes(*source), parallel != 0);
}

void KyiClipImage(const KyiImageData* source, KyiImageData* destination, const int32_t rect[4]) {
    if (!rect || source == destination || !KyiIsSamePixelFormat(source, destination)) return;
    const int64_t width = std::min<int64_t>(int64_t{rect[2]} + 1, destination->Width);
    const int64_t height = std::min<int64_t>(int64_t{rect[3]} + 1, destination->Height);
    if (width < 1) return;
    for (int32_t y = 0; y < height; ++y)
        kyi::ClipRow(*source, rect[0], int64_t{rect[1]} + y, kyi::RowAddress(*destination, y), width);
}

void KyiPasteImageData(const KyiImageData* source, KyiImageData* destination, int32_t x, int32_t y, KyiBool parallel) {
    if (source == destination || !KyiIsSamePixelFormat(source, destination)) return;
    const int64_t left = std::max<int64_t>(x, 0);
    const int64_t right = std::min<int64_t>(int64_t{x} + source->Width, destination->Width);
    const int64_t top = std::max<int64_t>(y, 0);
    const int64_t bottom = std::min<int64_t>(int64_t{y} + source->Height, destination->Height);
    if (right <= left || bottom <= top) return;
    const std::size_t bytes = static_cast<std::size_t>(right - left) * static_cast<std::size_t>(source->PixelBytes);
    const bool isLarge = bytes * static_cast<std::size_t>(bottom - top) >= kyi::kParallelBytes;
#pragma omp parallel for schedule(static) if (parallel != 0 && isLarge)
    for (int64_t row = top; row < bottom; ++row)
        std::memcpy(kyi::PixelAddress(*destination, static_cast<int32_t>(left), static_cast<int32_t>(row)),
                    kyi::PixelAddress(*source, static_cast<int32_t>(left - x), static_cast<int32_t>(row - y)), bytes);
}

void KyiFill(KyiImageData* image, int32_t value, int32_t, int32_t) {
    if (!image) return;
    const std::size_t bytes = static_cast<std::size_t>(image->Width) * static_cast<std::size_t>(image->PixelBytes);
    for (int32_t y = 0; y < image->Height; ++y) {
        std::uint8_t* const row = kyi::RowAddress(*image, y);
        if (kyi::IsWideSample(*image))
            std::fill_n(reinterpret_cast<std::uint16_t*>(row), bytes / 2, static_cast<std::uint16_t>(value));
        else
            std::memset(row, static_cast<std::uint8_t>(value), bytes);
    }
}

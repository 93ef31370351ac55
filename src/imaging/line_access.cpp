/// Lines and columns of one channel.
#include <algorithm>

#include <kyimaging/kyimaging.h>

#include "imaging/layout.h"
#include "imaging/line_kernels.h"

namespace kyi {

namespace {

/// The part of a run of `count` from `start` on that lies on an axis of `length`: entries [First, Last) of the run.
struct Covered {
    std::size_t First;
    std::size_t Last;
};

Covered Cover(std::int32_t start, std::int32_t count, std::int32_t length) noexcept {
    const std::int64_t first = std::clamp<std::int64_t>(-std::int64_t{start}, 0, count);
    const std::int64_t last = std::clamp<std::int64_t>(std::int64_t{length} - start, first, count);
    return {static_cast<std::size_t>(first), static_cast<std::size_t>(last)};
}

/// The entries before and behind the covered part repeat the samples at the two ends of the axis.
void RepeatEnds(const Covered& covered, std::int32_t atStart, std::int32_t atEnd, std::int32_t* values,
                std::size_t count) noexcept {
    std::fill(values, values + covered.First, atStart);
    std::fill(values + covered.Last, values + count, atEnd);
}

/// Address of a sample of pixel (x, y).
std::uint8_t* SampleAddress(const KyiImageData& image, std::int32_t x, std::int32_t y, std::int32_t offset) noexcept {
    return PixelAddress(image, x, y) + offset;
}

std::int32_t SampleAt(const KyiImageData& image, std::int32_t x, std::int32_t y, std::int32_t offset) noexcept {
    const std::uint8_t* const at = SampleAddress(image, x, y, offset);
    return IsWideSample(image) ? *reinterpret_cast<const std::uint16_t*>(at) : *at;
}

} // namespace

} // namespace kyi

void KyiGetLinePixel(const KyiImageData* image, int32_t x, int32_t y, int32_t channel, int32_t* values, int32_t count) {
    if (!image || !values || count < 1) return;
    const int32_t offset = kyi::ChannelOffset(*image, channel);
    if (offset < 0) return;
    const int32_t row = std::clamp(y, 0, image->Height - 1);
    const kyi::Covered covered = kyi::Cover(x, count, image->Width);
    if (covered.Last > covered.First)
        kyi::WidenRun(kyi::SampleAddress(*image, x + static_cast<int32_t>(covered.First), row, offset),
                      image->PixelBytes, values + covered.First, covered.Last - covered.First);
    if (covered.Last - covered.First == static_cast<std::size_t>(count)) return;
    kyi::RepeatEnds(covered, kyi::SampleAt(*image, 0, row, offset),
                    kyi::SampleAt(*image, image->Width - 1, row, offset), values, static_cast<std::size_t>(count));
}

void KyiSetLinePixel(KyiImageData* image, int32_t x, int32_t y, int32_t channel, const int32_t* values, int32_t count) {
    if (!image || !values || count < 1 || y < 0 || y >= image->Height) return;
    const int32_t offset = kyi::ChannelOffset(*image, channel);
    const kyi::Covered covered = kyi::Cover(x, count, image->Width);
    if (offset < 0 || covered.Last == covered.First) return;
    kyi::NarrowRun(values + covered.First, image->PixelBytes,
                   kyi::SampleAddress(*image, x + static_cast<int32_t>(covered.First), y, offset),
                   covered.Last - covered.First);
}

void KyiGetVLinePixel(const KyiImageData* image, int32_t x, int32_t y, int32_t channel, int32_t* values,
                      int32_t count) {
    if (!image || !values || count < 1) return;
    const int32_t offset = kyi::ChannelOffset(*image, channel);
    if (offset < 0) return;
    const int32_t column = std::clamp(x, 0, image->Width - 1);
    const kyi::Covered covered = kyi::Cover(y, count, image->Height);
    if (covered.Last > covered.First)
        kyi::WidenColumn(kyi::SampleAddress(*image, column, y + static_cast<int32_t>(covered.First), offset),
                         -std::ptrdiff_t{image->LineBytes}, kyi::IsWideSample(*image), values + covered.First,
                         covered.Last - covered.First);
    if (covered.Last - covered.First == static_cast<std::size_t>(count)) return;
    kyi::RepeatEnds(covered, kyi::SampleAt(*image, column, 0, offset),
                    kyi::SampleAt(*image, column, image->Height - 1, offset), values, static_cast<std::size_t>(count));
}

void KyiSetVLinePixel(KyiImageData* image, int32_t x, int32_t y, int32_t channel, const int32_t* values,
                      int32_t count) {
    if (!image || !values || count < 1 || x < 0 || x >= image->Width) return;
    const int32_t offset = kyi::ChannelOffset(*image, channel);
    const kyi::Covered covered = kyi::Cover(y, count, image->Height);
    if (offset < 0 || covered.Last == covered.First) return;
    kyi::NarrowColumn(values + covered.First, -std::ptrdiff_t{image->LineBytes}, kyi::IsWideSample(*image),
                      kyi::SampleAddress(*image, x, y + static_cast<int32_t>(covered.First), offset),
                      covered.Last - covered.First);
}

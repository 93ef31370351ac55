/// Single pixels.
#include <algorithm>

#include <kyimaging/kyimaging.h>

#include "imaging/layout.h"

namespace kyi {

namespace {

bool IsColour(const KyiImageData& image) noexcept { return image.PixelBytes > 2; }

std::uint8_t* NearestPixel(const KyiImageData& image, std::int32_t x, std::int32_t y) noexcept {
    return PixelAddress(image, std::clamp(x, 0, image.Width - 1), std::clamp(y, 0, image.Height - 1));
}

std::int32_t ReadSample(const std::uint8_t* at, bool isWide) noexcept {
    return isWide ? *reinterpret_cast<const std::uint16_t*>(at) : *at;
}

void WriteSample(std::uint8_t* at, bool isWide, std::int32_t value) noexcept {
    if (isWide)
        *reinterpret_cast<std::uint16_t*>(at) = static_cast<std::uint16_t>(value);
    else
        *at = static_cast<std::uint8_t>(value);
}

} // namespace

} // namespace kyi

void* KyiGetPixelAddress(const KyiImageData* image, int32_t x, int32_t y) {
    return image ? kyi::PixelAddress(*image, x, y) : nullptr;
}

void KyiGetPixelData(const KyiImageData* image, int32_t x, int32_t y, int32_t* value) {
    if (!image || !value || kyi::IsColour(*image)) return;
    *value = kyi::ReadSample(kyi::NearestPixel(*image, x, y), kyi::IsWideSample(*image));
}

void KyiSetPixelData(KyiImageData* image, int32_t x, int32_t y, int32_t value) {
    if (!image || kyi::IsColour(*image) || !kyi::IsInside(*image, x, y)) return;
    kyi::WriteSample(kyi::PixelAddress(*image, x, y), kyi::IsWideSample(*image), value);
}

void KyiGetPixelDataRGB(const KyiImageData* image, int32_t x, int32_t y, int32_t values[3]) {
    if (!image || !values || !kyi::IsColour(*image)) return;
    const std::uint8_t* const pixel = kyi::NearestPixel(*image, x, y);
    for (int32_t channel = 0; channel < 3; ++channel)
        values[channel] = kyi::ReadSample(pixel + kyi::ChannelOffset(*image, channel), kyi::IsWideSample(*image));
}

void KyiSetPixelDataRGB(KyiImageData* image, int32_t x, int32_t y, const int32_t values[3]) {
    if (!image || !values || !kyi::IsColour(*image) || !kyi::IsInside(*image, x, y)) return;
    std::uint8_t* const pixel = kyi::PixelAddress(*image, x, y);
    for (int32_t channel = 0; channel < 3; ++channel)
        kyi::WriteSample(pixel + kyi::ChannelOffset(*image, channel), kyi::IsWideSample(*image), values[channel]);
}

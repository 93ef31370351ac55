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

std::int32_t ReadGray(const KyiImageData& image, const std::uint8_t* pixel) noexcept {
    return image.PixelBytes == 2 ? *reinterpret_cast<const std::uint16_t*>(pixel) : *pixel;
}

/// @param pixel  Its last sample is red.
template <typename Sample>
void ReadRgb(const std::uint8_t* pixel, std::int32_t samples, std::int32_t* values) noexcept {
    const Sample* const red = reinterpret_cast<const Sample*>(pixel) + samples - 1;
    for (std::int32_t channel = 0; channel < 3; ++channel) values[channel] = red[-channel];
}

template <typename Sample>
void WriteRgb(std::uint8_t* pixel, std::int32_t samples, const std::int32_t* values) noexcept {
    Sample* const red = reinterpret_cast<Sample*>(pixel) + samples - 1;
    for (std::int32_t channel = 0; channel < 3; ++channel) red[-channel] = static_cast<Sample>(values[channel]);
}

} // namespace

} // namespace kyi

void* KyiGetPixelAddress(const KyiImageData* image, int32_t x, int32_t y) {
    return image ? kyi::PixelAddress(*image, x, y) : nullptr;
}

void KyiGetPixelData(const KyiImageData* image, int32_t x, int32_t y, int32_t* value) {
    if (!image || !value || kyi::IsColour(*image)) return;
    *value = kyi::ReadGray(*image, kyi::NearestPixel(*image, x, y));
}

void KyiSetPixelData(KyiImageData* image, int32_t x, int32_t y, int32_t value) {
    if (!image || kyi::IsColour(*image) || !kyi::IsInside(*image, x, y)) return;
    std::uint8_t* const pixel = kyi::PixelAddress(*image, x, y);
    if (image->PixelBytes == 2)
        *reinterpret_cast<std::uint16_t*>(pixel) = static_cast<std::uint16_t>(value);
    else
        *pixel = static_cast<std::uint8_t>(value);
}

void KyiGetPixelDataRGB(const KyiImageData* image, int32_t x, int32_t y, int32_t values[3]) {
    if (!image || !values || !kyi::IsColour(*image)) return;
    const std::uint8_t* const pixel = kyi::NearestPixel(*image, x, y);
    if (image->PixelBytes == 6)
        kyi::ReadRgb<std::uint16_t>(pixel, 3, values);
    else
        kyi::ReadRgb<std::uint8_t>(pixel, image->PixelBytes, values);
}

void KyiSetPixelDataRGB(KyiImageData* image, int32_t x, int32_t y, const int32_t values[3]) {
    if (!image || !values || !kyi::IsColour(*image) || !kyi::IsInside(*image, x, y)) return;
    std::uint8_t* const pixel = kyi::PixelAddress(*image, x, y);
    if (image->PixelBytes == 6)
        kyi::WriteRgb<std::uint16_t>(pixel, 3, values);
    else
        kyi::WriteRgb<std::uint8_t>(pixel, image->PixelBytes, values);
}

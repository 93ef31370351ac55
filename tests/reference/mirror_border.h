/// Mirrored border, the plain form: pixel by pixel from a table of reflections.
#ifndef KYFOCUS_TESTS_REFERENCE_MIRROR_BORDER_H
#define KYFOCUS_TESTS_REFERENCE_MIRROR_BORDER_H

#include <cstdint>
#include <cstring>

#include <kyimaging/kyimaging.h>

namespace reference {

inline void CopyPixel(const KyiImageData& source, std::int32_t sx, std::int32_t sy, KyiImageData& destination,
                      std::int32_t dx, std::int32_t dy) {
    if (KyiIsFormatBgr(source.Format)) {
        std::int32_t values[3];
        KyiGetPixelDataRGB(&source, sx, sy, values);
        KyiSetPixelDataRGB(&destination, dx, dy, values);
    } else {
        std::int32_t value = 0;
        KyiGetPixelData(&source, sx, sy, &value);
        KyiSetPixelData(&destination, dx, dy, value);
    }
}

/// The caller frees the image.
inline KyiImageData* MirrorBorderImage(const KyiImageData& source, std::int32_t bx, std::int32_t by) {
    const std::int32_t w = source.Width;
    const std::int32_t h = source.Height;
    const std::int32_t w2 = w + 2 * bx;
    const std::int32_t h2 = h + 2 * by;
    KyiImageData* const d = KyiAllocImageData(w2, h2, source.Format);
    std::memset(d->Pixels, 0, static_cast<std::size_t>(d->LineBytes) * static_cast<std::size_t>(h2));
    KyiPasteImageData(&source, d, bx, by, 0);
    for (std::int32_t y = 0; y < h; ++y)
        for (std::int32_t x = 0; x < w; ++x) {
            if (y < by) {
                CopyPixel(source, x, y, *d, x + bx, by - 1 - y);
                CopyPixel(source, x, h - 1 - y, *d, x + bx, h2 - by + y);
            }
            if (x < bx) {
                CopyPixel(source, x, y, *d, bx - 1 - x, y + by);
                CopyPixel(source, w - 1 - x, y, *d, w2 - bx + x, y + by);
            }
            if (x < bx && y < by) {
                CopyPixel(source, x, y, *d, bx - 1 - x, by - 1 - y);
                CopyPixel(source, x, h - 1 - y, *d, bx - 1 - x, h2 - by + y);
                CopyPixel(source, w - 1 - x, y, *d, w2 - bx + x, by - 1 - y);
                CopyPixel(source, w - 1 - x, h - 1 - y, *d, w2 - bx + x, h2 - by + y);
            }
        }
    return d;
}

} // namespace reference

#endif

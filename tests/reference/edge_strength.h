/// Sobel edge strength, the plain form: on an image with a mirrored border, which is cut off again.
#ifndef KYFOCUS_TESTS_REFERENCE_EDGE_STRENGTH_H
#define KYFOCUS_TESTS_REFERENCE_EDGE_STRENGTH_H

#include <cstdint>
#include <cstdlib>
#include <vector>

#include "reference/mirror_border.h"

namespace reference {

inline void EdgeStrengthChannel(const KyiImageData& image, KyiImageData& output, std::int32_t channel) {
    const std::int32_t w = image.Width;
    const std::int32_t h = image.Height;
    const std::int32_t m = KyiGetMaxVal(image.Format);
    const auto width = static_cast<std::size_t>(w);
    std::vector<std::int32_t> p(width);
    std::vector<std::int32_t> q(width);
    std::vector<std::int32_t> r(width);
    std::vector<std::int32_t> out(width);
    KyiGetLinePixel(&image, 0, 0, channel, p.data(), w);
    KyiGetLinePixel(&image, 0, 1, channel, q.data(), w);
    for (std::int32_t y = 1; y <= h - 2; ++y) {
        KyiGetLinePixel(&image, 0, y + 1, channel, r.data(), w);
        out[0] = 0;
        for (std::size_t x = 1; x + 2 <= width; ++x) {
            const std::int32_t gx = (p[x + 1] + 2 * q[x + 1] + r[x + 1]) - (p[x - 1] + 2 * q[x - 1] + r[x - 1]);
            const std::int32_t gy = (r[x - 1] + 2 * r[x] + r[x + 1]) - (p[x - 1] + 2 * p[x] + p[x + 1]);
            std::int32_t v = std::abs(gx) + std::abs(gy);
            if (v >= m) v = m - 1;
            out[x] = v;
        }
        out[width - 2] = out[width - 3];
        out[width - 1] = out[width - 2];
        out[0] = out[1];
        KyiSetLinePixel(&output, 0, y, channel, out.data(), w);
        p = q;
        q = r;
    }
    KyiGetLinePixel(&output, 0, 1, channel, out.data(), w);
    KyiSetLinePixel(&output, 0, 0, channel, out.data(), w);
    KyiGetLinePixel(&output, 0, h - 2, channel, out.data(), w);
    KyiSetLinePixel(&output, 0, h - 1, channel, out.data(), w);
}

inline void FilterEdgeStrength(const KyiImageData& source, KyiImageData& destination) {
    KyiImageData* const bordered = MirrorBorderImage(source, 1, 1);
    KyiImageData* const output = KyiDuplicateImageData(bordered, 0);
    if (KyiIsFormatBgr(source.Format))
        for (std::int32_t channel = 0; channel < 3; ++channel) EdgeStrengthChannel(*bordered, *output, channel);
    else
        EdgeStrengthChannel(*bordered, *output, 1);
    const std::int32_t rect[4] = {1, 1, source.Width - 1, source.Height - 1};
    KyiClipImage(output, &destination, rect);
    KyiFreeImageData(bordered);
    KyiFreeImageData(output);
}

} // namespace reference

#endif

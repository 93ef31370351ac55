/// Running maximum over 5 by 5 samples, the plain form: five column maxima that move along a row.
#ifndef KYFOCUS_TESTS_REFERENCE_MAXIMUM5X5_H
#define KYFOCUS_TESTS_REFERENCE_MAXIMUM5X5_H

#include <cstdint>
#include <vector>

#include "reference/mirror_border.h"

namespace reference {

/// Largest of rows y - 2 to y + 2 in column x, and never less than 0.
inline std::int32_t ColumnMaximum(const KyiImageData& image, std::int32_t x, std::int32_t y, std::int32_t channel) {
    std::int32_t largest = 0;
    for (std::int32_t row = y - 2; row <= y + 2; ++row) {
        std::int32_t sample = 0;
        KyiGetLinePixel(&image, x, row, channel, &sample, 1);
        if (sample > largest) largest = sample;
    }
    return largest;
}

inline void MaximumRow(const KyiImageData& image, KyiImageData& output, std::int32_t y, std::int32_t channel) {
    std::int32_t col[5] = {};
    std::int32_t cur = 0;
    int pos = -1;
    for (std::int32_t x = 2; x <= image.Width - 3; ++x) {
        if (x == 2) {
            for (std::int32_t j = 0; j < 5; ++j) col[j] = ColumnMaximum(image, j, y, channel);
        } else {
            for (int j = 0; j < 4; ++j) col[j] = col[j + 1];
            col[4] = ColumnMaximum(image, x + 2, y, channel);
        }
        if (pos == -1 || pos == 0) {
            cur = col[0];
            pos = 0;
            for (int j = 1; j <= 3; ++j)
                if (col[j] > cur) {
                    cur = col[j];
                    pos = j;
                }
        } else if (col[4] > cur) {
            cur = col[4];
            pos = 4;
        } else {
            --pos;
        }
        KyiSetLinePixel(&output, x, y, channel, &cur, 1);
    }
}

inline void FilterMaximum5x5(const KyiImageData& source, KyiImageData& destination) {
    KyiImageData* const bordered = MirrorBorderImage(source, 2, 2);
    KyiImageData* const output = KyiDuplicateImageData(bordered, 0);
    for (std::int32_t channel = 0; channel < (KyiIsFormatBgr(source.Format) ? 3 : 1); ++channel)
        for (std::int32_t y = 2; y <= bordered->Height - 3; ++y) MaximumRow(*bordered, *output, y, channel);
    const std::int32_t rect[4] = {2, 2, source.Width - 1, source.Height - 1};
    KyiClipImage(output, &destination, rect);
    KyiFreeImageData(bordered);
    KyiFreeImageData(output);
}

} // namespace reference

#endif

/// Plain form of the masked median: gather, sort, take the upper middle one.
#ifndef KYFOCUS_TESTS_REFERENCE_MEDIAN_H
#define KYFOCUS_TESTS_REFERENCE_MEDIAN_H

#include <cstdint>
#include <cstdlib>
#include <vector>

#include "reference/height_repair.h"

namespace reference {

inline int CompareSamples(const void* first, const void* second) {
    const std::uint16_t a = *static_cast<const std::uint16_t*>(first);
    const std::uint16_t b = *static_cast<const std::uint16_t*>(second);
    return a < b ? -1 : a > b ? 1 : 0;
}

inline IntGrid MiddleFilter(const IntGrid& image, const IntGrid& mask, int size) {
    IntGrid result = image;
    const int half = size / 2;
    std::vector<std::uint16_t> values(static_cast<std::size_t>(2 * half + 1) * static_cast<std::size_t>(2 * half + 1));
    for (int y = 0; y < image.Height; ++y) {
        for (int x = 0; x < image.Width; ++x) {
            if (mask.At(x, y) != 0) continue;
            std::size_t n = 0;
            for (int px = x - half; px <= x + half; ++px)
                for (int py = y - half; py <= y + half; ++py)
                    if (image.Has(px, py) && mask.At(px, py) == 0)
                        values[n++] = static_cast<std::uint16_t>(image.At(px, py));
            std::qsort(values.data(), n, sizeof(std::uint16_t), CompareSamples);
            result.At(x, y) = values[n / 2];
        }
    }
    return result;
}

} // namespace reference

#endif

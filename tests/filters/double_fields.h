/// Images of doubles for the tests of this folder.
#ifndef KYFOCUS_TESTS_FILTERS_DOUBLE_FIELDS_H
#define KYFOCUS_TESTS_FILTERS_DOUBLE_FIELDS_H

#include <algorithm>
#include <random>
#include <span>
#include <vector>

#include "filters/double_image.h"

namespace test {

inline kyf::DoubleImagePtr FromValues(std::int32_t width, std::int32_t height, std::span<const double> values) {
    kyf::DoubleImagePtr image(kyf::AllocDoubleImage(width, height));
    std::copy(values.begin(), values.end(), image->Rows[0]);
    return image;
}

inline std::vector<double> ToValues(const KyfImageData& image) {
    std::vector<double> values;
    for (std::int32_t y = 0; y < image.Height; ++y)
        values.insert(values.end(), image.Rows[y], image.Rows[y] + image.Width);
    return values;
}

inline kyf::DoubleImagePtr RandomField(std::int32_t width, std::int32_t height, std::uint32_t seed) {
    kyf::DoubleImagePtr image(kyf::AllocDoubleImage(width, height));
    std::mt19937 random(seed);
    for (std::int32_t y = 0; y < height; ++y)
        for (std::int32_t x = 0; x < width; ++x) image->Rows[y][x] = static_cast<double>(random()) / 65536.0 - 20000.0;
    return image;
}

} // namespace test

#endif

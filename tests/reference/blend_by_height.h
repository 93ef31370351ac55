/// Plain form of the blend of two frames by the map, for one pixel after the other.
#ifndef KYFOCUS_TESTS_REFERENCE_BLEND_BY_HEIGHT_H
#define KYFOCUS_TESTS_REFERENCE_BLEND_BY_HEIGHT_H

#include <cstdint>
#include <vector>

#include "reference/height_repair.h"

namespace reference {

template <typename T>
void BlendRowByHeight(const std::vector<std::uint16_t>& map, int frame, int frameCount, double scale, double offset,
                      const T* previous, int previousStride, const T* next, int nextStride, T* out, int outStride,
                      int channels) {
    const int lowest = ToInt(((frame - 1) - offset) / scale + 0.5);
    const int highest = ToInt((frame - offset) / scale + 0.5);
    for (std::size_t x = 0; x < map.size(); ++x) {
        const int s = map[x];
        if (s < lowest || s > highest) continue;
        const double v = s * scale + offset;
        double f = v - ToInt(v);
        if (v == frameCount - 1) f = 1.0;
        const auto at = static_cast<int>(x);
        for (int c = 0; c < channels; ++c)
            out[at * outStride + c] =
                static_cast<T>(ToInt(next[at * nextStride + c] * f + previous[at * previousStride + c] * (1 - f)));
    }
}

} // namespace reference

#endif

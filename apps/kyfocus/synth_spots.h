/// Round spots strewn over the plane, at most one a lattice cell: dust and highlights of the synthetic surface.
#ifndef KYFOCUS_APP_SYNTH_SPOTS_H
#define KYFOCUS_APP_SYNTH_SPOTS_H

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "synth_noise.h"

namespace app {

/// Lengths in pixels.
struct SpotKind {
    std::uint64_t Seed;
    int Cell;        ///< side of a lattice cell; larger than the largest radius
    float Frequency; ///< part of the cells that hold a spot
    float SmallestRadius;
    float LargestRadius;
};

/// Calls paint(i, inside, bits) for the pixels (left + i, y), 0 <= i < width, that lie in a spot: `inside` falls from 1
/// in the middle to 0 at the rim, `bits` are the spot's own random bits.
template <typename Paint> void PaintSpotRow(const SpotKind& kind, int left, int y, int width, const Paint& paint) {
    const auto cellOf = [&](int coordinate) {
        return static_cast<int>(std::floor(static_cast<double>(coordinate) / kind.Cell));
    };
    for (int cellY = cellOf(y) - 1; cellY <= cellOf(y) + 1; ++cellY)
        for (int cellX = cellOf(left) - 1; cellX <= cellOf(left + width) + 1; ++cellX) {
            const std::uint64_t bits = MixPlace(kind.Seed, cellX, cellY);
            if (Fraction(bits) >= kind.Frequency) continue;
            const std::uint64_t more = MixBits(bits);
            const float radius = kind.SmallestRadius + (kind.LargestRadius - kind.SmallestRadius) * Fraction(more);
            const float centreX =
                static_cast<float>(cellX * kind.Cell - left) + Fraction(more << 24U) * static_cast<float>(kind.Cell);
            const float centreY =
                static_cast<float>(cellY * kind.Cell - y) + Fraction(bits << 24U) * static_cast<float>(kind.Cell);
            const int first = std::max(0, static_cast<int>(std::ceil(centreX - radius)));
            const int last = std::min(width - 1, static_cast<int>(std::floor(centreX + radius)));
            for (int i = first; i <= last; ++i) {
                const float dx = static_cast<float>(i) - centreX;
                const float inside = 1.0F - (dx * dx + centreY * centreY) / (radius * radius);
                if (inside > 0.0F) paint(static_cast<std::size_t>(i), inside, MixBits(more));
            }
        }
}

} // namespace app

#endif

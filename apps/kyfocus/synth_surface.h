/// The surface that a synthetic stack shows: its heights and what it looks like in focus.
///
/// Every value follows from the seed and the place alone, so a scene may reach beyond the image without changing it.
#ifndef KYFOCUS_APP_SYNTH_SURFACE_H
#define KYFOCUS_APP_SYNTH_SURFACE_H

#include <cstddef>
#include <cstdint>
#include <vector>

#include "synth_options.h"

namespace app {

/// A number of samples or a place among them, as arrays count.
inline std::size_t Index(int value) { return static_cast<std::size_t>(value); }

/// Picture and heights of the image and of a margin around it. Row 0 at the top.
struct Scene {
    int Width = 0;                      ///< margins included
    int Height = 0;                     ///< margins included
    int Margin = 0;                     ///< pixels between the scene's edge and the image's
    int Channels = 1;                   ///< interleaved; red first
    double White = 65535.0;             ///< the sample that the camera shows as white; brighter ones are blown out
    std::vector<std::uint16_t> Samples; ///< Height x Width x Channels, the light in focus
    std::vector<float> Heights;         ///< Height x Width, um

    std::size_t RowSamples() const { return static_cast<std::size_t>(Width) * static_cast<std::size_t>(Channels); }
    const float* HeightRow(int y) const { return Heights.data() + static_cast<std::ptrdiff_t>(y) * Width; }
};

/// Lowest and highest height that a surface may have: a tenth of the way in from the first and the last focus position.
struct HeightRange {
    double Low;
    double High;
};
HeightRange RangeOfHeights(const SynthOptions& options);

/// Fills `heights` with the heights in um at (left, y), (left + 1, y), ... in the image's coordinates; within the
/// range.
void MakeHeightRow(const SynthOptions& options, int left, int y, std::vector<float>& heights);

/// Throws std::bad_alloc.
Scene MakeScene(const SynthOptions& options, int margin);

} // namespace app

#endif

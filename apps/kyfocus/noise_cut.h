/// The library's noise cut on height maps of any unit and range.
#ifndef KYFOCUS_APP_NOISE_CUT_H
#define KYFOCUS_APP_NOISE_CUT_H

#include <cstddef>
#include <cstdint>

#include <kyfocus/noise_cut.h>

#include "differentiation_map_file.h"
#include "height_map_file.h"
#include "images.h"

namespace app {

/// What would be cut.
struct NoiseCutPreview {
    Image Picture;             // 16-bit gray: heights from 0 to kBrightestHeight, cut pixels 65535
    std::size_t CutPixels = 0; // holes of the map among them
};

/// Heights above this do not occur in a preview.
inline constexpr int kBrightestHeight = 0xFE00;

/// Least value of the map that stays.
std::int32_t LeastThatStays(const DifferentiationMap& map, double cutRatio);

/// Least and greatest of the heights that stay; 0 and 0 where none does.
struct KeptHeights {
    double Least = 0.0;
    double Greatest = 0.0;
};

/// The maps have one size.
KeptHeights FindKeptHeights(const HeightMap& heights, const DifferentiationMap& map, double cutRatio);

/// The maps have one size, and the range of what stays is finite. Throws std::bad_alloc.
NoiseCutPreview PreviewNoiseCut(const HeightMap& heights, const DifferentiationMap& map, double cutRatio);

/// Cuts, fills and smooths. Holes are filled like cut pixels. The library is given the heights that stay from 0 up in
/// fine steps, so that neither their zero nor their unit nor a wild height that is cut changes what comes out; what is
/// neither cut nor smoothed stays to the bit.
/// @param preview  Of the same heights, map and ratio. Throws std::bad_alloc.
HeightMap CutNoise(const HeightMap& heights, const DifferentiationMap& map, const KyfHeightNoiseCutParameter& parameter,
                   const NoiseCutPreview& preview);

} // namespace app

#endif

/// The library's noise cut on height maps of any unit and range.
#ifndef KYFOCUS_APP_NOISE_CUT_H
#define KYFOCUS_APP_NOISE_CUT_H

#include <cstddef>

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

/// The maps have one size. Throws std::bad_alloc.
NoiseCutPreview PreviewNoiseCut(const HeightMap& heights, const DifferentiationMap& map, double cutRatio);

/// Cuts, fills and smooths. Holes are filled like cut pixels. The library is given heights from 0 up in fine steps, so
/// that neither their zero nor their unit changes what comes out; what is neither cut nor smoothed stays to the bit.
/// @param preview  Of the same heights, map and ratio. Throws std::bad_alloc.
HeightMap CutNoise(const HeightMap& heights, const DifferentiationMap& map, const KyfHeightNoiseCutParameter& parameter,
                   const NoiseCutPreview& preview);

} // namespace app

#endif

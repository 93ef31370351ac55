/// Sweeps of the relaxation. A sweep goes over the samples in row order and in place: a bad one becomes the truncated
/// mean of its direct neighbours, those above and to the left being new already.
///
/// Both forms give the same samples. The one by diagonals uses that samples of a diagonal do not depend on each other.
#ifndef KYFOCUS_SAFE3D_RELAXATION_H
#define KYFOCUS_SAFE3D_RELAXATION_H

#include <cstdint>

#include <kyimaging/kyimaging.h>

#include "safe3d/image_uint16.h"

namespace kyf {

constexpr std::int32_t kMaxSweeps = 1000;

/// Sweeps until the largest change is not above `limit`. The number of sweeps.
std::int32_t RelaxByRows(KyfImageDataUint16& image, const KyiImageData& mask, std::uint16_t limit);

/// The same on a copy whose diagonals lie one after the other. -1 when that copy cannot be had.
std::int32_t RelaxByDiagonals(KyfImageDataUint16& image, const KyiImageData& mask, std::uint16_t limit);

} // namespace kyf

#endif

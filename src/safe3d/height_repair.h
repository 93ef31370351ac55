/// From the raw map of peak positions to a complete, quantised map at frame size. Each operation works on images of one
/// size unless it resamples. Masks are 8-bit images of one channel: 0 is good, 255 is not.
///
/// Results 1 and 0: an operation that could not allocate returns 0 and leaves image and mask as they were.
#ifndef KYFOCUS_SAFE3D_HEIGHT_REPAIR_H
#define KYFOCUS_SAFE3D_HEIGHT_REPAIR_H

#include <cstdint>

#include <kyfocus/progress.h>
#include <kyfocus/types.h>

#include "safe3d/image_uint16.h"

namespace kyf {

/// Spreads the values of a map over 0 to 65535 and sets scale and offset so that they can be had back. A flat map gives
/// samples 0. The largest value counts as 2.2e-308 at least.
void QuantiseMap(const KyfImageData& source, KyfImageDataUint16& destination);

/// Gives areas of bad pixels that are too large to be bridged, wider than a diamond of radius 10, the level, and counts
/// them as good.
/// @param level  Divided by the image's scale, then lessened by its offset: the host's unit is taken as it is.
/// @param progress  Gets two nodes, 90 and 10, which are completed; itself it is not. May be null.
std::int32_t FillPlane(KyfImageDataUint16& image, KyiImageData& mask, double level, KyfProgress* progress);

/// Makes good pixels bad that have four bad neighbours of eight or more. The outermost pixels stay.
std::int32_t HardenMask(KyiImageData& mask, KyiBool parallel);

/// Fills bad pixels by sweeps in row order, each the mean of its four neighbours, until no sample changes by more than
/// a thousandth of a frame, in at most 1000 sweeps; then no pixel is bad any more. Without a good pixel the samples
/// become 0 and the mask stays.
void RelaxHoles(KyfImageDataUint16& image, KyiImageData& mask);

/// Every sample inside the margin becomes the mean of its neighbours in a square of `size`, itself left out.
std::int32_t TakeHoleMean(KyfImageDataUint16& image, std::int32_t size, std::int32_t margin, KyiBool parallel,
                          KyfProgress* progress);

/// Rounds the values to whole frame numbers and spreads those over the samples again.
void RoundToWholeFrames(KyfImageDataUint16& image, KyiBool parallel);

/// Bilinear resampling to the destination's size, which trails the source by one source sample: at the start of a
/// source cell stands the neighbour up and left. The 16-bit form rounds. `progress` is completed and may be null.
void ResampleBilinear(const KyfImageData& source, KyfImageData& destination, KyiBool parallel, KyfProgress* progress);
void ResampleBilinear(const KyfImageDataUint16& source, KyfImageDataUint16& destination, KyiBool parallel,
                      KyfProgress* progress);

} // namespace kyf

#endif

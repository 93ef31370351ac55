/// Masked median of a map of frame numbers.
#ifndef KYFOCUS_SAFE3D_MIDDLE_FILTER_H
#define KYFOCUS_SAFE3D_MIDDLE_FILTER_H

#include <cstdint>

#include <kyfocus/types.h>

#include "safe3d/image_uint16.h"

namespace kyf {

/// Largest number of samples in a window that the side-by-side kernel counts, in bytes.
constexpr std::int32_t kMostCounted = 255;

/// Every sample whose mask is 0 becomes the median of the samples with mask 0 in the square around it, which reaches
/// size / 2 in all directions; of an even number the upper middle one, so that it is a height that was measured. Other
/// samples stay and do not count. Image and mask have one size.
/// @return 1; 0 when working memory cannot be had, with the image as it was.
std::int32_t MiddleFilter(KyfImageDataUint16& image, const KyiImageData& mask, std::int32_t size, KyiBool parallel);

/// `times` passes of MiddleFilter one after the other; none for a number below 1. Passes that would change nothing, or
/// make again what passes before have made, are traced and not computed: any number ends soon.
/// @return 1; 0 when a pass fails, with what the passes before it have made.
std::int32_t RepeatMiddleFilter(KyfImageDataUint16& image, const KyiImageData& mask, std::int32_t size,
                                std::int32_t times, KyiBool parallel);

} // namespace kyf

#endif

/// Frames under a scale and a rotation about their centre and a whole-pixel shift.
#ifndef KYFOCUS_ALIGNMENT_FRAME_WARP_H
#define KYFOCUS_ALIGNMENT_FRAME_WARP_H

#include <cstdint>

#include <kyfocus/alignment.h>

namespace kyf {

/// Where a point of the frame goes, truncated to a whole pixel. ScaleY counts for both axes.
KyPoint MapForward(KyPoint point, std::int32_t width, std::int32_t height, const KyfFrameShift& shift) noexcept;

/// Resamples all channels of a frame by bilinear interpolation. Black where the frame does not reach; no sample exceeds
/// the largest value less 1. Unused samples of four-byte pixels are 0.
/// @param destination  Of the source's size and format, and another image; anything else stays as it is.
/// Throws std::bad_alloc.
void WarpFrame(const KyiImageData& source, KyiImageData& destination, const KyfFrameShift& shift, KyiBool parallel);

} // namespace kyf

#endif

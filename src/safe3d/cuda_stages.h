/// The stages of a frame, and the median, on the CUDA device.
#ifndef KYFOCUS_SAFE3D_CUDA_STAGES_H
#define KYFOCUS_SAFE3D_CUDA_STAGES_H

#include <kyimaging/functracelog.h>

#include "safe3d/frame_stages.h"
#include "safe3d/image_uint16.h"

namespace kyf {

/// The stages on CUDA, which is initialised; null when the reduced image cannot be had. Nothing of the device outlives
/// them. They differ from those on the CPU: the channel is the middle byte of the packed frame (the first byte of a
/// pixel that was reduced on the CPU), and where brightness stands for focus all edge strength is 0.
std::unique_ptr<FrameStages> MakeCudaStages(const KyfFocusComposition& session, const KyiImageData& frame,
                                            KyiBool parallel);

/// One pass of the median on CUDA, which is initialised. The device is given one byte of mask a pixel from an array
/// that has two, so that an even pixel goes by the mask of the pixel at half its index, and an odd one always takes
/// part. Throws std::bad_alloc.
void FilterMedianOnCuda(KyfImageDataUint16& image, const KyiImageData& mask, std::int32_t size,
                        const CFuncTraceLog& log);

} // namespace kyf

#endif

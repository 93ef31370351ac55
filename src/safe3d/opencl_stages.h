/// The stages of a frame, and the median, on the OpenCL device.
#ifndef KYFOCUS_SAFE3D_OPENCL_STAGES_H
#define KYFOCUS_SAFE3D_OPENCL_STAGES_H

#include <kyimaging/functracelog.h>

#include "safe3d/frame_stages.h"
#include "safe3d/image_uint16.h"

namespace kyf {

/// The stages on OpenCL, whose program is built; null when the reduced image cannot be had. They differ from those on
/// the CPU as those on CUDA do. Nothing of the device outlives them.
std::unique_ptr<FrameStages> MakeOpenClStages(const KyfFocusComposition& session, const KyiImageData& frame,
                                              KyiBool parallel);

/// One pass of the median on OpenCL, which is initialised. The heights stay as they are when the device fails.
/// @return false when working memory cannot be had, with nothing done or traced. May throw std::bad_alloc later.
bool FilterMedianOnOpenCl(KyfImageDataUint16& image, const KyiImageData& mask, std::int32_t size,
                          const CFuncTraceLog& log);

} // namespace kyf

#endif

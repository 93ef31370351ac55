/// The kernels as the texts that an OpenCL driver compiles. What the driver gets is fixed to the byte, so that drivers
/// which keep compiled texts know it again.
///
/// All kernels run over a grid of columns (dimension 0) and rows (dimension 1) that may reach beyond the image. Images
/// are dense rows. Double arithmetic is never fused, so that values equal the CPU's.
#ifndef KYFOCUS_GPU_OPENCL_SOURCE_H
#define KYFOCUS_GPU_OPENCL_SOURCE_H

#include <cstddef>

namespace kyf {

/// Bytes of the frame kernels' text without its terminator. The driver is given one more, the terminator.
constexpr std::size_t kFrameKernelBytes = 5085;

/// Kernels of a frame's way to edge strength: reduction_down_ave, copy_green, multi_filter, high_pass_filter,
/// total_data. Built without options.
extern const char g_frameKernelText[kFrameKernelBytes + 1];

/// The masked median of heights, kernel f. Built with FILTER_SIZE, the side of the window, and HALF_FILTER_SIZE, half
/// of it without the remainder.
extern const char g_medianKernelText[];

} // namespace kyf

#endif

/// Where the stages of an add and the median run.
#ifndef KYFOCUS_SAFE3D_PROCESSING_PATH_H
#define KYFOCUS_SAFE3D_PROCESSING_PATH_H

#include <cstdint>

#include <kyimaging/functracelog.h>

namespace kyf {

enum class ProcessingPath { Cuda, OpenCl, Cpu };

/// Writes the GPU switches and picks the path of one call: CUDA, else OpenCL, else the CPU. Each finding is traced.
/// There is no other fallback: what fails on a GPU later is traced, and the call goes on.
ProcessingPath ChooseProcessingPath(std::int32_t disableGpu, const CFuncTraceLog& log);

/// Path of one pass of the median, by the switches as they stand. Nothing is traced, and the program that the stages of
/// a frame share plays no part: the median builds one of its own.
ProcessingPath ChooseMedianPath();

} // namespace kyf

#endif

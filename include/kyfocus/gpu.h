/*
 * Whether graphics processors can be used. The 3D modes choose by themselves, anew for each frame, and fall back: CUDA,
 * then OpenCL, then the processor. KyfFocusInitializeParameter.DisableGPU keeps a session on the processor.
 *
 * Call these before work starts: they must not overlap with calls on sessions.
 */
#ifndef KYFOCUS_GPU_H
#define KYFOCUS_GPU_H

#include <stdbool.h>

#include <kyfocus/types.h>

#ifdef __cplusplus
extern "C" {
#endif

/** Whether the 3D modes can use CUDA: the driver opens, device 0 gives a context, and "CUDAKernels.cu.fatbin" lies
 * beside the running program and fits the device. An attempt that fails past the opening of the driver is the last of
 * the process; the reason goes to the trace log. Ask once a process: the device is opened for the answer and given up
 * again, and what it had there stays taken. After that the thread of the next add or make owns the context. Switches
 * CUDA on for the process until a session's next add or make writes its own DisableGPU. */
KYF_API bool KyfGetEnableGpuCuda(void);

/** Whether the 3D modes can use OpenCL: the library opens, its first platform has a graphics processor, and that one
 *  compiles the kernels, which asks for doubles. False also with several graphics processors there, and where the
 *  kernels do not compile: frames then go to the processor, medians of the make still to OpenCL. A library that does
 *  not open and a compilation that fails are the last of the process; the reason goes to the trace log. What was
 *  compiled is kept in "OpenCLFile.bin" in the folder of KyfSetIntermediateCodePath, and the next process starts with
 *  that. Switches OpenCL on for the process until a session's next add or make writes its own DisableGPU. */
KYF_API bool KyfGetEnableGpuOpenCl(void);

#ifdef __cplusplus
}
#endif

#endif

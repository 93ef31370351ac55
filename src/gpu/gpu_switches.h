/// What the process knows of its GPU back ends: whether a host has switched them off and whether they are there.
///
/// gpu/ uses filters (addressing of samples), imaging (public calls) and platform.
#ifndef KYFOCUS_GPU_GPU_SWITCHES_H
#define KYFOCUS_GPU_GPU_SWITCHES_H

#include <atomic>
#include <cstdint>

namespace kyf {

/// The IsDisableGPU flag of each back end, process wide: every 3D add and make writes both. Sessions with unlike
/// settings in two threads disturb each other's choice, so that work goes to a back end that a session has switched
/// off, where nothing keeps two threads apart; and CUDA's context belongs to one thread.
extern std::atomic<std::int32_t> g_isDisableGpuCuda;
extern std::atomic<std::int32_t> g_isDisableGpuOpenCl;

/// Writes both flags.
void SetIsDisableGpu(std::int32_t disable) noexcept;

/// Whether a back end has found its driver and is ready. Looks for it where that has not been done, unless it is
/// switched off. Throws std::bad_alloc.
bool IsCudaInitialized();
bool IsOpenClInitialized();

/// Whether the kernels that the stages of a frame share are there for OpenCL, which is initialised; builds them at
/// first. Throws std::bad_alloc.
bool HasOpenClProgram();

} // namespace kyf

#endif

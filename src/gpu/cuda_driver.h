/// The part of the CUDA driver's interface that is used: types and entry points, as the driver publishes them. The
/// driver is opened at run time, so that none of its headers is needed.
#ifndef KYFOCUS_GPU_CUDA_DRIVER_H
#define KYFOCUS_GPU_CUDA_DRIVER_H

#include <cstddef>

namespace kyf {

using CUresult = int; ///< 0: success
using CUdevice = int;
using CUdeviceptr = unsigned long long;
using CUcontext = struct CUctx_st*;
using CUmodule = struct CUmod_st*;
using CUfunction = struct CUfunc_st*;
using CUstream = struct CUstream_st*;

/// The table of entry points. The copies are those of the calling thread's own default stream.
struct CudaEntryPoints {
    CUresult (*cuInit)(unsigned int flags);
    CUresult (*cuDeviceGet)(CUdevice* device, int ordinal);
    CUresult (*cuCtxCreate_v2)(CUcontext* context, unsigned int flags, CUdevice device);
    CUresult (*cuCtxSetCurrent)(CUcontext context);
    CUresult (*cuModuleLoad)(CUmodule* module, const char* path);
    CUresult (*cuMemAlloc_v2)(CUdeviceptr* memory, std::size_t bytes);
    CUresult (*cuModuleGetFunction)(CUfunction* function, CUmodule module, const char* name);
    CUresult (*cuMemcpyHtoD_v2_ptds)(CUdeviceptr to, const void* from, std::size_t bytes);
    CUresult (*cuMemcpyDtoH_v2_ptds)(void* to, CUdeviceptr from, std::size_t bytes);
    CUresult (*cuLaunchKernel)(CUfunction function, unsigned int gridX, unsigned int gridY, unsigned int gridZ,
                               unsigned int blockX, unsigned int blockY, unsigned int blockZ, unsigned int sharedBytes,
                               CUstream stream, void** parameters, void** extra);
    CUresult (*cuMemFree_v2)(CUdeviceptr memory);
    CUresult (*cuCtxDestroy)(CUcontext context);
    CUresult (*cuModuleUnload)(CUmodule module);
};

} // namespace kyf

#endif

/// The CUDA driver: found at run time, with the kernels of the file "CUDAKernels.cu.fatbin" beside the running program.
#ifndef KYFOCUS_GPU_CUDA_API_H
#define KYFOCUS_GPU_CUDA_API_H

#include <string>
#include <string_view>

#include <kyimaging/functracelog.h>

#include "gpu/cuda_driver.h"

namespace kyf {

/// Path of the kernel file for a program. Of a program's path longer than 260 bytes the rest is not looked at.
std::string CudaKernelFile(std::string_view programPath);

/// The driver's entry points, one context on device 0 and the module of kernels. One object serves the process; tests
/// make more. Not locked: the first use must not overlap with others, and the context is current in that thread alone.
class CCudaAPI {
  public:
    CCudaAPI() = default;
    /// Unloads as Probe does, then closes the driver.
    ~CCudaAPI();
    CCudaAPI(const CCudaAPI&) = delete;
    CCudaAPI& operator=(const CCudaAPI&) = delete;

    /// The process's object after an attempt to get it ready.
    static CCudaAPI& GetInstance();
    /// The process's object as it stands: nothing is loaded, nothing traced.
    static CCudaAPI& TheInstance();

    /// Opens the driver and initialises, unless the back end is switched off. An initialisation that fails is the last;
    /// a driver that is not there is looked for again.
    void GetReady();
    /// Whether CUDA can be used. Leaves the driver open, with context and module given up.
    bool Probe();

    bool IsInitialized() const noexcept { return m_is_initialized; }

    /// @name The driver's calls, for an object that is initialised. Arguments and results are the driver's.
    /// @{
    CUresult AllocMemory(CUdeviceptr* memory, std::size_t bytes) const;
    CUresult GetKernel(CUfunction* kernel, const char* name) const;
    CUresult CopyToDevice(CUdeviceptr to, const void* from, std::size_t bytes) const;
    CUresult CopyToHost(void* to, CUdeviceptr from, std::size_t bytes) const;
    CUresult Launch(CUfunction kernel, unsigned int gridX, unsigned int gridY, unsigned int gridZ, unsigned int blockX,
                    unsigned int blockY, unsigned int blockZ, unsigned int sharedBytes, CUstream stream,
                    void** parameters, void** extra) const;
    CUresult FreeMemory(CUdeviceptr memory) const;
    /// @}

  private:
    void OpenDriver(const CFuncTraceLog& log);
    const char* ResolveEntryPoints();
    void Initialize();
    bool MakeContext(const CFuncTraceLog& log);
    bool HasSucceeded(CUresult result, const CFuncTraceLog& log, const wchar_t* failure, const wchar_t* text = nullptr);
    void GiveUp();
    void EndUse();

    bool m_is_loaded = false;
    void* m_module_handle = nullptr;
    CUcontext m_cuda_context = nullptr;
    CUmodule m_cuda_module = nullptr;
    bool m_is_initialized = false; ///< context and module are there
    bool m_is_failed = false;      ///< never cleared
    CudaEntryPoints m_entry{};
};

} // namespace kyf

#endif

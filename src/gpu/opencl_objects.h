/// Buffers and kernels that are released on every way out. Errors are traced, and the caller goes on.
#ifndef KYFOCUS_GPU_OPENCL_OBJECTS_H
#define KYFOCUS_GPU_OPENCL_OBJECTS_H

#include <cstddef>
#include <cstdint>
#include <utility>

#include "gpu/opencl_api.h"

namespace kyf {

/// A buffer on the device, or none when it could not be made.
class OpenClBuffer {
  public:
    OpenClBuffer() = default;
    /// @param host  Copied where the flags say so; else null.
    OpenClBuffer(const COpenCLAPI& api, cl_mem_flags flags, std::size_t bytes, const void* host = nullptr) noexcept;
    ~OpenClBuffer();
    OpenClBuffer(OpenClBuffer&& other) noexcept
        : m_api(other.m_api), m_memory(std::exchange(other.m_memory, nullptr)) {}
    OpenClBuffer& operator=(OpenClBuffer&& other) noexcept {
        std::swap(m_api, other.m_api);
        std::swap(m_memory, other.m_memory);
        return *this;
    }

    const cl_mem& Get() const noexcept { return m_memory; }
    /// Waits for the work queued before, and copies. False after an error, with `to` as it was.
    bool Read(std::size_t bytes, void* to) const noexcept;

  private:
    const COpenCLAPI* m_api = nullptr;
    cl_mem m_memory = nullptr;
};

/// Arguments and start of a kernel that somebody else owns. With null all calls fail.
class OpenClLaunch {
  public:
    OpenClLaunch(const COpenCLAPI& api, cl_kernel kernel) noexcept : m_api(api), m_kernel(kernel) {}

    /// Arguments in their order from 0 on, then a run over width by height in groups of 16 by 16. A run whose buffers
    /// are not all in place is left out: a kernel must not meet a null pointer, nor a buffer of an earlier run.
    /// @return whether the run is queued.
    template <typename... Args> bool operator()(std::int32_t width, std::int32_t height, const Args&... args) {
        (SetArg(args), ...);
        return Enqueue(width, height);
    }

  private:
    void SetArg(const OpenClBuffer& buffer) noexcept;
    void SetArg(cl_int value) noexcept { Set(sizeof value, &value); }
    void SetArg(cl_double value) noexcept { Set(sizeof value, &value); }
    bool Set(std::size_t bytes, const void* value) noexcept;
    bool Enqueue(std::int32_t width, std::int32_t height) noexcept;

    const COpenCLAPI& m_api;
    cl_kernel m_kernel;
    cl_uint m_index = 0;
    bool m_hasBuffers = true;
};

/// A kernel of a program for the time of its launches.
class OpenClKernel {
  public:
    OpenClKernel(const COpenCLAPI& api, cl_program program, const char* name) noexcept;
    ~OpenClKernel();
    OpenClKernel(const OpenClKernel&) = delete;
    OpenClKernel& operator=(const OpenClKernel&) = delete;

    template <typename... Args> void Launch(std::int32_t width, std::int32_t height, const Args&... args) {
        OpenClLaunch(m_api, m_kernel)(width, height, args...);
    }

  private:
    const COpenCLAPI& m_api;
    cl_kernel m_kernel;
};

} // namespace kyf

#endif

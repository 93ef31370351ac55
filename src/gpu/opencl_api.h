/// OpenCL, reached at run time: the driver's entry points, one context and one command queue for the process.
#ifndef KYFOCUS_GPU_OPENCL_API_H
#define KYFOCUS_GPU_OPENCL_API_H

#include <cstddef>
#include <vector>

#ifndef CL_TARGET_OPENCL_VERSION
#define CL_TARGET_OPENCL_VERSION 120
#endif
#include <CL/cl.h>

namespace kyf {

/// The driver's entry points, in the order in which they are looked up. Empty until a driver has been loaded.
struct OpenClTable {
    decltype(&::clGetPlatformIDs) clGetPlatformIDs;
    decltype(&::clGetPlatformInfo) clGetPlatformInfo;
    decltype(&::clGetDeviceIDs) clGetDeviceIDs;
    decltype(&::clGetDeviceInfo) clGetDeviceInfo;
    decltype(&::clCreateContextFromType) clCreateContextFromType;
    decltype(&::clGetContextInfo) clGetContextInfo;
    decltype(&::clCreateBuffer) clCreateBuffer;
    decltype(&::clReleaseMemObject) clReleaseMemObject;
    decltype(&::clCreateProgramWithSource) clCreateProgramWithSource;
    decltype(&::clCreateProgramWithBinary) clCreateProgramWithBinary;
    decltype(&::clBuildProgram) clBuildProgram;
    decltype(&::clGetProgramInfo) clGetProgramInfo;
    decltype(&::clGetProgramBuildInfo) clGetProgramBuildInfo;
    decltype(&::clCreateKernel) clCreateKernel;
    decltype(&::clReleaseKernel) clReleaseKernel;
    decltype(&::clSetKernelArg) clSetKernelArg;
    decltype(&::clEnqueueReadBuffer) clEnqueueReadBuffer;
    decltype(&::clEnqueueNDRangeKernel) clEnqueueNDRangeKernel;
    decltype(&::clCreateCommandQueue) clCreateCommandQueue;
};

/// The way to OpenCL. One object serves the process; tests make more. Nothing is ever released: the system takes it all
/// back when the process ends. No lock: first uses must not overlap.
class COpenCLAPI {
  public:
    COpenCLAPI() = default;
    COpenCLAPI(const COpenCLAPI&) = delete;
    COpenCLAPI& operator=(const COpenCLAPI&) = delete;

    /// The process's object after GetReady.
    static COpenCLAPI& GetInstance();
    /// The process's object as it stands: nothing is loaded, nothing traced.
    static COpenCLAPI& TheInstance();

    /// Loads and initialises as far as the switch and earlier attempts leave that to do. A driver that cannot be loaded
    /// is not looked for again; an initialisation that finds no device is. Throws std::bad_alloc.
    void GetReady();

    /// Whether context and queue have been made. Errors on the way are traced and do not count.
    bool IsInitialized() const noexcept { return m_is_initialized; }
    bool IsLoaded() const noexcept { return m_is_loaded; }
    bool HasModule() const noexcept { return m_module_handle != nullptr; }

    const cl_context* Context() const noexcept { return &m_context; }
    const cl_command_queue* CommandQueue() const noexcept { return &m_command_queue; }
    const std::vector<cl_device_id>& Devices() const noexcept { return m_devices; }
    /// Null without a device.
    cl_device_id FirstDevice() const noexcept { return m_devices.empty() ? nullptr : m_devices.front(); }
    /// Once there is a module, every entry is set.
    const OpenClTable& Table() const noexcept { return m_table; }

    /// @name The driver's calls on the context, its devices and its queue. Null handles that no loader checks are
    /// answered here with the error of the standard: some drivers look into them.
    /// @{
    cl_mem CreateBuffer(cl_mem_flags flags, std::size_t bytes, void* host, cl_int* error) const noexcept {
        return m_table.clCreateBuffer(m_context, flags, bytes, host, error);
    }
    cl_kernel CreateKernel(cl_program program, const char* name, cl_int* error) const noexcept {
        return m_table.clCreateKernel(program, name, error);
    }
    cl_int SetKernelArg(cl_kernel kernel, cl_uint index, std::size_t bytes, const void* value) const noexcept {
        return m_table.clSetKernelArg(kernel, index, bytes, value);
    }
    /// Waits until the data is there.
    cl_int ReadBuffer(cl_mem buffer, std::size_t bytes, void* to) const noexcept {
        if (!buffer) return CL_INVALID_MEM_OBJECT;
        return m_table.clEnqueueReadBuffer(m_command_queue, buffer, CL_TRUE, 0, bytes, to, 0, nullptr, nullptr);
    }
    cl_int Run(cl_kernel kernel, cl_uint dimensions, const std::size_t* global,
               const std::size_t* local) const noexcept {
        if (!kernel) return CL_INVALID_KERNEL;
        return m_table.clEnqueueNDRangeKernel(m_command_queue, kernel, dimensions, nullptr, global, local, 0, nullptr,
                                              nullptr);
    }
    /// For the first `count` devices.
    cl_int BuildProgram(cl_program program, cl_uint count, const char* options) const noexcept {
        if (!FirstDevice()) return CL_INVALID_DEVICE;
        return m_table.clBuildProgram(program, count, m_devices.data(), options, nullptr, nullptr);
    }
    /// Of the first device's build.
    cl_int GetBuildLog(cl_program program, std::size_t room, void* log, std::size_t* bytes) const noexcept {
        if (!FirstDevice()) return CL_INVALID_DEVICE;
        return m_table.clGetProgramBuildInfo(program, FirstDevice(), CL_PROGRAM_BUILD_LOG, room, log, bytes);
    }
    /// For the first device.
    cl_program CreateProgramWithBinary(std::size_t size, const unsigned char* bytes, cl_int* status,
                                       cl_int* error) const noexcept {
        const cl_device_id device = FirstDevice();
        if (device) return m_table.clCreateProgramWithBinary(m_context, 1, &device, &size, &bytes, status, error);
        *error = CL_INVALID_DEVICE;
        return nullptr;
    }
    /// @}

  private:
    void LoadDll();
    void Initialize();

    bool m_is_loaded = false;
    void* m_module_handle = nullptr;
    bool m_is_initialized = false;
    cl_context m_context = nullptr;
    std::vector<cl_device_id> m_devices;
    cl_command_queue m_command_queue = nullptr;
    OpenClTable m_table{};
};

/// Traces "err = %d" for a code other than 0; true for 0.
bool CheckOpenCl(cl_int error, const char* file = __builtin_FILE(), int line = __builtin_LINE()) noexcept;

/// Describes platforms and devices in the trace log.
void LogOpenClEnvironment(const OpenClTable& table);

} // namespace kyf

#endif

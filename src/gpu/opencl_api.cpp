#include "gpu/opencl_api.h"

#include <array>
#include <cwchar>
#include <string_view>

#include <kyimaging/functracelog.h>

#include "gpu/gpu_switches.h"
#include "platform/modules.h"
#include "platform/text.h"

namespace kyf {

namespace {

constexpr const wchar_t* kClass = L"COpenCLAPI";
constexpr const wchar_t* kModule = L"OpenCL.dll";

bool IsSwitchedOff(const CFuncTraceLog& log) {
    if (g_isDisableGpuOpenCl == 0) return false;
    log.Trace(__FILE__, __LINE__, L"IsDisableGPU == true");
    return true;
}

/// Looks names up one after the other, and remembers the first that is missing.
class Resolver {
  public:
    explicit Resolver(void* module) : m_module(module) {}

    template <typename Entry> void operator()(Entry& entry, const char* name) noexcept {
        entry = reinterpret_cast<Entry>(platform::FindEntryPoint(m_module, name));
        if (!entry && !m_missing) m_missing = name;
    }
    const char* Missing() const noexcept { return m_missing; }

  private:
    void* m_module;
    const char* m_missing = nullptr;
};

/// Name of the first entry point that the module lacks; null when all are there.
const char* FillTable(void* module, OpenClTable& table) noexcept {
    Resolver resolve(module);
    resolve(table.clGetPlatformIDs, "clGetPlatformIDs");
    resolve(table.clGetPlatformInfo, "clGetPlatformInfo");
    resolve(table.clGetDeviceIDs, "clGetDeviceIDs");
    resolve(table.clGetDeviceInfo, "clGetDeviceInfo");
    resolve(table.clCreateContextFromType, "clCreateContextFromType");
    resolve(table.clGetContextInfo, "clGetContextInfo");
    resolve(table.clCreateBuffer, "clCreateBuffer");
    resolve(table.clReleaseMemObject, "clReleaseMemObject");
    resolve(table.clCreateProgramWithSource, "clCreateProgramWithSource");
    resolve(table.clCreateProgramWithBinary, "clCreateProgramWithBinary");
    resolve(table.clBuildProgram, "clBuildProgram");
    resolve(table.clGetProgramInfo, "clGetProgramInfo");
    resolve(table.clGetProgramBuildInfo, "clGetProgramBuildInfo");
    resolve(table.clCreateKernel, "clCreateKernel");
    resolve(table.clReleaseKernel, "clReleaseKernel");
    resolve(table.clSetKernelArg, "clSetKernelArg");
    resolve(table.clEnqueueReadBuffer, "clEnqueueReadBuffer");
    resolve(table.clEnqueueNDRangeKernel, "clEnqueueNDRangeKernel");
    resolve(table.clCreateCommandQueue, "clCreateCommandQueue");
    return resolve.Missing();
}

} // namespace

bool CheckOpenCl(cl_int error, const char* file, int line) noexcept {
    if (error == CL_SUCCESS) return true;
    std::array<wchar_t, 24> text{};
    std::swprintf(text.data(), text.size(), L"err = %d", error);
    KyiPutTraceLog(file, line, text.data(), 0);
    return false;
}

COpenCLAPI& COpenCLAPI::TheInstance() {
    static COpenCLAPI instance;
    return instance;
}

COpenCLAPI& COpenCLAPI::GetInstance() {
    TheInstance().GetReady();
    return TheInstance();
}

void COpenCLAPI::GetReady() {
    if (!m_is_loaded && !m_module_handle) LoadDll();
    if (m_module_handle && g_isDisableGpuOpenCl == 0 && !m_is_initialized) Initialize();
}

void COpenCLAPI::LoadDll() {
    const CFuncTraceLog log(__FILE__, __LINE__, kClass, L"LoadDll( LPCTSTR )", 0);
    if (IsSwitchedOff(log)) return;
    m_is_loaded = true;
    m_module_handle = platform::OpenModule(kModule);
    if (!m_module_handle) {
        log.Trace(__FILE__, __LINE__, L"Failed: AfxLoadLibrary", L" ", kModule);
        return;
    }
    if (const char* const missing = FillTable(m_module_handle, m_table)) {
        // Half a driver is none: a call that is not there cannot even fail.
        log.Trace(__FILE__, __LINE__, kModule, L" lacks ", platform::ToWide(missing).c_str());
        platform::CloseModule(m_module_handle);
        m_module_handle = nullptr;
        return;
    }
    if (KyiIsPuttingTraceLog()) LogOpenClEnvironment(m_table);
}

// The first platform is the only one that is tried. Past a context that is not there, everything fails and is traced;
// what counts is that there are devices.
void COpenCLAPI::Initialize() {
    const CFuncTraceLog log(__FILE__, __LINE__, kClass, L"Initialize()", 0);
    if (IsSwitchedOff(log) || m_is_initialized) return;
    cl_uint count = 0;
    CheckOpenCl(m_table.clGetPlatformIDs(0, nullptr, &count));
    if (count == 0) {
        log.Trace(__FILE__, __LINE__, L"num_platforms == 0");
        return;
    }
    std::vector<cl_platform_id> platforms(count);
    CheckOpenCl(m_table.clGetPlatformIDs(count, platforms.data(), nullptr));
    const std::array<cl_context_properties, 3> properties{
        CL_CONTEXT_PLATFORM, reinterpret_cast<cl_context_properties>(platforms.front()), 0};
    cl_int error = CL_SUCCESS;
    m_context = m_table.clCreateContextFromType(properties.data(), CL_DEVICE_TYPE_GPU, nullptr, nullptr, &error);
    CheckOpenCl(error);
    std::size_t bytes = 0;
    CheckOpenCl(m_table.clGetContextInfo(m_context, CL_CONTEXT_DEVICES, 0, nullptr, &bytes));
    if (bytes == 0) {
        log.Trace(__FILE__, __LINE__, L"param_value_size == 0");
        return;
    }
    m_devices.assign(bytes / sizeof(cl_device_id), nullptr);
    CheckOpenCl(m_table.clGetContextInfo(m_context, CL_CONTEXT_DEVICES, m_devices.size() * sizeof(cl_device_id),
                                         m_devices.data(), nullptr));
    if (FirstDevice())
        m_command_queue = m_table.clCreateCommandQueue(m_context, FirstDevice(), 0, &error);
    else
        error = CL_INVALID_DEVICE;
    CheckOpenCl(error);
    m_is_initialized = true;
}

} // namespace kyf

#include "gpu/cuda_api.h"

#include <new>

#include <kyfocus/gpu.h>

#include "gpu/gpu_switches.h"
#include "platform/modules.h"
#include "platform/text.h"

namespace kyf {

namespace {

constexpr const wchar_t* kClass = L"CCudaAPI";
constexpr const wchar_t* kDriver = L"nvcuda.dll";
constexpr const char* kKernelFile = "/CUDAKernels.cu.fatbin";
constexpr std::size_t kMostPathBytes = 260;

bool IsSwitchedOff(const CFuncTraceLog& log) {
    if (g_isDisableGpuCuda == 0) return false;
    log.Trace(__FILE__, __LINE__, L"IsDisableGPU == true");
    return true;
}

/// Entry points of a module, and the first one that it lacks.
class Resolver {
  public:
    explicit Resolver(void* module) : m_module(module) {}

    template <typename F> void operator()(F*& entry, const char* name) {
        entry = reinterpret_cast<F*>(platform::FindEntryPoint(m_module, name));
        if (!entry && !m_missing) m_missing = name;
    }

    const char* Missing() const { return m_missing; }

  private:
    void* m_module;
    const char* m_missing = nullptr;
};

} // namespace

std::string CudaKernelFile(std::string_view programPath) {
    programPath = programPath.substr(0, kMostPathBytes);
    const std::size_t slash = programPath.rfind('/');
    return std::string(programPath.substr(0, slash == std::string_view::npos ? 0 : slash)) + kKernelFile;
}

CCudaAPI::~CCudaAPI() {
    EndUse();
    platform::CloseModule(m_module_handle);
}

CCudaAPI& CCudaAPI::TheInstance() {
    static CCudaAPI instance;
    return instance;
}

CCudaAPI& CCudaAPI::GetInstance() {
    CCudaAPI& instance = TheInstance();
    instance.GetReady();
    // At the end of the process the driver's own clean-up would come first: the object is older than what the driver
    // has made since.
    struct EndOfUse {
        ~EndOfUse() { TheInstance().EndUse(); }
    };
    if (instance.m_is_initialized) static const EndOfUse end;
    return instance;
}

void CCudaAPI::GetReady() {
    if (m_is_loaded || m_module_handle) {
        Initialize();
        return;
    }
    const CFuncTraceLog log(__FILE__, __LINE__, kClass, L"LoadDll( LPCTSTR )", 0);
    OpenDriver(log);
    Initialize();
}

void CCudaAPI::OpenDriver(const CFuncTraceLog& log) {
    if (IsSwitchedOff(log)) return;
    m_module_handle = platform::OpenModule(kDriver);
    if (!m_module_handle) {
        log.Trace(__FILE__, __LINE__, L"Failed: AfxLoadLibrary", L" ", kDriver);
        return;
    }
    // A driver too old or too new for the table is one that cannot be used.
    if (const char* const missing = ResolveEntryPoints()) {
        log.Trace(__FILE__, __LINE__, kDriver, L" lacks ", platform::ToWide(missing).c_str());
        m_is_failed = true;
    }
    m_is_loaded = true;
}

const char* CCudaAPI::ResolveEntryPoints() {
    Resolver resolve(m_module_handle);
    resolve(m_entry.cuInit, "cuInit");
    resolve(m_entry.cuDeviceGet, "cuDeviceGet");
    resolve(m_entry.cuCtxCreate_v2, "cuCtxCreate_v2");
    resolve(m_entry.cuCtxSetCurrent, "cuCtxSetCurrent");
    resolve(m_entry.cuModuleLoad, "cuModuleLoad");
    resolve(m_entry.cuMemAlloc_v2, "cuMemAlloc_v2");
    resolve(m_entry.cuModuleGetFunction, "cuModuleGetFunction");
    resolve(m_entry.cuMemcpyHtoD_v2_ptds, "cuMemcpyHtoD_v2_ptds");
    resolve(m_entry.cuMemcpyDtoH_v2_ptds, "cuMemcpyDtoH_v2_ptds");
    resolve(m_entry.cuLaunchKernel, "cuLaunchKernel");
    resolve(m_entry.cuMemFree_v2, "cuMemFree_v2");
    resolve(m_entry.cuCtxDestroy, "cuCtxDestroy");
    resolve(m_entry.cuModuleUnload, "cuModuleUnload");
    return resolve.Missing();
}

void CCudaAPI::Initialize() {
    const CFuncTraceLog log(__FILE__, __LINE__, kClass, L"Initialize()", 0);
    if (IsSwitchedOff(log) || m_is_failed || m_is_initialized || !m_is_loaded || !MakeContext(log)) return;
    const std::string file = CudaKernelFile(platform::ProgramPath());
    m_is_initialized = HasSucceeded(m_entry.cuModuleLoad(&m_cuda_module, file.c_str()), log,
                                    L"Failed:  this->cuModuleLoad( &this->m_cuda_module, process_image_file_name )",
                                    platform::ToWide(file).c_str());
    if (!m_is_initialized) GiveUp();
}

// Device 0, whatever other devices there are.
bool CCudaAPI::MakeContext(const CFuncTraceLog& log) {
    CUdevice device = 0;
    return HasSucceeded(m_entry.cuInit(0), log, L"Failed: this->cuInit( 0 )") &&
           HasSucceeded(m_entry.cuDeviceGet(&device, 0), log, L"Failed:  this->cuDeviceGet( &cuda_device, 0 )") &&
           HasSucceeded(m_entry.cuCtxCreate_v2(&m_cuda_context, 0, device), log,
                        L"Failed:  this->cuCtxCreate( &this->m_cuda_context, 0, cuda_device )") &&
           HasSucceeded(m_entry.cuCtxSetCurrent(m_cuda_context), log,
                        L"Failed:  this->cuCtxSetCurrent( this->m_cuda_context )");
}

bool CCudaAPI::HasSucceeded(CUresult result, const CFuncTraceLog& log, const wchar_t* failure, const wchar_t* text) {
    if (result == 0) return true;
    log.Trace(__FILE__, __LINE__, failure, text ? L" " : nullptr, text);
    m_is_failed = true;
    return false;
}

// The driver is given the addresses of the members, not the handles in them, so that it knows neither and frees
// nothing: hosts have always run with context and module alive to the end of the process.
void CCudaAPI::GiveUp() {
    if (!m_module_handle) return;
    m_entry.cuModuleUnload(reinterpret_cast<CUmodule>(&m_cuda_module));
    m_entry.cuCtxDestroy(reinterpret_cast<CUcontext>(&m_cuda_context));
}

void CCudaAPI::EndUse() {
    if (m_is_initialized) GiveUp();
    m_is_initialized = false;
}

bool CCudaAPI::Probe() {
    GetReady();
    const bool isAvailable = m_is_initialized;
    EndUse();
    return isAvailable;
}

CUresult CCudaAPI::AllocMemory(CUdeviceptr* memory, std::size_t bytes) const {
    return m_entry.cuMemAlloc_v2(memory, bytes);
}

CUresult CCudaAPI::GetKernel(CUfunction* kernel, const char* name) const {
    return m_entry.cuModuleGetFunction(kernel, m_cuda_module, name);
}

CUresult CCudaAPI::CopyToDevice(CUdeviceptr to, const void* from, std::size_t bytes) const {
    return m_entry.cuMemcpyHtoD_v2_ptds(to, from, bytes);
}

CUresult CCudaAPI::CopyToHost(void* to, CUdeviceptr from, std::size_t bytes) const {
    return m_entry.cuMemcpyDtoH_v2_ptds(to, from, bytes);
}

CUresult CCudaAPI::Launch(CUfunction kernel, unsigned int gridX, unsigned int gridY, unsigned int gridZ,
                          unsigned int blockX, unsigned int blockY, unsigned int blockZ, unsigned int sharedBytes,
                          CUstream stream, void** parameters, void** extra) const {
    return m_entry.cuLaunchKernel(kernel, gridX, gridY, gridZ, blockX, blockY, blockZ, sharedBytes, stream, parameters,
                                  extra);
}

CUresult CCudaAPI::FreeMemory(CUdeviceptr memory) const { return m_entry.cuMemFree_v2(memory); }

} // namespace kyf

bool KyfGetEnableGpuCuda(void) {
    kyf::g_isDisableGpuCuda = 0;
    try {
        return kyf::CCudaAPI::TheInstance().Probe();
    } catch (const std::bad_alloc&) {
        return false;
    }
}

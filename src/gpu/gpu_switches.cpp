#include "gpu/gpu_switches.h"

#include "gpu/cuda_api.h"
#include "gpu/opencl_program.h"

namespace kyf {

std::atomic<std::int32_t> g_isDisableGpuCuda{0};
std::atomic<std::int32_t> g_isDisableGpuOpenCl{0};

void SetIsDisableGpu(std::int32_t disable) noexcept {
    g_isDisableGpuCuda = disable;
    g_isDisableGpuOpenCl = disable;
}

bool IsCudaInitialized() { return CCudaAPI::GetInstance().IsInitialized(); }
bool IsOpenClInitialized() { return COpenCLAPI::GetInstance().IsInitialized(); }
bool HasOpenClProgram() { return COpenCLProgram::GetInstance().GetProgram(COpenCLAPI::TheInstance()) != nullptr; }

} // namespace kyf

#include "safe3d/processing_path.h"

#include "gpu/gpu_switches.h"

namespace kyf {

namespace {

void TraceSwitch(const CFuncTraceLog& log, const wchar_t* name, bool value) {
    log.Trace(__FILE__, __LINE__, name, value ? L" = true" : L" = false");
}

} // namespace

ProcessingPath ChooseProcessingPath(std::int32_t disableGpu, const CFuncTraceLog& log) {
    TraceSwitch(log, L"IsDisableGPU", disableGpu != 0);
    SetIsDisableGpu(disableGpu);
    const bool isEnableCuda = g_isDisableGpuCuda == 0 && IsCudaInitialized();
    TraceSwitch(log, L"isEnableCuda", isEnableCuda);
    bool isEnableOpenCl = false;
    if (!isEnableCuda) {
        isEnableOpenCl = g_isDisableGpuOpenCl == 0 && IsOpenClInitialized();
        log.Trace(__FILE__, __LINE__, isEnableOpenCl ? L"OpenCL is initialized." : L"OpenCL is not initialized.");
    }
    TraceSwitch(log, L"isEnableOpenCl", isEnableOpenCl);
    if (isEnableCuda) return ProcessingPath::Cuda;
    return isEnableOpenCl ? ProcessingPath::OpenCl : ProcessingPath::Cpu;
}

} // namespace kyf

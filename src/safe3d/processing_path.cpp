#include "safe3d/processing_path.h"

#include "gpu/gpu_switches.h"

namespace kyf {

namespace {

void TraceSwitch(const CFuncTraceLog& log, const wchar_t* name, bool value) {
    log.Trace(__FILE__, __LINE__, name, value ? L" = true" : L" = false");
}

// A back end is asked first and its switch looked at then: what it does when switched off is in the trace.
bool IsCudaEnabled() { return IsCudaInitialized() && g_isDisableGpuCuda == 0; }
bool IsOpenClEnabled() { return IsOpenClInitialized() && g_isDisableGpuOpenCl == 0; }

bool UseOpenCl(bool isEnabled, const CFuncTraceLog& log) {
    log.Trace(__FILE__, __LINE__, isEnabled ? L"OpenCL is initialized." : L"OpenCL is not initialized.");
    if (!isEnabled || HasOpenClProgram()) return isEnabled;
    log.Trace(__FILE__, __LINE__, L"OpenCL: program == nullptr");
    return false;
}

} // namespace

ProcessingPath ChooseProcessingPath(std::int32_t disableGpu, const CFuncTraceLog& log) {
    TraceSwitch(log, L"IsDisableGPU", disableGpu != 0);
    SetIsDisableGpu(disableGpu);
    const bool isEnableCuda = IsCudaEnabled();
    TraceSwitch(log, L"isEnableCuda", isEnableCuda);
    const bool hasOpenCl = IsOpenClEnabled(); // gets it ready, be it needed or not
    const bool isEnableOpenCl = !isEnableCuda && UseOpenCl(hasOpenCl, log);
    TraceSwitch(log, L"isEnableOpenCl", isEnableOpenCl);
    if (isEnableCuda) return ProcessingPath::Cuda;
    return isEnableOpenCl ? ProcessingPath::OpenCl : ProcessingPath::Cpu;
}

ProcessingPath ChooseMedianPath() {
    if (IsCudaEnabled()) return ProcessingPath::Cuda;
    return IsOpenClEnabled() ? ProcessingPath::OpenCl : ProcessingPath::Cpu;
}

} // namespace kyf

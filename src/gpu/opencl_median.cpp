#include "gpu/opencl_median.h"

#include <algorithm>
#include <string>
#include <vector>

#include "gpu/opencl_objects.h"
#include "gpu/opencl_source.h"

namespace kyf {

namespace {

/// Asks for what the compiler said and drops it: only whether the driver can tell goes to the trace.
void AskBuildLog(const COpenCLAPI& api, cl_program program) {
    std::size_t size = 0;
    CheckOpenCl(api.GetBuildLog(program, 0, nullptr, &size));
    std::string text(size, '\0');
    CheckOpenCl(api.GetBuildLog(program, text.size(), text.data(), nullptr));
}

std::pair<cl_program, cl_kernel> BuildKernel(const COpenCLAPI& api, std::int32_t size) {
    const char* text = g_medianKernelText;
    cl_int error = CL_SUCCESS;
    const cl_program program = api.Table().clCreateProgramWithSource(*api.Context(), 1, &text, nullptr, &error);
    CheckOpenCl(error);
    const std::string options =
        "-DFILTER_SIZE=" + std::to_string(size) + " -DHALF_FILTER_SIZE=" + std::to_string(size / 2);
    CheckOpenCl(api.BuildProgram(program, static_cast<cl_uint>(api.Devices().size()), options.c_str()));
    AskBuildLog(api, program);
    const cl_kernel kernel = api.CreateKernel(program, "f", &error);
    CheckOpenCl(error);
    return {program, kernel};
}

} // namespace

OpenClMedian& OpenClMedian::GetInstance() {
    static OpenClMedian instance;
    return instance;
}

cl_kernel OpenClMedian::KernelOf(const COpenCLAPI& api, std::int32_t size, const CFuncTraceLog& log) {
    const auto found = m_kernels.find(size);
    if (found != m_kernels.end()) return found->second.second;
    log.Trace(__FILE__, __LINE__, L"Create an OpenCL kernel.");
    return m_kernels.emplace(size, BuildKernel(api, size)).first->second.second;
}

void OpenClMedian::Run(const COpenCLAPI& api, const MedianData& data, std::int32_t size, const CFuncTraceLog& log) {
    log.Trace(__FILE__, __LINE__, L"Begin processing by OpenCL.");
    const cl_kernel kernel = KernelOf(api, size, log);
    const std::size_t pixels = static_cast<std::size_t>(data.Width) * static_cast<std::size_t>(data.Height);
    const std::size_t bytes = pixels * sizeof(std::uint16_t);
    constexpr cl_mem_flags kInput = CL_MEM_READ_ONLY | CL_MEM_COPY_HOST_PTR;
    const OpenClBuffer result(api, CL_MEM_WRITE_ONLY, bytes);
    const OpenClBuffer heights(api, kInput, bytes, data.Heights);
    const OpenClBuffer mask(api, kInput, pixels, data.Mask);
    const bool isQueued =
        OpenClLaunch(api, kernel)(data.Width, data.Height, result, heights, mask, data.Height, data.Width);
    // Memory that no kernel has written is read as well, and dropped.
    std::vector<std::uint16_t> medians(pixels);
    if (result.Read(bytes, medians.data()) && isQueued) std::copy(medians.begin(), medians.end(), data.Heights);
    log.Trace(__FILE__, __LINE__, L"End processing by OpenCL.");
}

} // namespace kyf

#include "gpu/opencl_objects.h"

#include <array>

namespace kyf {

namespace {

constexpr std::size_t kGroupSide = 16;

std::size_t RoundedUp(std::int32_t length) noexcept {
    return (static_cast<std::size_t>(length) + kGroupSide - 1) / kGroupSide * kGroupSide;
}

} // namespace

OpenClBuffer::OpenClBuffer(const COpenCLAPI& api, cl_mem_flags flags, std::size_t bytes, const void* host) noexcept
    : m_api(&api) {
    cl_int error = CL_SUCCESS;
    m_memory = api.CreateBuffer(flags, bytes, const_cast<void*>(host), &error); // the host's memory is only copied
    CheckOpenCl(error);
}

OpenClBuffer::~OpenClBuffer() {
    if (m_memory) m_api->Table().clReleaseMemObject(m_memory);
}

bool OpenClBuffer::Read(std::size_t bytes, void* to) const noexcept {
    return CheckOpenCl(m_api->ReadBuffer(m_memory, bytes, to));
}

bool OpenClLaunch::Set(std::size_t bytes, const void* value) noexcept {
    return CheckOpenCl(m_api.SetKernelArg(m_kernel, m_index++, bytes, value));
}

void OpenClLaunch::SetArg(const OpenClBuffer& buffer) noexcept {
    const bool isSet = Set(sizeof(cl_mem), &buffer.Get());
    m_hasBuffers = m_hasBuffers && isSet && buffer.Get();
}

bool OpenClLaunch::Enqueue(std::int32_t width, std::int32_t height) noexcept {
    if (m_kernel && !m_hasBuffers) return false;
    const std::array<std::size_t, 2> global{RoundedUp(width), RoundedUp(height)};
    const std::array<std::size_t, 2> local{kGroupSide, kGroupSide};
    return CheckOpenCl(m_api.Run(m_kernel, static_cast<cl_uint>(global.size()), global.data(), local.data()));
}

OpenClKernel::OpenClKernel(const COpenCLAPI& api, cl_program program, const char* name) noexcept : m_api(api) {
    cl_int error = CL_SUCCESS;
    m_kernel = api.CreateKernel(program, name, &error);
    CheckOpenCl(error);
}

OpenClKernel::~OpenClKernel() {
    if (m_kernel) m_api.Table().clReleaseKernel(m_kernel);
}

} // namespace kyf

#include "gpu/opencl_frame.h"

#include <utility>

namespace kyf {

namespace {

constexpr std::size_t kPackedBytes = 3; // of a pixel
constexpr std::int32_t kBlurPasses = 3;
constexpr std::int32_t kHalfWindow = 4; // of the edge strength data

} // namespace

OpenClFrame::OpenClFrame(const COpenCLAPI& api, cl_program program, std::int32_t width, std::int32_t height) noexcept
    : m_api(api), m_program(program), m_width(width), m_height(height) {}

std::size_t OpenClFrame::PixelCount() const noexcept {
    return static_cast<std::size_t>(m_width) * static_cast<std::size_t>(m_height);
}

OpenClBuffer OpenClFrame::NewPlane() const noexcept {
    return {m_api, CL_MEM_READ_WRITE, PixelCount() * sizeof(double)};
}

void OpenClFrame::TakeReduced(const std::vector<std::uint8_t>& packed) noexcept {
    m_reduced = {m_api, CL_MEM_READ_WRITE | CL_MEM_COPY_HOST_PTR, packed.size(), packed.data()};
}

void OpenClFrame::Reduce(const std::vector<std::uint8_t>& packed, std::int32_t width, std::int32_t height,
                         const DeviceReduction& reduction) noexcept {
    OpenClKernel kernel(m_api, m_program, "reduction_down_ave");
    const OpenClBuffer source(m_api, CL_MEM_READ_ONLY | CL_MEM_COPY_HOST_PTR, packed.size(), packed.data());
    m_reduced = {m_api, CL_MEM_READ_WRITE, PixelCount() * kPackedBytes};
    kernel.Launch(m_width, m_height, m_reduced, source, m_height, m_width, height, width, reduction.XRatio,
                  reduction.YRatio, reduction.XStep, reduction.YStep);
}

void OpenClFrame::CopyGreen() noexcept {
    OpenClKernel kernel(m_api, m_program, "copy_green");
    for (OpenClBuffer* const plane : {&m_kido, &m_blurred, &m_spare}) {
        *plane = NewPlane();
        kernel.Launch(m_width, m_height, *plane, m_reduced, m_height, m_width);
    }
}

void OpenClFrame::Blur(const std::vector<double>& matrix, std::int32_t size, std::int32_t margin) noexcept {
    if (size % 2 == 0) return;
    OpenClKernel kernel(m_api, m_program, "multi_filter");
    const OpenClBuffer weights(m_api, CL_MEM_READ_ONLY | CL_MEM_COPY_HOST_PTR, matrix.size() * sizeof(double),
                               matrix.data());
    for (std::int32_t pass = 0; pass < kBlurPasses; ++pass) {
        kernel.Launch(m_width - 2 * margin, m_height - 2 * margin, m_spare, m_blurred, m_height, m_width, margin,
                      weights, size);
        std::swap(m_spare, m_blurred);
    }
}

void OpenClFrame::FilterBlurred() noexcept {
    OpenClKernel kernel(m_api, m_program, "high_pass_filter");
    m_blurredGradient = NewPlane();
    kernel.Launch(m_width, m_height, m_blurredGradient, m_blurred, m_height, m_width);
}

void OpenClFrame::FilterPlain() noexcept {
    OpenClKernel kernel(m_api, m_program, "high_pass_filter");
    kernel.Launch(m_width, m_height, m_spare, m_kido, m_height, m_width);
}

void OpenClFrame::TakeDifferentials(const double* plain, const double* blurred) noexcept {
    const std::size_t bytes = PixelCount() * sizeof(double);
    m_spare = {m_api, CL_MEM_READ_ONLY | CL_MEM_COPY_HOST_PTR, bytes, plain};
    m_blurredGradient = {m_api, CL_MEM_READ_ONLY | CL_MEM_COPY_HOST_PTR, bytes, blurred};
}

void OpenClFrame::MakeEdgeData(std::int32_t width, std::int32_t height, double* edge, double* kido) noexcept {
    const std::size_t bytes = static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * sizeof(double);
    OpenClKernel kernel(m_api, m_program, "total_data");
    const OpenClBuffer edgeData(m_api, CL_MEM_WRITE_ONLY, bytes);
    const OpenClBuffer kidoData(m_api, CL_MEM_WRITE_ONLY, bytes);
    kernel.Launch(width, height, edgeData, kidoData, height, width, m_spare, m_blurredGradient, m_kido, m_height,
                  m_width, static_cast<double>(m_height) / height, static_cast<double>(m_width) / width, kHalfWindow);
    edgeData.Read(bytes, edge);
    kidoData.Read(bytes, kido);
}

} // namespace kyf

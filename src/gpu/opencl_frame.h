/// One frame on an OpenCL device, from its bytes to edge strength and luminance. What fails is traced, and the frame
/// goes on with what the device holds.
#ifndef KYFOCUS_GPU_OPENCL_FRAME_H
#define KYFOCUS_GPU_OPENCL_FRAME_H

#include <cstdint>
#include <vector>

#include "gpu/frame_packing.h"
#include "gpu/opencl_objects.h"

namespace kyf {

/// The stages in the order in which they are called. All buffers go with the object.
class OpenClFrame {
  public:
    /// @param width, height  Working size.
    OpenClFrame(const COpenCLAPI& api, cl_program program, std::int32_t width, std::int32_t height) noexcept;

    /// A frame of working size, packed.
    void TakeReduced(const std::vector<std::uint8_t>& packed) noexcept;
    /// Instead of TakeReduced: a packed frame of `width` x `height`, to be reduced on the device.
    void Reduce(const std::vector<std::uint8_t>& packed, std::int32_t width, std::int32_t height,
                const DeviceReduction& reduction) noexcept;

    /// The middle bytes as doubles, three times: two of them are filtered.
    void CopyGreen() noexcept;

    /// Three passes of a size x size matrix, row by row; nothing for an even size.
    void Blur(const std::vector<double>& matrix, std::int32_t size, std::int32_t margin) noexcept;
    void FilterBlurred() noexcept;
    void FilterPlain() noexcept;

    /// Instead of the blur and the filters: images of working size.
    void TakeDifferentials(const double* plain, const double* blurred) noexcept;

    /// Edge strength and luminance on a grid; `edge` and `kido` receive width x height doubles.
    void MakeEdgeData(std::int32_t width, std::int32_t height, double* edge, double* kido) noexcept;

  private:
    std::size_t PixelCount() const noexcept;
    OpenClBuffer NewPlane() const noexcept;

    const COpenCLAPI& m_api;
    cl_program m_program;
    std::int32_t m_width;
    std::int32_t m_height;
    OpenClBuffer m_reduced;
    OpenClBuffer m_kido;
    OpenClBuffer m_blurred; ///< channel, then blurred channel
    OpenClBuffer m_spare;   ///< channel, then scratch of the blur, then gradient of the channel
    OpenClBuffer m_blurredGradient;
};

} // namespace kyf

#endif

/// Memory, kernels and launches on the CUDA device. A call that fails is neither told nor repeated, and the work goes
/// on; what would read memory that is not there, or holds nothing, is left out.
#ifndef KYFOCUS_GPU_CUDA_LAUNCH_H
#define KYFOCUS_GPU_CUDA_LAUNCH_H

#include <cstddef>
#include <cstdint>
#include <utility>

#include "gpu/cuda_api.h"

namespace kyf {

/// A block of device memory, freed with its holder. Address 0 where there is none.
class CudaMemory {
  public:
    CudaMemory() = default;
    CudaMemory(const CCudaAPI& api, std::size_t bytes) : m_api(&api) { api.AllocMemory(&m_address, bytes); }
    /// Holds a copy of host memory, or nothing where that fails.
    CudaMemory(const CCudaAPI& api, const void* from, std::size_t bytes) : CudaMemory(api, bytes) { Fill(from, bytes); }
    CudaMemory(CudaMemory&& other) noexcept
        : m_api(std::exchange(other.m_api, nullptr)), m_address(std::exchange(other.m_address, 0)) {}
    CudaMemory& operator=(CudaMemory&& other) noexcept {
        std::swap(m_api, other.m_api);
        std::swap(m_address, other.m_address);
        return *this;
    }
    ~CudaMemory() { Free(); }

    CUdeviceptr Address() const { return m_address; }

    /// Copies host memory into a block that has been asked for; the block is given up where that fails.
    void Fill(const void* from, std::size_t bytes) {
        if (m_api->CopyToDevice(m_address, from, bytes) != 0) Free();
    }

  private:
    void Free() {
        if (m_address != 0) m_api->FreeMemory(std::exchange(m_address, 0));
    }

    const CCudaAPI* m_api = nullptr;
    CUdeviceptr m_address = 0;
};

/// A kernel with the types of its arguments, so that a launch hands over what the kernel takes.
template <typename Signature> class CudaKernel;
template <typename... Arguments> class CudaKernel<void(Arguments...)> {
  public:
    CudaKernel(const CCudaAPI& api, const char* name) : m_api(api) { api.GetKernel(&m_kernel, name); }

    /// One thread for each of width x height results, in blocks of 16 x 16, on the default stream. Memory that could
    /// not be had is kept from the device: a kernel that reads there would spoil the context for the rest of the
    /// process.
    /// @return whether the driver has taken the launch.
    bool Run(std::int32_t width, std::int32_t height, Arguments... arguments) const {
        if (!m_kernel || !(IsThere(arguments) && ...)) return false;
        void* parameters[] = {&arguments...};
        return m_api.Launch(m_kernel, Blocks(width), Blocks(height), 1, kBlock, kBlock, 1, 0, nullptr, parameters,
                            nullptr) == 0;
    }

  private:
    static constexpr unsigned int kBlock = 16;
    static constexpr bool IsThere(CUdeviceptr memory) { return memory != 0; }
    static constexpr bool IsThere(std::int32_t) { return true; }
    static constexpr bool IsThere(double) { return true; }
    static constexpr unsigned int Blocks(std::int32_t length) {
        return (static_cast<unsigned int>(length) + kBlock - 1) / kBlock;
    }

    const CCudaAPI& m_api;
    CUfunction m_kernel = nullptr;
};

/// The arguments of the kernels in CUDAKernels.cu, device memory by its address. Their names there are the functions'.
using ReductionDownAve =
    CudaKernel<void(CUdeviceptr dest_data, CUdeviceptr src_data, int dest_height, int dest_width, int src_height,
                    int src_width, double x_ratio, double y_ratio, double dx, double dy)>;
using CopyGreen = CudaKernel<void(CUdeviceptr dest_data, CUdeviceptr src_data, int dest_height, int dest_width)>;
using MultiFilter = CudaKernel<void(CUdeviceptr dest_data, CUdeviceptr src_data, int src_height, int src_width,
                                    int edge_area, CUdeviceptr matrix, int m_size)>;
using HighPassFilter = CudaKernel<void(CUdeviceptr dest_data, CUdeviceptr src_data, int src_height, int src_width)>;
using TotalData = CudaKernel<void(CUdeviceptr current_image_data, CUdeviceptr current_kido_data,
                                  int current_image_height, int current_image_width, CUdeviceptr n_bibun_data,
                                  CUdeviceptr n_bokashi_bibun_data, CUdeviceptr kido_src_data, int n_src_height,
                                  int n_src_width, double h_ratio, double w_ratio, int harf_area_size)>;
using MedianOnCuda = CudaKernel<void(CUdeviceptr pDestImage, CUdeviceptr pHeightImage, CUdeviceptr pMaskImage,
                                     int height, int width, int filter_size)>;

} // namespace kyf

#endif

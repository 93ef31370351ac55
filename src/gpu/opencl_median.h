/// The masked median of heights on an OpenCL device.
#ifndef KYFOCUS_GPU_OPENCL_MEDIAN_H
#define KYFOCUS_GPU_OPENCL_MEDIAN_H

#include <cstdint>
#include <map>
#include <utility>

#include <kyimaging/functracelog.h>

#include "gpu/opencl_api.h"

namespace kyf {

/// Samples and their mask, dense rows of one size. Samples with mask 0 count and are filtered.
struct MedianData {
    std::uint16_t* Heights;
    const std::uint8_t* Mask;
    std::int32_t Width;
    std::int32_t Height;
};

/// Kernels by the side of their window, each built at its first use and kept. A build that fails is kept as well: every
/// later run of the size then fails and is traced, and the heights stay as they are. One object serves the process;
/// tests make more. No lock.
class OpenClMedian {
  public:
    static OpenClMedian& GetInstance();

    /// Filters in place. Errors go to the trace. Throws std::bad_alloc.
    void Run(const COpenCLAPI& api, const MedianData& data, std::int32_t size, const CFuncTraceLog& log);

  private:
    cl_kernel KernelOf(const COpenCLAPI& api, std::int32_t size, const CFuncTraceLog& log);

    std::map<std::int32_t, std::pair<cl_program, cl_kernel>> m_kernels;
};

} // namespace kyf

#endif

#include <algorithm>
#include <cstddef>
#include <memory>
#include <new>

#include "filters/sample_rows.h"
#include "gpu/opencl_median.h"
#include "safe3d/opencl_stages.h"

namespace kyf {

namespace {

template <typename T> std::unique_ptr<T[]> TryAlloc(std::size_t count) {
    return std::unique_ptr<T[]>(new (std::nothrow) T[count]);
}

} // namespace

bool FilterMedianOnOpenCl(KyfImageDataUint16& image, const KyiImageData& mask, std::int32_t size,
                          const CFuncTraceLog& log) {
    const auto width = static_cast<std::size_t>(image.Width);
    const std::size_t pixels = width * static_cast<std::size_t>(image.Height);
    const auto heights = TryAlloc<std::uint16_t>(pixels);
    const auto bytes = TryAlloc<std::uint8_t>(pixels);
    if (!heights || !bytes) return false;
    const SampleRows<const std::uint8_t> maskRows(mask);
    for (std::int32_t y = 0; y < image.Height; ++y) {
        const std::size_t at = static_cast<std::size_t>(y) * width;
        std::copy_n(image.Rows[y], width, heights.get() + at);
        std::copy_n(maskRows[y], width, bytes.get() + at);
    }
    OpenClMedian::GetInstance().Run(COpenCLAPI::TheInstance(), {heights.get(), bytes.get(), image.Width, image.Height},
                                    size, log);
    for (std::int32_t y = 0; y < image.Height; ++y)
        std::copy_n(heights.get() + static_cast<std::size_t>(y) * width, width, image.Rows[y]);
    return true;
}

} // namespace kyf

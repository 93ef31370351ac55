#include <algorithm>
#include <cstddef>
#include <vector>

#include "filters/sample_rows.h"
#include "gpu/cuda_launch.h"
#include "safe3d/cuda_stages.h"

namespace kyf {

namespace {

std::vector<std::uint16_t> HeightsOf(const KyfImageDataUint16& image) {
    std::vector<std::uint16_t> heights;
    heights.reserve(static_cast<std::size_t>(image.Width) * static_cast<std::size_t>(image.Height));
    for (std::int32_t y = 0; y < image.Height; ++y)
        heights.insert(heights.end(), image.Rows[y], image.Rows[y] + image.Width);
    return heights;
}

std::vector<std::uint16_t> WideMaskOf(const KyiImageData& mask) {
    std::vector<std::uint16_t> wide;
    wide.reserve(static_cast<std::size_t>(mask.Width) * static_cast<std::size_t>(mask.Height));
    const SampleRows<const std::uint8_t> rows(mask);
    for (std::int32_t y = 0; y < mask.Height; ++y) wide.insert(wide.end(), rows[y], rows[y] + mask.Width);
    return wide;
}

// What fails leaves the heights as they were.
void FilterOnDevice(std::vector<std::uint16_t>& heights, const std::vector<std::uint16_t>& mask, std::int32_t width,
                    std::int32_t height, std::int32_t size) {
    const CCudaAPI& api = CCudaAPI::TheInstance();
    const MedianOnCuda median(api, "middle_filter");
    const std::size_t bytes = heights.size() * sizeof(std::uint16_t);
    const CudaMemory d_dest(api, bytes);
    const CudaMemory d_src(api, heights.data(), bytes);
    const CudaMemory d_mask(api, mask.data(), mask.size()); // one byte of the two that a pixel has
    if (median.Run(width, height, d_dest.Address(), d_src.Address(), d_mask.Address(), height, width, size))
        api.CopyToHost(heights.data(), d_dest.Address(), bytes);
}

} // namespace

void FilterMedianOnCuda(KyfImageDataUint16& image, const KyiImageData& mask, std::int32_t size,
                        const CFuncTraceLog& log) {
    log.Trace(__FILE__, __LINE__, L"Begin processing by CUDA.");
    std::vector<std::uint16_t> heights = HeightsOf(image);
    FilterOnDevice(heights, WideMaskOf(mask), image.Width, image.Height, size);
    const std::uint16_t* from = heights.data();
    for (std::int32_t y = 0; y < image.Height; ++y, from += image.Width) std::copy_n(from, image.Width, image.Rows[y]);
    log.Trace(__FILE__, __LINE__, L"End processing by CUDA.");
}

} // namespace kyf

#include "gpu/frame_packing.h"

#include <cmath>
#include <cstddef>
#include <numeric>

#include "filters/sample_rows.h"

namespace kyf {

namespace {

constexpr std::size_t kPackedBytes = 3;

// Packs by the bytes of a pixel at three offsets.
std::vector<std::uint8_t> Pack(const KyiImageData& image, std::int32_t second, std::int32_t third, KyiBool parallel) {
    const auto width = static_cast<std::size_t>(image.Width);
    std::vector<std::uint8_t> packed(width * static_cast<std::size_t>(image.Height) * kPackedBytes);
    const SampleRows<const std::uint8_t> rows(image);
#pragma omp parallel for schedule(static) if (parallel)
    for (std::int32_t y = 0; y < image.Height; ++y) {
        const std::uint8_t* from = rows[y];
        std::uint8_t* to = packed.data() + static_cast<std::size_t>(y) * width * kPackedBytes;
        for (std::int32_t x = 0; x < image.Width; ++x, from += image.PixelBytes, to += kPackedBytes) {
            to[0] = from[0];
            to[1] = from[second];
            to[2] = from[third];
        }
    }
    return packed;
}

double StepOf(double ratio) { return std::floor(ratio) == ratio ? ratio + 1.0 : ratio; }

} // namespace

std::vector<std::uint8_t> PackFrame(const KyiImageData& frame, KyiBool parallel) {
    return KyiIsFormatBgr(frame.Format) ? Pack(frame, 1, 2, parallel) : Pack(frame, 0, 0, parallel);
}

std::vector<std::uint8_t> PackFirstBytes(const KyiImageData& image, KyiBool parallel) {
    return Pack(image, 0, 0, parallel);
}

DeviceReduction ReductionTo(const KyiImageData& frame, std::int32_t width, std::int32_t height) {
    const double x = static_cast<double>(frame.Width) / width;
    const double y = static_cast<double>(frame.Height) / height;
    return {x, y, StepOf(x), StepOf(y)};
}

std::vector<double> BlurMatrix(const double* weightsX, const double* weightsY, std::int32_t size) {
    const double sumX = std::accumulate(weightsX, weightsX + size, 0.0);
    const double sumY = std::accumulate(weightsY, weightsY + size, 0.0);
    std::vector<double> matrix;
    for (std::int32_t k = 0; k < size; ++k)
        for (std::int32_t l = 0; l < size; ++l) matrix.push_back((weightsY[k] / sumY) * (weightsX[l] / sumX));
    return matrix;
}

} // namespace kyf

#include "safe3d/edge_data.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "platform/simd.h"

namespace kyf {

namespace {

constexpr std::size_t kMaxTaps = static_cast<std::size_t>(kMaxBlurSize) * kMaxBlurSize;

struct BlurMatrix {
    std::int32_t Size;
    std::array<double, kMaxTaps> Weights; // Size x Size, row by row
};

BlurMatrix MakeMatrix(const double* weightsX, const double* weightsY, std::int32_t size) {
    BlurMatrix matrix{size, {}};
    double sumX = 0.0;
    double sumY = 0.0;
    for (std::int32_t i = 0; i < size; ++i) {
        sumX += weightsX[i];
        sumY += weightsY[i];
    }
    std::size_t at = 0;
    for (std::int32_t k = 0; k < size; ++k)
        for (std::int32_t l = 0; l < size; ++l) matrix.Weights[at++] = (weightsY[k] / sumY) * (weightsX[l] / sumX);
    return matrix;
}

// Where sample k of the pixel at `at` is read, on an axis of `length` samples.
std::int32_t SamplePosition(std::int32_t at, std::int32_t k, std::int32_t size, std::int32_t margin,
                            std::int32_t length) {
    std::int32_t position = at - size / 2 + k;
    if (position < margin) position = at + k + 1;
    if (position >= length - margin) position = at - k - 1;
    return std::clamp(position, 0, length - 1); // axes too short for the rule
}

template <int Size>
KY_ALWAYS_INLINE void BlurInside(const double* const* rows, const double* weights, int anySize, std::int32_t first,
                                 std::int32_t last, double* out) {
    const int size = Size != 0 ? Size : anySize;
    const int half = size / 2;
    for (std::int32_t x = first; x < last; ++x) {
        double sum = 0.0;
        for (int k = 0; k < size; ++k)
            for (int l = 0; l < size; ++l) sum += weights[k * size + l] * rows[k][x - half + l];
        out[x] = sum;
    }
}

// Columns whose samples all lie inside. The usual size is unrolled so that columns are summed side by side.
KY_SIMD_CLONES void BlurColumns(const double* const* rows, const double* weights, int size, std::int32_t first,
                                std::int32_t last, double* out) {
    if (size == 3) return BlurInside<3>(rows, weights, size, first, last, out);
    BlurInside<0>(rows, weights, size, first, last, out);
}

// Columns near an edge.
void BlurEdgeColumns(const double* const* rows, const BlurMatrix& matrix, std::int32_t margin, std::int32_t width,
                     std::int32_t first, std::int32_t last, double* out) {
    for (std::int32_t x = first; x < last; ++x) {
        double sum = 0.0;
        std::size_t at = 0;
        for (std::int32_t k = 0; k < matrix.Size; ++k)
            for (std::int32_t l = 0; l < matrix.Size; ++l)
                sum += matrix.Weights[at++] * rows[k][SamplePosition(x, l, matrix.Size, margin, width)];
        out[x] = sum;
    }
}

void BlurRow(const KyfImageData& source, const BlurMatrix& matrix, std::int32_t margin, std::int32_t y, double* out) {
    std::array<const double*, kMaxBlurSize> rows{};
    for (std::int32_t k = 0; k < matrix.Size; ++k)
        rows[static_cast<std::size_t>(k)] = source.Rows[SamplePosition(y, k, matrix.Size, margin, source.Height)];
    const std::int32_t left = margin;
    const std::int32_t right = source.Width - margin;
    const std::int32_t first = std::min(left + matrix.Size / 2, right);
    const std::int32_t last = std::max(right - matrix.Size / 2, first);
    BlurEdgeColumns(rows.data(), matrix, margin, source.Width, left, first, out);
    BlurColumns(rows.data(), matrix.Weights.data(), matrix.Size, first, last, out);
    BlurEdgeColumns(rows.data(), matrix, margin, source.Width, last, right, out);
}

} // namespace

void BlurPass(const KyfImageData& source, KyfImageData& destination, std::int32_t margin, const double* weightsX,
              const double* weightsY, std::int32_t size, KyiBool parallel) {
    if (!IsBlurSize(size)) return;
    const BlurMatrix matrix = MakeMatrix(weightsX, weightsY, size);
#pragma omp parallel for schedule(static) if (parallel)
    for (std::int32_t y = margin; y < source.Height - margin; ++y)
        BlurRow(source, matrix, margin, y, destination.Rows[y]);
}

void CopyDoubleImage(const KyfImageData& source, KyfImageData& destination, KyiBool parallel) {
    const std::size_t rowBytes = static_cast<std::size_t>(source.Width) * sizeof(double);
#pragma omp parallel for schedule(static) if (parallel)
    for (std::int32_t y = 0; y < source.Height; ++y) std::memcpy(destination.Rows[y], source.Rows[y], rowBytes);
}

} // namespace kyf

#include "safe3d/height_repair.h"

#include <algorithm>
#include <cstddef>
#include <memory>

#include "filters/numbers.h"
#include "platform/simd.h"

namespace kyf {

namespace {

constexpr std::int32_t kBlock = 256; // destination columns that are made together, for all rows of a source row

/// Source sample and weights of a destination column or row. The weights are those of the neighbours up or left (Far)
/// and of the sample itself (Near).
struct Axis {
    explicit Axis(std::int32_t destinationLength, std::int32_t sourceLength)
        : Position(new std::int32_t[static_cast<std::size_t>(destinationLength)]),
          Far(new double[static_cast<std::size_t>(destinationLength)]),
          Near(new double[static_cast<std::size_t>(destinationLength)]) {
        const double ratio = static_cast<double>(destinationLength) / sourceLength;
        for (std::int32_t x = 0; x < destinationLength; ++x) {
            const std::int32_t position = TruncateToInt32(x / ratio);
            Position[x] = position;
            Near[x] = (x - position * ratio) / ratio;
            Far[x] = ((position + 1) * ratio - x) / ratio;
        }
    }
    std::unique_ptr<std::int32_t[]> Position;
    std::unique_ptr<double[]> Far;
    std::unique_ptr<double[]> Near;
};

/// The four source samples of each column of a block, as doubles.
struct Corners {
    double UpLeft[kBlock];
    double Up[kBlock];
    double Left[kBlock];
    double Here[kBlock];
};

// `above` is null in the first source row: then and in the first column the sample itself stands in.
template <typename T>
void GatherCorners(const T* above, const T* row, const std::int32_t* positions, std::int32_t count, Corners& corners) {
    for (std::int32_t x = 0; x < count; ++x) {
        const std::int32_t at = positions[x];
        const double here = row[at];
        corners.Here[x] = here;
        corners.Left[x] = at < 1 ? here : row[at - 1];
        corners.Up[x] = above ? above[at] : here;
        corners.UpLeft[x] = above && at >= 1 ? above[at - 1] : here;
    }
}

KY_ALWAYS_INLINE double Blend(const Corners& corners, std::int32_t x, double farX, double nearX, double farY,
                              double nearY) {
    return farY * farX * corners.UpLeft[x] + farY * nearX * corners.Up[x] + nearY * farX * corners.Left[x] +
           nearY * nearX * corners.Here[x];
}

KY_SIMD_CLONES void BlendBlock(const Corners& corners, const double* farX, const double* nearX, double farY,
                               double nearY, double* __restrict out, std::int32_t count) {
    for (std::int32_t x = 0; x < count; ++x) out[x] = Blend(corners, x, farX[x], nearX[x], farY, nearY);
}

// Rounded: below 0 and above 65535 are cut off, so that truncating is rounding down.
KY_SIMD_CLONES void BlendBlock(const Corners& corners, const double* farX, const double* nearX, double farY,
                               double nearY, std::uint16_t* __restrict out, std::int32_t count) {
    for (std::int32_t x = 0; x < count; ++x) {
        double value = Blend(corners, x, farX[x], nearX[x], farY, nearY) + 0.5;
        value = value < 65535.0 ? value : 65535.0;
        value = value > 0.0 ? value : 0.0;
        out[x] = static_cast<std::uint16_t>(static_cast<std::int32_t>(value));
    }
}

// Destination rows first to last - 1, which all start from one source row.
template <typename Image>
void ResampleRows(const Image& source, Image& destination, const Axis& columns, const Axis& rows, std::int32_t first,
                  std::int32_t last) {
    const std::int32_t at = rows.Position[first];
    const auto* const above = at < 1 ? nullptr : source.Rows[at - 1];
    Corners corners;
    for (std::int32_t x = 0; x < destination.Width; x += kBlock) {
        const std::int32_t count = std::min(kBlock, destination.Width - x);
        GatherCorners(above, source.Rows[at], &columns.Position[x], count, corners);
        for (std::int32_t y = first; y < last; ++y)
            BlendBlock(corners, &columns.Far[x], &columns.Near[x], rows.Far[y], rows.Near[y], destination.Rows[y] + x,
                       count);
    }
}

// First destination row of every source row from `y` on that has any: rows rise with the position.
std::int32_t FirstRowAt(const Axis& rows, std::int32_t height, std::int32_t position) {
    return static_cast<std::int32_t>(std::lower_bound(rows.Position.get(), rows.Position.get() + height, position) -
                                     rows.Position.get());
}

template <typename Image>
void Resample(const Image& source, Image& destination, KyiBool parallel, KyfProgress* progress) {
    const Axis columns(destination.Width, source.Width);
    const Axis rows(destination.Height, source.Height);
#pragma omp parallel for schedule(static) if (parallel)
    for (std::int32_t position = 0; position < source.Height; ++position) {
        const std::int32_t first = FirstRowAt(rows, destination.Height, position);
        const std::int32_t last = FirstRowAt(rows, destination.Height, position + 1);
        if (first < last) ResampleRows(source, destination, columns, rows, first, last);
    }
    KyfProgressCompleteProc(progress);
}

} // namespace

void ResampleBilinear(const KyfImageData& source, KyfImageData& destination, KyiBool parallel, KyfProgress* progress) {
    Resample(source, destination, parallel, progress);
}

void ResampleBilinear(const KyfImageDataUint16& source, KyfImageDataUint16& destination, KyiBool parallel,
                      KyfProgress* progress) {
    Resample(source, destination, parallel, progress);
}

} // namespace kyf

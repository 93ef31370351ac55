#include "safe3d/height_repair.h"

#include <algorithm>
#include <cstddef>
#include <memory>

#include "filters/numbers.h"
#include "platform/simd.h"

namespace kyf {

namespace {

constexpr std::int32_t kBlock = 256; // destination columns that are made together, for all rows of a source row

/// Source sample and weights of the destination's columns or rows. The weights are those of the neighbour up or left
/// (far) and of the sample itself (near).
class Axis {
  public:
    Axis(std::int32_t destinationLength, std::int32_t sourceLength)
        : m_positions(new std::int32_t[static_cast<std::size_t>(destinationLength)]),
          m_weights(new double[2 * static_cast<std::size_t>(destinationLength)]), m_length(destinationLength) {
        const double ratio = static_cast<double>(destinationLength) / sourceLength;
        for (std::int32_t x = 0; x < destinationLength; ++x) {
            const std::int32_t position = TruncateToInt32(x / ratio);
            m_positions.get()[x] = position;
            m_weights.get()[x] = ((position + 1) * ratio - x) / ratio;
            m_weights.get()[m_length + x] = (x - position * ratio) / ratio;
        }
    }

    const std::int32_t* Positions() const { return m_positions.get(); }
    const double* Far() const { return m_weights.get(); }
    const double* Near() const { return m_weights.get() + m_length; }
    /// First place whose source sample is `position` or a later one.
    std::int32_t FirstAt(std::int32_t position) const {
        return static_cast<std::int32_t>(std::lower_bound(Positions(), Positions() + m_length, position) - Positions());
    }

  private:
    std::unique_ptr<std::int32_t[]> m_positions;
    std::unique_ptr<double[]> m_weights;
    std::ptrdiff_t m_length;
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
    const std::int32_t at = rows.Positions()[first];
    const auto* const above = at < 1 ? nullptr : source.Rows[at - 1];
    Corners corners;
    for (std::int32_t x = 0; x < destination.Width; x += kBlock) {
        const std::int32_t count = std::min(kBlock, destination.Width - x);
        GatherCorners(above, source.Rows[at], columns.Positions() + x, count, corners);
        for (std::int32_t y = first; y < last; ++y)
            BlendBlock(corners, columns.Far() + x, columns.Near() + x, rows.Far()[y], rows.Near()[y],
                       destination.Rows[y] + x, count);
    }
}

template <typename Image>
void Resample(const Image& source, Image& destination, KyiBool parallel, KyfProgress* progress) {
    const Axis columns(destination.Width, source.Width);
    const Axis rows(destination.Height, source.Height);
#pragma omp parallel for schedule(static) if (parallel)
    for (std::int32_t position = 0; position < source.Height; ++position) {
        const std::int32_t first = rows.FirstAt(position);
        const std::int32_t last = rows.FirstAt(position + 1);
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

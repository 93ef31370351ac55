/// Columns of a stack: the values of one pixel over all frames, side by side.
#ifndef KYFOCUS_SAFE3D_STACK_COLUMNS_H
#define KYFOCUS_SAFE3D_STACK_COLUMNS_H

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include <kyfocus/types.h>

#include "filters/scratch.h"

namespace kyf {

/// Columns of neighbouring pixels of a row. Frames are read a run of pixels at a time, so that a cache line that has
/// been fetched serves all its pixels.
class StackColumns {
  public:
    /// Throws std::bad_alloc.
    explicit StackColumns(std::int32_t frameCount)
        : m_frameCount(frameCount), m_stride(frameCount), m_pixels(PixelsFor(frameCount)),
          m_values(static_cast<std::size_t>(m_stride) * static_cast<std::size_t>(m_pixels)) {}

    /// Pixels that fit.
    std::int32_t Capacity() const { return m_pixels; }

    /// Takes pixels first to first + count - 1 of row y.
    void Gather(const KyfImageData* const* frames, std::int32_t y, std::int32_t first, std::int32_t count) {
        for (std::int32_t i = 0; i < m_frameCount; ++i) {
            const double* const row = frames[i]->Rows[y] + first;
            double* out = m_values.Get() + i;
            for (std::int32_t p = 0; p < count; ++p, out += m_stride) *out = row[p];
        }
    }

    /// One value a frame of pixel `pixel` of those gathered.
    const double* Column(std::int32_t pixel) const { return m_values.Get() + pixel * m_stride; }

  private:
    // A tile of about 32 KiB, in whole cache lines of the frames' rows.
    static std::int32_t PixelsFor(std::int32_t frameCount) {
        return std::clamp(4096 / std::max(frameCount, 1) / 8 * 8, 8, 64);
    }

    std::int32_t m_frameCount;
    std::ptrdiff_t m_stride;
    std::int32_t m_pixels;
    Scratch<double> m_values;
};

} // namespace kyf

#endif

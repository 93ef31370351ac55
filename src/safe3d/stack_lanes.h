/// Columns of a stack: the values of neighbouring pixels over all frames, eight pixels side by side.
#ifndef KYFOCUS_SAFE3D_STACK_LANES_H
#define KYFOCUS_SAFE3D_STACK_LANES_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include <kyfocus/types.h>

#include "filters/scratch.h"
#include "safe3d/double_lanes.h"

namespace kyf {

/// A run of pixels of one row, in blocks of eight. Each frame is read a whole run at a time: what has been fetched from
/// memory serves all its pixels.
class StackLanes {
  public:
    static constexpr std::int32_t kMostBlocks = 8;

    /// @param pad  Copies of the first and of the last frame that stand before and behind each block. Throws
    /// std::bad_alloc.
    StackLanes(std::int32_t frameCount, std::int32_t pad)
        : m_frameCount(frameCount), m_pad(pad), m_stride(frameCount + 2 * pad), m_blocks(BlocksFor(m_stride)),
          m_values(static_cast<std::size_t>(m_stride) * static_cast<std::size_t>(m_blocks)) {}

    /// Pixels that fit, a multiple of eight.
    std::int32_t Capacity() const { return m_blocks * kDoubleLanes; }

    /// Takes pixels first to first + count - 1 of row y. Lanes behind the last pixel are 0. The run behind them is
    /// asked for: each frame has pages of its own, and memory would be waited for at every one.
    void Gather(const KyfImageData* const* frames, std::int32_t y, std::int32_t first, std::int32_t count) {
        const std::int32_t whole = count / kDoubleLanes;
        const std::int32_t rest = count % kDoubleLanes;
        for (std::int32_t i = 0; i < m_frameCount; ++i) {
            const double* const row = frames[i]->Rows[y] + first;
            Prefetch(row + count, std::min(Capacity(), frames[i]->Width - first - count));
            DoubleLanes* out = m_values.Get() + m_pad + i;
            for (std::int32_t b = 0; b < whole; ++b, out += m_stride)
                std::memcpy(out, row + b * kDoubleLanes, sizeof *out);
            if (rest == 0) continue;
            *out = DoubleLanes{};
            std::memcpy(out, row + whole * kDoubleLanes, static_cast<std::size_t>(rest) * sizeof(double));
        }
        for (std::int32_t b = 0; b < whole + (rest != 0 ? 1 : 0); ++b) Pad(m_values.Get() + b * m_stride);
    }

    /// Frame after frame of a block.
    const DoubleLanes* Block(std::int32_t block) const { return m_values.Get() + m_pad + block * m_stride; }

  private:
    // About 32 KiB, or one block of a long stack.
    static std::int32_t BlocksFor(std::ptrdiff_t stride) {
        return static_cast<std::int32_t>(std::clamp<std::ptrdiff_t>(512 / stride, 1, kMostBlocks));
    }

    static void Prefetch(const double* values, std::int32_t count) {
        for (std::int32_t k = 0; k < count; k += kDoubleLanes) __builtin_prefetch(values + k, /*rw=*/0, /*locality=*/2);
    }

    void Pad(DoubleLanes* block) const {
        std::fill_n(block, m_pad, block[m_pad]);
        std::fill_n(block + m_pad + m_frameCount, m_pad, block[m_pad + m_frameCount - 1]);
    }

    std::int32_t m_frameCount;
    std::int32_t m_pad;
    std::ptrdiff_t m_stride;
    std::int32_t m_blocks;
    Scratch<DoubleLanes> m_values;
};

/// One lane of a block as a column. @param out  One value a frame.
inline void CopyLane(const DoubleLanes* block, int lane, std::int32_t count, double* out) {
    for (std::int32_t i = 0; i < count; ++i) out[i] = block[i][lane];
}

} // namespace kyf

#endif

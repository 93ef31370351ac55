#include <algorithm>
#include <array>
#include <cstring>

#include "platform/simd.h"
#include "selection2d/rows.h"

namespace kyf {

namespace {

constexpr int kBlock = 64;

// Most blocks of most frames hold no winner: then neither table is written. The block's winners are stored last, over
// samples that have been read.
template <typename Sample>
KY_ALWAYS_INLINE void SelectBlock(const Sample* values, std::uint8_t* won, std::int32_t* best, std::int32_t* frames,
                                  std::int32_t frame, int count) noexcept {
    std::array<std::uint8_t, kBlock> winners;
    unsigned any = 0;
    for (int i = 0; i < count; ++i) {
        const unsigned wins = best[i] < static_cast<std::int32_t>(values[i]) ? 1u : 0u;
        winners[static_cast<std::size_t>(i)] = static_cast<std::uint8_t>(wins);
        any |= wins;
    }
    if (any) {
        for (int i = 0; i < count; ++i) {
            const std::int32_t value = values[i];
            const std::int32_t old = best[i];
            frames[i] = old < value ? frame : frames[i];
            best[i] = std::max(old, value);
        }
    }
    std::memcpy(won, winners.data(), static_cast<std::size_t>(count));
}

template <typename Sample>
KY_ALWAYS_INLINE void SelectRow(Sample* row, std::int32_t* best, std::int32_t* frames, std::int32_t frame,
                                int width) noexcept {
    auto* const won = reinterpret_cast<std::uint8_t*>(row);
    int x = 0;
    for (; x + kBlock <= width; x += kBlock) SelectBlock(row + x, won + x, best + x, frames + x, frame, kBlock);
    SelectBlock(row + x, won + x, best + x, frames + x, frame, width - x);
}

} // namespace

KY_SIMD_CLONES void SelectRow8(std::uint8_t* row, std::int32_t* best, std::int32_t* frames, std::int32_t frame,
                               int width) noexcept {
    SelectRow(row, best, frames, frame, width);
}

KY_SIMD_CLONES void SelectRow16(std::uint16_t* row, std::int32_t* best, std::int32_t* frames, std::int32_t frame,
                                int width) noexcept {
    SelectRow(row, best, frames, frame, width);
}

} // namespace kyf

#include "filters/reduce_rows.h"

#include <algorithm>
#include <cstddef>

#include "platform/simd.h"

namespace kyf {

namespace {

template <typename T>
KY_ALWAYS_INLINE void AddBlocks(const T* row, int stride, const std::int32_t* starts, std::int32_t block,
                                std::uint32_t* sums, std::int32_t width) noexcept {
    for (std::int32_t x = 0; x < width; ++x) {
        const T* const first = row + static_cast<std::ptrdiff_t>(starts[x]) * stride;
        std::uint32_t sum = 0;
        for (std::int32_t i = 0; i < block; ++i) sum += first[static_cast<std::ptrdiff_t>(i) * stride];
        sums[x] += sum;
    }
}

// A stride and block size that the compiler knows give it shuffles in the place of gathers.
template <int Stride, int Block, typename T>
KY_ALWAYS_INLINE void AddFixedBlocks(const T* row, std::uint32_t* sums, std::int32_t width) noexcept {
    for (std::int32_t x = 0; x < width; ++x) {
        std::uint32_t sum = 0;
        for (int i = 0; i < Block; ++i) sum += row[static_cast<std::ptrdiff_t>(x) * Stride * Block + i * Stride];
        sums[x] += sum;
    }
}

template <typename T>
KY_ALWAYS_INLINE void AddWholeBlocks(const T* row, int stride, std::int32_t block, std::uint32_t* sums,
                                     std::int32_t width) noexcept {
    if (stride == 1 && block == 2) return AddFixedBlocks<1, 2>(row, sums, width);
    if (stride == 1 && block == 4) return AddFixedBlocks<1, 4>(row, sums, width);
    if (stride == 3 && block == 2) return AddFixedBlocks<3, 2>(row, sums, width);
    if (stride == 3 && block == 4) return AddFixedBlocks<3, 4>(row, sums, width);
    const std::ptrdiff_t step = static_cast<std::ptrdiff_t>(block) * stride;
    for (std::int32_t x = 0; x < width; ++x, row += step) {
        std::uint32_t sum = 0;
        for (std::ptrdiff_t i = 0; i < step; i += stride) sum += row[i];
        sums[x] += sum;
    }
}

} // namespace

KY_SIMD_CLONES void AddBlockRow(const std::uint8_t* row, int stride, const std::int32_t* starts, std::int32_t block,
                                std::uint32_t* sums, std::int32_t width) noexcept {
    AddBlocks(row, stride, starts, block, sums, width);
}

KY_SIMD_CLONES void AddBlockRow(const std::uint16_t* row, int stride, const std::int32_t* starts, std::int32_t block,
                                std::uint32_t* sums, std::int32_t width) noexcept {
    AddBlocks(row, stride, starts, block, sums, width);
}

KY_SIMD_CLONES void AddWholeBlockRow(const std::uint8_t* row, int stride, std::int32_t block, std::uint32_t* sums,
                                     std::int32_t width) noexcept {
    AddWholeBlocks(row, stride, block, sums, width);
}

KY_SIMD_CLONES void AddWholeBlockRow(const std::uint16_t* row, int stride, std::int32_t block, std::uint32_t* sums,
                                     std::int32_t width) noexcept {
    AddWholeBlocks(row, stride, block, sums, width);
}

KY_SIMD_CLONES void DivideRow(const std::uint32_t* sums, std::int32_t divisor, std::int32_t top, std::int32_t* values,
                              std::int32_t width) noexcept {
    for (std::int32_t x = 0; x < width; ++x)
        values[x] = std::min(std::max(static_cast<std::int32_t>(sums[x]) / divisor, 0), top);
}

} // namespace kyf

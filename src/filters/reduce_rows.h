/// Kernels of the reduction: block sums of sample rows.
#ifndef KYFOCUS_FILTERS_REDUCE_ROWS_H
#define KYFOCUS_FILTERS_REDUCE_ROWS_H

#include <cstdint>

namespace kyf {

/// One axis of a reduction: block k covers `Block` positions from `First(k)` on.
struct ReducedAxis {
    double Ratio;
    std::int32_t Block;

    ReducedAxis(std::int32_t sourceSize, std::int32_t size)
        : Ratio(static_cast<double>(sourceSize) / size), Block(static_cast<std::int32_t>(Ratio)) {}
    std::int32_t First(std::int32_t position) const noexcept { return static_cast<std::int32_t>(position * Ratio); }
    bool IsWhole() const noexcept { return Ratio == Block; }
};

/// sums[x] += the block of samples of one row that starts at pixel starts[x], `stride` samples a pixel. The sums wrap.
void AddBlockRow(const std::uint8_t* row, int stride, const std::int32_t* starts, std::int32_t block,
                 std::uint32_t* sums, std::int32_t width) noexcept;
void AddBlockRow(const std::uint16_t* row, int stride, const std::int32_t* starts, std::int32_t block,
                 std::uint32_t* sums, std::int32_t width) noexcept;

/// The same for blocks that follow each other without a gap, from the first pixel on.
void AddWholeBlockRow(const std::uint8_t* row, int stride, std::int32_t block, std::uint32_t* sums,
                      std::int32_t width) noexcept;
void AddWholeBlockRow(const std::uint16_t* row, int stride, std::int32_t block, std::uint32_t* sums,
                      std::int32_t width) noexcept;

/// values[x] = sums[x] / divisor as signed integers, held between 0 and top.
void DivideRow(const std::uint32_t* sums, std::int32_t divisor, std::int32_t top, std::int32_t* values,
               std::int32_t width) noexcept;

} // namespace kyf

#endif

/// Kernel of the masked median: many windows side by side, each counted bit by bit.
#ifndef KYFOCUS_SAFE3D_MEDIAN_ROW_H
#define KYFOCUS_SAFE3D_MEDIAN_ROW_H

#include <cstddef>
#include <cstdint>

namespace kyf {

/// Windows of one call.
constexpr std::int32_t kMedianLanes = 64;

/// Samples in two planes of bytes. A sample that does not count is the largest in both, and so are those around the
/// image. Bytes are stored less 128, as signed numbers, which compare in one instruction on all machines.
struct MedianPlanes {
    const std::int8_t* High; ///< upper left sample of the first window
    const std::int8_t* Low;
    const std::uint8_t* Good; ///< 1 where a sample counts, else 0
    std::ptrdiff_t Stride;    ///< from one row to the next
};

/// Medians of kMedianLanes windows of `side` by `side` samples, each one sample further to the right. Of n samples that
/// count the one with n / 2 smaller or equal ones before it; of none, the largest. side * side is at most 255.
void MedianOfWindows(const MedianPlanes& planes, std::int32_t side, std::uint16_t* medians);

} // namespace kyf

#endif

/// Kernel of the edge strength: three rows of samples in, one row out.
#ifndef KYFOCUS_FILTERS_EDGE_STRENGTH_ROW_H
#define KYFOCUS_FILTERS_EDGE_STRENGTH_ROW_H

#include <cstdint>

namespace kyf {

/// Numbers that hold a Sobel sum of four samples with its sign.
template <typename T> struct EdgeSum;
template <> struct EdgeSum<std::uint8_t> { using Type = std::int16_t; };
template <> struct EdgeSum<std::uint16_t> { using Type = std::int32_t; };

/// out[i] = the least of |Gx| + |Gy| and `top` for every sample of a row of `count`, neighbours `stride` samples apart;
/// edge samples repeat beyond the ends, and the last pixel repeats the one before it (0 in a row of one pixel).
/// @param smooth, slope  Scratch of count + 2 * stride numbers each.
void EdgeStrengthRow(const std::uint8_t* above, const std::uint8_t* row, const std::uint8_t* below, std::uint8_t* out,
                     std::int32_t count, int stride, int top, std::int16_t* smooth, std::int16_t* slope) noexcept;
void EdgeStrengthRow(const std::uint16_t* above, const std::uint16_t* row, const std::uint16_t* below,
                     std::uint16_t* out, std::int32_t count, int stride, int top, std::int32_t* smooth,
                     std::int32_t* slope) noexcept;

} // namespace kyf

#endif

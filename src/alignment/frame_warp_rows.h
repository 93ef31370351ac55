/// Kernels of the warp without rotation: runs of samples, all channels of a pixel side by side.
#ifndef KYFOCUS_ALIGNMENT_FRAME_WARP_ROWS_H
#define KYFOCUS_ALIGNMENT_FRAME_WARP_ROWS_H

#include <cstdint>

namespace kyf {

/// out[i] = second[i] * fractions[i] + first[i] * (1 - fractions[i]).
void InterpolateRun(const std::uint8_t* first, const std::uint8_t* second, const double* fractions, double* out,
                    std::int32_t count) noexcept;
void InterpolateRun(const std::uint16_t* first, const std::uint16_t* second, const double* fractions, double* out,
                    std::int32_t count) noexcept;

/// out[i] = in[i], at most the largest value less 1.
void CopyCapped(const std::uint8_t* in, std::uint8_t* out, std::int32_t count) noexcept;
void CopyCapped(const std::uint16_t* in, std::uint16_t* out, std::int32_t count) noexcept;

/// out[i] = below[i] * fraction + above[i] * (1 - fraction), at most the largest value less 1,
/// truncated.
void InterpolateRows(const double* above, const double* below, double fraction, std::uint8_t* out,
                     std::int32_t count) noexcept;
void InterpolateRows(const double* above, const double* below, double fraction, std::uint16_t* out,
                     std::int32_t count) noexcept;

} // namespace kyf

#endif

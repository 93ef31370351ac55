/// Kernels of projection shift: lines and profiles in, one number out; no images, threads or allocation.
#ifndef KYFOCUS_ALIGNMENT_PROJECTION_SHIFT_SEARCH_H
#define KYFOCUS_ALIGNMENT_PROJECTION_SHIFT_SEARCH_H

#include <cstdint>

namespace kyf {

/// Greatest magnitude of the nine-tap edge response (-3 -2 -2 -1 0 1 2 2 3) over centres from 9 to count - 10; 0 where
/// there are none.
std::int32_t GreatestEdge(const std::int32_t* line, std::int32_t count) noexcept;

/// The displacement d from -20 to 19 with the least mean of |before[i] - after[i - d]|, the first of equal ones; 0
/// where the means differ by less than 2. Profiles of so few entries that nothing overlaps give what that mean is then:
/// zero for a negative count, and a NaN for none, which is passed over.
std::int32_t FindDisplacement(const std::int32_t* before, const std::int32_t* after, std::int32_t count) noexcept;

} // namespace kyf

#endif

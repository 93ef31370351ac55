/// Eight doubles side by side, for kernels that keep several sums in registers. Each lane is one plain sum: the same
/// operations in the same order as a loop over single numbers.
#ifndef KYFOCUS_SAFE3D_DOUBLE_LANES_H
#define KYFOCUS_SAFE3D_DOUBLE_LANES_H

#include <cstdint>
#include <cstring>

#include "platform/simd.h"

namespace kyf {

constexpr int kDoubleLanes = 8;
typedef double DoubleLanes __attribute__((vector_size(kDoubleLanes * sizeof(double))));

/// All bits of a lane set, or none: what comparisons of lanes give.
typedef std::int64_t LaneMask __attribute__((vector_size(kDoubleLanes * sizeof(std::int64_t))));

/// Puts `value` into the lanes where the mask is set. (Nothing here returns lanes: that would depend on the registers
/// that a machine has.)
KY_ALWAYS_INLINE void PutWhere(const LaneMask& mask, const DoubleLanes& value, DoubleLanes& lanes) {
    lanes = reinterpret_cast<DoubleLanes>((mask & reinterpret_cast<LaneMask>(value)) |
                                          (~mask & reinterpret_cast<LaneMask>(lanes)));
}

KY_ALWAYS_INLINE void TakeMagnitude(const DoubleLanes& lanes, DoubleLanes& magnitude) {
    magnitude = reinterpret_cast<DoubleLanes>(reinterpret_cast<LaneMask>(lanes) & INT64_MAX);
}

/// Adds the eight doubles at `in`, which need no alignment.
KY_ALWAYS_INLINE void AddLanes(DoubleLanes& sum, const double* in) {
    DoubleLanes values;
    std::memcpy(&values, in, sizeof values);
    sum += values;
}

/// Adds `factor` times the eight doubles at `in`.
KY_ALWAYS_INLINE void AddScaledLanes(DoubleLanes& sum, double factor, const double* in) {
    DoubleLanes values;
    std::memcpy(&values, in, sizeof values);
    sum += factor * values;
}

/// Writes the lanes to eight doubles at `out`.
KY_ALWAYS_INLINE void StoreLanes(const DoubleLanes& lanes, double* out) { std::memcpy(out, &lanes, sizeof lanes); }

} // namespace kyf

#endif

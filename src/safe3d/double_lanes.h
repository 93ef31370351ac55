/// Eight doubles side by side, for kernels that keep several sums in registers. Each lane is one plain sum: the same
/// operations in the same order as a loop over single numbers.
#ifndef KYFOCUS_SAFE3D_DOUBLE_LANES_H
#define KYFOCUS_SAFE3D_DOUBLE_LANES_H

#include <cstring>

#include "platform/simd.h"

namespace kyf {

constexpr int kDoubleLanes = 8;
typedef double DoubleLanes __attribute__((vector_size(kDoubleLanes * sizeof(double))));

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

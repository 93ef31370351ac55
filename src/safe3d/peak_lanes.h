/// Kernels of the peak search for eight pixels side by side. Every lane gets what SearchPeak does for one column.
#ifndef KYFOCUS_SAFE3D_PEAK_LANES_H
#define KYFOCUS_SAFE3D_PEAK_LANES_H

#include <cstdint>

#include "safe3d/double_lanes.h"

namespace kyf {

/// A triangular smoothing as the kernel needs it.
struct SmoothingTaps {
    explicit SmoothingTaps(std::int32_t width);

    std::int32_t Half; ///< 0: a copy
    std::int32_t Top;
    double Total; ///< sum of the weights
};

/// Band-pass of a stack of `Count` frames.
struct BandPassTaps {
    /// @param shortRatio, longRatio  Widths in stack lengths, at most 1.
    BandPassTaps(std::int32_t count, double shortRatio, double longRatio);

    /// Copies of the first and last frame that the kernel reads beyond the stack.
    std::int32_t Reach() const { return Long.Half > Short.Half ? Long.Half : Short.Half; }

    std::int32_t Count;
    SmoothingTaps Short;
    SmoothingTaps Long;
    bool HasLong; ///< short stacks keep the short average
};

/// The highest and lowest values of eight columns.
struct LaneExtremes {
    DoubleLanes Top; ///< 0 at least
    DoubleLanes Low;
    LaneMask Peak; ///< frame of the first of equal maxima; -1 in a column without a value above 0
};

/// Short less long average, no less than 0, and its extremes. @param edge  With Reach() copies on either side.
void BandPassLanes(const BandPassTaps& taps, const DoubleLanes* edge, DoubleLanes* banded, LaneExtremes& extremes);

/// Lowest and highest value of each lane. A value that no 32-bit integer holds once truncated counts as the smallest of
/// them, so that the ends truncated are the ends of the truncated values.
void FindRange(const DoubleLanes* columns, std::int32_t count, DoubleLanes& lowest, DoubleLanes& highest);

} // namespace kyf

#endif

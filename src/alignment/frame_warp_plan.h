/// What the rows and columns of a warp without rotation read: one list an axis serves the whole frame.
#ifndef KYFOCUS_ALIGNMENT_FRAME_WARP_PLAN_H
#define KYFOCUS_ALIGNMENT_FRAME_WARP_PLAN_H

#include <cstdint>
#include <vector>

namespace kyf {

/// Two neighbours on an axis and the weight of the second. Both are clamped to the axis, and are one where the other
/// would weigh nothing.
struct WarpCell {
    std::int32_t First; ///< negative: the frame does not reach here
    std::int32_t Second;
    double Fraction;
};

/// The cell under a distance from the axis' centre; `half` is half the length, truncated.
WarpCell FindCell(double distance, std::int32_t half, std::int32_t length) noexcept;

/// The cell of each place of an axis that is scaled about its centre and shifted.
std::vector<WarpCell> PlanAxis(std::int32_t length, std::int32_t shift, double scale);

/// Neighbouring columns whose cells move on by one pixel a column, so that they are read as two runs of samples.
struct WarpRun {
    std::int32_t Column; ///< of the destination
    std::int32_t Count;
    std::int32_t First; ///< source column of the first cell; negative: black
    std::int32_t Second;
};

/// The runs of columns [begin, end).
std::vector<WarpRun> FindRuns(const std::vector<WarpCell>& columns, std::int32_t begin, std::int32_t end);

} // namespace kyf

#endif

#include "alignment/frame_warp_plan.h"

#include <algorithm>
#include <cstddef>

#include "filters/numbers.h"

namespace kyf {

namespace {

// A weight of 0 leaves no trace in a sum, and a weight of 1 changes nothing: the sample stands for itself.
WarpCell Simplify(const WarpCell& cell) noexcept {
    if (cell.Fraction == 0.0) return {cell.First, cell.First, 0.0};
    if (cell.Fraction == 1.0) return {cell.Second, cell.Second, 0.0};
    return cell;
}

} // namespace

WarpCell FindCell(double distance, std::int32_t half, std::int32_t length) noexcept {
    // A whole number that is not positive goes one cell down, with a fraction of 1.
    const std::int32_t cell = WrappingSum(TruncateToInt32(distance), distance <= 0.0 ? -1 : 0);
    if (cell < -half - 1 || cell > length - half) return {-1, -1, 0.0};
    const std::int32_t place = cell + half;
    return Simplify({std::clamp(place, 0, length - 1), std::clamp(place + 1, 0, length - 1), distance - cell});
}

std::vector<WarpCell> PlanAxis(std::int32_t length, std::int32_t shift, double scale) {
    const std::int32_t half = length / 2;
    std::vector<WarpCell> cells(static_cast<std::size_t>(length));
    for (std::int32_t i = 0; i < length; ++i) {
        const std::int32_t distance = WrappingSum(i - half, WrappingProduct(shift, -1));
        cells[static_cast<std::size_t>(i)] = FindCell(distance / scale, half, length);
    }
    return cells;
}

std::vector<WarpRun> FindRuns(const std::vector<WarpCell>& columns, std::int32_t begin, std::int32_t end) {
    std::vector<WarpRun> runs;
    for (std::int32_t x = begin; x < end; ++x) {
        const WarpCell& cell = columns[static_cast<std::size_t>(x)];
        if (!runs.empty()) {
            WarpRun& run = runs.back();
            const bool isBlack = run.First < 0 && cell.First < 0;
            if (isBlack ||
                (run.First >= 0 && cell.First == run.First + run.Count && cell.Second == run.Second + run.Count)) {
                ++run.Count;
                continue;
            }
        }
        runs.push_back({x, 1, cell.First, cell.Second});
    }
    return runs;
}

} // namespace kyf

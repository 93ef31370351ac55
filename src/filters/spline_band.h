/// The factored matrix of the spline filter: five numbers a position, the same for every line of one length and weight.
#ifndef KYFOCUS_FILTERS_SPLINE_BAND_H
#define KYFOCUS_FILTERS_SPLINE_BAND_H

#include <cstdint>
#include <vector>

namespace kyf {

/// I + L Dt D after elimination without pivoting, for lines of `Count` samples. A line of fewer than 3 samples is its
/// own solution, and the band then is empty.
struct SplineBand {
    SplineBand(std::int32_t count, double weight);

    std::int32_t Count;
    std::vector<double> First;    ///< factor at i of the right-hand side at i - 1
    std::vector<double> Second;   ///< factor at i of the right-hand side at i - 2
    std::vector<double> Diagonal; ///< d
    std::vector<double> Upper;    ///< e, first off-diagonal
    std::vector<double> Outer;    ///< f, second off-diagonal
};

} // namespace kyf

#endif

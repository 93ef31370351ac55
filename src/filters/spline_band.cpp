#include "filters/spline_band.h"

#include <cmath>

#include "filters/filters.h"

namespace kyf {

namespace {

// Rows of the matrix: its natural ends leave less weight on the first two and the last two samples.
void FillBand(SplineBand& band, double weight) {
    const auto n = static_cast<std::size_t>(band.Count);
    std::vector<double>& d = band.Diagonal;
    std::vector<double>& e = band.Upper;
    d.assign(n, weight * 6.0 + 1.0);
    e.assign(n, -4.0 * weight);
    band.Outer.assign(n, weight);
    d[0] = d[n - 1] = d[n - 1] - 5.0 * weight;
    e[0] = e[n - 2] = 2.0 * weight + e[n - 2];
    d[1] = d[n - 2] = d[n - 2] - weight;
}

} // namespace

SplineBand::SplineBand(std::int32_t count, double weight) : Count(count) {
    if (count < 3) return;
    FillBand(*this, weight);
    const auto n = static_cast<std::size_t>(count);
    First.assign(n, 0.0);
    Second.assign(n, 0.0);
    for (std::size_t i = 1; i < n - 1; ++i) {
        First[i] = Upper[i - 1] / Diagonal[i - 1];
        Diagonal[i] -= Upper[i - 1] * First[i];
        Upper[i] -= First[i] * Outer[i - 1];
        Second[i + 1] = Outer[i - 1] / Diagonal[i - 1];
        Diagonal[i + 1] -= Outer[i - 1] * Second[i + 1];
    }
    First[n - 1] = Upper[n - 2] / Diagonal[n - 2];
    Diagonal[n - 1] -= Upper[n - 2] * First[n - 1];
}

double SplineWeight(double cutoff) {
    double a = 0.5 / std::sin(3.141592653589793 / cutoff);
    a = a * a;
    return a * a;
}

} // namespace kyf

/// One line of the spline filters, the plain form: the banded system is built and solved for each line anew.
#ifndef KYFOCUS_TESTS_REFERENCE_SPLINE_LINE_H
#define KYFOCUS_TESTS_REFERENCE_SPLINE_LINE_H

#include <cmath>
#include <cstdint>
#include <vector>

namespace reference {

inline double SplineWeight(double cutoff) {
    double a = 0.5 / std::sin(3.141592653589793 / cutoff);
    a = a * a;
    return a * a;
}

/// The solution y of (I + L Dt D) y = b. Fewer than 3 samples are their own solution.
inline std::vector<double> SolveSplineLine(std::vector<double> b, double weight) {
    const std::size_t n = b.size();
    if (n < 3) return b;
    std::vector<double> d(n, weight * 6.0 + 1.0);
    std::vector<double> e(n, weight * -4.0);
    std::vector<double> f(n, weight);
    const double end = d[n - 1] - 5.0 * weight;
    d[0] = end;
    d[n - 1] = end;
    const double endUpper = 2.0 * weight + e[n - 2];
    e[0] = endUpper;
    e[n - 2] = endUpper;
    const double second = d[n - 2] - weight;
    d[1] = second;
    d[n - 2] = second;

    double m = 0.0;
    for (std::size_t i = 1; i <= n - 2; ++i) {
        m = e[i - 1] / d[i - 1];
        d[i] -= e[i - 1] * m;
        e[i] -= m * f[i - 1];
        b[i] -= m * b[i - 1];
        const double m2 = f[i - 1] / d[i - 1];
        d[i + 1] -= f[i - 1] * m2;
        b[i + 1] -= m2 * b[i - 1];
    }
    std::vector<double> y(n);
    m = e[n - 2] / d[n - 2];
    d[n - 1] -= e[n - 2] * m;
    y[n - 1] = (b[n - 1] - m * b[n - 2]) / d[n - 1];
    y[n - 2] = (b[n - 2] - y[n - 1] * e[n - 2]) / d[n - 2];
    for (std::size_t i = n - 2; i-- > 0;) y[i] = ((b[i] - y[i + 1] * e[i]) - y[i + 2] * f[i]) / d[i];
    return y;
}

} // namespace reference

#endif

/// Plain form of the Gaussian fit: every value and derivative computed where it is asked for.
#ifndef KYFOCUS_TESTS_REFERENCE_GAUSSIAN_FIT_H
#define KYFOCUS_TESTS_REFERENCE_GAUSSIAN_FIT_H

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>
#include <vector>

namespace reference {

using Three = std::array<double, 3>;

inline double Gauss(double x, const Three& p) { return p[0] * std::exp(-((x - p[2]) * p[1] * (x - p[2]))); }

inline Three GaussDerivatives(double x, const Three& p) {
    const double g = std::exp(-((x - p[2]) * p[1] * (x - p[2])));
    return {g, -(g * p[0] * (x - p[2]) * (x - p[2])), (g * p[0] + g * p[0]) * p[1] * (x - p[2])};
}

inline int SolveLinear(std::vector<std::vector<double>> a, std::vector<double>& x) {
    const int n = static_cast<int>(a.size());
    const auto at = [&a](int row, int column) -> double& {
        return a[static_cast<std::size_t>(row)][static_cast<std::size_t>(column)];
    };
    x.assign(a.size(), 0.0);
    for (int k = 0; k < n; ++k) {
        const double m = std::fabs(at(k, k));
        int pivot = k;
        for (int r = k; r < n; ++r)
            if (std::fabs(at(r, k)) > m) pivot = r;
        if (pivot != k)
            for (int j = k; j <= n; ++j) std::swap(at(k, j), at(pivot, j));
        for (int r = k + 1; r < n; ++r) {
            const double factor = at(r, k) / at(k, k);
            for (int j = k; j <= n; ++j) at(r, j) -= factor * at(k, j);
        }
    }
    for (int i = n - 1; i >= 0; --i) {
        double sum = 0.0;
        for (int j = i + 1; j < n; ++j) sum += at(i, j) * x[static_cast<std::size_t>(j)];
        x[static_cast<std::size_t>(i)] = (at(i, n) - sum) / at(i, i);
        if (std::fabs(at(i, i)) <= 1e-12) return -1;
    }
    return 1;
}

struct Fit {
    int Result = 0; ///< 0: given up before the iteration
    int Iterations = 0;
    double ChiSquare = 0.0;
    Three Best{};
};

inline double SumOfSquares(const std::vector<double>& data, const Three& p) {
    double sum = 0.0;
    for (std::size_t i = 0; i < data.size(); ++i) {
        const double residual = data[i] - Gauss(static_cast<double>(i), p);
        sum += residual * residual;
    }
    return sum;
}

inline Fit FitLevenbergMarquardt(const std::vector<double>& data, const Three& start) {
    Fit fit;
    double lambda = 50.0;
    Three p = start;
    fit.Best = start;
    double previous = SumOfSquares(data, p);
    double current = previous;
    fit.ChiSquare = previous;
    while (fit.Iterations == 0 || (std::fabs(current - previous) > 0.001 && fit.Iterations < 20)) {
        ++fit.Iterations;
        Three beta{};
        std::vector<std::vector<double>> rows(3, std::vector<double>(4, 0.0));
        for (std::size_t i = 0; i < data.size(); ++i) {
            const Three g = GaussDerivatives(static_cast<double>(i), p);
            const double r = data[i] - Gauss(static_cast<double>(i), p);
            for (std::size_t j = 0; j < 3; ++j) {
                beta[j] -= r * g[j];
                for (std::size_t k = 0; k < 3; ++k) rows[j][k] += g[j] * g[k];
            }
        }
        for (std::size_t j = 0; j < 3; ++j) {
            rows[j][j] *= 1 + lambda;
            rows[j][3] = -beta[j];
        }
        std::vector<double> step;
        if (SolveLinear(rows, step) != 1) {
            fit.Result = -2;
            return fit;
        }
        const Three trial{p[0] + step[0], p[1] + step[1], p[2] + step[2]};
        const double next = SumOfSquares(data, trial);
        fit.ChiSquare = next;
        if (current > next) {
            lambda /= 10.0;
            fit.Best = trial;
            current = previous;
            previous = next;
        } else {
            lambda *= 10.0;
        }
        p = fit.Best;
    }
    fit.Result = fit.Iterations == 20 ? -1 : 1;
    return fit;
}

struct PeakFit {
    bool IsConfirmed = false;
    int First = 0;
    int Last = 0;
    bool HasEstimate = false;
    Three Estimate{};
    Fit Fitted;
};

inline PeakFit FitPeak(const std::vector<double>& e, const std::vector<double>& w1, int peak) {
    const int n = static_cast<int>(e.size());
    const int t = static_cast<int>(n * 0.3);
    const int half = (t < 5 ? 6 : t) / 2;
    const int lo = peak - half;
    PeakFit fit;
    int first = std::max(lo, 0);
    int last = peak + half - std::min(lo, 0);
    if (last >= n) {
        first = first - last - 1 + n;
        last = n - 1;
    }
    if (first < 0 || last >= n) {
        first = 0;
        last = n - 1;
    }
    fit.First = first;
    fit.Last = last;
    std::vector<double> p;
    for (int j = first; j <= last; ++j) {
        const double value = last - first < 10 ? e[static_cast<std::size_t>(j)] : w1[static_cast<std::size_t>(j)];
        p.push_back(value == 0.0 ? 1.0 : value);
    }
    double high = 0.0;
    double low = 1e10;
    for (const double value : p) high = std::max(high, value);
    for (const double value : p) low = std::min(low, value);
    if (p.size() < 2) return fit;
    double s0 = 0.0;
    double s1 = 0.0;
    for (std::size_t j = 1; j < p.size(); ++j) {
        s1 += static_cast<double>(j) * (p[j] - low);
        s0 += p[j] - low;
    }
    if (s0 == 0.0) return fit;
    const double c = s1 / s0;
    double all = 0.0;
    double v = 0.0;
    for (const double value : p) all += value - low;
    for (std::size_t j = 1; j < p.size(); ++j)
        v += (p[j] - low) * (static_cast<double>(j) - c) * (static_cast<double>(j) - c);
    if (v == 0.0) return fit;
    const double a = static_cast<double>(static_cast<float>(all / (2 * v)));
    fit.HasEstimate = true;
    fit.Estimate = {high - low, a, first + c};
    fit.Fitted = FitLevenbergMarquardt(p, {high - low, a, c});
    fit.IsConfirmed = fit.Fitted.Result == 1;
    return fit;
}

} // namespace reference

#endif

#include "safe3d/gaussian_fit.h"

#include <algorithm>
#include <cmath>

#include "filters/numbers.h"

namespace kyf {

namespace {

constexpr std::int32_t kRawWindow = 10; // windows up to this span are taken from the raw edge strengths

struct Bounds {
    double Low;
    double High;
};

Bounds TakeSamples(const double* column, std::ptrdiff_t step, const FitWindow& window, double* samples) {
    Bounds bounds{1e10, 0.0};
    for (std::int32_t j = 0; j <= window.Last - window.First; ++j) {
        const double value = column[(window.First + j) * step];
        samples[j] = value == 0.0 ? 1.0 : value;
        if (samples[j] > bounds.High) bounds.High = samples[j];
        if (samples[j] < bounds.Low) bounds.Low = samples[j];
    }
    return bounds;
}

// Amplitude, inverse width and centre inside the window from its moments; false for a window without spread.
bool EstimateByMoments(const double* samples, std::int32_t count, const Bounds& bounds, FitParameters& estimate) {
    double weighted = 0.0;
    double sum = 0.0;
    for (std::int32_t j = 1; j < count; ++j) {
        weighted += j * (samples[j] - bounds.Low);
        sum += samples[j] - bounds.Low;
    }
    if (sum == 0.0) return false;
    const double centre = weighted / sum;
    double all = 0.0;
    double variance = 0.0;
    for (std::int32_t j = 0; j < count; ++j) all += samples[j] - bounds.Low;
    for (std::int32_t j = 1; j < count; ++j) variance += (samples[j] - bounds.Low) * (j - centre) * (j - centre);
    if (variance == 0.0) return false;
    const auto inverseWidth = static_cast<double>(static_cast<float>(all / (2 * variance)));
    estimate = {bounds.High - bounds.Low, inverseWidth, centre};
    return true;
}

} // namespace

FitWorkspace::FitWorkspace(std::int32_t count)
    : m_count(static_cast<std::size_t>(count)), m_doubles(new double[3 * m_count]) {}

FitWindow WindowOfPeak(std::int32_t count, std::int32_t peak) {
    const std::int32_t share = TruncateToInt32(count * 0.3);
    const std::int32_t half = (share < 5 ? 6 : share) / 2;
    const std::int32_t low = peak - half;
    FitWindow window{std::max(low, 0), peak + half - std::min(low, 0)};
    if (window.Last >= count) window = {window.First - window.Last - 1 + count, count - 1};
    if (window.First < 0 || window.Last >= count) window = {0, count - 1};
    return window;
}

bool EstimatePeak(const PeakColumn& column, std::int32_t peak, double* samples, PeakEstimate& estimate) {
    const FitWindow window = WindowOfPeak(column.Count, peak);
    const std::int32_t length = window.Last - window.First + 1;
    const double* const values = window.Last - window.First < kRawWindow ? column.Edge : column.Banded;
    const Bounds bounds = TakeSamples(values, column.Step, window, samples);
    FitParameters start{};
    if (length < 2 || !EstimateByMoments(samples, length, bounds, start)) return false;
    estimate = {window, start};
    return true;
}

bool FitPeak(const double* edge, const double* banded, std::int32_t count, std::int32_t peak, FitParameters& estimate,
             double& amplitude, FitWorkspace& workspace) {
    PeakEstimate found{};
    if (!EstimatePeak({edge, banded, count, 1}, peak, workspace.Samples(), found)) return false;
    estimate = found.InFrames();

    static const CGauss gauss;
    FitRecord record{workspace.Samples(), found.Count(), &gauss, kMaxFitParameters, 0.0, {}, {}, {}, {}};
    FitParameters fitted{};
    if (FitLevenbergMarquardt(record, found.Start.data(), fitted.data(), workspace) != FitResult::Converged)
        return false;
    amplitude = fitted[0];
    return true;
}

} // namespace kyf

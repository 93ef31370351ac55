/// Plain form of the selection: every pixel in plain sequence, from search to mask. A stack is a list of grids.
#ifndef KYFOCUS_TESTS_REFERENCE_PEAK_SELECTION_H
#define KYFOCUS_TESTS_REFERENCE_PEAK_SELECTION_H

#include <algorithm>
#include <array>
#include <climits>
#include <cstdint>
#include <vector>

#include "filters/numbers.h"
#include "reference/gaussian_fit.h"
#include "reference/height_repair.h"
#include "reference/peak_search.h"

namespace reference {

struct SelectionSettings {
    int ScopeType = 0;
    int HalationMeasures = 0;
    int Adoption = 0;
    int Sensitivity = 5;
};

struct Selection {
    std::vector<double> FrameMap;
    std::vector<std::int32_t> Mask;
    int StalePeaks = 0; ///< pixels whose position came from a peak that an earlier pixel had set
};

inline double ThresholdOf(int sensitivity) {
    constexpr std::array<double, 11> kTable{70, 52, 35, 25, 18, 13, 11, 9, 7, 6, 5};
    return kTable[static_cast<std::size_t>(std::clamp(sensitivity, 0, 10))];
}

/// One pixel, as far as it needs no pixel but itself and the peak before it.
struct PixelSelection {
    double Frame = 0.0;
    std::int32_t Mask = 255;
    bool UsedStalePeak = false;
};

inline PixelSelection SelectPixel(const Column& e, const Column& k, const SelectionSettings& settings, bool ascending,
                                  int& peak) {
    const int n = static_cast<int>(e.size());
    const bool isBrightness = settings.ScopeType == 2 || settings.ScopeType == 3;
    const Column ks = SmoothTriangular(n < 30 ? 1 : n / 15, DifferentiateLuminance(k));
    int kmax = INT_MIN;
    int kmin = INT_MAX;
    for (const double value : k) {
        kmax = std::max(kmax, kyf::TruncateToInt32(value));
        kmin = std::min(kmin, kyf::TruncateToInt32(value));
    }
    const PeakSearch search =
        SearchPeak(e, 0.2, 0.6, ThresholdOf(settings.Sensitivity), settings.Adoption, ascending, peak);
    peak = search.Peak;
    PixelSelection pixel;
    if (!isBrightness && !search.Found) return pixel;
    if (!isBrightness && search.W1[static_cast<std::size_t>(peak)] < 2.0) return pixel;
    pixel.UsedStalePeak = *std::max_element(search.W1.begin(), search.W1.end()) <= 0.0;
    double amplitude = -1.0;
    if (peak == 0) {
        pixel = {0.0, 0, pixel.UsedStalePeak};
    } else if (peak == n - 1) {
        pixel = {static_cast<double>(n - 1), 0, pixel.UsedStalePeak};
    } else {
        const PeakFit fit = FitPeak(e, search.W1, peak);
        if (fit.IsConfirmed) amplitude = fit.Fitted.Best[0];
        const bool isWeak = !isBrightness && (fit.Estimate[0] < 2.0 || fit.Estimate[1] < 0.0);
        if (fit.IsConfirmed && !isWeak)
            pixel = {std::clamp(fit.Estimate[2], 0.0, static_cast<double>(n - 1)), 0, pixel.UsedStalePeak};
    }
    const double c = settings.HalationMeasures != 0 ? 0.8 : 0.99;
    if (kyf::WrappingDifference(kmax, kmin) > (settings.HalationMeasures != 0 ? 10 : 255) &&
        (amplitude <= 50.0 || ks[static_cast<std::size_t>(static_cast<int>(pixel.Frame))] > c * 255))
        pixel.Mask = 255;
    return pixel;
}

/// @param edge, kido  One grid a frame, all of one size.
inline Selection SelectPeaks(const std::vector<DoubleGrid>& edge, const std::vector<DoubleGrid>& kido,
                             const SelectionSettings& settings, bool ascending) {
    Selection selection;
    int peak = 0;
    for (std::size_t at = 0; at < edge.front().Values.size(); ++at) {
        Column e;
        Column k;
        for (const DoubleGrid& frame : edge) e.push_back(frame.Values[at]);
        for (const DoubleGrid& frame : kido) k.push_back(frame.Values[at]);
        const PixelSelection pixel = SelectPixel(e, k, settings, ascending, peak);
        selection.FrameMap.push_back(pixel.Frame);
        selection.Mask.push_back(pixel.Mask);
        selection.StalePeaks += pixel.UsedStalePeak ? 1 : 0;
    }
    return selection;
}

} // namespace reference

#endif

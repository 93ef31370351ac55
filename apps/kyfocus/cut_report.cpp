#include "cut_report.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>

namespace app {
namespace {

// Ratios are told in steps that are finer than those from level to level.
int DigitsFor(const CutFigures& figures) { return figures.Depth > 256 ? 6 : 4; }

/// The ratio above which `value` is cut; values round up from there.
double RatioOf(std::int32_t value, const CutFigures& figures) { return (value + 0.5) / (figures.Depth - 1); }

std::string ToText(double number, int digits) {
    char text[64];
    std::snprintf(text, sizeof text, "%.*f", digits, number);
    return text;
}

} // namespace

CutFigures JudgeCut(const HeightMap& heights, const DifferentiationMap& map) {
    CutFigures figures{heights.Values.size(), 0, std::numeric_limits<std::int32_t>::max(), 0, map.Depth};
    for (std::size_t i = 0; i < heights.Values.size(); ++i) {
        if (!std::isfinite(heights.Values[i])) {
            ++figures.Holes;
            continue;
        }
        figures.Least = std::min(figures.Least, map.Values[i]);
        figures.Greatest = std::max(figures.Greatest, map.Values[i]);
    }
    return figures;
}

std::string DescribeCut(const CutFigures& figures, std::size_t cut) {
    const double percent = 100.0 * static_cast<double>(cut) / static_cast<double>(figures.Pixels);
    std::string text = std::to_string(cut) + " of " + std::to_string(figures.Pixels) + " pixels cut (" +
                       ToText(percent, 2) + " percent)";
    if (figures.Holes > 0) text += ", " + std::to_string(figures.Holes) + " of them holes";
    return text + "; the differentiation map runs from " + std::to_string(figures.Least) + " to " +
           std::to_string(figures.Greatest) + " of " + std::to_string(figures.Depth - 1);
}

std::string LeastCuttingRatio(const CutFigures& figures) {
    const int digits = DigitsFor(figures);
    const double steps = std::pow(10.0, digits);
    const double ratio = std::ceil(RatioOf(figures.Least, figures) * steps) / steps;
    return ratio > 1.0 ? std::string() : ToText(ratio, digits);
}

std::string GreatestUsefulRatio(const CutFigures& figures) {
    const int digits = DigitsFor(figures);
    const double steps = std::pow(10.0, digits);
    const double ratio = (std::ceil(RatioOf(figures.Greatest, figures) * steps) - 1.0) / steps;
    return ToText(std::clamp(ratio, 0.0, 1.0), digits);
}

} // namespace app

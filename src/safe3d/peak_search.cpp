#include "safe3d/peak_search.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>

#include "filters/numbers.h"
#include "safe3d/double_lanes.h"

namespace kyf {

namespace {

constexpr std::int32_t kSumsTogether = 4; // lane groups in flight; the padded copy reaches that far past its end
constexpr std::int32_t kBlock = kSumsTogether * kDoubleLanes;

struct Triangle {
    std::int32_t Half;
    std::int32_t Top;

    explicit Triangle(std::int32_t width)
        : Half(TruncateToInt32(width * 0.5)), Top(TruncateToInt32(width * 0.5 + 1.0)) {}
    double Weight(std::int32_t k) const { return Top - std::abs(k); }
    double Total() const {
        double total = 0.0;
        for (std::int32_t k = -Half; k <= Half; ++k) total += Weight(k);
        return total;
    }
};

// Averages of one block. `padded` starts `half` samples before the block.
KY_SIMD_CLONES void SmoothBlock(const double* padded, std::int32_t half, std::int32_t top, double total, double* out) {
    DoubleLanes sums[kSumsTogether]{};
    for (std::int32_t k = -half; k <= half; ++k) {
        const double weight = top - std::abs(k);
        for (std::int32_t part = 0; part < kSumsTogether; ++part)
            AddScaledLanes(sums[part], weight, padded + half + k + part * kDoubleLanes);
    }
    for (DoubleLanes& sum : sums) sum /= total;
    std::memcpy(out, sums, sizeof sums);
}

struct Range {
    double Low;
    double High;
};

// Band-pass: short average less long average, no less than 0. Short stacks keep the short average.
void BandPass(std::int32_t count, const double* edge, const PeakSearchSettings& settings, double* banded,
              PeakWorkspace& workspace) {
    const std::int32_t shortWidth = std::min(TruncateToInt32(count * settings.ShortRatio), count);
    SmoothTriangular(shortWidth, count, edge, banded, workspace.Smoothing());
    if (count < 8) return;
    const std::int32_t longWidth = std::min(TruncateToInt32(count * settings.LongRatio), count);
    double* const average = workspace.LongAverage();
    SmoothTriangular(longWidth, count, edge, average, workspace.Smoothing());
    for (std::int32_t i = 0; i < count; ++i) {
        const double band = banded[i] - average[i];
        banded[i] = band < 0.0 ? 0.0 : band;
    }
}

Range HighestPeak(std::int32_t count, const double* banded, std::int32_t& peak) {
    Range range{std::numeric_limits<double>::max(), 0.0};
    for (std::int32_t i = 0; i < count; ++i) {
        if (banded[i] > range.High) {
            range.High = banded[i];
            peak = i;
        }
        if (banded[i] < range.Low) range.Low = banded[i];
    }
    return range;
}

// Peaks of all runs into the workspace; their number.
std::int32_t ListSegments(std::int32_t count, const double* segmented, PeakWorkspace& workspace) {
    std::int32_t start = 0;
    for (std::int32_t k = 0; k < count; ++k) {
        const Segment segment = NextSegment(count, segmented, start);
        if (segment.End == -1) return k;
        workspace.Values()[k] = segment.PeakValue;
        workspace.Indices()[k] = segment.PeakIndex;
        if (segment.End == count - 1) return k + 1;
        start = segment.End;
    }
    return count;
}

// The strongest run, unless another one comes close to it. Runs as strong as the strongest are no rivals.
bool IsStrongestAlone(std::int32_t segments, const PeakWorkspace& workspace, std::int32_t& peak) {
    const double* const values = workspace.Values();
    double best = values[0];
    for (std::int32_t k = 0; k < segments; ++k) {
        if (!(values[k] > best)) continue;
        peak = workspace.Indices()[k];
        best = values[k];
    }
    for (std::int32_t k = 0; k < segments; ++k)
        if (values[k] != best && values[k] > best * 0.4) return false;
    return true;
}

} // namespace

std::size_t SmoothingScratch(std::int32_t width, std::int32_t count) {
    const std::size_t half = static_cast<std::size_t>(std::max(Triangle(width).Half, 0));
    return static_cast<std::size_t>(count) + 2 * half + 2 * kBlock;
}

void SmoothTriangular(std::int32_t width, std::int32_t count, const double* source, double* destination,
                      double* scratch) {
    if (width < 3) {
        std::copy_n(source, count, destination);
        return;
    }
    const Triangle triangle(width);
    const std::int32_t whole = (count + kBlock - 1) / kBlock * kBlock;
    std::fill_n(scratch, triangle.Half, source[0]);
    std::copy_n(source, count, scratch + triangle.Half);
    std::fill_n(scratch + triangle.Half + count, triangle.Half + whole - count, source[count - 1]);
    const double total = triangle.Total();
    for (std::int32_t i = 0; i < count; i += kBlock) {
        if (count - i >= kBlock) {
            SmoothBlock(scratch + i, triangle.Half, triangle.Top, total, destination + i);
            continue;
        }
        double tail[kBlock];
        SmoothBlock(scratch + i, triangle.Half, triangle.Top, total, tail);
        std::copy_n(tail, count - i, destination + i);
    }
}

double SmoothTriangularAt(std::int32_t width, std::int32_t count, const double* source, std::int32_t at) {
    if (width < 3) return source[at];
    const Triangle triangle(width);
    double sum = 0.0;
    for (std::int32_t k = -triangle.Half; k <= triangle.Half; ++k)
        sum += triangle.Weight(k) * source[std::clamp(at + k, 0, count - 1)];
    return sum / triangle.Total();
}

void DifferentiateLuminance(const double* luminance, double* slope, std::int32_t count) {
    if (count == 1) slope[0] = luminance[0];
    if (count < 5) {
        if (count > 1) std::fill_n(slope, count, 0.0);
        return;
    }
    for (std::int32_t i = 2; i <= count - 3; ++i)
        slope[i] = std::fabs(-2 * luminance[i - 2] - luminance[i - 1] + luminance[i + 1] + 2 * luminance[i + 2]);
    slope[0] = slope[1] = slope[2];
    slope[count - 2] = slope[count - 1] = slope[count - 3];
    double high = 0.0;
    double low = 256.0;
    for (std::int32_t i = 0; i < count; ++i) {
        if (slope[i] > high) high = slope[i];
        if (slope[i] < low) low = slope[i];
    }
    const double factor = 256.0 / (high - low);
    for (std::int32_t i = 0; i < count; ++i) slope[i] = (slope[i] - low) * factor;
}

PeakWorkspace::PeakWorkspace(std::int32_t count)
    : m_count(count), m_doubles(new double[2 * static_cast<std::size_t>(count) + SmoothingScratch(count, count)]),
      m_indices(new std::int32_t[static_cast<std::size_t>(count)]) {}

bool SearchPeak(std::int32_t count, const double* edge, double* banded, double* segmented,
                const PeakSearchSettings& settings, std::int32_t& peak, PeakWorkspace& workspace) {
    BandPass(count, edge, settings, banded, workspace);
    const Range range = HighestPeak(count, banded, peak);
    if (std::fabs(range.High - range.Low) < 1.0 || range.High < settings.Threshold) return false;
    for (std::int32_t i = 0; i < count; ++i) segmented[i] = banded[i] < settings.Threshold ? 0.0 : banded[i];
    return ChoosePeak(count, segmented, settings, peak, workspace);
}

bool ChoosePeak(std::int32_t count, const double* segmented, const PeakSearchSettings& settings, std::int32_t& peak,
                PeakWorkspace& workspace) {
    if (settings.Adoption != 0 && settings.Adoption != 1) return true;
    const std::int32_t segments = ListSegments(count, segmented, workspace);
    if (segments == 0) return true; // only with a threshold of 0 or less
    if (settings.Adoption == 0) return IsStrongestAlone(segments, workspace, peak);
    peak = workspace.Indices()[settings.Ascending ? segments - 1 : 0];
    return true;
}

Segment NextSegment(std::int32_t count, const double* segmented, std::int32_t start) {
    std::int32_t i = start;
    while (i < count && !(segmented[i] > 0.0)) ++i;
    if (i == count) return {-1.0, -1, -1, -1};
    const std::int32_t begin = i;
    while (i < count && segmented[i] != 0.0) ++i;
    const std::int32_t end = i >= count - 2 ? count - 1 : i;
    std::int32_t best = begin;
    for (std::int32_t j = begin; j <= end; ++j)
        if (segmented[j] > segmented[best]) best = j;
    return {segmented[best], best, begin, end};
}

} // namespace kyf

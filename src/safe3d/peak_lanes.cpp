#include "safe3d/peak_lanes.h"

#include <algorithm>
#include <cstdlib>
#include <limits>

#include "filters/numbers.h"

namespace kyf {

namespace {

constexpr std::int32_t kFramesTogether = 4; // sums in flight

// Averages around frame i and the `Frames` - 1 behind it.
template <int Frames>
KY_ALWAYS_INLINE void SmoothAt(const SmoothingTaps& taps, const DoubleLanes* edge, std::int32_t i, DoubleLanes* out) {
    DoubleLanes sums[Frames]{};
    for (std::int32_t k = -taps.Half; k <= taps.Half; ++k) {
        const double weight = taps.Top - std::abs(k);
        for (int f = 0; f < Frames; ++f) sums[f] += weight * edge[i + k + f];
    }
    for (int f = 0; f < Frames; ++f) out[f] = sums[f] / taps.Total;
}

template <int Frames>
KY_ALWAYS_INLINE void BandPassAt(const BandPassTaps& taps, const DoubleLanes* edge, std::int32_t i,
                                 DoubleLanes* banded) {
    if (taps.Short.Half > 0)
        SmoothAt<Frames>(taps.Short, edge, i, banded + i);
    else
        for (int f = 0; f < Frames; ++f) banded[i + f] = edge[i + f];
    if (!taps.HasLong) return;
    DoubleLanes average[Frames];
    SmoothAt<Frames>(taps.Long, edge, i, average);
    const DoubleLanes zero{};
    for (int f = 0; f < Frames; ++f) {
        banded[i + f] -= average[f];
        PutWhere(banded[i + f] < zero, zero, banded[i + f]);
    }
}

KY_ALWAYS_INLINE void FindExtremes(const DoubleLanes* banded, std::int32_t count, LaneExtremes& extremes) {
    DoubleLanes top{};
    DoubleLanes low = DoubleLanes{} + std::numeric_limits<double>::max();
    LaneMask peak = LaneMask{} - 1;
    for (std::int32_t i = 0; i < count; ++i) {
        const LaneMask isHigher = banded[i] > top;
        PutWhere(isHigher, banded[i], top);
        peak = (isHigher & i) | (~isHigher & peak);
        PutWhere(banded[i] < low, banded[i], low);
    }
    extremes = {top, low, peak};
}

} // namespace

SmoothingTaps::SmoothingTaps(std::int32_t width)
    : Half(width < 3 ? 0 : TruncateToInt32(width * 0.5)), Top(TruncateToInt32(width * 0.5 + 1.0)), Total(0.0) {
    for (std::int32_t k = -Half; k <= Half; ++k) Total += Top - std::abs(k);
}

BandPassTaps::BandPassTaps(std::int32_t count, double shortRatio, double longRatio)
    : Count(count), Short(std::min(TruncateToInt32(count * shortRatio), count)),
      Long(std::min(TruncateToInt32(count * longRatio), count)), HasLong(count >= 8) {}

KY_SIMD_CLONES void BandPassLanes(const BandPassTaps& taps, const DoubleLanes* edge, DoubleLanes* banded,
                                  LaneExtremes& extremes) {
    std::int32_t i = 0;
    for (; i + kFramesTogether <= taps.Count; i += kFramesTogether) BandPassAt<kFramesTogether>(taps, edge, i, banded);
    for (; i < taps.Count; ++i) BandPassAt<1>(taps, edge, i, banded);
    FindExtremes(banded, taps.Count, extremes);
}

namespace {

constexpr double kLeastInteger = std::numeric_limits<std::int32_t>::min();

KY_ALWAYS_INLINE void TakeTruncatable(const DoubleLanes& values, DoubleLanes& taken) {
    const DoubleLanes zero{};
    taken = zero + kLeastInteger;
    PutWhere((values > zero + (kLeastInteger - 1.0)) & (values < zero - kLeastInteger), values, taken);
}

} // namespace

KY_SIMD_CLONES void FindRange(const DoubleLanes* columns, std::int32_t count, DoubleLanes& lowest,
                              DoubleLanes& highest) {
    DoubleLanes low;
    TakeTruncatable(columns[0], low);
    DoubleLanes high = low;
    for (std::int32_t i = 1; i < count; ++i) {
        DoubleLanes values;
        TakeTruncatable(columns[i], values);
        PutWhere(values < low, values, low);
        PutWhere(values > high, values, high);
    }
    lowest = low;
    highest = high;
}

} // namespace kyf

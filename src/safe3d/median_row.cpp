#include "safe3d/median_row.h"

#include <algorithm>
#include <bit>
#include <cstring>

#include "platform/simd.h"

namespace kyf {

namespace {

constexpr std::int32_t kMostSamples = 255;
constexpr std::int8_t kLargest = 127;
constexpr std::int8_t kSmallest = -128; // also the difference between stored and plain bytes

typedef std::int8_t Signed __attribute__((vector_size(kMedianLanes)));
typedef std::uint8_t Unsigned __attribute__((vector_size(kMedianLanes)));

/// Samples of all windows, one row of lanes after the other: sample k, l of the windows lies at
/// First + k * RowStep + l * ColumnStep.
struct Samples {
    const std::int8_t* First;
    std::ptrdiff_t RowStep;
    std::ptrdiff_t ColumnStep;
    std::int32_t Side;
};

template <typename V> KY_ALWAYS_INLINE void Load(V& lanes, const void* in) { std::memcpy(&lanes, in, sizeof lanes); }

KY_ALWAYS_INLINE void CountBelow(const Samples& samples, const Signed& limit, Unsigned& count) {
    Unsigned below{};
    for (std::int32_t k = 0; k < samples.Side; ++k) {
        const std::int8_t* at = samples.First + k * samples.RowStep;
        for (std::int32_t l = 0; l < samples.Side; ++l, at += samples.ColumnStep) {
            Signed lanes;
            Load(lanes, at);
            below -= (Unsigned)(lanes < limit);
        }
    }
    count = below;
}

// One byte of each median, bit by bit from `firstBit`: a bit is set while no more than `rank` samples lie below the
// value with it. The higher bits are those of `value`. `below` receives the samples below the value, 0 at first.
KY_ALWAYS_INLINE void SelectByte(const Samples& samples, const Unsigned& rank, int firstBit, Unsigned& value,
                                 Unsigned& below) {
    for (int bit = firstBit; bit > 0; bit /= 2) {
        const Unsigned trial = value | static_cast<std::uint8_t>(bit);
        const Signed limit = (Signed)trial ^ kSmallest;
        Unsigned count;
        CountBelow(samples, limit, count);
        const Unsigned isTaken = (Unsigned)(count <= rank);
        value = (trial & isTaken) | (value & ~isTaken);
        below = (count & isTaken) | (below & ~isTaken);
    }
}

/// What all samples of the windows have in common.
struct Common {
    std::uint8_t Low; // least and largest high byte of those that count
    std::uint8_t High;
    bool IsAllGood;
};

KY_ALWAYS_INLINE Common LookOver(const MedianPlanes& planes, std::int32_t side) {
    std::int8_t low = kLargest;
    std::int8_t high = kSmallest;
    std::uint8_t good = 1;
    for (std::int32_t k = 0; k < side; ++k) {
        const std::int8_t* const row = planes.High + k * planes.Stride;
        const std::uint8_t* const goodRow = planes.Good + k * planes.Stride;
        for (std::int32_t l = 0; l < kMedianLanes + side - 1; ++l) {
            const std::int8_t counted = goodRow[l] != 0 ? row[l] : kSmallest;
            low = row[l] < low ? row[l] : low;
            high = counted > high ? counted : high;
            good = static_cast<std::uint8_t>(good & goodRow[l]);
        }
    }
    return {static_cast<std::uint8_t>(low - kSmallest), static_cast<std::uint8_t>(high - kSmallest), good != 0};
}

KY_ALWAYS_INLINE void RankOf(const MedianPlanes& planes, std::int32_t side, bool isAllGood, Unsigned& rank) {
    Unsigned count{};
    if (isAllGood) {
        count += static_cast<std::uint8_t>(side * side);
    } else {
        for (std::int32_t k = 0; k < side; ++k) {
            for (std::int32_t l = 0; l < side; ++l) {
                Unsigned lanes;
                Load(lanes, planes.Good + k * planes.Stride + l);
                count += lanes;
            }
        }
    }
    rank = count >> 1;
}

// The low bytes of the samples with the selected high byte; the largest in the place of the others.
KY_ALWAYS_INLINE void GatherLow(const MedianPlanes& planes, std::int32_t side, const Unsigned& high,
                                std::int8_t* gathered) {
    const Signed selected = (Signed)high ^ kSmallest;
    for (std::int32_t k = 0; k < side; ++k) {
        for (std::int32_t l = 0; l < side; ++l, gathered += kMedianLanes) {
            Signed lanes;
            Signed low;
            Load(lanes, planes.High + k * planes.Stride + l);
            Load(low, planes.Low + k * planes.Stride + l);
            const Signed isSelected = lanes == selected;
            low = (low & isSelected) | (kLargest & ~isSelected);
            std::memcpy(gathered, &low, sizeof low);
        }
    }
}

} // namespace

KY_SIMD_CLONES void MedianOfWindows(const MedianPlanes& planes, std::int32_t side, std::uint16_t* medians) {
    const Common common = LookOver(planes, side);
    Unsigned rank;
    RankOf(planes, side, common.IsAllGood, rank);

    // Bits that least and largest have in common need no counting.
    const auto open = static_cast<unsigned>(common.Low <= common.High ? common.Low ^ common.High : 0);
    const int firstBit = static_cast<int>(std::bit_ceil(open + 1)) / 2;
    Unsigned high{};
    Unsigned below{};
    high += static_cast<std::uint8_t>(common.High & ~(std::bit_ceil(open + 1) - 1));
    SelectByte({planes.High, planes.Stride, 1, side}, rank, firstBit, high, below);

    alignas(kMedianLanes) std::int8_t gathered[kMostSamples * kMedianLanes];
    GatherLow(planes, side, high, gathered);
    rank -= below;
    Unsigned low{};
    SelectByte({gathered, std::ptrdiff_t{side} * kMedianLanes, kMedianLanes, side}, rank, 128, low, below);
    for (std::int32_t i = 0; i < kMedianLanes; ++i) medians[i] = static_cast<std::uint16_t>(high[i] << 8 | low[i]);
}

} // namespace kyf

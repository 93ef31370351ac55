#include "imaging/line_kernels.h"

#include "platform/simd.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <utility>

namespace kyi {

namespace {

// Bits of a 32-bit word that lie in its first byte.
constexpr int kFirstShift = std::endian::native == std::endian::little ? 0 : 24;
constexpr std::uint32_t kFirstByte = 0xFFu << kFirstShift;

template <typename Sample, std::size_t Stride>
KY_ALWAYS_INLINE void Widen(const std::uint8_t* sample, std::int32_t* __restrict values, std::size_t count) noexcept {
    const Sample* const in = reinterpret_cast<const Sample*>(sample);
    for (std::size_t i = 0; i < count; ++i) values[i] = in[i * Stride];
}

template <typename Sample>
KY_ALWAYS_INLINE void Narrow(const std::int32_t* __restrict values, std::uint8_t* sample, std::size_t count) noexcept {
    Sample* const out = reinterpret_cast<Sample*>(sample);
    for (std::size_t i = 0; i < count; ++i) out[i] = static_cast<Sample>(values[i]);
}

template <typename Sample> using Lanes __attribute__((vector_size(16))) = Sample;

template <typename Sample> constexpr std::size_t kLanes = 16 / sizeof(Sample);

/// Lane of a shuffle of (old, fresh) that puts fresh samples at every third place of three vectors and keeps the rest.
constexpr int MergeIndex(std::size_t lanes, std::size_t vector, std::size_t lane) noexcept {
    const std::size_t place = vector * lanes + lane;
    return static_cast<int>(place % 3 == 0 ? lanes + place / 3 : lane);
}

template <typename Sample, std::size_t Vector, std::size_t... Lane>
KY_ALWAYS_INLINE void MergeVector(Lanes<Sample> fresh, Sample* at, std::index_sequence<Lane...>) noexcept {
    Lanes<Sample> old;
    std::memcpy(&old, at + Vector * sizeof...(Lane), sizeof old);
    old = __builtin_shufflevector(old, fresh, MergeIndex(sizeof...(Lane), Vector, Lane)...);
    std::memcpy(at + Vector * sizeof...(Lane), &old, sizeof old);
}

/// samples[3 i] = fresh[i]. Three vectors take one vector of fresh samples; they reach two samples beyond the last, so
/// that the end goes one by one.
template <typename Sample>
KY_ALWAYS_INLINE void SpreadByThree(const Sample* fresh, Sample* samples, std::size_t count) noexcept {
    constexpr auto kEach = std::make_index_sequence<kLanes<Sample>>();
    std::size_t i = 0;
    for (; i + kLanes<Sample> < count; i += kLanes<Sample>) {
        Lanes<Sample> vector;
        std::memcpy(&vector, fresh + i, sizeof vector);
        MergeVector<Sample, 0>(vector, samples + 3 * i, kEach);
        MergeVector<Sample, 1>(vector, samples + 3 * i, kEach);
        MergeVector<Sample, 2>(vector, samples + 3 * i, kEach);
    }
    for (; i < count; ++i) samples[3 * i] = fresh[i];
}

template <typename Sample>
KY_ALWAYS_INLINE void NarrowByThree(const std::int32_t* values, std::uint8_t* sample, std::size_t count) noexcept {
    std::array<Sample, 512> fresh;
    auto* samples = reinterpret_cast<Sample*>(sample);
    while (count > 0) {
        const std::size_t part = std::min(count, fresh.size());
        Narrow<Sample>(values, reinterpret_cast<std::uint8_t*>(fresh.data()), part);
        SpreadByThree<Sample>(fresh.data(), samples, part);
        values += part;
        samples += 3 * part;
        count -= part;
    }
}

KY_SIMD_CLONES void WidenGray8(const std::uint8_t* sample, std::int32_t* values, std::size_t count) noexcept {
    Widen<std::uint8_t, 1>(sample, values, count);
}

KY_SIMD_CLONES void WidenGray16(const std::uint8_t* sample, std::int32_t* values, std::size_t count) noexcept {
    Widen<std::uint16_t, 1>(sample, values, count);
}

KY_SIMD_CLONES void WidenBgr24(const std::uint8_t* sample, std::int32_t* values, std::size_t count) noexcept {
    Widen<std::uint8_t, 3>(sample, values, count);
}

KY_SIMD_CLONES void WidenBgr32(const std::uint8_t* sample, std::int32_t* values, std::size_t count) noexcept {
    Widen<std::uint8_t, 4>(sample, values, count);
}

KY_SIMD_CLONES void WidenBgr48(const std::uint8_t* sample, std::int32_t* values, std::size_t count) noexcept {
    Widen<std::uint16_t, 3>(sample, values, count);
}

KY_SIMD_CLONES void NarrowGray8(const std::int32_t* values, std::uint8_t* sample, std::size_t count) noexcept {
    Narrow<std::uint8_t>(values, sample, count);
}

KY_SIMD_CLONES void NarrowGray16(const std::int32_t* values, std::uint8_t* sample, std::size_t count) noexcept {
    Narrow<std::uint16_t>(values, sample, count);
}

KY_SIMD_CLONES void NarrowBgr24(const std::int32_t* values, std::uint8_t* sample, std::size_t count) noexcept {
    NarrowByThree<std::uint8_t>(values, sample, count);
}

// Four bytes are written from the sample on; for the last one they would reach beyond its pixel.
KY_SIMD_CLONES void NarrowBgr32(const std::int32_t* __restrict values, std::uint8_t* __restrict sample,
                                std::size_t count) noexcept {
    if (count == 0) return;
    for (std::size_t i = 0; i + 1 < count; ++i) {
        std::uint32_t pixel = 0;
        std::memcpy(&pixel, sample + 4 * i, sizeof pixel);
        pixel = (pixel & ~kFirstByte) | (static_cast<std::uint32_t>(values[i]) << kFirstShift & kFirstByte);
        std::memcpy(sample + 4 * i, &pixel, sizeof pixel);
    }
    sample[4 * (count - 1)] = static_cast<std::uint8_t>(values[count - 1]);
}

KY_SIMD_CLONES void NarrowBgr48(const std::int32_t* values, std::uint8_t* sample, std::size_t count) noexcept {
    NarrowByThree<std::uint16_t>(values, sample, count);
}

} // namespace

void WidenRun(const std::uint8_t* sample, std::int32_t pixelBytes, std::int32_t* values, std::size_t count) noexcept {
    switch (pixelBytes) {
    case 1: return WidenGray8(sample, values, count);
    case 2: return WidenGray16(sample, values, count);
    case 3: return WidenBgr24(sample, values, count);
    case 4: return WidenBgr32(sample, values, count);
    case 6: return WidenBgr48(sample, values, count);
    default: return;
    }
}

void NarrowRun(const std::int32_t* values, std::int32_t pixelBytes, std::uint8_t* sample, std::size_t count) noexcept {
    switch (pixelBytes) {
    case 1: return NarrowGray8(values, sample, count);
    case 2: return NarrowGray16(values, sample, count);
    case 3: return NarrowBgr24(values, sample, count);
    case 4: return NarrowBgr32(values, sample, count);
    case 6: return NarrowBgr48(values, sample, count);
    default: return;
    }
}

void WidenColumn(const std::uint8_t* sample, std::ptrdiff_t step, bool isWide, std::int32_t* values,
                 std::size_t count) noexcept {
    if (isWide)
        for (std::size_t i = 0; i < count; ++i, sample += step)
            values[i] = *reinterpret_cast<const std::uint16_t*>(sample);
    else
        for (std::size_t i = 0; i < count; ++i, sample += step) values[i] = *sample;
}

void NarrowColumn(const std::int32_t* values, std::ptrdiff_t step, bool isWide, std::uint8_t* sample,
                  std::size_t count) noexcept {
    if (isWide)
        for (std::size_t i = 0; i < count; ++i, sample += step)
            *reinterpret_cast<std::uint16_t*>(sample) = static_cast<std::uint16_t>(values[i]);
    else
        for (std::size_t i = 0; i < count; ++i, sample += step) *sample = static_cast<std::uint8_t>(values[i]);
}

} // namespace kyi

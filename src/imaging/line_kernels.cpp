#include "imaging/line_kernels.h"

#include "platform/simd.h"

namespace kyi {

namespace {

template <typename Sample, std::size_t Stride>
KY_ALWAYS_INLINE void Widen(const std::uint8_t* sample, std::int32_t* __restrict values, std::size_t count) noexcept {
    const Sample* const in = reinterpret_cast<const Sample*>(sample);
    for (std::size_t i = 0; i < count; ++i) values[i] = in[i * Stride];
}

template <typename Sample, std::size_t Stride>
KY_ALWAYS_INLINE void Narrow(const std::int32_t* __restrict values, std::uint8_t* sample, std::size_t count) noexcept {
    Sample* const out = reinterpret_cast<Sample*>(sample);
    for (std::size_t i = 0; i < count; ++i) out[i * Stride] = static_cast<Sample>(values[i]);
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
    Narrow<std::uint8_t, 1>(values, sample, count);
}

KY_SIMD_CLONES void NarrowGray16(const std::int32_t* values, std::uint8_t* sample, std::size_t count) noexcept {
    Narrow<std::uint16_t, 1>(values, sample, count);
}

void NarrowBgr24(const std::int32_t* values, std::uint8_t* sample, std::size_t count) noexcept {
    Narrow<std::uint8_t, 3>(values, sample, count);
}

void NarrowBgr32(const std::int32_t* values, std::uint8_t* sample, std::size_t count) noexcept {
    Narrow<std::uint8_t, 4>(values, sample, count);
}

void NarrowBgr48(const std::int32_t* values, std::uint8_t* sample, std::size_t count) noexcept {
    Narrow<std::uint16_t, 3>(values, sample, count);
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

/// Gray of a colour image.
#include <cstddef>
#include <cstdint>

#include <kyimaging/kyimaging.h>

#include "imaging/layout.h"
#include "platform/simd.h"

namespace kyi {

namespace {

// A thousandth of a sum is an eighth and then a 125th. With f = (2^s + e) / 125, m * f / 2^s is floor(m / 125) as long
// as m * e stays below 2^s.

/// sum / 1000 for three 8-bit samples: m below 2^15, e = 17, s = 23; the product fits 32 bits.
KY_ALWAYS_INLINE std::uint8_t ThousandthOf(std::uint32_t sum, std::uint8_t) noexcept {
    return static_cast<std::uint8_t>((sum >> 3) * 67109u >> 23);
}

/// sum / 1000 for three 16-bit samples: m below 2^23, e = 51, s = 30.
KY_ALWAYS_INLINE std::uint16_t ThousandthOf(std::uint32_t sum, std::uint16_t) noexcept {
    return static_cast<std::uint16_t>(std::uint64_t{sum >> 3} * 8589935u >> 30);
}

/// @param colour  The blue sample of the first pixel; green and red follow it.
template <typename Sample, std::size_t Stride>
KY_ALWAYS_INLINE void Mix(const std::uint8_t* colour, std::uint8_t* gray, std::size_t count) noexcept {
    const Sample* const __restrict in = reinterpret_cast<const Sample*>(colour);
    Sample* const __restrict out = reinterpret_cast<Sample*>(gray);
    for (std::size_t i = 0; i < count; ++i) {
        const std::uint32_t sum = 299u * in[i * Stride + 2] + 587u * in[i * Stride + 1] + 114u * in[i * Stride] + 500u;
        out[i] = ThousandthOf(sum, Sample{});
    }
}

KY_SIMD_CLONES void MixBgr24(const std::uint8_t* colour, std::uint8_t* gray, std::size_t count) noexcept {
    Mix<std::uint8_t, 3>(colour, gray, count);
}

KY_SIMD_CLONES void MixBgr32(const std::uint8_t* colour, std::uint8_t* gray, std::size_t count) noexcept {
    Mix<std::uint8_t, 4>(colour, gray, count);
}

KY_SIMD_CLONES void MixBgr48(const std::uint8_t* colour, std::uint8_t* gray, std::size_t count) noexcept {
    Mix<std::uint16_t, 3>(colour, gray, count);
}

} // namespace

} // namespace kyi

void KyiTransformToGray(const KyiImageData* source, KyiImageData* destination, int32_t) {
    if (!KyiIsSameSize(source, destination) || kyi::SamplesPerPixel(*source) < 3) return;
    if (kyi::SamplesPerPixel(*destination) != 1 || kyi::IsWideSample(*source) != kyi::IsWideSample(*destination))
        return;
    const auto mix = source->PixelBytes == 6 ? kyi::MixBgr48 : source->PixelBytes == 4 ? kyi::MixBgr32 : kyi::MixBgr24;
    const int32_t blue = kyi::ChannelOffset(*source, 2);
    for (int32_t y = 0; y < source->Height; ++y)
        mix(kyi::RowAddress(*source, y) + blue, kyi::RowAddress(*destination, y),
            static_cast<std::size_t>(source->Width));
}

#include "alignment/frame_warp_rows.h"

#include <algorithm>
#include <limits>

#include "platform/simd.h"

namespace kyf {

namespace {

// Samples stay one below the largest value of their width.
template <typename Sample> inline constexpr std::int32_t kTop = std::numeric_limits<Sample>::max() - 1;

template <typename Sample>
KY_ALWAYS_INLINE void Along(const Sample* __restrict first, const Sample* __restrict second,
                            const double* __restrict fractions, double* __restrict out, std::int32_t count) noexcept {
    for (std::int32_t i = 0; i < count; ++i) out[i] = second[i] * fractions[i] + first[i] * (1.0 - fractions[i]);
}

template <typename Sample>
KY_ALWAYS_INLINE void Across(const double* __restrict above, const double* __restrict below, double fraction,
                             Sample* __restrict out, std::int32_t count) noexcept {
    const double rest = 1.0 - fraction;
    for (std::int32_t i = 0; i < count; ++i) {
        const auto value = static_cast<std::int32_t>(below[i] * fraction + above[i] * rest);
        out[i] = static_cast<Sample>(std::min(std::max(value, 0), kTop<Sample>));
    }
}

template <typename Sample>
KY_ALWAYS_INLINE void Copy(const Sample* __restrict in, Sample* __restrict out, std::int32_t count) noexcept {
    constexpr Sample top = std::numeric_limits<Sample>::max() - 1;
    for (std::int32_t i = 0; i < count; ++i) out[i] = in[i] < top ? in[i] : top;
}

} // namespace

KY_SIMD_CLONES
void CopyCapped(const std::uint8_t* in, std::uint8_t* out, std::int32_t count) noexcept { Copy(in, out, count); }

KY_SIMD_CLONES
void CopyCapped(const std::uint16_t* in, std::uint16_t* out, std::int32_t count) noexcept { Copy(in, out, count); }

KY_SIMD_CLONES
void InterpolateRun(const std::uint8_t* first, const std::uint8_t* second, const double* fractions, double* out,
                    std::int32_t count) noexcept {
    Along(first, second, fractions, out, count);
}

KY_SIMD_CLONES
void InterpolateRun(const std::uint16_t* first, const std::uint16_t* second, const double* fractions, double* out,
                    std::int32_t count) noexcept {
    Along(first, second, fractions, out, count);
}

KY_SIMD_CLONES
void InterpolateRows(const double* above, const double* below, double fraction, std::uint8_t* out,
                     std::int32_t count) noexcept {
    Across(above, below, fraction, out, count);
}

KY_SIMD_CLONES
void InterpolateRows(const double* above, const double* below, double fraction, std::uint16_t* out,
                     std::int32_t count) noexcept {
    Across(above, below, fraction, out, count);
}

} // namespace kyf

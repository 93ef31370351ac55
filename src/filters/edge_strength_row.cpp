#include "filters/edge_strength_row.h"

#include <algorithm>

#include "platform/simd.h"

namespace kyf {

namespace {

// Column sums of three rows: p + 2 q + r for the horizontal difference, r - p for the vertical one.
template <typename T, typename Sum>
KY_ALWAYS_INLINE void SumColumns(const T* __restrict above, const T* __restrict row, const T* __restrict below,
                                 std::int32_t count, Sum* __restrict smooth, Sum* __restrict slope) noexcept {
    for (std::int32_t i = 0; i < count; ++i) {
        const Sum p = above[i];
        const Sum r = below[i];
        smooth[i] = static_cast<Sum>(p + 2 * row[i] + r);
        slope[i] = static_cast<Sum>(r - p);
    }
}

template <typename Sum> KY_ALWAYS_INLINE Sum Magnitude(Sum value) noexcept {
    return static_cast<Sum>(value < 0 ? -value : value);
}

template <typename T, typename Sum>
KY_ALWAYS_INLINE void AddMagnitudes(const Sum* __restrict smooth, const Sum* __restrict slope, T* __restrict out,
                                    std::int32_t count, int stride, Sum top) noexcept {
    for (std::int32_t i = 0; i < count; ++i) {
        const Sum gx = static_cast<Sum>(smooth[i + stride] - smooth[i - stride]);
        const Sum gy = static_cast<Sum>(slope[i - stride] + 2 * slope[i] + slope[i + stride]);
        const Sum strength = static_cast<Sum>(Magnitude(gx) + Magnitude(gy));
        out[i] = static_cast<T>(std::min(strength, top));
    }
}

template <typename Sum> KY_ALWAYS_INLINE void RepeatEnds(Sum* line, std::int32_t count, int stride) noexcept {
    std::copy_n(line, stride, line - stride);
    std::copy_n(line + count - stride, stride, line + count);
}

template <typename T, typename Sum>
KY_ALWAYS_INLINE void EdgeRow(const T* above, const T* row, const T* below, T* out, std::int32_t count, int stride,
                              int top, Sum* smooth, Sum* slope) noexcept {
    if (count <= stride) {
        std::fill_n(out, count, T{0});
        return;
    }
    SumColumns(above, row, below, count, smooth + stride, slope + stride);
    RepeatEnds(smooth + stride, count, stride);
    RepeatEnds(slope + stride, count, stride);
    AddMagnitudes(smooth + stride, slope + stride, out, count, stride, static_cast<Sum>(top));
    std::copy_n(out + count - 2 * stride, stride, out + count - stride);
}

} // namespace

KY_SIMD_CLONES void EdgeStrengthRow(const std::uint8_t* above, const std::uint8_t* row, const std::uint8_t* below,
                                    std::uint8_t* out, std::int32_t count, int stride, int top, std::int16_t* smooth,
                                    std::int16_t* slope) noexcept {
    EdgeRow(above, row, below, out, count, stride, top, smooth, slope);
}

KY_SIMD_CLONES void EdgeStrengthRow(const std::uint16_t* above, const std::uint16_t* row, const std::uint16_t* below,
                                    std::uint16_t* out, std::int32_t count, int stride, int top, std::int32_t* smooth,
                                    std::int32_t* slope) noexcept {
    EdgeRow(above, row, below, out, count, stride, top, smooth, slope);
}

} // namespace kyf

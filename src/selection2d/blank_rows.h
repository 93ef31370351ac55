/// Row kernels for frames whose rows have been moved sideways: the columns that went out are blanked in the composite.
#ifndef KYFOCUS_SELECTION2D_BLANK_ROWS_H
#define KYFOCUS_SELECTION2D_BLANK_ROWS_H

#include <cstdint>

#include "selection2d/rows.h"

namespace kyf {

/// Columns moved out at either side, in pixels, at most Width each.
struct BlankedColumns {
    std::int32_t Left;
    std::int32_t Right;
    std::int32_t Width; ///< of the frame
};

/// Blanks one channel. `channel` points to its first sample in a row; `stride` samples lead to the next pixel.
/// The right-hand columns begin at sample (Width - Right) * 3 behind it in colour, also in pixels of four samples:
/// there they hit samples of several channels, so that the order of blending and blanking counts.
template <typename Sample> void BlankChannel(Sample* channel, const BlankedColumns& columns, int stride) noexcept {
    const int mode = stride == 1 ? 1 : 3;
    for (std::int32_t i = 0; i < columns.Left; ++i) channel[i * stride] = 0;
    Sample* const right = channel + (columns.Width - columns.Right) * mode;
    for (std::int32_t i = 0; i < columns.Right; ++i) right[i * stride] = 0;
}

/// Blends and blanks a row of pixels of four samples channel by channel, red first.
inline void BlendAndBlankRow4(const BlendWeights& weights, const std::uint8_t* frame, std::uint8_t* composite,
                              const BlankedColumns& columns) noexcept {
    for (int sample = 3; sample > 0; --sample) {
        for (std::int32_t x = 0; weights.Row && x < columns.Width; ++x) {
            const double a = weights.Row[weights.Columns ? weights.Columns[x] : x];
            std::uint8_t& out = composite[4 * x + sample];
            out = static_cast<std::uint8_t>(static_cast<std::int32_t>((1.0 - a) * out + frame[4 * x + sample] * a));
        }
        BlankChannel(composite + sample, columns, 4);
    }
}

} // namespace kyf

#endif

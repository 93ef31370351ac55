/// The palette object of an image: 256 colours that a display may show one-channel samples in. Pixel values and files
/// do not depend on it; it travels with the image.
#ifndef KYFOCUS_IMAGING_PALETTE_H
#define KYFOCUS_IMAGING_PALETTE_H

#include <array>
#include <cstdint>

namespace kyi {

struct Palette {
    std::array<std::uint32_t, 256> Entries; ///< 0x00RRGGBB
};

/// Entry i shows gray i: what a new image has.
void SetGrayRamp(Palette& palette) noexcept;

} // namespace kyi

#endif

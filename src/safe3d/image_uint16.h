/// Images of 16-bit samples with a scale and an offset: the maps of frame numbers between selection and height output.
#ifndef KYFOCUS_SAFE3D_IMAGE_UINT16_H
#define KYFOCUS_SAFE3D_IMAGE_UINT16_H

#include <cstdint>

#include <kyfocus/types.h>

namespace kyf {

/// `Rows[y][x]`, row 0 at the top. A sample stands for sample * Scale + Offset.
struct KyfImageDataUint16 {
    std::uint16_t** Rows; ///< row table; it and the samples are a page block each
    std::int32_t Width;
    std::int32_t Height;
    double Scale;
    double Offset;
};

/// A zero-filled image with scale 1 and offset 0; null when out of memory or for a size below 1.
[[nodiscard]] KyfImageDataUint16* AllocUint16Image(std::int32_t width, std::int32_t height) noexcept;

/// Releases an image of AllocUint16Image with its blocks, if it still has them. Null does nothing.
void FreeUint16Image(KyfImageDataUint16* image) noexcept;

/// Copies samples, scale and offset between images of one size.
void CopyUint16Image(const KyfImageDataUint16& source, KyfImageDataUint16& destination, KyiBool parallel);

} // namespace kyf

#endif

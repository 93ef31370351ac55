/// A frame as both GPU back ends take it: three bytes a pixel, row 0 first, rows without padding.
///
/// The kernels work on the middle byte alone. Neither back end looks at how the bytes of a frame are meant, so that the
/// middle byte is green in three bytes of colour only.
#ifndef KYFOCUS_GPU_FRAME_PACKING_H
#define KYFOCUS_GPU_FRAME_PACKING_H

#include <cstdint>
#include <vector>

#include <kyimaging/kyimaging.h>

namespace kyf {

/// The first three bytes of each pixel of a colour image, whatever its samples; of a gray one the first byte three
/// times. Throws std::bad_alloc.
std::vector<std::uint8_t> PackFrame(const KyiImageData& frame, KyiBool parallel);

/// The first byte of each pixel three times, whatever the format: blue of colour, the low byte of 16 bits. Throws
/// std::bad_alloc.
std::vector<std::uint8_t> PackFirstBytes(const KyiImageData& image, KyiBool parallel);

/// Proportions of a reduction on the device. XStep and YStep bound the block that is averaged: its columns lie below
/// XStep - 1, so that a whole ratio is averaged in full and any other loses its fraction.
struct DeviceReduction {
    double XRatio;
    double YRatio;
    double XStep;
    double YStep;
};
DeviceReduction ReductionTo(const KyiImageData& frame, std::int32_t width, std::int32_t height);

/// The blur as a matrix of size x size, row by row, of weights that are divided by their sums.
std::vector<double> BlurMatrix(const double* weightsX, const double* weightsY, std::int32_t size);

} // namespace kyf

#endif

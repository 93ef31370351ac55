/// Kernels of the halation removal: samples of one row in, one row out.
#ifndef KYFOCUS_HALATION_HALATION_ROWS_H
#define KYFOCUS_HALATION_HALATION_ROWS_H

#include <cstddef>
#include <cstdint>

namespace kyf {

/// Largest value of a mask: the frame alone.
constexpr int kMaskTop = 255;

/// mask[x] = 255 where a shown sample of pixel x is above the threshold, else 0. Of a pixel of four samples the first
/// is not shown.
/// @param stride  Samples of a pixel: 1, 3 or 4. @return whether the row has such a pixel.
bool MaskRow(const std::uint8_t* row, std::uint8_t* mask, std::int32_t width, int stride,
             std::int32_t threshold) noexcept;
bool MaskRow(const std::uint16_t* row, std::uint8_t* mask, std::int32_t width, int stride,
             std::int32_t threshold) noexcept;

/// Weights of the samples `first` to `last`, excluded, of each pixel are the mask's; those of the others are 0.
void SpreadMask(const std::uint8_t* mask, std::uint8_t* weights, std::int32_t width, int stride, int first,
                int last) noexcept;

/// result = ((255 - weight) * result + weight * frame) / 255, rounded, for `count` samples. The rows may be the same.
void BlendRow(std::uint8_t* result, const std::uint8_t* frame, const std::uint8_t* weights, std::size_t count) noexcept;
void BlendRow(std::uint16_t* result, const std::uint16_t* frame, const std::uint8_t* weights,
              std::size_t count) noexcept;

} // namespace kyf

#endif

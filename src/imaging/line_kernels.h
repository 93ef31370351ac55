/// Runs of samples between a pixel block and 32-bit integers: pointers in, pointers out; no images, no edges.
#ifndef KYFOCUS_IMAGING_LINE_KERNELS_H
#define KYFOCUS_IMAGING_LINE_KERNELS_H

#include <cstddef>
#include <cstdint>

namespace kyi {

/// values[i] = sample i of a run whose samples lie `PixelBytes` apart from `sample` on. `pixelBytes` is 1, 2, 3, 4 or
/// 6; 2 and 6 have 16-bit samples. Reads no byte beyond the last sample.
void WidenRun(const std::uint8_t* sample, std::int32_t pixelBytes, std::int32_t* values, std::size_t count) noexcept;

/// The way back: the low 8 or 16 bits of values[i] become sample i. Bytes between the samples stay.
void NarrowRun(const std::int32_t* values, std::int32_t pixelBytes, std::uint8_t* sample, std::size_t count) noexcept;

/// As WidenRun for samples that lie `step` bytes apart, as those of a column do.
void WidenColumn(const std::uint8_t* sample, std::ptrdiff_t step, bool isWide, std::int32_t* values,
                 std::size_t count) noexcept;

/// As NarrowRun for samples that lie `step` bytes apart.
void NarrowColumn(const std::int32_t* values, std::ptrdiff_t step, bool isWide, std::uint8_t* sample,
                  std::size_t count) noexcept;

} // namespace kyi

#endif

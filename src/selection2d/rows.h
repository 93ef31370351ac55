/// Row kernels of selection, mask average and blend: rows in, rows out; no images, threads or allocation.
///
/// The hard mask of a frame holds one byte a working pixel, 1 where the frame won. Its window sums are whole numbers,
/// so that they are added up as integers and only the quotient is a double.
#ifndef KYFOCUS_SELECTION2D_ROWS_H
#define KYFOCUS_SELECTION2D_ROWS_H

#include <cstdint>

namespace kyf {

/// Where a sample is greater than `best`: takes it over and writes `frame` into `frames`. The row of `width` samples
/// becomes the row of winners in its first `width` bytes.
void SelectRow8(std::uint8_t* row, std::int32_t* best, std::int32_t* frames, std::int32_t frame, int width) noexcept;
void SelectRow16(std::uint16_t* row, std::int32_t* best, std::int32_t* frames, std::int32_t frame, int width) noexcept;

/// counts[x] += entering[x], and the second form also takes leaving[x] off.
void AddCounts(std::uint16_t* counts, const std::uint8_t* entering, int width) noexcept;
void SlideCounts(std::uint16_t* counts, const std::uint8_t* entering, const std::uint8_t* leaving, int width) noexcept;

/// weights[x] = sum of counts[x - half .. x + half] / window^2 for x from half to width - half - 2, half = window / 2.
/// Other weights are not touched. `counts` holds column sums of winners over `window` rows.
void AverageRow(const std::uint16_t* counts, double* weights, int width, int window) noexcept;

/// Pixels of a row and the weight of each.
struct BlendWeights {
    const double* Row;           ///< weights of the working row
    const std::int32_t* Columns; ///< working column of each frame column; null where the two are the same
};

/// composite = (1 - a) * composite + frame * a, truncated, in every colour sample of `width` pixels.
/// @param stride  Samples of a pixel: 1, 3, or 4 with the first one unused and left alone.
void BlendRow8(BlendWeights weights, const std::uint8_t* frame, std::uint8_t* composite, int width,
               int stride) noexcept;
/// @param stride  1 or 3.
void BlendRow16(BlendWeights weights, const std::uint16_t* frame, std::uint16_t* composite, int width,
                int stride) noexcept;

} // namespace kyf

#endif

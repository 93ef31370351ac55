/// Noise cut on a table of heights: mark what the differentiation map tells to be weak, fill, smooth, write as samples.
#ifndef KYFOCUS_HEIGHT_NOISE_CUT_H
#define KYFOCUS_HEIGHT_NOISE_CUT_H

#include <cstdint>

#include <kyfocus/noise_cut.h>

#include "filters/double_image.h"
#include "height/noise_cut_rows.h"

namespace kyf {

/// Whether there is such a fill.
constexpr bool IsFillType(std::int32_t fillType) noexcept {
    return fillType >= KyfNoiseCutFillNeighbours && fillType <= KyfNoiseCutFillLargest;
}

/// Heights with the map that judges them. Tables are lent.
struct JudgedHeights {
    KyfImageData Heights;
    KyfDifferentiationMap Map; ///< may be of another size: pixels beyond it are not marked
};

/// Least value of the map that stays.
std::int32_t CutThreshold(const KyfDifferentiationMap& map, double cutRatio) noexcept;

/// Copies row y with marks where the map is below the threshold. @return pixels of `row` that are equal to the mark.
std::int32_t MarkHeights(const JudgedHeights& judged, std::int32_t y, std::int32_t threshold, double* row) noexcept;

/// Marks and fills into `work`, which has the size of the heights. Throws std::bad_alloc.
void CutHeights(const JudgedHeights& judged, double cutRatio, std::int32_t fillType, KyfImageData& work);

/// Smooths in place with a cutoff of `percent` of `width`; each of the two passes adds 0.01. A percent of 0 or less
/// does nothing. @return 1; -3 when out of memory.
KyfResult SmoothHeights(KyfImageData& work, std::int32_t width, std::int32_t percent) noexcept;

/// A table of the heights' size; null when out of memory.
DoubleImagePtr NewWorkHeights(const KyfImageData& heights) noexcept;

/// Fills every marked pixel of `work` with the mean of its window, over and over, until none is left or the rest sees
/// nothing but marks. @param marks  Marked pixels of each row; of what is left afterwards. Throws std::bad_alloc.
void FillFromNeighbours(KyfImageData& work, std::int32_t* marks);

/// Writes heights to the top left of an image of 1 or 2 bytes a pixel, as far as both reach; to no other.
void WriteHeights(const KyfImageData& heights, const HeightSampling& sampling, KyiImageData& image) noexcept;

/// The same with marks as `top` and what comes near it held down. Throws std::bad_alloc.
void PreviewHeights(const JudgedHeights& judged, double cutRatio, const HeightSampling& sampling, std::int32_t top,
                    KyiImageData& image);

} // namespace kyf

#endif

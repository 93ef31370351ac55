/// One pass of the spline filter over an image: all rows, or all columns, of one channel or of all.
#ifndef KYFOCUS_FILTERS_SPLINE_PASSES_H
#define KYFOCUS_FILTERS_SPLINE_PASSES_H

#include <kyfocus/progress.h>

#include "filters/scratch.h"
#include "filters/spline_band.h"
#include "filters/spline_lines.h"

namespace kyf {

/// Working memory of all passes over one image: for each chunk a tile of samples and the lines in work. It has slices
/// for the threads there were when it was made, and the passes keep to these.
class SplineScratch {
  public:
    SplineScratch(const KyiImageData& image, bool parallel);

    /// The lines' blocks, shared out to no more chunks than there are slices.
    WorkShare Share(std::int32_t blocks) const noexcept { return WorkShare::Within(blocks, m_chunks); }
    template <typename T> T* Tile(std::int32_t chunk) const noexcept {
        return reinterpret_cast<T*>(Work(chunk) + m_workCount);
    }
    double* Work(std::int32_t chunk) const noexcept {
        return m_block.Get() + m_slice * static_cast<std::size_t>(chunk);
    }

  private:
    std::int32_t m_chunks;
    std::size_t m_workCount; ///< doubles of one chunk's lines
    std::size_t m_slice;     ///< doubles from chunk to chunk
    Scratch<double> m_block;
};

struct SplinePass {
    const KyiImageData& Source; ///< may be the destination
    KyiImageData& Destination;
    const SplineBand& Band;
    SplineConversion Conversion;
    int FirstChannel;
    int LastChannel; ///< excluded
    bool Parallel;
    const SplineScratch& Scratch;
    KyfProgress* Progress; ///< gets the percent of finished lines; null for none
};

/// Filters the rows of the channels. The other samples of the destination's pixels become the source's.
template <typename T> void SplineRows(const SplinePass& pass);

/// Filters the columns of the channels. The other samples of the destination's pixels stay.
template <typename T> void SplineColumns(const SplinePass& pass);

} // namespace kyf

#endif

/// One pass of the spline filter over an image: all rows, or all columns, of one channel or of all.
#ifndef KYFOCUS_FILTERS_SPLINE_PASSES_H
#define KYFOCUS_FILTERS_SPLINE_PASSES_H

#include <kyfocus/progress.h>

#include "filters/spline_band.h"
#include "filters/spline_lines.h"

namespace kyf {

struct SplinePass {
    const KyiImageData& Source; ///< may be the destination
    KyiImageData& Destination;
    const SplineBand& Band;
    SplineConversion Conversion;
    int FirstChannel;
    int LastChannel; ///< excluded
    bool Parallel;
    KyfProgress* Progress; ///< gets the percent of finished lines; null for none
};

/// Filters the rows of the channels. The other samples of the destination's pixels become the source's.
template <typename T> void SplineRows(const SplinePass& pass);

/// Filters the columns of the channels. The other samples of the destination's pixels stay.
template <typename T> void SplineColumns(const SplinePass& pass);

} // namespace kyf

#endif

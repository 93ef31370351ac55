/// Spline smoothing of images, the plain form: line by line, with a temporary image between rows and columns.
#ifndef KYFOCUS_TESTS_REFERENCE_SPLINE_IMAGE_H
#define KYFOCUS_TESTS_REFERENCE_SPLINE_IMAGE_H

#include <cstdint>
#include <vector>

#include <kyimaging/kyimaging.h>

#include "filters/numbers.h"
#include "reference/spline_line.h"

namespace reference {

/// Filters one line of samples in place.
inline void FilterSampleLine(std::vector<std::int32_t>& line, double weight, double loadScale, double scale,
                             std::int32_t top) {
    std::vector<double> b;
    for (const std::int32_t sample : line) b.push_back(static_cast<double>(sample) * loadScale);
    const std::vector<double> y = SolveSplineLine(b, weight);
    for (std::size_t i = 0; i < line.size(); ++i) {
        std::int32_t value = kyf::TruncateToInt32((scale / 100.0 + y[i]) / scale);
        if (value < 0) value = 0;
        if (value >= top) value = top - 1;
        line[i] = value;
    }
}

inline void SplineRows(const KyiImageData& source, KyiImageData& destination, double cutoff, double scale,
                       std::int32_t channel) {
    std::vector<std::int32_t> line(static_cast<std::size_t>(source.Width));
    for (std::int32_t y = 0; y < source.Height; ++y) {
        KyiGetLinePixel(&source, 0, y, channel, line.data(), source.Width);
        FilterSampleLine(line, SplineWeight(cutoff), scale, scale, KyiGetMaxVal(source.Format));
        KyiSetLinePixel(&destination, 0, y, channel, line.data(), source.Width);
    }
}

inline void SplineColumns(const KyiImageData& source, KyiImageData& destination, double cutoff, double scale,
                          std::int32_t channel, bool parallel) {
    std::vector<std::int32_t> line(static_cast<std::size_t>(source.Height));
    for (std::int32_t x = 0; x < source.Width; ++x) {
        KyiGetVLinePixel(&source, x, 0, channel, line.data(), source.Height);
        FilterSampleLine(line, SplineWeight(cutoff), parallel ? 1.0 : scale, scale, KyiGetMaxVal(source.Format));
        KyiSetVLinePixel(&destination, x, 0, channel, line.data(), source.Height);
    }
}

/// @param parallel  Which of the two kernels: the parallel columns load without the scale.
inline void FilterSplineImage(const KyiImageData& source, KyiImageData& destination, double sizeX, double sizeY,
                              double scale, bool parallel) {
    KyiCopyImageData(&source, &destination, 0, 0);
    const double cutoffX = sizeX + sizeX;
    const double cutoffY = sizeY + sizeY;
    const std::int32_t channels = KyiIsFormatBgr(source.Format) ? 3 : 1;
    if (cutoffX == 0.0 && cutoffY == 0.0) return;
    if (cutoffX == 0.0) {
        const KyiImageData& in = channels == 3 ? destination : source;
        for (std::int32_t c = 0; c < channels; ++c) SplineColumns(in, destination, cutoffY, scale, c, parallel);
    } else if (cutoffY == 0.0) {
        for (std::int32_t c = 0; c < channels; ++c) SplineRows(source, destination, cutoffX, scale, c);
    } else {
        KyiImageData* const between = KyiAllocImageData(source.Width, source.Height, source.Format);
        for (std::int32_t c = 0; c < channels; ++c) SplineRows(source, *between, cutoffX, scale, c);
        for (std::int32_t c = 0; c < channels; ++c) SplineColumns(*between, destination, cutoffY, scale, c, parallel);
        KyiFreeImageData(between);
    }
}

} // namespace reference

#endif

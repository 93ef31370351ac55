/// Spline smoothing of doubles, the plain form: line by line, with an image between rows and columns.
#ifndef KYFOCUS_TESTS_REFERENCE_SPLINE_DOUBLE_H
#define KYFOCUS_TESTS_REFERENCE_SPLINE_DOUBLE_H

#include <cstdint>
#include <vector>

#include "reference/spline_line.h"

namespace reference {

using Field = std::vector<std::vector<double>>; ///< rows of one length

inline void SplineDoubleRows(const Field& source, Field& destination, double cutoff, int margin, int width,
                             int height) {
    for (int row = margin; row < margin + (height - 2 * margin); ++row) {
        const auto y = static_cast<std::size_t>(row);
        if (y >= source.size()) break; // a height that is the width may name rows that are not there
        std::vector<double> b;
        for (int i = 0; i < width - 2 * margin; ++i) b.push_back(source[y][static_cast<std::size_t>(margin + i)]);
        const std::vector<double> solved = SolveSplineLine(b, SplineWeight(cutoff));
        for (std::size_t i = 0; i < solved.size(); ++i)
            destination[y][static_cast<std::size_t>(margin) + i] = solved[i] + 0.01;
    }
}

inline void SplineDoubleColumns(const Field& source, Field& destination, double cutoff, int margin, int width,
                                int height) {
    for (int column = margin; column < margin + (width - 2 * margin); ++column) {
        const auto x = static_cast<std::size_t>(column);
        std::vector<double> b;
        for (int i = 0; i < height - 2 * margin; ++i) {
            const auto y = static_cast<std::size_t>(margin + i);
            if (y < source.size()) b.push_back(source[y][x]);
        }
        const std::vector<double> solved = SolveSplineLine(b, SplineWeight(cutoff));
        for (std::size_t i = 0; i < solved.size(); ++i)
            destination[static_cast<std::size_t>(margin) + i][x] = solved[i] + 0.01;
    }
}

inline void FilterSplineDouble(const Field& source, Field& destination, double cutoffX, double cutoffY, int margin) {
    const int width = static_cast<int>(source.front().size());
    const int height = static_cast<int>(source.size());
    if (cutoffX == 0.0 && cutoffY == 0.0) {
        destination = source;
    } else if (cutoffX == 0.0) {
        SplineDoubleColumns(source, destination, cutoffY, margin, width, width);
    } else if (cutoffY == 0.0) {
        SplineDoubleRows(source, destination, cutoffX, margin, width, width);
    } else {
        Field between(source.size(), std::vector<double>(source.front().size()));
        SplineDoubleRows(source, between, cutoffX, margin, width, height);
        SplineDoubleColumns(between, destination, cutoffY, margin, width, height);
    }
}

} // namespace reference

#endif

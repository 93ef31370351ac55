/// Plain forms of the stages from a channel to edge strength and luminance. Images shorter than the filters reach clamp
/// positions into the image.
#ifndef KYFOCUS_TESTS_REFERENCE_EDGE_DATA_H
#define KYFOCUS_TESTS_REFERENCE_EDGE_DATA_H

#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

#include "reference/height_repair.h"

namespace reference {

inline int BlurPosition(int at, int k, int s, int low, int high, int length) {
    int position = at - s + k;
    if (position < low) position = at + k + 1;
    if (position >= high) position = at - k - 1;
    return std::clamp(position, 0, length - 1);
}

inline void BlurPass(const DoubleGrid& source, DoubleGrid& destination, int margin, const std::vector<double>& weightsX,
                     const std::vector<double>& weightsY) {
    const int size = static_cast<int>(weightsX.size());
    if (size % 2 == 0) return;
    double sx = 0.0;
    double sy = 0.0;
    for (const double weight : weightsX) sx += weight;
    for (const double weight : weightsY) sy += weight;
    for (int y = margin; y < source.Height - margin; ++y) {
        for (int x = margin; x < source.Width - margin; ++x) {
            double sum = 0.0;
            for (int k = 0; k < size; ++k) {
                for (int l = 0; l < size; ++l) {
                    const double m =
                        (weightsY[static_cast<std::size_t>(k)] / sy) * (weightsX[static_cast<std::size_t>(l)] / sx);
                    sum += m * source.At(BlurPosition(x, l, size / 2, margin, source.Width - margin, source.Width),
                                         BlurPosition(y, k, size / 2, margin, source.Height - margin, source.Height));
                }
            }
            destination.At(x, y) = sum;
        }
    }
}

inline int MirrorPosition(int v, int n) {
    if (v < 0) v = -v;
    if (v >= n) v = 2 * n - 1 - v;
    return std::clamp(v, 0, n - 1);
}

inline DoubleGrid HighPass(const DoubleGrid& source) {
    const std::array<double, 7> t{-0.061487, -0.127437, -0.193436, 0.764720, -0.193436, -0.127437, -0.061487};
    DoubleGrid result = source;
    for (int i = 0; i < source.Height; ++i) {
        for (int j = 0; j < source.Width; ++j) {
            double totalX = 0.0;
            double totalY = 0.0;
            for (int k = 0; k < 7; ++k)
                totalX += t[static_cast<std::size_t>(k)] * source.At(MirrorPosition(j + k - 3, source.Width), i);
            for (int k = 0; k < 7; ++k)
                totalY += t[static_cast<std::size_t>(k)] * source.At(j, MirrorPosition(i + k - 3, source.Height));
            result.At(j, i) = std::sqrt(totalX * totalX + totalY * totalY);
        }
    }
    return result;
}

/// Rows then columns.
inline double SumWindow(const DoubleGrid& image, int centerX, int centerY, int& count) {
    double sum = 0.0;
    count = 0;
    for (int y = centerY - 4; y < centerY + 4; ++y) {
        for (int x = centerX - 4; x < centerX + 4; ++x) {
            if (!image.Has(x, y)) continue;
            sum += image.At(x, y);
            ++count;
        }
    }
    return sum;
}

struct EdgeData {
    DoubleGrid Edge;
    DoubleGrid Kido;
};

inline EdgeData MakeEdgeData(const DoubleGrid& bibun, const DoubleGrid& bokashiBibun, const DoubleGrid& kidoSource,
                             int width, int height) {
    EdgeData data{{width, height, {}}, {width, height, {}}};
    const double widthRatio = static_cast<double>(bibun.Width) / width;
    const double heightRatio = static_cast<double>(bibun.Height) / height;
    for (int i = 0; i < height; ++i) {
        for (int j = 0; j < width; ++j) {
            const int centerX = static_cast<int>(widthRatio * j);
            const int centerY = static_cast<int>(heightRatio * i);
            int n = 0;
            const double plain = SumWindow(bibun, centerX, centerY, n);
            const double blurred = SumWindow(bokashiBibun, centerX, centerY, n);
            const double value = (plain / n - blurred / n) * 50;
            data.Edge.Values.push_back(value > 0 ? value : 0);
            const double kido = SumWindow(kidoSource, centerX, centerY, n);
            data.Kido.Values.push_back(kido / n);
        }
    }
    return data;
}

} // namespace reference

#endif

/// The noise cut, the plain form: every pass takes a copy of the table and adds up every window for itself.
#ifndef KYFOCUS_TESTS_REFERENCE_NOISE_CUT_H
#define KYFOCUS_TESTS_REFERENCE_NOISE_CUT_H

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <vector>

#include "filters/numbers.h"
#include "reference/spline_double.h"

namespace reference {

using IntField = std::vector<std::vector<std::int32_t>>;

/// The smallest positive normal number.
inline const double kMark = std::numeric_limits<double>::min();

inline int CutThreshold(std::int32_t depth, double ratio) {
    return kyf::TruncateToInt32(std::floor(static_cast<double>(kyf::WrappingSum(depth, -1)) * ratio + 0.5));
}

inline int MarkHeights(const Field& source, const IntField& map, std::int32_t depth, double ratio, Field& work) {
    const int threshold = CutThreshold(depth, ratio);
    int count = 0;
    for (std::size_t y = 0; y < work.size(); ++y) {
        work[y] = source[y];
        for (std::size_t x = 0; x < work[y].size(); ++x)
            if (map[y][x] < threshold) {
                work[y][x] = kMark;
                ++count;
            }
    }
    return count;
}

inline int FillPass(Field& work) {
    const Field snapshot = work;
    const int height = static_cast<int>(work.size());
    const int width = static_cast<int>(work.front().size());
    int filled = 0;
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            if (snapshot[static_cast<std::size_t>(y)][static_cast<std::size_t>(x)] != kMark) continue;
            double sum = 0.0;
            int count = 0;
            for (int v = std::max(y - 4, 0); v <= std::min(y + 4, height - 1); ++v)
                for (int u = std::max(x - 4, 0); u <= std::min(x + 4, width - 1); ++u) {
                    const double value = snapshot[static_cast<std::size_t>(v)][static_cast<std::size_t>(u)];
                    if (value >= 0.0) {
                        sum += value;
                        ++count;
                    }
                }
            if (count != 0) {
                work[static_cast<std::size_t>(y)][static_cast<std::size_t>(x)] = sum / count;
                ++filled;
            }
        }
    return filled;
}

inline void ReplaceMarks(Field& work, double height) {
    for (auto& row : work) std::replace(row.begin(), row.end(), kMark, height);
}

/// @return whether there is such a fill; work stays as it was otherwise.
inline bool CutHeights(const Field& source, const IntField& map, std::int32_t depth, double ratio,
                       std::int32_t fillType, Field& work) {
    if (static_cast<std::uint32_t>(fillType) > 2) return false;
    MarkHeights(source, map, depth, ratio, work);
    if (fillType == 0) {
        int previous = -1;
        int count = FillPass(work);
        while (count > 0) {
            if (count == previous) break;
            previous = count;
            count = FillPass(work);
        }
    } else if (fillType == 1) {
        double smallest = 2147483647.0;
        for (const auto& row : work)
            for (const double height : row)
                if (height != kMark && height < smallest) smallest = height;
        ReplaceMarks(work, smallest < 2147483647.0 ? smallest : 0.0);
    } else {
        double largest = 0.0;
        for (const auto& row : work)
            for (const double height : row)
                if (height > largest) largest = height;
        ReplaceMarks(work, largest);
    }
    return true;
}

inline void SmoothHeights(Field& work, int imageWidth, std::int32_t percent) {
    if (percent <= 0) return;
    const double cutoff = imageWidth / 100.0 * percent;
    const int width = static_cast<int>(work.front().size());
    const int height = static_cast<int>(work.size());
    Field plane = work;
    SplineDoubleRows(work, plane, cutoff, 0, width, height);
    work = plane;
    SplineDoubleColumns(work, plane, cutoff, 0, width, height);
    work = plane;
}

struct Sampling {
    bool IsRaw;
    double Offset;
    double Step;
};

inline std::int64_t HeightSample(double height, const Sampling& sampling) {
    if (!sampling.IsRaw && sampling.Step != 0.0)
        return kyf::TruncateToInt64((height - sampling.Offset) / sampling.Step);
    return kyf::TruncateToInt64(height);
}

/// The low bits below `levels`, 256 or 65536.
inline std::int32_t LowBits(std::int64_t value, std::int32_t levels) {
    return static_cast<std::int32_t>(static_cast<std::uint64_t>(value) & static_cast<std::uint64_t>(levels - 1));
}

inline std::int32_t PreviewSample(double height, const Sampling& sampling, std::int32_t levels) {
    if (height == kMark) return levels - 1;
    std::int64_t value = HeightSample(height, sampling);
    if (static_cast<std::uint32_t>(static_cast<std::uint64_t>(value) & 0xFFFFFF00U) >= 0xFF00U) value = 0xFEFF;
    return LowBits(value, levels);
}

} // namespace reference

#endif

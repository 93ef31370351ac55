/// Box average of a mask of doubles, in its plain form.
#ifndef KYFOCUS_TESTS_REFERENCE_MASK_AVERAGE_H
#define KYFOCUS_TESTS_REFERENCE_MASK_AVERAGE_H

#include <cstddef>
#include <vector>

namespace reference {

/// Average over window x window pixels. A band of half a window at the top and left, and of one more at the bottom and
/// right, becomes 0. A window of 1 or less changes nothing.
inline std::vector<double> AverageMask(const std::vector<double>& mask, int width, int height, int window) {
    if (window <= 1) return mask;
    const int half = window / 2;
    const auto at = [&](int x, int y) {
        return mask[static_cast<std::size_t>(y) * static_cast<std::size_t>(width) + static_cast<std::size_t>(x)];
    };
    std::vector<double> averaged(mask.size(), 0.0);
    for (int y = half; y <= height - half - 2; ++y) {
        const auto columnSum = [&](int x) {
            double sum = 0.0;
            for (int i = 0; i < window; ++i) sum += at(x, y - half + i);
            return sum;
        };
        std::vector<double> columns;
        double total = 0.0;
        for (int x = half; x <= width - half - 2; ++x) {
            if (columns.empty()) {
                for (int i = 0; i < window; ++i) columns.push_back(columnSum(i));
                for (const double column : columns) total += column;
            } else {
                total -= columns.front();
                columns.erase(columns.begin());
                columns.push_back(columnSum(x + half));
                total += columns.back();
            }
            averaged[static_cast<std::size_t>(y) * static_cast<std::size_t>(width) + static_cast<std::size_t>(x)] =
                total / static_cast<double>(window * window);
        }
    }
    return averaged;
}

} // namespace reference

#endif

#include "alignment/projection_shift_search.h"

#include <algorithm>
#include <cstdlib>
#include <limits>

#include "platform/simd.h"

namespace kyf {

namespace {

constexpr std::int32_t kRim = 9; // centres this near to an end are left out
constexpr std::int32_t kMostNegative = -20;
constexpr std::int32_t kMostPositive = 19;
constexpr double kLeastContrast = 2.0;

KY_SIMD_CLONES std::int32_t GreatestResponse(const std::int32_t* line, std::int32_t first, std::int32_t last) {
    std::int32_t greatest = 0;
    for (std::int32_t c = first; c < last; ++c) {
        const std::int32_t* const s = line + c;
        const std::int32_t response = 3 * (s[4] - s[-4]) + 2 * (s[3] - s[-3]) + 2 * (s[2] - s[-2]) + (s[1] - s[-1]);
        greatest = std::max(greatest, std::abs(response));
    }
    return greatest;
}

// Whole numbers far below 2^53: their sum is the same as that of doubles.
KY_SIMD_CLONES std::int64_t SumOfDifferences(const std::int32_t* a, const std::int32_t* b, std::int32_t count) {
    std::int64_t sum = 0;
    for (std::int32_t i = 0; i < count; ++i) sum += std::abs(a[i] - b[i]);
    return sum;
}

double MeanDifference(const std::int32_t* before, const std::int32_t* after, std::int32_t count,
                      std::int32_t displacement) noexcept {
    const std::int32_t overlap = count - std::abs(displacement);
    if (overlap <= 0) return 0.0 / overlap;
    const std::int64_t sum = displacement < 0 ? SumOfDifferences(before, after - displacement, overlap)
                                              : SumOfDifferences(before + displacement, after, overlap);
    return static_cast<double>(sum) / overlap;
}

} // namespace

std::int32_t GreatestEdge(const std::int32_t* line, std::int32_t count) noexcept {
    return count - kRim > kRim ? GreatestResponse(line, kRim, count - kRim) : 0;
}

std::int32_t FindDisplacement(const std::int32_t* before, const std::int32_t* after, std::int32_t count) noexcept {
    double best = std::numeric_limits<double>::max();
    double worst = 0.0;
    std::int32_t position = kMostNegative;
    for (std::int32_t d = kMostNegative; d <= kMostPositive; ++d) {
        const double mean = MeanDifference(before, after, count, d);
        if (mean < best) {
            best = mean;
            position = d;
        } else if (mean > worst) { // never for a NaN
            worst = mean;
        }
    }
    return worst - best < kLeastContrast ? 0 : position;
}

} // namespace kyf

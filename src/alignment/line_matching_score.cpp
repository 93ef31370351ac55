#include "alignment/line_matching_score.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstring>

#include "filters/numbers.h"
#include "platform/simd.h"

namespace kyf {

namespace {

constexpr double kHighPart = 0.9; // of the greatest score

// Displacements that are scored side by side; each has its own sums in its own order.
constexpr int kLanes = 8;
constexpr int kGroups = 2;
constexpr int kBlock = kLanes * kGroups;

typedef double Lanes __attribute__((vector_size(kLanes * sizeof(double))));
typedef std::int64_t LaneBits __attribute__((vector_size(kLanes * sizeof(std::int64_t))));

/// Sums of one block of displacements.
struct BlockSums {
    double Means[kBlock];
    double Squares[kBlock];
    double Products[kBlock];
};

/// @param previous  Entry 0 of the block's first displacement; kBlock - 1 entries beyond the last are read.
KY_SIMD_CLONES void ScoreBlock(const double* previous, const double* deviations, std::int32_t length, BlockSums* sums) {
    Lanes means[kGroups];
    Lanes squares[kGroups]{};
    Lanes products[kGroups]{};
    std::memcpy(means, sums->Means, sizeof means);
    for (std::int32_t k = 0; k < length; ++k) {
        const double deviation = deviations[k];
        for (int group = 0; group < kGroups; ++group) {
            Lanes values;
            std::memcpy(&values, previous + k + group * kLanes, sizeof values);
            values -= means[group];
            squares[group] += values * values;
            const Lanes product = values * deviation;
            products[group] += reinterpret_cast<Lanes>(reinterpret_cast<LaneBits>(product) & INT64_MAX);
        }
    }
    std::memcpy(sums->Squares, squares, sizeof squares);
    std::memcpy(sums->Products, products, sizeof products);
}

/// Whole numbers below 2^53 in all: exact in any order.
std::int64_t SumOf(const std::int32_t* values, std::int32_t count) noexcept {
    std::int64_t sum = 0;
    for (std::int32_t i = 0; i < count; ++i) sum += values[i];
    return sum;
}

/// The current profile less its mean.
struct Deviations {
    std::vector<double> Values;
    double Squares = 0.0;

    Deviations(const std::int32_t* profile, std::int32_t length) : Values(static_cast<std::size_t>(length)) {
        const double mean = static_cast<double>(SumOf(profile, length)) / length;
        for (std::int32_t k = 0; k < length; ++k) {
            const double deviation = profile[k] - mean;
            Values[static_cast<std::size_t>(k)] = deviation;
            Squares += deviation * deviation;
        }
    }
};

/// Means of windows of the previous profile, one displacement after the other.
class WindowMeans {
  public:
    WindowMeans(const std::int32_t* profile, std::int32_t length)
        : m_profile(profile), m_length(length), m_sum(SumOf(profile, length)) {}

    double Next(bool isLast) noexcept {
        const double mean = static_cast<double>(m_sum) / m_length;
        if (!isLast) m_sum += m_profile[m_first + m_length] - m_profile[m_first];
        ++m_first;
        return mean;
    }

  private:
    const std::int32_t* m_profile;
    std::int32_t m_length;
    std::int32_t m_first = 0;
    std::int64_t m_sum;
};

double ScoreOf(double products, double squares, double otherSquares) noexcept {
    if (squares == 0.0 || otherSquares == 0.0) return 0.0;
    return products / (std::sqrt(squares) * std::sqrt(otherSquares));
}

} // namespace

SearchRange SearchRange::Of(double searchRatio, std::int32_t width) noexcept {
    const std::int32_t range = TruncateToInt32(2 * searchRatio * width);
    if (range < 2 || range >= width) return {0, 0};
    return {range / 2, width - range};
}

std::vector<double> ScoreDisplacements(const std::int32_t* previous, const std::int32_t* current, std::int32_t width,
                                       SearchRange range) {
    const std::int32_t count = range.Count();
    std::vector<double> scores(static_cast<std::size_t>(count));
    if (count == 0) return scores;
    std::vector<double> before(static_cast<std::size_t>(width) + kBlock);
    std::copy_n(previous, width, before.begin());
    const Deviations now(current + range.Half, range.Length);
    WindowMeans means(previous, range.Length);
    BlockSums sums{};
    for (std::int32_t first = 0; first < count; first += kBlock) {
        const std::int32_t lanes = std::min(kBlock, count - first);
        for (std::int32_t lane = 0; lane < lanes; ++lane) sums.Means[lane] = means.Next(first + lane + 1 == count);
        ScoreBlock(&before[static_cast<std::size_t>(first)], now.Values.data(), range.Length, &sums);
        for (std::int32_t lane = 0; lane < lanes; ++lane)
            scores[static_cast<std::size_t>(first + lane)] =
                ScoreOf(sums.Products[lane], sums.Squares[lane], now.Squares);
    }
    return scores;
}

BandMatch JudgeScores(const std::vector<double>& scores, SearchRange range) noexcept {
    BandMatch match{0, 0.0, 0};
    for (std::size_t i = 0; i < scores.size(); ++i)
        if (scores[i] > match.Score) match = {static_cast<std::int32_t>(i) - range.Half, scores[i], 0};
    const double threshold = match.Score * kHighPart;
    bool isInRun = false;
    for (const double score : scores) {
        const bool isHigh = score > threshold;
        if (isHigh && !isInRun) ++match.Runs;
        isInRun = isHigh;
    }
    return match;
}

double VarianceOf(const std::int32_t* profile, std::int32_t width) noexcept {
    std::int64_t sum = 0;
    std::int64_t squares = 0;
    for (std::int32_t x = 0; x < width; ++x) {
        sum += profile[x];
        squares += WrappingProduct(profile[x], profile[x]);
    }
    const double mean = static_cast<double>(sum) / width;
    return static_cast<double>(squares) / width - mean * mean;
}

} // namespace kyf

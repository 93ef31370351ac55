#include "height/convert_rows.h"

#include <cstddef>
#include <limits>

#include "filters/numbers.h"
#include "platform/simd.h"

namespace kyf {

namespace {

constexpr std::int32_t kLanes = 8; // accumulators side by side: two 256-bit registers of doubles

/// Sequential form: the negated comparisons let a NaN in, and out again.
void ExtendOneByOne(Extremes& extremes, const double* row, std::int32_t width) noexcept {
    for (std::int32_t x = 0; x < width; ++x) {
        const double value = row[x];
        if (!(extremes.Min <= value)) extremes.Min = value;
        if (!(extremes.Max >= value)) extremes.Max = value;
    }
}

struct RowFigures {
    double Min;
    double Max;
    bool HasNaN;
};

KY_SIMD_CLONES RowFigures MeasureRow(const double* row, std::int32_t width) noexcept {
    double least[kLanes];
    double greatest[kLanes];
    std::int64_t nanCount[kLanes];
    for (std::int32_t lane = 0; lane < kLanes; ++lane) {
        least[lane] = std::numeric_limits<double>::infinity(); // a row may hold nothing less
        greatest[lane] = -std::numeric_limits<double>::infinity();
        nanCount[lane] = 0;
    }
    std::int32_t x = 0;
    for (; x + kLanes <= width; x += kLanes)
        for (std::int32_t lane = 0; lane < kLanes; ++lane) {
            const double value = row[x + lane];
            least[lane] = value < least[lane] ? value : least[lane];
            greatest[lane] = value > greatest[lane] ? value : greatest[lane];
            nanCount[lane] += value != value ? 1 : 0;
        }
    for (; x < width; ++x) {
        const double value = row[x];
        least[0] = value < least[0] ? value : least[0];
        greatest[0] = value > greatest[0] ? value : greatest[0];
        nanCount[0] += value != value ? 1 : 0;
    }
    RowFigures figures{least[0], greatest[0], nanCount[0] != 0};
    for (std::int32_t lane = 1; lane < kLanes; ++lane) {
        figures.Min = least[lane] < figures.Min ? least[lane] : figures.Min;
        figures.Max = greatest[lane] > figures.Max ? greatest[lane] : figures.Max;
        figures.HasNaN = figures.HasNaN || nanCount[lane] != 0;
    }
    return figures;
}

template <typename Sample>
KY_ALWAYS_INLINE void ConvertTameRow(const double* row, Sample* samples, std::int32_t width, double min, double step,
                                     double limit) noexcept {
    for (std::int32_t x = 0; x < width; ++x) {
        const double quotient = (row[x] - min) / step;
        samples[x] = static_cast<Sample>(static_cast<std::int32_t>(limit < quotient ? limit : quotient));
    }
}

KY_SIMD_CLONES void ConvertTame(const double* row, std::uint16_t* samples, std::int32_t width, double min, double step,
                                double limit) noexcept {
    ConvertTameRow(row, samples, width, min, step, limit);
}

KY_SIMD_CLONES void ConvertTame(const double* row, std::uint8_t* samples, std::int32_t width, double min, double step,
                                double limit) noexcept {
    ConvertTameRow(row, samples, width, min, step, limit);
}

/// A NaN passes the limit and becomes the smallest integer, of which the low bits are 0.
template <typename Sample>
void ConvertWildRow(const double* row, Sample* samples, std::int32_t width, const SampleRule& rule) noexcept {
    for (std::int32_t x = 0; x < width; ++x) {
        const double quotient = (row[x] - rule.Min) / rule.Step;
        samples[x] = static_cast<Sample>(TruncateToInt32(rule.Limit < quotient ? rule.Limit : quotient));
    }
}

template <typename Sample>
void Convert(const double* row, Sample* samples, std::int32_t width, const SampleRule& rule) noexcept {
    if (rule.IsTame)
        ConvertTame(row, samples, width, rule.Min, rule.Step, rule.Limit);
    else
        ConvertWildRow(row, samples, width, rule);
}

} // namespace

bool ExtendExtremes(Extremes& extremes, const double* row, std::int32_t width) noexcept {
    const RowFigures figures = MeasureRow(row, width);
    // Zeros go one by one too: the first of +0 and -0 stays, and the lanes do not know which came first.
    if (figures.HasNaN || figures.Min == 0.0 || figures.Max == 0.0) {
        ExtendOneByOne(extremes, row, width);
        return figures.HasNaN;
    }
    const double ends[] = {figures.Min, figures.Max};
    ExtendOneByOne(extremes, ends, 2);
    return false;
}

void ConvertRow(const double* row, std::uint16_t* samples, std::int32_t width, const SampleRule& rule) noexcept {
    Convert(row, samples, width, rule);
}

void ConvertRow(const double* row, std::uint8_t* samples, std::int32_t width, const SampleRule& rule) noexcept {
    Convert(row, samples, width, rule);
}

} // namespace kyf

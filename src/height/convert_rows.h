/// Kernels of the height conversions: rows in, one row or one figure out.
#ifndef KYFOCUS_HEIGHT_CONVERT_ROWS_H
#define KYFOCUS_HEIGHT_CONVERT_ROWS_H

#include <cstdint>

namespace kyf {

/// Least and greatest height so far. A NaN takes the place of both, and whatever comes after it takes its place again.
struct Extremes {
    double Min;
    double Max;
};

/// Goes on with a row. @return whether the row has a NaN.
bool ExtendExtremes(Extremes& extremes, const double* row, std::int32_t width) noexcept;

/// How a height becomes a sample: (height - Min) / Step, at most Limit, cut to an integer.
struct SampleRule {
    double Min;
    double Step;
    double Limit;
    bool IsTame; ///< no quotient is a NaN or below -1: samples need no care for integers out of range
};

void ConvertRow(const double* row, std::uint16_t* samples, std::int32_t width, const SampleRule& rule) noexcept;
void ConvertRow(const double* row, std::uint8_t* samples, std::int32_t width, const SampleRule& rule) noexcept;

} // namespace kyf

#endif

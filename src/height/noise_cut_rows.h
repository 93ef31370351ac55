/// Kernels of the noise cut: one row in, one row or one figure out.
#ifndef KYFOCUS_HEIGHT_NOISE_CUT_ROWS_H
#define KYFOCUS_HEIGHT_NOISE_CUT_ROWS_H

#include <cstdint>

namespace kyf {

/// The mark of a cut pixel: the smallest positive normal double.
inline constexpr double kCutMark = 0x1p-1022;

/// row = the mark where the map is below the threshold, else the height. @return pixels of `row` equal to the mark.
std::int32_t MarkRow(const double* heights, const std::int32_t* map, std::int32_t threshold, double* row,
                     std::int32_t width) noexcept;

/// Marked pixels of a row.
std::int32_t CountMarks(const double* row, std::int32_t width) noexcept;

/// The first of the smallest heights that are not marked, or `least` where none is below it.
double ExtendSmallest(double least, const double* row, std::int32_t width) noexcept;

/// The greatest height, marks among them, or `greatest` where none is above it.
double ExtendLargest(double greatest, const double* row, std::int32_t width) noexcept;

/// Replaces the marks of a row.
void ReplaceMarks(double* row, double height, std::int32_t width) noexcept;

/// How a height becomes a sample: (height - Offset) / Step when scaled, else the height; truncated to 64 bits.
struct HeightSampling {
    bool IsScaled;
    double Offset;
    double Step;
};

/// Stores the low bits of each sample.
void SampleRow(const double* row, const HeightSampling& sampling, std::uint8_t* samples, std::int32_t width) noexcept;
void SampleRow(const double* row, const HeightSampling& sampling, std::uint16_t* samples, std::int32_t width) noexcept;

/// Stores the low bits of `top` for marks. Of other samples the low 32 bits count: from 0xFF00 on they are 0xFEFF.
void PreviewRow(const double* row, const HeightSampling& sampling, std::int32_t top, std::uint8_t* samples,
                std::int32_t width) noexcept;
void PreviewRow(const double* row, const HeightSampling& sampling, std::int32_t top, std::uint16_t* samples,
                std::int32_t width) noexcept;

} // namespace kyf

#endif

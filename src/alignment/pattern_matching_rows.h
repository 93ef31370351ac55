/// Kernels of the template search: sums and squared differences over dense rows of 16-bit samples.
#ifndef KYFOCUS_ALIGNMENT_PATTERN_MATCHING_ROWS_H
#define KYFOCUS_ALIGNMENT_PATTERN_MATCHING_ROWS_H

#include <cstddef>
#include <cstdint>

namespace kyf {

/// Integers up to here, and sums that stay below, are exact in a double: their order then is free.
inline constexpr double kExactIntegers = 9007199254740992.0; // 2^53

/// Samples of which two differ by less than a signed 16-bit product of differences can stand.
inline constexpr std::int32_t kNarrowPeak = 4095;

/// A block of rows: `Stride` samples from one to the next.
struct SampleBlock {
    const std::uint16_t* Samples;
    std::ptrdiff_t Stride;
};

struct RowSums {
    std::int64_t Sum;
    std::int64_t Squares;
};

/// Sum of the samples and of their squares.
RowSums SumRow(const std::uint16_t* samples, std::int32_t count) noexcept;
/// The same, each square as a signed 32-bit product, which wraps above 46340.
RowSums SumRowWrapping(const std::uint16_t* samples, std::int32_t count) noexcept;

/// q = the sum of the squared differences of two blocks, rows outer, added up in doubles one after the other.
/// @return false as soon as the sum is known to exceed `limit`; a limit that is not a number is never exceeded.
/// The narrow form is for samples up to kNarrowPeak.
bool SumSquaredDifferences(const SampleBlock& search, const SampleBlock& sample, std::int32_t columns,
                           std::int32_t rows, double limit, double& q) noexcept;
bool SumSquaredDifferencesNarrow(const SampleBlock& search, const SampleBlock& sample, std::int32_t columns,
                                 std::int32_t rows, double limit, double& q) noexcept;

/// sums[i] += entering[i] - leaving[i].
void SlideSums(std::int64_t* sums, const std::int64_t* entering, const std::int64_t* leaving,
               std::int32_t count) noexcept;

} // namespace kyf

#endif

#include "alignment/pattern_matching_rows.h"

#include <algorithm>

#include "platform/simd.h"

namespace kyf {

namespace {

// Samples between two looks at the limit. 128 squares of narrow differences fit into 31 bits.
constexpr std::int32_t kBlock = 128;
static_assert(std::int64_t{kBlock} * kNarrowPeak * kNarrowPeak < (std::int64_t{1} << 31));

struct Narrow {
    static KY_ALWAYS_INLINE double Sum(const std::uint16_t* a, const std::uint16_t* b, std::int32_t count) noexcept {
        std::int32_t sum = 0;
        for (std::int32_t i = 0; i < count; ++i) {
            const auto difference = static_cast<std::int16_t>(a[i] - b[i]);
            sum += difference * difference;
        }
        return sum;
    }
};

// A square of 16-bit samples' difference stays below 2^32.
struct Wide {
    static KY_ALWAYS_INLINE double Sum(const std::uint16_t* a, const std::uint16_t* b, std::int32_t count) noexcept {
        std::uint64_t sum = 0;
        for (std::int32_t i = 0; i < count; ++i) {
            const auto difference = static_cast<std::uint32_t>(a[i] - b[i]);
            sum += difference * difference;
        }
        return static_cast<double>(sum);
    }
};

// Sums that doubles round: one by one, as the order is told.
bool AddOneByOne(const std::uint16_t* a, const std::uint16_t* b, std::int32_t count, double limit, double& q) noexcept {
    for (std::int32_t i = 0; i < count; ++i) {
        const double difference = static_cast<std::int32_t>(a[i]) - static_cast<std::int32_t>(b[i]);
        q += difference * difference;
        if (q > limit) return false;
    }
    return true;
}

// The limit is looked at once a block. The sum never falls, so that it exceeds the limit somewhere within a block
// exactly when it does at the block's end; and as long as it is an integer below 2^53, the order within the block
// does not matter.
template <typename Kernel>
KY_ALWAYS_INLINE bool SumBlocks(const SampleBlock& search, const SampleBlock& sample, std::int32_t columns,
                                std::int32_t rows, double limit, double& result) noexcept {
    double q = 0.0;
    for (std::int32_t y = 0; y < rows; ++y) {
        const std::uint16_t* const a = search.Samples + search.Stride * y;
        const std::uint16_t* const b = sample.Samples + sample.Stride * y;
        for (std::int32_t x = 0; x < columns; x += kBlock) {
            const std::int32_t count = std::min(kBlock, columns - x);
            const double next = q + Kernel::Sum(a + x, b + x, count);
            if (next < kExactIntegers) {
                q = next;
                if (q > limit) return false;
            } else if (!AddOneByOne(a + x, b + x, count, limit, q)) {
                return false;
            }
        }
    }
    result = q;
    return true;
}

} // namespace

KY_SIMD_CLONES
RowSums SumRow(const std::uint16_t* samples, std::int32_t count) noexcept {
    std::int64_t sum = 0;
    std::int64_t squares = 0;
    for (std::int32_t i = 0; i < count; ++i) {
        const std::uint32_t sample = samples[i];
        sum += sample;
        squares += sample * sample;
    }
    return {sum, squares};
}

KY_SIMD_CLONES
RowSums SumRowWrapping(const std::uint16_t* samples, std::int32_t count) noexcept {
    std::int64_t sum = 0;
    std::int64_t squares = 0;
    for (std::int32_t i = 0; i < count; ++i) {
        const std::uint32_t sample = samples[i];
        sum += sample;
        squares += static_cast<std::int32_t>(sample * sample);
    }
    return {sum, squares};
}

KY_SIMD_CLONES
bool SumSquaredDifferences(const SampleBlock& search, const SampleBlock& sample, std::int32_t columns,
                           std::int32_t rows, double limit, double& q) noexcept {
    return SumBlocks<Wide>(search, sample, columns, rows, limit, q);
}

KY_SIMD_CLONES
bool SumSquaredDifferencesNarrow(const SampleBlock& search, const SampleBlock& sample, std::int32_t columns,
                                 std::int32_t rows, double limit, double& q) noexcept {
    return SumBlocks<Narrow>(search, sample, columns, rows, limit, q);
}

KY_SIMD_CLONES
void SlideSums(std::int64_t* sums, const std::int64_t* entering, const std::int64_t* leaving,
               std::int32_t count) noexcept {
    for (std::int32_t i = 0; i < count; ++i) sums[i] += entering[i] - leaving[i];
}

} // namespace kyf

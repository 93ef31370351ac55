/// Number rules that all folders share: conversions and products without undefined behaviour.
#ifndef KYFOCUS_FILTERS_NUMBERS_H
#define KYFOCUS_FILTERS_NUMBERS_H

#include <cstdint>
#include <limits>

namespace kyf {

/// Truncates toward zero. A NaN or a value out of range gives the smallest integer.
constexpr std::int32_t TruncateToInt32(double value) noexcept {
    return value > -2147483649.0 && value < 2147483648.0 ? static_cast<std::int32_t>(value)
                                                         : std::numeric_limits<std::int32_t>::min();
}

/// As TruncateToInt32, with 64 bits.
constexpr std::int64_t TruncateToInt64(double value) noexcept {
    return value >= -9223372036854775808.0 && value < 9223372036854775808.0 ? static_cast<std::int64_t>(value)
                                                                            : std::numeric_limits<std::int64_t>::min();
}

/// 32-bit product, wrapping in two's complement.
constexpr std::int32_t WrappingProduct(std::int32_t a, std::int32_t b) noexcept {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(a) * static_cast<std::uint32_t>(b));
}

/// 32-bit sum, wrapping in two's complement.
constexpr std::int32_t WrappingSum(std::int32_t a, std::int32_t b) noexcept {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(a) + static_cast<std::uint32_t>(b));
}

/// 32-bit difference, wrapping in two's complement.
constexpr std::int32_t WrappingDifference(std::int32_t a, std::int32_t b) noexcept {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(a) - static_cast<std::uint32_t>(b));
}

} // namespace kyf

#endif

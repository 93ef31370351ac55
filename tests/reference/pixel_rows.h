/// Rows of samples, the plain way.
#ifndef KYFOCUS_TESTS_REFERENCE_PIXEL_ROWS_H
#define KYFOCUS_TESTS_REFERENCE_PIXEL_ROWS_H

#include <cstddef>
#include <cstdint>
#include <vector>

namespace reference {

using Row = std::vector<std::uint8_t>;

/// Pixels of three samples of `sampleBytes` bytes, in the opposite order.
inline Row SwapRedBlue(const Row& in, std::size_t sampleBytes) {
    Row out = in;
    const std::size_t pixelBytes = 3 * sampleBytes;
    for (std::size_t i = 0; i < in.size(); ++i) {
        const std::size_t sample = i % pixelBytes / sampleBytes;
        out[i] = in[i - i % pixelBytes + (2 - sample) * sampleBytes + i % sampleBytes];
    }
    return out;
}

inline Row SwapBytes(const Row& in) {
    Row out = in;
    for (std::size_t i = 0; i < in.size(); ++i) out[i] = in[i % 2 == 0 ? i + 1 : i - 1];
    return out;
}

inline Row Invert(const Row& in) {
    Row out = in;
    for (std::size_t i = 0; i < in.size(); ++i) out[i] = static_cast<std::uint8_t>(255 - in[i]);
    return out;
}

inline Row Drop1Of4(const Row& in, std::size_t skipped) {
    Row out;
    for (std::size_t i = 0; i < in.size(); ++i)
        if (i % 4 != skipped) out.push_back(in[i]);
    return out;
}

/// The first `count` values of `bits` bits each.
inline Row UnpackBits(const Row& in, std::size_t bits, std::size_t count) {
    Row out;
    for (std::size_t i = 0; i < count; ++i) {
        unsigned value = 0;
        for (std::size_t bit = i * bits; bit < (i + 1) * bits; ++bit)
            value = 2 * value + ((in[bit / 8] >> (7 - bit % 8)) & 1u);
        out.push_back(static_cast<std::uint8_t>(value));
    }
    return out;
}

} // namespace reference

#endif

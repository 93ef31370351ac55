#include "imaging/pixel_rows.h"

#include <cstring>

#include "platform/simd.h"

namespace kyi {

namespace {

using Vector16 = std::uint8_t __attribute__((vector_size(16)));

// The loops below take 16 bytes, write as many whole pixels as they hold in their new order and the rest as it was; the
// next step starts at that rest. So they also work in place. The next 16 bytes are taken before these are written: a
// load that overlaps a store just made waits for it.
constexpr std::size_t kVectorBytes = 16;

KY_ALWAYS_INLINE Vector16 Load(const std::uint8_t* from) noexcept {
    Vector16 v;
    std::memcpy(&v, from, sizeof v);
    return v;
}

KY_ALWAYS_INLINE void Store(std::uint8_t* to, Vector16 v) noexcept { std::memcpy(to, &v, sizeof v); }

KY_ALWAYS_INLINE void SwapPixel8(const std::uint8_t* in, std::uint8_t* out) noexcept {
    const std::uint8_t first = in[0];
    const std::uint8_t second = in[1];
    out[0] = in[2];
    out[1] = second;
    out[2] = first;
}

KY_ALWAYS_INLINE void SwapPixel16(const std::uint8_t* in, std::uint8_t* out) noexcept {
    std::uint16_t samples[3];
    std::memcpy(samples, in, sizeof samples);
    const std::uint16_t swapped[3] = {samples[2], samples[1], samples[0]};
    std::memcpy(out, swapped, sizeof swapped);
}

} // namespace

KY_SIMD_CLONES
void SwapRedBlue8(const std::uint8_t* in, std::uint8_t* out, std::size_t count) noexcept {
    const std::size_t bytes = 3 * count;
    std::size_t i = 0;
    if (bytes >= 15 + kVectorBytes) {
        Vector16 next = Load(in);
        for (; i + 15 + kVectorBytes <= bytes; i += 15) {
            const Vector16 v = next;
            next = Load(in + i + 15);
            Store(out + i, __builtin_shufflevector(v, v, 2, 1, 0, 5, 4, 3, 8, 7, 6, 11, 10, 9, 14, 13, 12, 15));
        }
    }
    for (; i < bytes; i += 3) SwapPixel8(in + i, out + i);
}

KY_SIMD_CLONES
void SwapRedBlue16(const std::uint8_t* in, std::uint8_t* out, std::size_t count) noexcept {
    const std::size_t bytes = 6 * count;
    std::size_t i = 0;
    if (bytes >= 12 + kVectorBytes) {
        Vector16 next = Load(in);
        for (; i + 12 + kVectorBytes <= bytes; i += 12) {
            const Vector16 v = next;
            next = Load(in + i + 12);
            Store(out + i, __builtin_shufflevector(v, v, 4, 5, 2, 3, 0, 1, 10, 11, 8, 9, 6, 7, 12, 13, 14, 15));
        }
    }
    for (; i < bytes; i += 6) SwapPixel16(in + i, out + i);
}

KY_SIMD_CLONES
void SwapBytes16(const std::uint8_t* in, std::uint8_t* out, std::size_t count) noexcept {
    const std::size_t bytes = 2 * count;
    std::size_t i = 0;
    for (; i + kVectorBytes <= bytes; i += kVectorBytes) {
        const Vector16 v = Load(in + i);
        Store(out + i, __builtin_shufflevector(v, v, 1, 0, 3, 2, 5, 4, 7, 6, 9, 8, 11, 10, 13, 12, 15, 14));
    }
    for (; i < bytes; i += 2) {
        const std::uint8_t first = in[i];
        out[i] = in[i + 1];
        out[i + 1] = first;
    }
}

KY_SIMD_CLONES
void InvertBytes(const std::uint8_t* in, std::uint8_t* out, std::size_t count) noexcept {
    for (std::size_t i = 0; i < count; ++i) out[i] = static_cast<std::uint8_t>(~in[i]);
}

void CopyStrided(const std::uint8_t* in, std::size_t inStride, std::uint8_t* out, std::size_t outStride,
                 std::size_t unitBytes, std::size_t count) noexcept {
    if (inStride == unitBytes && outStride == unitBytes) {
        std::memcpy(out, in, count * unitBytes);
    } else if (unitBytes == 1) {
        for (std::size_t i = 0; i < count; ++i) out[i * outStride] = in[i * inStride];
    } else {
        for (std::size_t i = 0; i < count; ++i) std::memcpy(out + i * outStride, in + i * inStride, 2);
    }
}

void UnpackBits(const std::uint8_t* in, int bits, std::uint8_t* out, std::size_t count) noexcept {
    const std::size_t perByte = static_cast<std::size_t>(8 / bits);
    const unsigned mask = (1u << bits) - 1;
    for (std::size_t i = 0; i < count; ++i) {
        const unsigned shift = static_cast<unsigned>(8 - bits * (1 + static_cast<int>(i % perByte)));
        out[i] = static_cast<std::uint8_t>((in[i / perByte] >> shift) & mask);
    }
}

void MapBytes(const std::uint8_t* in, const std::uint8_t table[256], std::uint8_t* out, std::size_t count) noexcept {
    for (std::size_t i = 0; i < count; ++i) out[i] = table[in[i]];
}

void MapBytesTo24(const std::uint8_t* in, const std::uint8_t table[768], std::uint8_t* out,
                  std::size_t count) noexcept {
    for (std::size_t i = 0; i < count; ++i) std::memcpy(out + 3 * i, table + 3 * std::size_t{in[i]}, 3);
}

KY_SIMD_CLONES
void Drop1Of4(const std::uint8_t* in, int skipped, std::uint8_t* out, std::size_t count) noexcept {
    std::size_t i = 0;
    // Four pixels in, twelve bytes and four to be overwritten out.
    for (; i + 6 <= count; i += 4) {
        const Vector16 v = Load(in + 4 * i);
        const Vector16 last = __builtin_shufflevector(v, v, 0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, 3, 7, 11, 15);
        const Vector16 first = __builtin_shufflevector(v, v, 1, 2, 3, 5, 6, 7, 9, 10, 11, 13, 14, 15, 0, 4, 8, 12);
        Store(out + 3 * i, skipped == 3 ? last : first);
    }
    const std::size_t start = skipped == 3 ? 0 : 1;
    for (; i < count; ++i) std::memcpy(out + 3 * i, in + 4 * i + start, 3);
}

} // namespace kyi

/// Transposition of small squares of samples in vector registers.
#ifndef KYFOCUS_FILTERS_TRANSPOSE_H
#define KYFOCUS_FILTERS_TRANSPOSE_H

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "platform/simd.h"

namespace kyf {

using Bytes16 = std::uint8_t __attribute__((vector_size(16)));
using Words8 = std::uint16_t __attribute__((vector_size(16)));

/// Samples on a side of the square that one register a row holds.
template <typename T> constexpr int kSquare = 16 / static_cast<int>(sizeof(T));

KY_ALWAYS_INLINE Bytes16 InterleaveLow(Bytes16 a, Bytes16 b) noexcept {
    return __builtin_shufflevector(a, b, 0, 16, 1, 17, 2, 18, 3, 19, 4, 20, 5, 21, 6, 22, 7, 23);
}
KY_ALWAYS_INLINE Bytes16 InterleaveHigh(Bytes16 a, Bytes16 b) noexcept {
    return __builtin_shufflevector(a, b, 8, 24, 9, 25, 10, 26, 11, 27, 12, 28, 13, 29, 14, 30, 15, 31);
}
KY_ALWAYS_INLINE Words8 InterleaveLow(Words8 a, Words8 b) noexcept {
    return __builtin_shufflevector(a, b, 0, 8, 1, 9, 2, 10, 3, 11);
}
KY_ALWAYS_INLINE Words8 InterleaveHigh(Words8 a, Words8 b) noexcept {
    return __builtin_shufflevector(a, b, 4, 12, 5, 13, 6, 14, 7, 15);
}

/// One perfect shuffle of the whole square. log2(N) of them in a row transpose it.
template <int N, typename Vector>
KY_ALWAYS_INLINE void ShuffleSquare(const Vector (&in)[N], Vector (&out)[N]) noexcept {
    for (int i = 0; i < N / 2; ++i) {
        out[2 * i] = InterleaveLow(in[i], in[i + N / 2]);
        out[2 * i + 1] = InterleaveHigh(in[i], in[i + N / 2]);
    }
}

KY_ALWAYS_INLINE void TransposeRegisters(Bytes16 (&a)[16]) noexcept {
    Bytes16 b[16];
    ShuffleSquare(a, b);
    ShuffleSquare(b, a);
    ShuffleSquare(a, b);
    ShuffleSquare(b, a);
}
KY_ALWAYS_INLINE void TransposeRegisters(Words8 (&a)[8]) noexcept {
    Words8 b[8];
    ShuffleSquare(a, b);
    ShuffleSquare(b, a);
    ShuffleSquare(a, b);
    std::memcpy(a, b, sizeof a);
}

template <typename T> struct SquareRow;
template <> struct SquareRow<std::uint8_t> { using Vector = Bytes16; };
template <> struct SquareRow<std::uint16_t> { using Vector = Words8; };

/// out(j, i) = in(i, j) for a square of kSquare<T> samples a side.
/// @param inRow, outRow  Give the address of row i; called with constants once the loop is unrolled.
template <typename T, typename InRow, typename OutRow>
KY_ALWAYS_INLINE void TransposeSquare(InRow inRow, OutRow outRow) noexcept {
    typename SquareRow<T>::Vector square[kSquare<T>];
    for (int i = 0; i < kSquare<T>; ++i) std::memcpy(&square[i], inRow(i), sizeof square[i]);
    TransposeRegisters(square);
    for (int i = 0; i < kSquare<T>; ++i) std::memcpy(outRow(i), &square[i], sizeof square[i]);
}

} // namespace kyf

#endif

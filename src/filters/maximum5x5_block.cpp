#include "filters/maximum5x5_block.h"

#include <algorithm>
#include <cstring>

#include "filters/transpose.h"
#include "platform/simd.h"

namespace kyf {

namespace {

constexpr int kReach = kMaximumWindow / 2;

template <typename T> KY_ALWAYS_INLINE const T* RowOf(const MaximumBlock<T>& block, std::int32_t k) noexcept {
    if (k < 0) return block.Above[k + kReach];
    return k < block.Rows ? block.Source + block.SourceStep * k : block.Below[k - block.Rows];
}

// Largest of the five rows around each row of the block, for `count` samples from `first` on. The same samples of the
// next strip are fetched ahead: 64 rows apart, no hardware does it.
template <typename T>
KY_ALWAYS_INLINE void TakeColumnMaxima(const MaximumBlock<T>& block, std::int32_t first, int count,
                                       MaximumScratch<T>& scratch) noexcept {
    constexpr int line = 64 / static_cast<int>(sizeof(T));
    const int ahead = std::min(count, block.Width * block.Stride - first - count);
    for (std::int32_t k = 0; k < block.Rows; ++k) {
        const T* near[kMaximumWindow];
        for (int j = 0; j < kMaximumWindow; ++j) near[j] = RowOf(block, k + j - kReach) + first;
        for (int i = 0; i < ahead; i += line) __builtin_prefetch(near[kReach] + count + i);
        T* const out = scratch.Rows[k];
        for (int i = 0; i < count; ++i)
            out[i] = std::max(std::max(std::max(near[0][i], near[1][i]), std::max(near[2][i], near[3][i])), near[4][i]);
    }
}

template <typename T>
KY_ALWAYS_INLINE void RowsToColumns(MaximumScratch<T>& scratch, int firstColumn, int count) noexcept {
    constexpr int n = kSquare<T>;
    for (int row = 0; row < MaximumScratch<T>::kLanes; row += n)
        for (int i = 0; i < count; i += n)
            TransposeSquare<T>([&](int k) { return &scratch.Rows[row + k][i]; },
                               [&](int k) { return &scratch.Columns[firstColumn + i + k][row]; });
}

// The outputs lie where their windows began.
template <typename T> KY_ALWAYS_INLINE void ColumnsToRows(MaximumScratch<T>& scratch, int count) noexcept {
    constexpr int n = kSquare<T>;
    for (int row = 0; row < MaximumScratch<T>::kLanes; row += n)
        for (int i = 0; i < count; i += n)
            TransposeSquare<T>([&](int k) { return &scratch.Columns[i + k][row]; },
                               [&](int k) { return &scratch.Rows[row + k][i]; });
}

// One step of all rows. A rescan takes the first four columns of the window, the leftmost of equal maxima; otherwise
// the column that enters takes over if it is greater.
template <typename T>
KY_ALWAYS_INLINE void Step(T (*window)[MaximumScratch<T>::kLanes], int stride, T* running, T* position) noexcept {
    T* const c0 = window[0];
    const T* const c1 = window[stride];
    const T* const c2 = window[2 * stride];
    const T* const c3 = window[3 * stride];
    const T* const c4 = window[4 * stride];
#pragma omp simd
    for (int lane = 0; lane < MaximumScratch<T>::kLanes; ++lane) {
        const T a0 = c0[lane];
        const T a1 = c1[lane];
        const T a2 = c2[lane];
        const T a3 = c3[lane];
        const T entering = c4[lane];
        const T held = running[lane];
        const T at = position[lane];
        const T left = std::max(a0, a1);
        const T right = std::max(a2, a3);
        const T scanned = std::max(left, right);
        const T leftAt = a1 > a0 ? T{1} : T{0};
        const T rightAt = a3 > a2 ? T{3} : T{2};
        const T scannedAt = right > left ? rightAt : leftAt;
        const T kept = std::max(held, entering);
        const T keptAt = entering > held ? T{4} : static_cast<T>(at - 1);
        const T result = at == 0 ? scanned : kept;
        running[lane] = result;
        position[lane] = at == 0 ? scannedAt : keptAt;
        c0[lane] = result;
    }
}

template <typename T>
KY_ALWAYS_INLINE void CopyPixelColumn(MaximumScratch<T>& scratch, int from, int to, int stride) noexcept {
    std::memcpy(scratch.Columns[to], scratch.Columns[from],
                sizeof scratch.Columns[0] * static_cast<std::size_t>(stride));
}

template <typename T> KY_ALWAYS_INLINE void ClearPixelColumn(MaximumScratch<T>& scratch, int at, int stride) noexcept {
    std::memset(scratch.Columns[at], 0, sizeof scratch.Columns[0] * static_cast<std::size_t>(stride));
}

// The unused sample of a four-sample pixel stays.
template <typename T> KY_ALWAYS_INLINE void StoreRow(const T* from, T* to, int samples, int stride) noexcept {
    if (stride != 4) {
        std::memcpy(to, from, static_cast<std::size_t>(samples) * sizeof(T));
        return;
    }
    for (int i = 0; i < samples; ++i)
        if (i % 4 != 0) to[i] = from[i];
}

// Pixels `firstStep` to `pixels` - 1 of the strip, whose windows begin at the strip's first column, and then the last
// four pixels become the history of the next strip.
template <typename T>
KY_ALWAYS_INLINE void RunStrip(const MaximumBlock<T>& block, MaximumScratch<T>& scratch, std::int32_t firstOutput,
                               int firstStep, int pixels) noexcept {
    const int stride = block.Stride;
    const int history = (kMaximumWindow - 1) * stride;
    for (int i = firstStep * stride; i < pixels * stride; ++i)
        Step<T>(&scratch.Columns[i], stride, scratch.Running[i % stride], scratch.Position[i % stride]);
    ColumnsToRows(scratch, pixels * stride);
    std::memmove(scratch.Columns, scratch.Columns[pixels * stride],
                 sizeof scratch.Columns[0] * static_cast<std::size_t>(history));
    const std::ptrdiff_t to = static_cast<std::ptrdiff_t>(firstOutput + firstStep) * stride;
    const int samples = (pixels - firstStep) * stride;
    for (std::int32_t k = 0; k < block.Rows; ++k)
        StoreRow(scratch.Rows[k] + firstStep * stride, block.Destination + block.DestinationStep * k + to, samples,
                 stride);
}

// The pixels left of the image: columns 1 and 0, as a mirror shows them.
template <typename T>
KY_ALWAYS_INLINE void MirrorLeft(const MaximumBlock<T>& block, MaximumScratch<T>& scratch) noexcept {
    const int stride = block.Stride;
    CopyPixelColumn(scratch, 4 * stride, 3 * stride, stride);
    if (block.Width > 1)
        CopyPixelColumn(scratch, 5 * stride, 2 * stride, stride);
    else
        ClearPixelColumn(scratch, 2 * stride, stride);
}

template <typename T>
KY_ALWAYS_INLINE void MirrorRight(const MaximumBlock<T>& block, MaximumScratch<T>& scratch) noexcept {
    const int stride = block.Stride;
    CopyPixelColumn(scratch, 3 * stride, 4 * stride, stride);
    if (block.Width > 1)
        CopyPixelColumn(scratch, 2 * stride, 5 * stride, stride);
    else
        ClearPixelColumn(scratch, 5 * stride, stride);
}

template <typename T>
KY_ALWAYS_INLINE void FilterBlock(const MaximumBlock<T>& block, MaximumScratch<T>& scratch) noexcept {
    const int stride = block.Stride;
    std::memset(scratch.Position, 0, sizeof scratch.Position);
    for (std::int32_t x = 0; x < block.Width; x += kMaximumStripPixels) {
        const int pixels = std::min(kMaximumStripPixels, block.Width - x);
        TakeColumnMaxima(block, x * stride, pixels * stride, scratch);
        RowsToColumns(scratch, (kMaximumWindow - 1) * stride, pixels * stride);
        if (x == 0) MirrorLeft(block, scratch);
        RunStrip(block, scratch, x - kReach, x == 0 ? std::min(kReach, pixels) : 0, pixels);
    }
    MirrorRight(block, scratch);
    RunStrip(block, scratch, block.Width - kReach, std::max(0, kReach - block.Width), kReach);
}

} // namespace

KY_SIMD_CLONES void MaximumOfBlock(const MaximumBlock<std::uint8_t>& block,
                                   MaximumScratch<std::uint8_t>& scratch) noexcept {
    FilterBlock(block, scratch);
}

KY_SIMD_CLONES void MaximumOfBlock(const MaximumBlock<std::uint16_t>& block,
                                   MaximumScratch<std::uint16_t>& scratch) noexcept {
    FilterBlock(block, scratch);
}

} // namespace kyf

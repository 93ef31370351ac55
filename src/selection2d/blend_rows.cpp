#include <array>
#include <cstring>

#include "platform/simd.h"
#include "selection2d/rows.h"

namespace kyf {

namespace {

constexpr int kBlock = 64;

enum class Share { None, Some, All }; // how much of a block comes from the frame

KY_ALWAYS_INLINE Share ShareOf(const double* weights, int count) noexcept {
    unsigned notZero = 0;
    unsigned notOne = 0;
    for (int i = 0; i < count; ++i) {
        notZero |= weights[i] != 0.0 ? 1u : 0u;
        notOne |= weights[i] != 1.0 ? 1u : 0u;
    }
    return notZero == 0 ? Share::None : notOne == 0 ? Share::All : Share::Some;
}

// Branch-free: with a weight of exactly 1 or 0 the sum is exactly the one or the other sample.
template <typename Sample>
KY_ALWAYS_INLINE void BlendSamples(const double* weights, const Sample* frame, Sample* composite, int count) noexcept {
    for (int i = 0; i < count; ++i) {
        const double a = weights[i];
        const double mixed = (1.0 - a) * static_cast<double>(composite[i]) + static_cast<double>(frame[i]) * a;
        composite[i] = static_cast<Sample>(static_cast<std::int32_t>(mixed));
    }
}

template <int kStride> KY_ALWAYS_INLINE void SpreadWeights(const double* weights, double* spread, int count) noexcept {
    for (int i = 0; i < count; ++i) {
        spread[kStride * i] = kStride == 4 ? 0.0 : weights[i];
        for (int s = 1; s < kStride; ++s) spread[kStride * i + s] = weights[i];
    }
}

template <int kStride, typename Sample>
KY_ALWAYS_INLINE void BlendBlock(const double* weights, const Sample* frame, Sample* composite, int count) noexcept {
    const Share share = ShareOf(weights, count);
    if (share == Share::None) return;
    if (share == Share::All && kStride != 4) {
        std::memcpy(composite, frame, static_cast<std::size_t>(count * kStride) * sizeof(Sample));
        return;
    }
    if constexpr (kStride == 1) {
        BlendSamples(weights, frame, composite, count);
    } else {
        std::array<double, kBlock * kStride> spread;
        SpreadWeights<kStride>(weights, spread.data(), count);
        BlendSamples(spread.data(), frame, composite, count * kStride);
    }
}

template <int kStride, typename Sample>
KY_ALWAYS_INLINE void BlendRow(BlendWeights weights, const Sample* frame, Sample* composite, int width) noexcept {
    std::array<double, kBlock> gathered;
    for (int x = 0; x < width; x += kBlock) {
        const int count = width - x < kBlock ? width - x : kBlock;
        const double* block = weights.Row + x;
        if (weights.Columns) {
            const std::int32_t* const columns = weights.Columns + x;
            const std::int32_t first = columns[0];
            if (ShareOf(weights.Row + first, columns[count - 1] - first + 1) == Share::None) continue;
            for (int i = 0; i < count; ++i) gathered[static_cast<std::size_t>(i)] = weights.Row[columns[i]];
            block = gathered.data();
        }
        BlendBlock<kStride>(block, frame + x * kStride, composite + x * kStride, count);
    }
}

} // namespace

KY_SIMD_CLONES void BlendRow8(BlendWeights weights, const std::uint8_t* frame, std::uint8_t* composite, int width,
                              int stride) noexcept {
    switch (stride) {
    case 1: return BlendRow<1>(weights, frame, composite, width);
    case 3: return BlendRow<3>(weights, frame, composite, width);
    case 4: return BlendRow<4>(weights, frame, composite, width);
    default: return;
    }
}

KY_SIMD_CLONES void BlendRow16(BlendWeights weights, const std::uint16_t* frame, std::uint16_t* composite, int width,
                               int stride) noexcept {
    switch (stride) {
    case 1: return BlendRow<1>(weights, frame, composite, width);
    case 3: return BlendRow<3>(weights, frame, composite, width);
    default: return;
    }
}

} // namespace kyf

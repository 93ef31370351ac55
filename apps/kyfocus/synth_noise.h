/// Random numbers of the synthetic stacks, found by place: the same number for the same seed and place, whatever the
/// order, the threads or the machine.
#ifndef KYFOCUS_APP_SYNTH_NOISE_H
#define KYFOCUS_APP_SYNTH_NOISE_H

#include <cstdint>
#include <span>

namespace app {

/// 64 well mixed bits of a number.
constexpr std::uint64_t MixBits(std::uint64_t bits) noexcept {
    bits += 0x9E3779B97F4A7C15U;
    bits = (bits ^ (bits >> 30U)) * 0xBF58476D1CE4E5B9U;
    bits = (bits ^ (bits >> 27U)) * 0x94D049BB133111EBU;
    return bits ^ (bits >> 31U);
}

/// 64 well mixed bits of a place; the coordinates may be negative.
constexpr std::uint64_t MixPlace(std::uint64_t seed, std::int64_t x, std::int64_t y) noexcept {
    return MixBits(MixBits(seed ^ static_cast<std::uint64_t>(y)) ^ static_cast<std::uint64_t>(x));
}

/// Uniform in [0, 1), from the upper 24 bits.
constexpr float Fraction(std::uint64_t bits) noexcept { return static_cast<float>(bits >> 40U) * 0x1p-24F; }

/// Nearly normal with mean 0 and variance 1, within +-3.47: the sum of four uniform numbers of 16 bits.
constexpr float BellNumber(std::uint64_t bits) noexcept {
    const auto sum = static_cast<std::int32_t>((bits & 0xFFFFU) + ((bits >> 16U) & 0xFFFFU) +
                                               ((bits >> 32U) & 0xFFFFU) + (bits >> 48U));
    return static_cast<float>(sum - 2 * 65535) * (1.7320508F / 65536.0F);
}

/// One layer of smooth noise: a lattice of uniform random numbers in [-1, 1), drawn out by cubic B-splines.
struct NoiseLayer {
    std::uint64_t Seed;
    double CellX;    ///< distance of the lattice's columns in pixels
    double CellY;    ///< distance of its rows
    float Amplitude; ///< the noise stays within +-Amplitude; its standard deviation is 0.28 of it
};

/// Adds the layer's values at the pixels (left, y), (left + 1, y), ... to `row`.
void AddNoiseRow(const NoiseLayer& layer, int left, int y, std::span<float> row);

} // namespace app

#endif

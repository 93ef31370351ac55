#include "synth_texture.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <utility>

#include "synth_noise.h"
#include "synth_spots.h"

namespace app {
namespace {

enum Salt : std::uint64_t {
    kReliefSalt = 0x72656C69,
    kMaterialSalt = 0x6D617465,
    kMarkSalt = 0x6D61726B,
    kGrainSalt = 0x67726169,
    kDustSalt = 0x64757374,
    kGlareSalt = 0x676C6172
};

constexpr std::size_t kReliefLayers = 8;
constexpr std::size_t kMaterialLayers = 6; // from 230 pixels down to 6
constexpr float kMaterialByHeight = 0.9F;
constexpr float kShading = 0.26F; // light of a relief that rises by one towards the light
constexpr float kDarkest = 0.06F; // light stays this far from black, and from white
constexpr std::array<float, 3> kBronze{0.66F, 0.50F, 0.34F};
constexpr std::array<float, 3> kSteel{0.47F, 0.50F, 0.54F};

std::uint64_t SeedOf(std::uint64_t seed, Salt salt, std::size_t layer) {
    return MixBits(MixBits(seed ^ (std::uint64_t{salt} << 32U)) + layer);
}

/// Fine relief of one row: every scale slopes about as much as the next, so that there is detail at all of them.
void MakeReliefRow(std::uint64_t seed, int left, int y, std::vector<float>& row) {
    std::fill(row.begin(), row.end(), 0.0F);
    double cell = 1.6;
    for (std::size_t layer = 0; layer < kReliefLayers; ++layer) {
        const float amplitude = 0.95F * static_cast<float>(std::sqrt(cell));
        AddNoiseRow({SeedOf(seed, kReliefSalt, layer), cell, cell, amplitude}, left, y, row);
        cell *= 1.9;
    }
}

/// 0 below `from`, 1 above `to`, smooth between.
float SmoothStep(float from, float to, float value) {
    const float t = std::clamp((value - from) / (to - from), 0.0F, 1.0F);
    return t * t * (3.0F - 2.0F * t);
}

/// Bends what leaves the middle back, so that no texture reaches black or white.
float KeepInside(float light) {
    constexpr float kReach = 0.5F - kDarkest;
    const float t = (light - 0.5F) / kReach;
    return 0.5F + kReach * t / std::sqrt(1.0F + t * t);
}

} // namespace

Texture::Texture(std::uint64_t seed, int left, int width, int channels, bool glare)
    : m_seed(seed), m_left(left), m_width(static_cast<std::size_t>(width)),
      m_channels(static_cast<std::size_t>(channels)), m_glare(glare), m_reliefRow(std::numeric_limits<int>::min()),
      m_relief(3, std::vector<float>(m_width + 2)), m_material(m_width), m_marks(m_width), m_brightness(m_width) {}

void Texture::LoadRelief(int y) {
    if (m_reliefRow == y - 1) {
        std::rotate(m_relief.begin(), m_relief.begin() + 1, m_relief.end());
        MakeReliefRow(m_seed, m_left - 1, y + 1, m_relief[2]);
    } else {
        for (int i = 0; i < 3; ++i) MakeReliefRow(m_seed, m_left - 1, y - 1 + i, m_relief[static_cast<std::size_t>(i)]);
    }
    m_reliefRow = y;
}

void Texture::LoadMaterial(int y, std::span<const float> part) {
    for (std::size_t x = 0; x < m_width; ++x) m_material[x] = kMaterialByHeight * (part[x] - 0.5F);
    float amplitude = 1.0F;
    double cell = 230.0;
    for (std::size_t layer = 0; layer < kMaterialLayers; ++layer) {
        AddNoiseRow({SeedOf(m_seed, kMaterialSalt, layer), cell, cell, amplitude}, m_left, y, m_material);
        cell /= 2.1;
        amplitude *= 0.66F;
    }
    std::fill(m_marks.begin(), m_marks.end(), 0.0F);
    AddNoiseRow({SeedOf(m_seed, kMarkSalt, 0), 85.0, 1.5, 0.55F}, m_left, y, m_marks);
    AddNoiseRow({SeedOf(m_seed, kMarkSalt, 1), 40.0, 4.0, 0.40F}, m_left, y, m_marks);
}

void Texture::LoadBrightness(int y, std::span<const float> slope) {
    std::fill(m_brightness.begin(), m_brightness.end(), 0.0F);
    AddNoiseRow({SeedOf(m_seed, kGrainSalt, 0), 1.2, 1.2, 0.30F}, m_left, y, m_brightness);
    for (std::size_t x = 0; x < m_width; ++x) {
        const float rise = m_relief[2][x + 2] - m_relief[0][x];
        m_brightness[x] += kShading * rise + slope[x];
    }
    const auto dust = [&](std::size_t x, float inside, std::uint64_t bits) {
        const float strength = Fraction(bits) < 0.5F ? -0.55F : 0.45F;
        m_brightness[x] += strength * std::min(1.0F, 2.0F * inside);
    };
    PaintSpotRow({SeedOf(m_seed, kDustSalt, 0), 13, 0.16F, 0.8F, 2.2F}, m_left, y, static_cast<int>(m_width), dust);
    PaintSpotRow({SeedOf(m_seed, kDustSalt, 1), 61, 0.22F, 2.0F, 6.5F}, m_left, y, static_cast<int>(m_width), dust);
}

void Texture::AddGlare(int y, std::span<float> light) const {
    const auto shine = [&](std::size_t x, float inside, std::uint64_t bits) {
        const float ragged =
            std::clamp(1.6F * inside + 0.9F * m_brightness[x], 0.0F, 1.0F); // light catches on the relief
        const float strength = (1.5F + 2.0F * Fraction(bits)) * ragged;
        for (std::size_t channel = 0; channel < m_channels; ++channel) light[x * m_channels + channel] += strength;
    };
    PaintSpotRow({SeedOf(m_seed, kGlareSalt, 0), 37, 0.10F, 1.5F, 4.0F}, m_left, y, static_cast<int>(m_width), shine);
    PaintSpotRow({SeedOf(m_seed, kGlareSalt, 1), 170, 0.30F, 6.0F, 26.0F}, m_left, y, static_cast<int>(m_width), shine);
}

void Texture::MakeRow(int y, std::span<const float> slope, std::span<const float> part, std::span<float> light) {
    LoadRelief(y);
    LoadMaterial(y, part);
    LoadBrightness(y, slope);
    for (std::size_t x = 0; x < m_width; ++x) {
        const float steel = SmoothStep(-0.12F, 0.12F, m_material[x]);
        const float factor = 0.95F + 0.5F * m_material[x] * (1.0F - steel) + m_marks[x] * steel + m_brightness[x];
        for (std::size_t channel = 0; channel < m_channels; ++channel) {
            const std::size_t tint = m_channels == 1 ? 1 : channel; // gray images see what green sees
            light[x * m_channels + channel] =
                KeepInside((kBronze[tint] + steel * (kSteel[tint] - kBronze[tint])) * factor);
        }
    }
    if (m_glare) AddGlare(y, light);
}

} // namespace app

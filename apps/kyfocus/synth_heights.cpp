#include "synth_surface.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "synth_noise.h"

namespace app {
namespace {

constexpr std::uint64_t kHeightSalt = 0x68656967;
constexpr double kTerraces = 6.0;

/// A round cap: centre and radius as parts of the image's width and height, and of its shorter side.
struct Cap {
    double X;
    double Y;
    double Radius;
};
constexpr std::array<Cap, 7> kCaps{{{0.25, 0.30, 0.24},
                                    {0.62, 0.26, 0.19},
                                    {0.88, 0.42, 0.13},
                                    {0.47, 0.66, 0.22},
                                    {0.14, 0.78, 0.15},
                                    {0.77, 0.77, 0.20},
                                    {0.43, 0.12, 0.09}}};

/// A place on the surface: parts of the image's width and height, and the pixels of one part of the shorter side.
struct Spot {
    double U;
    double V;
    double AspectX; ///< width over shorter side
    double AspectY;
};

double Clamp01(double value) { return std::clamp(value, 0.0, 1.0); }

/// Height of a ball's upper half above its middle, in shorter sides; 0 outside.
double CapHeight(const Cap& cap, const Spot& spot) {
    const double dx = (spot.U - cap.X) * spot.AspectX;
    const double dy = (spot.V - cap.Y) * spot.AspectY;
    return std::sqrt(std::max(0.0, cap.Radius * cap.Radius - dx * dx - dy * dy));
}

double Ramp(const Spot& spot) { return Clamp01(0.8 * spot.U + 0.2 * spot.V); }

double Steps(const Spot& spot) {
    const double along = Clamp01(spot.U + 0.25 * (spot.V - 0.5));
    return std::min(std::floor(along * kTerraces), kTerraces - 1.0) / (kTerraces - 1.0);
}

double Spheres(const Spot& spot) {
    double highest = 0.0;
    for (const Cap& cap : kCaps) highest = std::max(highest, CapHeight(cap, spot));
    return Clamp01(highest / kCaps.front().Radius);
}

/// A tilted rough floor with a ball, a raised plate with sharp edges and a groove.
double Mixed(const Spot& spot, double rough) {
    double height = 0.08 + 0.34 * spot.U + 0.10 * spot.V + 0.30 * (rough - 0.5);
    const bool isOnPlate = spot.U > 0.56 && spot.U < 0.90 && spot.V > 0.12 && spot.V < 0.42;
    if (isOnPlate) height = 0.78 + 0.18 * (spot.V - 0.12) / 0.30 + 0.05 * (rough - 0.5);
    const double grooveX = (spot.U - 0.70 - 0.12 * (spot.V - 0.75)) * spot.AspectX;
    if (spot.V > 0.50 && std::abs(grooveX) < 0.05) height -= 0.30;
    constexpr Cap kBall{0.28, 0.52, 0.30};
    const double ball = CapHeight(kBall, spot);
    if (ball > 0.0) height = std::max(height, ball / kBall.Radius + 0.04 * (rough - 0.5));
    return Clamp01(height);
}

/// Hills at all scales from half the shorter side down to a few pixels, lower the smaller they are; 0 to 1 around 0.5.
std::vector<float> RoughRow(const SynthOptions& options, int left, int y, std::size_t count) {
    std::vector<float> row(count, 0.5F);
    float amplitude = 0.8F;
    std::uint64_t seed = MixBits(options.Seed ^ kHeightSalt);
    double cell = std::min(options.Width, options.Height) / 2.0;
    while (cell > 12.0) {
        AddNoiseRow({seed, cell, cell, amplitude}, left, y, row);
        amplitude *= 0.5F;
        seed = MixBits(seed);
        cell /= 2.0;
    }
    return row;
}

double PartOfRange(SurfaceShape shape, const Spot& spot, double rough) {
    switch (shape) {
    case SurfaceShape::Ramp: return Ramp(spot);
    case SurfaceShape::Spheres: return Spheres(spot);
    case SurfaceShape::Steps: return Steps(spot);
    case SurfaceShape::Roughness: return Clamp01(rough);
    case SurfaceShape::Mixed: break;
    }
    return Mixed(spot, rough);
}

} // namespace

HeightRange RangeOfHeights(const SynthOptions& options) {
    const double first = options.FocusOf(0);
    const double last = options.FocusOf(options.Frames - 1);
    const double inset = 0.1 * std::abs(last - first);
    return {std::min(first, last) + inset, std::max(first, last) - inset};
}

void MakeHeightRow(const SynthOptions& options, int left, int y, std::vector<float>& heights) {
    const HeightRange range = RangeOfHeights(options);
    const double shorter = std::min(options.Width, options.Height);
    const std::vector<float> rough = RoughRow(options, left, y, heights.size());
    Spot spot{0.0, y / static_cast<double>(options.Height), options.Width / shorter, options.Height / shorter};
    for (std::size_t x = 0; x < heights.size(); ++x) {
        spot.U = (left + static_cast<double>(x)) / options.Width;
        const double part = PartOfRange(options.Shape, spot, static_cast<double>(rough[x]));
        heights[x] = static_cast<float>(range.Low + part * (range.High - range.Low));
    }
}

} // namespace app

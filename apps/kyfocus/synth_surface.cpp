#include "synth_surface.h"

#include <algorithm>
#include <cmath>
#include <span>

#include "carried_exception.h"
#include "per_thread.h"
#include "synth_texture.h"

namespace app {
namespace {

constexpr double kBrightestGlare = 4.0; // whites that a sample of a scene with glare can hold
constexpr float kMostShading = 0.40F;

void MakeHeights(const SynthOptions& options, Scene& scene) {
    CarriedException failure;
    PerThread<std::vector<float>> rows(Index(scene.Width));
#pragma omp parallel
    {
        std::vector<float>& row = rows.Mine();
#pragma omp for schedule(static)
        for (int y = 0; y < scene.Height; ++y)
            failure.Guard([&] {
                MakeHeightRow(options, -scene.Margin, y - scene.Margin, row);
                std::copy(row.begin(), row.end(), scene.Heights.begin() + static_cast<std::ptrdiff_t>(y) * scene.Width);
            });
    }
    failure.Rethrow();
}

/// Brightening of row y by the surface's slope towards the light at the top left.
void ShadeRow(const Scene& scene, int y, float perUm, std::vector<float>& slope) {
    const float* above = scene.HeightRow(std::max(y - 1, 0));
    const float* below = scene.HeightRow(std::min(y + 1, scene.Height - 1));
    for (int x = 0; x < scene.Width; ++x) {
        const float rise = below[std::min(x + 1, scene.Width - 1)] - above[std::max(x - 1, 0)];
        slope[Index(x)] = std::clamp(perUm * rise, -kMostShading, kMostShading);
    }
}

/// Heights of row y as parts of the range; 0 for a range of nothing.
void PartRow(const Scene& scene, int y, const HeightRange& range, std::vector<float>& part) {
    const float* heights = scene.HeightRow(y);
    const double span = range.High - range.Low;
    for (std::size_t x = 0; x < part.size(); ++x)
        part[x] = span > 0.0 ? static_cast<float>((static_cast<double>(heights[x]) - range.Low) / span) : 0.0F;
}

void StoreRow(std::span<const float> light, double white, std::uint16_t* samples) {
    for (std::size_t i = 0; i < light.size(); ++i)
        samples[i] = static_cast<std::uint16_t>(std::min(static_cast<double>(light[i]) * white + 0.5, 65535.0));
}

/// What one thread makes rows with.
struct Painter {
    Painter(const SynthOptions& options, const Scene& scene)
        : Look(options.Seed, -scene.Margin, scene.Width, scene.Channels, options.Glare), Slope(Index(scene.Width)),
          Part(Slope.size()), Light(scene.RowSamples()) {}
    Texture Look;
    std::vector<float> Slope;
    std::vector<float> Part;
    std::vector<float> Light;
};

void MakePicture(const SynthOptions& options, Scene& scene) {
    const HeightRange range = RangeOfHeights(options);
    const double span = range.High - range.Low;
    const double shorter = std::min(options.Width, options.Height);
    const auto perUm = static_cast<float>(span > 0.0 ? 0.06 * shorter / span : 0.0);
    CarriedException failure;
    PerThread<Painter> painters(options, scene);
#pragma omp parallel
    {
        Painter& painter = painters.Mine();
#pragma omp for schedule(static)
        for (int y = 0; y < scene.Height; ++y)
            failure.Guard([&] {
                ShadeRow(scene, y, perUm, painter.Slope);
                PartRow(scene, y, range, painter.Part);
                painter.Look.MakeRow(y - scene.Margin, painter.Slope, painter.Part, painter.Light);
                StoreRow(painter.Light, scene.White, scene.Samples.data() + Index(y) * scene.RowSamples());
            });
    }
    failure.Rethrow();
}

} // namespace

Scene MakeScene(const SynthOptions& options, int margin) {
    Scene scene;
    scene.Width = options.Width + 2 * margin;
    scene.Height = options.Height + 2 * margin;
    scene.Margin = margin;
    scene.Channels = options.Gray ? 1 : 3;
    if (options.Glare) scene.White = 65535.0 / kBrightestGlare;
    scene.Heights.resize(Index(scene.Width) * Index(scene.Height));
    scene.Samples.resize(scene.RowSamples() * Index(scene.Height));
    MakeHeights(options, scene);
    MakePicture(options, scene);
    return scene;
}

} // namespace app

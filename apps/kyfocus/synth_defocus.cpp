#include "synth_defocus.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "per_thread.h"

namespace app {
namespace {

constexpr double kFirstBlur = 0.5;  // pixels
constexpr double kBlurRatio = 1.45; // from layer to layer

/// Half of a symmetric Gaussian: the middle weight first. The whole sums to 1.
std::vector<float> GaussianWeights(double sigma) {
    const int radius = std::max(1, static_cast<int>(std::ceil(3.0 * sigma)));
    std::vector<double> weights;
    weights.reserve(static_cast<std::size_t>(radius) + 1);
    double sum = 0.0;
    for (int i = 0; i <= radius; ++i) {
        weights.push_back(std::exp(-i * i / (2.0 * sigma * sigma)));
        sum += i == 0 ? weights.back() : 2.0 * weights.back();
    }
    std::vector<float> result;
    result.reserve(weights.size());
    for (const double weight : weights) result.push_back(static_cast<float>(weight / sum));
    return result;
}

/// What the weights add to the variance of what they blur. Less than sigma^2 where the samples are few.
double VarianceOf(const std::vector<float>& weights) {
    double variance = 0.0;
    for (std::size_t i = 1; i < weights.size(); ++i)
        variance += 2.0 * static_cast<double>(weights[i]) * static_cast<double>(i * i);
    return variance;
}

void AddScaled(const std::uint16_t* samples, float weight, std::vector<float>& sums) noexcept {
    for (std::size_t i = 0; i < sums.size(); ++i) sums[i] += weight * static_cast<float>(samples[i]);
}

/// Sums of one row over the rows around it; the scene's edge rows repeat beyond it.
void BlurColumns(const Scene& scene, const std::vector<std::uint16_t>& source, const std::vector<float>& weights, int y,
                 std::vector<float>& sums) {
    std::fill(sums.begin(), sums.end(), 0.0F);
    const auto row = [&](int at) {
        return source.data() + static_cast<std::size_t>(std::clamp(at, 0, scene.Height - 1)) * scene.RowSamples();
    };
    AddScaled(row(y), weights[0], sums);
    for (int i = 1; i < static_cast<int>(weights.size()); ++i) {
        AddScaled(row(y - i), weights[static_cast<std::size_t>(i)], sums);
        AddScaled(row(y + i), weights[static_cast<std::size_t>(i)], sums);
    }
}

/// Blurs along the row. `padded` holds `sums` with repeated edge pixels before and after.
void BlurRow(const Scene& scene, const std::vector<float>& weights, const std::vector<float>& sums,
             std::vector<float>& padded, std::vector<float>& out) {
    const auto channels = static_cast<std::size_t>(scene.Channels);
    const std::size_t border = (weights.size() - 1) * channels;
    std::copy(sums.begin(), sums.end(), padded.begin() + static_cast<std::ptrdiff_t>(border));
    for (std::size_t i = 0; i < border; ++i) {
        padded[i] = sums[i % channels];
        padded[border + sums.size() + i] = sums[sums.size() - channels + i % channels];
    }
    const float* middle = padded.data() + border;
    for (std::size_t i = 0; i < out.size(); ++i) out[i] = weights[0] * middle[i] + 0.5F;
    for (std::size_t k = 1; k < weights.size(); ++k) {
        const float* before = middle - k * channels;
        const float* after = middle + k * channels;
        for (std::size_t i = 0; i < out.size(); ++i) out[i] += weights[k] * (before[i] + after[i]);
    }
}

/// Rows of one thread.
struct Scratch {
    Scratch(const Scene& scene, const std::vector<float>& weights)
        : Sums(scene.RowSamples()), Out(scene.RowSamples()),
          Padded(scene.RowSamples() + 2 * (weights.size() - 1) * static_cast<std::size_t>(scene.Channels)) {}
    std::vector<float> Sums;
    std::vector<float> Out;
    std::vector<float> Padded;
};

std::vector<std::uint16_t> Blur(const Scene& scene, const std::vector<std::uint16_t>& source,
                                const std::vector<float>& weights) {
    std::vector<std::uint16_t> result(source.size());
    PerThread<Scratch> scratch(scene, weights);
#pragma omp parallel
    {
        Scratch& mine = scratch.Mine();
#pragma omp for schedule(static)
        for (int y = 0; y < scene.Height; ++y) {
            BlurColumns(scene, source, weights, y, mine.Sums);
            BlurRow(scene, weights, mine.Sums, mine.Padded, mine.Out);
            std::uint16_t* row = result.data() + static_cast<std::size_t>(y) * scene.RowSamples();
            for (std::size_t i = 0; i < mine.Out.size(); ++i)
                row[i] = static_cast<std::uint16_t>(std::min(mine.Out[i], 65535.0F));
        }
    }
    return result;
}

} // namespace

double WidestBlurOf(const SynthOptions& options) {
    const HeightRange range = RangeOfHeights(options);
    const double last = options.FocusOf(options.Frames - 1);
    const double farthest =
        std::max(range.High - std::min(options.Start, last), std::max(options.Start, last) - range.Low);
    return static_cast<double>(BlurOf(options, static_cast<float>(farthest)));
}

BlurLayers::BlurLayers(Scene& scene, double widest) {
    m_layers.push_back(std::move(scene.Samples));
    m_variances.push_back(0.0F);
    double variance = 0.0;
    double target = kFirstBlur;
    while (variance < widest * widest) {
        const std::vector<float> weights = GaussianWeights(std::sqrt(target * target - variance));
        m_layers.push_back(Blur(scene, m_layers.back(), weights));
        variance += VarianceOf(weights);
        m_variances.push_back(static_cast<float>(variance));
        target *= kBlurRatio;
    }
}

BlurLayers::Place BlurLayers::Find(float blur) const noexcept {
    const float variance = blur * blur;
    int upper = 1;
    while (upper < Count() && m_variances[static_cast<std::size_t>(upper)] <= variance) ++upper;
    if (upper == Count()) return {upper - 1, 0.0F};
    const float low = m_variances[static_cast<std::size_t>(upper - 1)];
    const float high = m_variances[static_cast<std::size_t>(upper)];
    return {upper - 1, (variance - low) / (high - low)};
}

} // namespace app

#include "noise_cut.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <new>
#include <string>

#include "errors.h"

namespace app {
namespace {

constexpr std::int32_t kCutSample = 65535;
constexpr std::int32_t kHole = -1; // below any threshold

/// Heights are handed over from 0 to this, and read back with as much room below and above for what the smoothing adds.
/// Against it the 0.02 of the smoothing is nothing in any unit.
constexpr double kRange = 1 << 30;

/// The record of the library with the tables that it points to.
class HostRecord {
  public:
    HostRecord(const HeightMap& heights, const DifferentiationMap& map, double cutRatio)
        : m_heights(heights.Values), m_map(map.Values) {
        const KeptHeights kept = FindKeptHeights(heights, map, cutRatio);
        m_least = kept.Least;
        m_unit = std::max((kept.Greatest - kept.Least) / kRange, std::numeric_limits<double>::min()); // flat maps too
        for (std::size_t i = 0; i < m_heights.size(); ++i) {
            const bool isHole = !std::isfinite(m_heights[i]);
            if (isHole) m_map[i] = kHole;
            m_heights[i] = isHole ? 0.0 : std::clamp((m_heights[i] - m_least) / m_unit, 0.0, kRange);
        }
        for (int y = 0; y < heights.Height; ++y) {
            const std::ptrdiff_t first = static_cast<std::ptrdiff_t>(y) * heights.Width;
            m_heightRows.push_back(m_heights.data() + first);
            m_mapRows.push_back(m_map.data() + first);
        }
        Record.HeightData = {m_heightRows.data(), heights.Width, heights.Height};
        Record.DifferentiationMap = {m_mapRows.data(), map.Width, map.Height, map.Depth};
        Record.Parameter.CutRatio = cutRatio;
    }
    HostRecord(const HostRecord&) = delete;
    HostRecord& operator=(const HostRecord&) = delete;

    double HeightOf(double value) const { return m_least + value * m_unit; }

    KyfHeightNoiseCutData Record{};

  private:
    std::vector<double> m_heights;
    std::vector<std::int32_t> m_map;
    std::vector<double*> m_heightRows;
    std::vector<std::int32_t*> m_mapRows;
    double m_least = 0.0;
    double m_unit = 1.0;
};

Image NewSamples(const HeightMap& map) {
    Image image(KyiAllocImageData(map.Width, map.Height, KyiFormatGray16));
    if (!image) throw std::bad_alloc();
    return image;
}

std::vector<std::int32_t> SamplesOf(const KyiImageData& image) {
    std::vector<std::int32_t> samples(static_cast<std::size_t>(image.Width) * static_cast<std::size_t>(image.Height));
    for (int y = 0; y < image.Height; ++y)
        KyiGetLinePixel(&image, 0, y, 0, samples.data() + static_cast<std::ptrdiff_t>(y) * image.Width, image.Width);
    return samples;
}

/// The low 16 bits of (value + kRange) / step.
std::vector<std::int32_t> CutSamples(HostRecord& host, double step, KyiImageData& image) {
    host.Record.Offset = -kRange;
    host.Record.Step = step;
    const KyfResult result = KyfFilterHeightNoiseCut(&image, &image, &host.Record, nullptr);
    if (result == KyfResultFailAlloc) throw std::bad_alloc();
    if (result != KyfResultOk) throw Failure("noise cut: refused by the library, result " + std::to_string(result));
    return SamplesOf(image);
}

} // namespace

std::int32_t LeastThatStays(const DifferentiationMap& map, double cutRatio) {
    return static_cast<std::int32_t>(std::floor((map.Depth - 1) * cutRatio + 0.5));
}

KeptHeights FindKeptHeights(const HeightMap& heights, const DifferentiationMap& map, double cutRatio) {
    const std::int32_t threshold = LeastThatStays(map, cutRatio);
    KeptHeights kept{std::numeric_limits<double>::infinity(), -std::numeric_limits<double>::infinity()};
    for (std::size_t i = 0; i < heights.Values.size(); ++i) {
        const double height = heights.Values[i];
        if (map.Values[i] < threshold || !std::isfinite(height)) continue;
        kept = {std::min(kept.Least, height), std::max(kept.Greatest, height)};
    }
    return kept.Least <= kept.Greatest ? kept : KeptHeights{};
}

NoiseCutPreview PreviewNoiseCut(const HeightMap& heights, const DifferentiationMap& map, double cutRatio) {
    HostRecord host(heights, map, cutRatio);
    host.Record.Step = kRange / kBrightestHeight;
    NoiseCutPreview preview{NewSamples(heights), 0};
    KyfPreviewFilterHeightNoiseCut(preview.Picture.get(), preview.Picture.get(), &host.Record);
    const std::vector<std::int32_t> samples = SamplesOf(*preview.Picture);
    preview.CutPixels = static_cast<std::size_t>(std::count(samples.begin(), samples.end(), kCutSample));
    return preview;
}

HeightMap CutNoise(const HeightMap& heights, const DifferentiationMap& map, const KyfHeightNoiseCutParameter& parameter,
                   const NoiseCutPreview& preview) {
    HostRecord host(heights, map, parameter.CutRatio);
    host.Record.Parameter = parameter;
    const Image image = NewSamples(heights);
    constexpr double kWord = 65536.0;
    const std::vector<std::int32_t> low = CutSamples(host, 1.0, *image);
    const std::vector<std::int32_t> high = CutSamples(host, kWord, *image);
    const std::vector<std::int32_t> before = SamplesOf(*preview.Picture);
    HeightMap cut = heights;
    for (std::size_t i = 0; i < cut.Values.size(); ++i) {
        const bool isKept = parameter.Smoothing <= 0 && before[i] != kCutSample;
        if (!isKept) cut.Values[i] = host.HeightOf(high[i] * kWord + low[i] - kRange);
    }
    return cut;
}

} // namespace app

// Heights as samples of an image.
#include <algorithm>
#include <cstddef>
#include <vector>

#include "filters/sample_rows.h"
#include "height/noise_cut.h"

namespace kyf {

namespace {

struct Overlap {
    std::int32_t Width;
    std::int32_t Height;
};

Overlap OverlapOf(const KyfImageData& heights, const KyiImageData& image) noexcept {
    return {std::min(heights.Width, image.Width), std::min(heights.Height, image.Height)};
}

template <typename T>
void Write(const KyfImageData& heights, const HeightSampling& sampling, KyiImageData& image) noexcept {
    const Overlap overlap = OverlapOf(heights, image);
    const SampleRows<T> samples(image);
    for (std::int32_t y = 0; y < overlap.Height; ++y) SampleRow(heights.Rows[y], sampling, samples[y], overlap.Width);
}

template <typename T>
void Preview(const JudgedHeights& judged, std::int32_t threshold, const HeightSampling& sampling, std::int32_t top,
             KyiImageData& image) {
    const Overlap overlap = OverlapOf(judged.Heights, image);
    const SampleRows<T> samples(image);
    std::vector<double> row(static_cast<std::size_t>(judged.Heights.Width));
    for (std::int32_t y = 0; y < overlap.Height; ++y) {
        MarkHeights(judged, y, threshold, row.data());
        PreviewRow(row.data(), sampling, top, samples[y], overlap.Width);
    }
}

} // namespace

void WriteHeights(const KyfImageData& heights, const HeightSampling& sampling, KyiImageData& image) noexcept {
    switch (image.PixelBytes) {
    case 1: return Write<std::uint8_t>(heights, sampling, image);
    case 2: return Write<std::uint16_t>(heights, sampling, image);
    default: return;
    }
}

void PreviewHeights(const JudgedHeights& judged, double cutRatio, const HeightSampling& sampling, std::int32_t top,
                    KyiImageData& image) {
    const std::int32_t threshold = CutThreshold(judged.Map, cutRatio);
    switch (image.PixelBytes) {
    case 1: return Preview<std::uint8_t>(judged, threshold, sampling, top, image);
    case 2: return Preview<std::uint16_t>(judged, threshold, sampling, top, image);
    default: return;
    }
}

} // namespace kyf

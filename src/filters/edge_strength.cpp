#include "filters/filters.h"

#include <algorithm>

#include "filters/edge_strength_row.h"
#include "filters/image_layout.h"
#include "filters/in_place.h"
#include "filters/sample_rows.h"
#include "filters/scratch.h"

namespace kyf {

namespace {

template <typename T> void EdgeSamples(const KyiImageData& source, KyiImageData& destination, bool parallel) {
    using Sum = typename EdgeSum<T>::Type;
    const int stride = SampleStride(source.PixelBytes);
    const std::int32_t count = source.Width * stride;
    const int top = KyiGetMaxVal(source.Format) - 1;
    const SampleRows<const T> in(source);
    const SampleRows<T> out(destination);
    const WorkShare share(source.Height, parallel);
    const std::size_t line = static_cast<std::size_t>(count) + 2 * static_cast<std::size_t>(stride);
    const Scratch<Sum> lines(2 * line * static_cast<std::size_t>(share.Chunks));
#pragma omp parallel for schedule(static) if (parallel)
    for (std::int32_t chunk = 0; chunk < share.Chunks; ++chunk) {
        Sum* const smooth = lines.Get() + 2 * line * static_cast<std::size_t>(chunk);
        for (std::int32_t y = share.First(chunk); y < share.Last(chunk); ++y) {
            const T* const row = in[y];
            EdgeStrengthRow(in[std::max(y - 1, 0)], row, in[std::min(y + 1, source.Height - 1)], out[y], count, stride,
                            top, smooth, smooth + line);
            if (stride == 4) KeepUnusedSamples(row, out[y], source.Width);
        }
    }
}

} // namespace

// The bordered image of the rule is never made: the edge sample repeats, which each row does for itself.
void FilterEdgeStrength(const KyiImageData* source, KyiImageData* destination, KyiBool parallel) {
    if (!IsSameLayout(*source, *destination)) return;
    const SeparateSource in(*source, *destination);
    const bool useParallel = UseBorderedParallel(*source, 1, parallel);
    switch (SampleBytes(source->PixelBytes)) {
    case 1: EdgeSamples<std::uint8_t>(in.Get(), *destination, useParallel); break;
    case 2: EdgeSamples<std::uint16_t>(in.Get(), *destination, useParallel); break;
    default: KyiCopyImageData(source, destination, 0, 0); break;
    }
}

} // namespace kyf

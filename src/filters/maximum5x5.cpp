#include "filters/filters.h"

#include <algorithm>
#include <cstring>

#include "filters/image_layout.h"
#include "filters/in_place.h"
#include "filters/maximum5x5_block.h"
#include "filters/sample_rows.h"
#include "filters/scratch.h"

namespace kyf {

namespace {

template <typename T> void MaximumSamples(const KyiImageData& source, KyiImageData& destination, bool parallel) {
    const SampleRows<const T> in(source);
    const SampleRows<T> out(destination);
    const int stride = SampleStride(source.PixelBytes);
    const WorkShare share(BlockCount(source.Height, kMaximumLanes<T>), parallel);
    const Scratch<MaximumScratch<T>> scratch(static_cast<std::size_t>(share.Chunks));
    // Lanes without a row are computed and dropped: they must hold something.
    std::memset(static_cast<void*>(scratch.Get()), 0,
                sizeof(MaximumScratch<T>) * static_cast<std::size_t>(share.Chunks));
#pragma omp parallel for schedule(static) if (parallel)
    for (std::int32_t chunk = 0; chunk < share.Chunks; ++chunk)
        for (std::int32_t block = share.First(chunk); block < share.Last(chunk); ++block) {
            const std::int32_t first = block * kMaximumLanes<T>;
            const std::int32_t rows = std::min(kMaximumLanes<T>, source.Height - first);
            MaximumOfBlock(
                MaximumBlock<T>{in[0], in.Step(), out[0], out.Step(), source.Width, source.Height, stride, first, rows},
                scratch.Get()[chunk]);
            for (std::int32_t y = first; stride == 4 && y < first + rows; ++y)
                KeepUnusedSamples(in[y], out[y], source.Width);
        }
}

} // namespace

// As in the edge strength no bordered image is made; only its size counts, in the parallel rule.
void FilterMaximum5x5(const KyiImageData* source, KyiImageData* destination, KyiBool parallel) {
    if (!IsSameLayout(*source, *destination)) return;
    const SeparateSource in(*source, *destination);
    const bool useParallel = UseBorderedParallel(*source, 2, parallel);
    switch (SampleBytes(source->PixelBytes)) {
    case 1: MaximumSamples<std::uint8_t>(in.Get(), *destination, useParallel); break;
    case 2: MaximumSamples<std::uint16_t>(in.Get(), *destination, useParallel); break;
    default: KyiCopyImageData(source, destination, 0, 0); break;
    }
}

} // namespace kyf

#include "filters/filters.h"

#include <algorithm>
#include <vector>

#include "filters/image_layout.h"
#include "filters/reduce_rows.h"
#include "filters/sample_rows.h"
#include "filters/scratch.h"

namespace kyf {

namespace {

// What the rows of one reduction share.
struct Reduction {
    const KyiImageData& Source;
    KyiImageData& Destination;
    ReducedAxis X;
    ReducedAxis Y;
    std::int32_t Top;
    std::vector<std::int32_t> Starts;
};

std::vector<std::int32_t> BlockStarts(const ReducedAxis& axis, std::int32_t size) {
    std::vector<std::int32_t> starts(static_cast<std::size_t>(size));
    for (std::int32_t x = 0; x < size; ++x) starts[static_cast<std::size_t>(x)] = axis.First(x);
    return starts;
}

// The sequential kernel caps at 255 whatever the sample width; the parallel one holds its cap in a sample.
template <typename T> std::int32_t TopOf(const KyiImageData& destination, bool parallel) {
    return parallel ? static_cast<T>(KyiGetMaxVal(destination.Format)) : 255;
}

template <typename T>
void ReduceRow(const Reduction& reduction, std::int32_t y, int channel, std::uint32_t* sums, std::int32_t* values) {
    const KyiImageData& source = reduction.Source;
    const std::int32_t width = reduction.Destination.Width;
    const int stride = SampleStride(source.PixelBytes);
    const SampleRows<const T> rows(source);
    std::fill_n(sums, width, 0U);
    const std::int32_t firstRow = reduction.Y.First(y);
    for (std::int32_t j = 0; j < reduction.Y.Block; ++j) {
        const T* const row = rows[firstRow + j] + ChannelOffset(source.PixelBytes, channel);
        if (reduction.X.IsWhole())
            AddWholeBlockRow(row, stride, reduction.X.Block, sums, width);
        else
            AddBlockRow(row, stride, reduction.Starts.data(), reduction.X.Block, sums, width);
    }
    DivideRow(sums, reduction.X.Block * reduction.Y.Block, reduction.Top, values, width);
    KyiSetLinePixel(&reduction.Destination, 0, y, channel, values, width);
}

template <typename T> void ReduceSamples(const KyiImageData& source, KyiImageData& destination, bool parallel) {
    const ReducedAxis x(source.Width, destination.Width);
    const ReducedAxis y(source.Height, destination.Height);
    if (x.Block < 1 || y.Block < 1) return;
    const Reduction reduction{
        source, destination, x, y, TopOf<T>(destination, parallel), BlockStarts(x, destination.Width)};
    const int channels = KyiIsFormatBgr(source.Format) ? 3 : 1;
    const WorkShare share(destination.Height, parallel);
    const auto width = static_cast<std::size_t>(destination.Width);
    const Scratch<std::uint32_t> sums(width * static_cast<std::size_t>(share.Chunks));
    const Scratch<std::int32_t> values(width * static_cast<std::size_t>(share.Chunks));
#pragma omp parallel for schedule(static) if (parallel)
    for (std::int32_t chunk = 0; chunk < share.Chunks; ++chunk) {
        const std::size_t slice = width * static_cast<std::size_t>(chunk);
        for (std::int32_t row = share.First(chunk); row < share.Last(chunk); ++row)
            for (int channel = 0; channel < channels; ++channel)
                ReduceRow<T>(reduction, row, channel, sums.Get() + slice, values.Get() + slice);
    }
}

} // namespace

void ReduceImage(const KyiImageData* source, KyiImageData* destination, KyiBool parallel) {
    if (source->Width == destination->Width && source->Height == destination->Height) {
        KyiCopyImageData(source, destination, 0, 0);
        return;
    }
    const bool useParallel = UseParallelProcess(source, parallel);
    switch (SampleBytes(source->PixelBytes)) {
    case 1: ReduceSamples<std::uint8_t>(*source, *destination, useParallel); break;
    case 2: ReduceSamples<std::uint16_t>(*source, *destination, useParallel); break;
    default: break;
    }
}

} // namespace kyf

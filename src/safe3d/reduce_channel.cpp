#include "safe3d/reduce_channel.h"

#include <algorithm>
#include <cstddef>
#include <vector>

#include "filters/filters.h"
#include "filters/reduce_rows.h"
#include "filters/sample_rows.h"
#include "filters/scratch.h"
#include "platform/simd.h"
#include "safe3d/extract_channel.h"

namespace kyf {

namespace {

constexpr std::int32_t kMostRowsOfBytes = 257; // whose sums fit into 16 bits

template <typename T, typename Sum>
KY_ALWAYS_INLINE void AddSamples(const T* row, Sum* __restrict sums, std::ptrdiff_t count) {
    for (std::ptrdiff_t i = 0; i < count; ++i) sums[i] = static_cast<Sum>(sums[i] + row[i]);
}

KY_SIMD_CLONES void AddRow(const std::uint8_t* row, std::uint16_t* sums, std::ptrdiff_t count) {
    AddSamples(row, sums, count);
}
KY_SIMD_CLONES void AddRow(const std::uint8_t* row, std::uint32_t* sums, std::ptrdiff_t count) {
    AddSamples(row, sums, count);
}
KY_SIMD_CLONES void AddRow(const std::uint16_t* row, std::uint32_t* sums, std::ptrdiff_t count) {
    AddSamples(row, sums, count);
}

/// What the rows of one reduction share.
struct Reduction {
    const KyiImageData& Source;
    KyfImageData& Destination;
    ReducedAxis X;
    ReducedAxis Y;
    std::int32_t Top;                   ///< cap of a mean
    std::vector<std::ptrdiff_t> Starts; ///< first sample of each block of a row
    int Stride;
};

std::vector<std::ptrdiff_t> BlockStarts(const KyiImageData& source, const ReducedAxis& axis, std::int32_t width) {
    const int stride = SampleStride(source.PixelBytes);
    const int offset = KyiIsFormatBgr(source.Format) ? stride - 2 : 0;
    std::vector<std::ptrdiff_t> starts(static_cast<std::size_t>(width));
    for (std::int32_t x = 0; x < width; ++x)
        starts[static_cast<std::size_t>(x)] = std::ptrdiff_t{axis.First(x)} * stride + offset;
    return starts;
}

// Rows are added up first, all channels side by side: that takes whole registers.
template <typename T, typename Sum>
void ReduceRow(const Reduction& reduction, const SampleRows<const T>& rows, std::int32_t y, Sum* sums) {
    const std::ptrdiff_t samples = std::ptrdiff_t{reduction.Source.Width} * reduction.Stride;
    std::fill_n(sums, samples, Sum{0});
    const std::int32_t first = reduction.Y.First(y);
    for (std::int32_t j = 0; j < reduction.Y.Block; ++j) AddRow(rows[first + j], sums, samples);
    const std::int32_t divisor = reduction.X.Block * reduction.Y.Block;
    double* const out = reduction.Destination.Rows[y];
    for (std::int32_t x = 0; x < reduction.Destination.Width; ++x) {
        const Sum* const block = sums + reduction.Starts[static_cast<std::size_t>(x)];
        std::uint32_t sum = 0;
        for (std::int32_t i = 0; i < reduction.X.Block; ++i) sum += block[std::ptrdiff_t{i} * reduction.Stride];
        out[x] = std::min(std::max(static_cast<std::int32_t>(sum) / divisor, 0), reduction.Top);
    }
}

template <typename T, typename Sum> void ReduceRows(const Reduction& reduction, bool parallel) {
    const WorkShare share(reduction.Destination.Height, parallel);
    const std::size_t slice =
        static_cast<std::size_t>(reduction.Source.Width) * static_cast<std::size_t>(reduction.Stride);
    const Scratch<Sum> sums(slice * static_cast<std::size_t>(share.Chunks));
    const SampleRows<const T> rows(reduction.Source);
#pragma omp parallel for schedule(static) if (parallel)
    for (std::int32_t chunk = 0; chunk < share.Chunks; ++chunk)
        for (std::int32_t y = share.First(chunk); y < share.Last(chunk); ++y)
            ReduceRow(reduction, rows, y, sums.Get() + slice * static_cast<std::size_t>(chunk));
}

} // namespace

void ReduceChannel(const KyiImageData& source, KyfImageData& destination, KyiBool parallel) {
    if (source.Width == destination.Width && source.Height == destination.Height)
        return ExtractChannel(source, destination, parallel);
    const int sampleBytes = SampleBytes(source.PixelBytes);
    const ReducedAxis x(source.Width, destination.Width);
    const ReducedAxis y(source.Height, destination.Height);
    if (sampleBytes == 0 || x.Block < 1 || y.Block < 1) return;
    const bool useParallel = UseParallelProcess(&source, parallel);
    // In one thread results are capped at 255 whatever the sample width.
    const std::int32_t top = useParallel ? KyiGetMaxVal(source.Format) : 255;
    const Reduction reduction{
        source, destination, x, y, top, BlockStarts(source, x, destination.Width), SampleStride(source.PixelBytes)};
    if (sampleBytes == 2) return ReduceRows<std::uint16_t, std::uint32_t>(reduction, useParallel);
    if (y.Block <= kMostRowsOfBytes) return ReduceRows<std::uint8_t, std::uint16_t>(reduction, useParallel);
    ReduceRows<std::uint8_t, std::uint32_t>(reduction, useParallel);
}

} // namespace kyf

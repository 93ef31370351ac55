#include "filters/filters.h"

#include <algorithm>

#include "filters/edge_strength_row.h"
#include "filters/image_layout.h"
#include "filters/kept_rows.h"
#include "filters/sample_rows.h"
#include "filters/scratch.h"

namespace kyf {

namespace {

// Lines that a chunk keeps in place: the rows beyond its ends, and by turns the row in hand.
constexpr std::int32_t kAboveLine = 0;
constexpr std::int32_t kBelowLine = 1;
constexpr std::int32_t kTurnLine = 2;
constexpr std::int32_t kKeptLines = 4;

template <typename T> struct EdgeJob {
    const KyiImageData& Source;
    SampleRows<T> Out;
    KeptRows<T> Rows;
    int Top;
};

template <typename T>
void EdgeChunk(const EdgeJob<T>& job, std::int32_t chunk, std::int32_t first, std::int32_t last,
               typename EdgeSum<T>::Type* smooth, typename EdgeSum<T>::Type* slope) {
    const KeptRows<T>& rows = job.Rows;
    const bool kept = rows.IsNeeded();
    const int stride = SampleStride(job.Source.PixelBytes);
    const T* above = kept ? rows.Line(chunk, kAboveLine) : rows.Row(first - 1);
    for (std::int32_t y = first; y < last; ++y) {
        const T* const row = kept ? rows.Keep(y, chunk, kTurnLine + y % 2) : rows.Row(y);
        const T* const below = kept && y + 1 == last ? rows.Line(chunk, kBelowLine) : rows.Row(y + 1);
        EdgeStrengthRow(above, row, below, job.Out[y], job.Source.Width * stride, stride, job.Top, smooth, slope);
        if (stride == 4) KeepUnusedSamples(row, job.Out[y], job.Source.Width);
        above = row;
    }
}

template <typename T> void EdgeSamples(const KyiImageData& source, KyiImageData& destination, bool parallel) {
    using Sum = typename EdgeSum<T>::Type;
    const WorkShare share(source.Height, parallel);
    const EdgeJob<T> job{source, SampleRows<T>(destination), KeptRows<T>(source, destination, kKeptLines, share.Chunks),
                         KyiGetMaxVal(source.Format) - 1};
    for (std::int32_t chunk = 0; job.Rows.IsNeeded() && chunk < share.Chunks; ++chunk) {
        job.Rows.Keep(share.First(chunk) - 1, chunk, kAboveLine);
        job.Rows.Keep(share.Last(chunk), chunk, kBelowLine);
    }
    const std::size_t line =
        (static_cast<std::size_t>(source.Width) + 2) * static_cast<std::size_t>(SampleStride(source.PixelBytes));
    const Scratch<Sum> sums(2 * line * static_cast<std::size_t>(share.Chunks));
#pragma omp parallel for schedule(static) if (parallel)
    for (std::int32_t chunk = 0; chunk < share.Chunks; ++chunk) {
        Sum* const smooth = sums.Get() + 2 * line * static_cast<std::size_t>(chunk);
        EdgeChunk(job, chunk, share.First(chunk), share.Last(chunk), smooth, smooth + line);
    }
}

} // namespace

// The bordered image of the rule is never made: the edge sample repeats, which each row does for itself.
void FilterEdgeStrength(const KyiImageData* source, KyiImageData* destination, KyiBool parallel) {
    if (!IsSameLayout(*source, *destination)) return;
    const bool useParallel = UseBorderedParallel(*source, 1, parallel);
    switch (SampleBytes(source->PixelBytes)) {
    case 1: EdgeSamples<std::uint8_t>(*source, *destination, useParallel); break;
    case 2: EdgeSamples<std::uint16_t>(*source, *destination, useParallel); break;
    default: KyiCopyImageData(source, destination, 0, 0); break;
    }
}

} // namespace kyf

#include "filters/filters.h"

#include <algorithm>
#include <cstring>

#include "filters/image_layout.h"
#include "filters/kept_rows.h"
#include "filters/maximum5x5_block.h"
#include "filters/sample_rows.h"
#include "filters/scratch.h"

namespace kyf {

namespace {

// Lines that a chunk keeps in place: two rows above the block in hand and, by turns, above the next; two below the
// chunk.
constexpr std::int32_t kAboveLines = 0;
constexpr std::int32_t kBelowLines = 4;
constexpr std::int32_t kKeptLines = 6;

template <typename T> struct MaximumJob {
    const KyiImageData& Source;
    SampleRows<const T> In;
    SampleRows<T> Out;
    KeptRows<T> Rows;
};

template <typename T> MaximumBlock<T> MakeBlock(const MaximumJob<T>& job, std::int32_t block) {
    const std::int32_t first = block * kMaximumLanes<T>;
    const std::int32_t rows = std::min(kMaximumLanes<T>, job.Source.Height - first);
    return MaximumBlock<T>{{job.Rows.Row(first - 2), job.Rows.Row(first - 1)},
                           job.In[first],
                           job.In.Step(),
                           {job.Rows.Row(first + rows), job.Rows.Row(first + rows + 1)},
                           job.Out[first],
                           job.Out.Step(),
                           job.Source.Width,
                           SampleStride(job.Source.PixelBytes),
                           rows};
}

// In place, the rows above were overwritten by the block before, and the rows below may be by the next chunk.
template <typename T>
void UseKeptRows(const MaximumJob<T>& job, std::int32_t chunk, std::int32_t block, bool isLast, MaximumBlock<T>& rows) {
    const std::int32_t turn = kAboveLines + block % 2 * 2;
    const std::int32_t nextTurn = kAboveLines + (block + 1) % 2 * 2;
    const std::int32_t end = block * kMaximumLanes<T> + rows.Rows;
    for (std::int32_t i = 0; i < 2; ++i) {
        rows.Above[i] = job.Rows.Line(chunk, turn + i);
        job.Rows.Keep(end - 2 + i, chunk, nextTurn + i);
        if (isLast) rows.Below[i] = job.Rows.Line(chunk, kBelowLines + i);
    }
}

template <typename T>
void MaximumChunk(const MaximumJob<T>& job, std::int32_t chunk, std::int32_t firstBlock, std::int32_t lastBlock,
                  MaximumScratch<T>& scratch) {
    for (std::int32_t block = firstBlock; block < lastBlock; ++block) {
        MaximumBlock<T> rows = MakeBlock(job, block);
        if (job.Rows.IsNeeded()) UseKeptRows(job, chunk, block, block + 1 == lastBlock, rows);
        MaximumOfBlock(rows, scratch);
        if (job.Rows.IsNeeded() || rows.Stride != 4) continue;
        const std::int32_t first = block * kMaximumLanes<T>;
        for (std::int32_t y = first; y < first + rows.Rows; ++y) KeepUnusedSamples(job.In[y], job.Out[y], rows.Width);
    }
}

template <typename T> void KeepBordersOfChunks(const MaximumJob<T>& job, const WorkShare& share) {
    for (std::int32_t chunk = 0; chunk < share.Chunks; ++chunk)
        for (std::int32_t i = 0; i < 2; ++i) {
            const std::int32_t turn = kAboveLines + share.First(chunk) % 2 * 2;
            job.Rows.Keep(share.First(chunk) * kMaximumLanes<T> - 2 + i, chunk, turn + i);
            job.Rows.Keep(share.Last(chunk) * kMaximumLanes<T> + i, chunk, kBelowLines + i);
        }
}

template <typename T> void MaximumSamples(const KyiImageData& source, KyiImageData& destination, bool parallel) {
    const WorkShare share(BlockCount(source.Height, kMaximumLanes<T>), parallel);
    const MaximumJob<T> job{source, SampleRows<const T>(source), SampleRows<T>(destination),
                            KeptRows<T>(source, destination, kKeptLines, share.Chunks)};
    const Scratch<MaximumScratch<T>> scratch(static_cast<std::size_t>(share.Chunks));
    // Lanes without a row are computed and dropped: they must hold something.
    std::memset(static_cast<void*>(scratch.Get()), 0,
                sizeof(MaximumScratch<T>) * static_cast<std::size_t>(share.Chunks));
    if (job.Rows.IsNeeded()) KeepBordersOfChunks(job, share);
#pragma omp parallel for schedule(static) if (parallel)
    for (std::int32_t chunk = 0; chunk < share.Chunks; ++chunk)
        MaximumChunk(job, chunk, share.First(chunk), share.Last(chunk), scratch.Get()[chunk]);
}

} // namespace

// As in the edge strength no bordered image is made; only its size counts, in the parallel rule.
void FilterMaximum5x5(const KyiImageData* source, KyiImageData* destination, KyiBool parallel) {
    if (!IsSameLayout(*source, *destination)) return;
    const bool useParallel = UseBorderedParallel(*source, 2, parallel);
    switch (SampleBytes(source->PixelBytes)) {
    case 1: MaximumSamples<std::uint8_t>(*source, *destination, useParallel); break;
    case 2: MaximumSamples<std::uint16_t>(*source, *destination, useParallel); break;
    default: KyiCopyImageData(source, destination, 0, 0); break;
    }
}

} // namespace kyf

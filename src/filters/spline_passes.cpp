#include "filters/spline_passes.h"

#include <algorithm>
#include <cstring>

#include "filters/numbers.h"
#include "filters/sample_rows.h"
#include "filters/scratch.h"

namespace kyf {

namespace {

constexpr std::int32_t kLanes = kSplineLanes;

// Lines are finished a block at a time, and reported one after the other. Only a pass in one thread has a node.
void ReportLines(KyfProgress* progress, std::int32_t first, std::int32_t last, std::int32_t count) {
    if (!progress) return;
    for (std::int32_t line = first; line < last; ++line)
        KyfProgressSetPersent(progress, TruncateToInt32(line / static_cast<double>(count) * 100.0));
}

// Lanes beyond the image repeat the last row: they read and write the same samples, with the same results.
template <typename T> void TakeRows(const SampleRows<T>& rows, std::int32_t first, std::int32_t height, T** taken) {
    for (std::int32_t k = 0; k < kLanes; ++k) taken[k] = rows[std::min(first + k, height - 1)];
}

template <typename T> void SolveRowBlock(const SplinePass& pass, std::int32_t first, T* tile, double* work) {
    const int stride = SampleStride(pass.Source.PixelBytes);
    const std::int32_t count = pass.Source.Width * stride;
    const std::int32_t height = pass.Source.Height;
    const T* in[kLanes];
    TakeRows(SampleRows<const T>(pass.Source), first, height, in);
    RowsToLanes(in, count, tile);
    for (int channel = pass.FirstChannel; channel < pass.LastChannel; ++channel) {
        T* const lines = tile + static_cast<std::ptrdiff_t>(ChannelOffset(pass.Source.PixelBytes, channel)) * kLanes;
        const std::ptrdiff_t step = static_cast<std::ptrdiff_t>(stride) * kLanes;
        SolveLines(SplineLines<T>{lines, step, lines, step}, pass.Band, pass.Conversion, work);
    }
    T* out[kLanes];
    TakeRows(SampleRows<T>(pass.Destination), first, height, out);
    LanesToRows(tile, count, out);
}

// Columns of samples `spacing` apart, from `first` on; fewer than kSplineLanes or not side by side, they go through a
// tile.
struct ColumnBlock {
    std::int32_t First;
    std::int32_t Count;
    std::int32_t Spacing;
};

template <typename T> void SolveThroughTile(const SplinePass& pass, const ColumnBlock& block, T* tile, double* work) {
    const SampleRows<const T> in(pass.Source);
    const SampleRows<T> out(pass.Destination);
    const std::int32_t height = pass.Source.Height;
    for (std::int32_t y = 0; y < height; ++y) {
        const T* const row = in[y] + block.First;
        T* const line = tile + static_cast<std::ptrdiff_t>(y) * kLanes;
        for (std::int32_t k = 0; k < block.Count; ++k) line[k] = row[static_cast<std::ptrdiff_t>(k) * block.Spacing];
        std::fill(line + block.Count, line + kLanes, T{0});
    }
    SolveLines(SplineLines<T>{tile, kLanes, tile, kLanes}, pass.Band, pass.Conversion, work);
    for (std::int32_t y = 0; y < height; ++y) {
        const T* const line = tile + static_cast<std::ptrdiff_t>(y) * kLanes;
        T* const row = out[y] + block.First;
        for (std::int32_t k = 0; k < block.Count; ++k) row[static_cast<std::ptrdiff_t>(k) * block.Spacing] = line[k];
    }
}

template <typename T> void SolveColumnBlock(const SplinePass& pass, const ColumnBlock& block, T* tile, double* work) {
    if (block.Count < kLanes || block.Spacing != 1) return SolveThroughTile(pass, block, tile, work);
    const SampleRows<const T> in(pass.Source);
    const SampleRows<T> out(pass.Destination);
    SolveLines(SplineLines<T>{in[0] + block.First, in.Step(), out[0] + block.First, out.Step()}, pass.Band,
               pass.Conversion, work);
}

// All columns whose samples lie at offset + k * spacing, k below `columns`.
template <typename T>
void SolveColumns(const SplinePass& pass, std::int32_t offset, std::int32_t spacing, std::int32_t columns) {
    const WorkShare share = pass.Scratch.Share(BlockCount(columns, kLanes));
#pragma omp parallel for schedule(static) if (pass.Parallel)
    for (std::int32_t chunk = 0; chunk < share.Chunks; ++chunk)
        for (std::int32_t k = share.First(chunk) * kLanes; k < std::min(share.Last(chunk) * kLanes, columns);
             k += kLanes) {
            const std::int32_t count = std::min(kLanes, columns - k);
            SolveColumnBlock(pass, ColumnBlock{offset + k * spacing, count, spacing}, pass.Scratch.Tile<T>(chunk),
                             pass.Scratch.Work(chunk));
            ReportLines(pass.Progress, k, k + count, columns);
        }
}

// Doubles that hold a tile of either pass.
std::size_t TileCount(const KyiImageData& image) {
    const std::int32_t samples = image.Width * SampleStride(image.PixelBytes);
    const std::size_t bytes = static_cast<std::size_t>(std::max(samples, image.Height)) * kLanes *
                              static_cast<std::size_t>(SampleBytes(image.PixelBytes));
    return bytes / sizeof(double); // whole: a line of lanes is a multiple of 8 bytes
}

} // namespace

SplineScratch::SplineScratch(const KyiImageData& image, bool parallel)
    : m_chunks(MostChunks(parallel)),
      m_workCount(static_cast<std::size_t>(std::max(image.Width, image.Height)) * kLanes),
      m_slice(m_workCount + TileCount(image)), m_block(m_slice * static_cast<std::size_t>(m_chunks)) {}

template <typename T> void SplineRows(const SplinePass& pass) {
    const std::int32_t height = pass.Source.Height;
    const WorkShare share = pass.Scratch.Share(BlockCount(height, kLanes));
#pragma omp parallel for schedule(static) if (pass.Parallel)
    for (std::int32_t chunk = 0; chunk < share.Chunks; ++chunk)
        for (std::int32_t block = share.First(chunk); block < share.Last(chunk); ++block) {
            const std::int32_t first = block * kLanes;
            SolveRowBlock(pass, first, pass.Scratch.Tile<T>(chunk), pass.Scratch.Work(chunk));
            ReportLines(pass.Progress, first, std::min(first + kLanes, height), height);
        }
}

template <typename T> void SplineColumns(const SplinePass& pass) {
    const int stride = SampleStride(pass.Source.PixelBytes);
    const std::int32_t width = pass.Source.Width;
    if (pass.LastChannel - pass.FirstChannel == stride) return SolveColumns<T>(pass, 0, 1, width * stride);
    for (int channel = pass.FirstChannel; channel < pass.LastChannel; ++channel)
        SolveColumns<T>(pass, ChannelOffset(pass.Source.PixelBytes, channel), stride, width);
}

template void SplineRows<std::uint8_t>(const SplinePass& pass);
template void SplineRows<std::uint16_t>(const SplinePass& pass);
template void SplineColumns<std::uint8_t>(const SplinePass& pass);
template void SplineColumns<std::uint16_t>(const SplinePass& pass);

} // namespace kyf

#include "filters/filters.h"

#include <algorithm>
#include <cstring>
#include <new>

#include "filters/scratch.h"
#include "filters/spline_band.h"
#include "filters/spline_lines.h"

namespace kyf {

namespace {

constexpr std::int32_t kLanes = kSplineLanes;
constexpr double kRise = 0.01; // added by each pass, as the truncating image filter does

struct DoublePass {
    const KyfImageData& Source;
    KyfImageData& Destination;
    const SplineBand& Band;
    std::int32_t Margin;
    std::int32_t Lines;
    std::int32_t MostChunks; ///< that the scratch has slices for
};

void SolveRowBlock(const DoublePass& pass, std::int32_t first, std::int32_t lanes, double* work) {
    const std::int32_t count = pass.Band.Count;
    for (std::int32_t k = 0; k < kLanes; ++k) {
        const double* const row = pass.Source.Rows[pass.Margin + first + std::min(k, lanes - 1)] + pass.Margin;
        for (std::int32_t i = 0; i < count; ++i) work[static_cast<std::ptrdiff_t>(i) * kLanes + k] = row[i];
    }
    SolveLines(pass.Band, work);
    for (std::int32_t k = 0; k < lanes; ++k) {
        double* const row = pass.Destination.Rows[pass.Margin + first + k] + pass.Margin;
        for (std::int32_t i = 0; i < count; ++i) row[i] = work[static_cast<std::ptrdiff_t>(i) * kLanes + k] + kRise;
    }
}

void SolveColumnBlock(const DoublePass& pass, std::int32_t first, std::int32_t lanes, double* work) {
    const std::int32_t count = pass.Band.Count;
    const std::int32_t x = pass.Margin + first;
    for (std::int32_t i = 0; i < count; ++i) {
        double* const line = work + static_cast<std::ptrdiff_t>(i) * kLanes;
        std::copy_n(pass.Source.Rows[pass.Margin + i] + x, lanes, line);
        std::fill(line + lanes, line + kLanes, 0.0);
    }
    SolveLines(pass.Band, work);
    for (std::int32_t i = 0; i < count; ++i) {
        const double* const line = work + static_cast<std::ptrdiff_t>(i) * kLanes;
        double* const row = pass.Destination.Rows[pass.Margin + i] + x;
        for (std::int32_t k = 0; k < lanes; ++k) row[k] = line[k] + kRise;
    }
}

// Numbers of scratch that a pass takes.
std::size_t WorkSize(const SplineBand& band, std::int32_t lines, std::int32_t mostChunks) {
    if (band.Count < 1 || lines < 1) return 0;
    return static_cast<std::size_t>(band.Count) * kLanes *
           static_cast<std::size_t>(WorkShare::Within(BlockCount(lines, kLanes), mostChunks).Chunks);
}

// Lines do not touch each other: each is solved whole, by the same steps in the same order, and written after it has
// been read. Whichever thread runs a block, the bits are those of one line after the other.
template <typename SolveBlock> void RunPass(const DoublePass& pass, SolveBlock solveBlock, double* work) {
    if (pass.Band.Count < 1 || pass.Lines < 1) return;
    const WorkShare share = WorkShare::Within(BlockCount(pass.Lines, kLanes), pass.MostChunks);
    const std::size_t slice = static_cast<std::size_t>(pass.Band.Count) * kLanes;
#pragma omp parallel for schedule(static) if (share.Chunks > 1)
    for (std::int32_t chunk = 0; chunk < share.Chunks; ++chunk)
        for (std::int32_t block = share.First(chunk); block < share.Last(chunk); ++block) {
            const std::int32_t first = block * kLanes;
            solveBlock(pass, first, std::min(kLanes, pass.Lines - first),
                       work + slice * static_cast<std::size_t>(chunk));
        }
}

void CopyRows(const KyfImageData& source, KyfImageData& destination, bool parallel) {
    const auto bytes = static_cast<std::size_t>(source.Width) * sizeof(double);
#pragma omp parallel for schedule(static) if (parallel)
    for (std::int32_t y = 0; y < source.Height; ++y) std::memmove(destination.Rows[y], source.Rows[y], bytes);
}

// How far each axis is filtered. Where only one cutoff is set, the width counts as the height too, and lines that do
// not exist are left out.
struct Extent {
    std::int32_t Columns;
    std::int32_t Rows;
};

Extent FilteredExtent(const KyfImageData& image, bool both, std::int32_t margin) {
    const std::int32_t height = both ? image.Height : image.Width;
    if (margin > std::max(image.Width, image.Height)) return {0, 0};
    return {image.Width - 2 * margin, std::min(height - 2 * margin, image.Height - margin)};
}

void Filter(const KyfImageData& source, KyfImageData& destination, double cutoffX, double cutoffY, std::int32_t margin,
            bool parallel) {
    const bool rows = cutoffX != 0.0;
    const bool columns = cutoffY != 0.0;
    const Extent extent = FilteredExtent(source, rows && columns, margin);
    const SplineBand rowBand(rows ? extent.Columns : 0, SplineWeight(cutoffX));
    const SplineBand columnBand(columns ? extent.Rows : 0, SplineWeight(cutoffY));
    const std::int32_t mostChunks = MostChunks(parallel);
    // Had before the first write, so that a failure leaves the destination as it was.
    const Scratch<double> work(
        std::max(WorkSize(rowBand, extent.Rows, mostChunks), WorkSize(columnBand, extent.Columns, mostChunks)));
    if (rows)
        RunPass(DoublePass{source, destination, rowBand, margin, extent.Rows, mostChunks}, SolveRowBlock, work.Get());
    // The rows have left exactly the samples behind that the columns read.
    const KyfImageData& between = rows ? destination : source;
    RunPass(DoublePass{between, destination, columnBand, margin, extent.Columns, mostChunks}, SolveColumnBlock,
            work.Get());
}

} // namespace

KyfResult FilterSplineDouble(const KyfImageData* source, KyfImageData* destination, double cutoffX, double cutoffY,
                             std::int32_t margin, KyiBool parallel) {
    try {
        if (cutoffX == 0.0 && cutoffY == 0.0)
            CopyRows(*source, *destination, parallel != 0);
        else
            Filter(*source, *destination, cutoffX, cutoffY, std::max(margin, 0), parallel != 0);
    } catch (const std::bad_alloc&) {
        return KyfResultFailAlloc;
    }
    return KyfResultOk;
}

} // namespace kyf

#include "selection2d/blend.h"

#include <algorithm>
#include <cstddef>

#include "alignment/alignment.h"
#include "filters/image_layout.h"
#include "filters/numbers.h"
#include "selection2d/blank_rows.h"
#include "selection2d/rows.h"
#include "selection2d/tables.h"

namespace kyf {

namespace {

// Rows that share one running sum. Starting a tile costs as much as moving its window down by its height.
std::int32_t RowsPerTile(const KyfFocusComposition& session) noexcept {
    return std::max<std::int32_t>(32, session.BlendWindowSize);
}

std::int32_t TileCount(const KyfFocusComposition& session) noexcept {
    const std::int32_t rows = RowsPerTile(session);
    return (session.State2D.WorkHeight + rows - 1) / rows;
}

bool IsSameSize(const KyfCompositionState& state) noexcept {
    return state.WorkWidth == state.SourceWidth && state.WorkHeight == state.SourceHeight;
}

template <typename Sample> Sample* RowOf(const KyiImageData& image, std::int32_t y) noexcept {
    return static_cast<Sample*>(KyiGetPixelAddress(&image, 0, y));
}

// What the rows of one frame's blend have in common.
struct BlendJob {
    const KyfFocusComposition& Session;
    const KyiImageData* Winners;
    const KyiImageData& Frame;
    const std::int32_t* Columns;
    double RowRatio; // frame rows for each working row
    bool IsBlanking;
    BlankedColumns Blanked;
};

BlankedColumns ColumnsMovedOut(const KyfFocusComposition& session) noexcept {
    const std::int32_t width = session.State2D.SourceWidth;
    return {std::clamp(session.Matching2D.MaxShift, 0, width), -std::clamp(session.Matching2D.MinShift, -width, 0),
            width};
}

BlendJob MakeJob(const KyfFocusComposition& session, const KyiImageData* winners, const KyiImageData& frame,
                 const BlendScratch& scratch) noexcept {
    const KyfCompositionState& state = session.State2D;
    return {session,
            winners,
            frame,
            scratch.Columns.empty() ? nullptr : scratch.Columns.data(),
            static_cast<double>(state.SourceHeight) / state.WorkHeight,
            session.TrimInvalidBorder && Choose2DAlignment(session) == AlignmentMethod::LineMatching,
            ColumnsMovedOut(session)};
}

template <typename Sample> void BlankRow(const BlendJob& job, Sample* composite, int stride) noexcept {
    for (int channel = 0; channel < stride; ++channel) BlankChannel(composite + channel, job.Blanked, stride);
}

BlendWeights WeightsOf(const BlendJob& job, std::int32_t y) noexcept {
    const KyfCompositionState& state = job.Session.State2D;
    if (!job.Winners) return {nullptr, nullptr};
    const std::int32_t row = job.Columns ? TruncateToInt32(y / job.RowRatio) : y;
    return {job.Session.BlendMask + static_cast<std::ptrdiff_t>(row) * state.WorkWidth, job.Columns};
}

void BlendFrameRow(const BlendJob& job, std::int32_t y) noexcept {
    const int stride = SampleStride(job.Frame.PixelBytes);
    const BlendWeights weights = WeightsOf(job, y);
    KyiImageData& composite = *job.Session.State2D.CompImage;
    if (SampleBytes(job.Frame.PixelBytes) == 2) {
        auto* const out = RowOf<std::uint16_t>(composite, y);
        if (weights.Row) BlendRow16(weights, RowOf<const std::uint16_t>(job.Frame, y), out, job.Frame.Width, stride);
        if (job.IsBlanking) BlankRow(job, out, stride);
        return;
    }
    auto* const out = RowOf<std::uint8_t>(composite, y);
    const auto* const in = RowOf<const std::uint8_t>(job.Frame, y);
    if (job.IsBlanking && stride == 4) return BlendAndBlankRow4(weights, in, out, job.Blanked);
    if (weights.Row) BlendRow8(weights, in, out, job.Frame.Width, stride);
    if (job.IsBlanking) BlankRow(job, out, stride);
}

// Whether row y of the mask can have weights other than 0: a band of half a window at the top and one row more at the
// bottom have none. A window of a single pixel averages nothing, and so has no such bands.
bool IsAveraged(const BlendJob& job, std::int32_t y) noexcept {
    if (!job.Winners || job.Session.BlendWindowSize <= 1) return job.Winners;
    const std::int32_t half = job.Session.BlendWindowSize / 2;
    return y >= half && y < job.Session.State2D.WorkHeight - half - 1;
}

const std::uint8_t* WinnersOf(const BlendJob& job, std::int32_t y) noexcept {
    return RowOf<const std::uint8_t>(*job.Winners, y);
}

void AverageMaskRow(const BlendJob& job, std::uint16_t* counts, std::int32_t y, bool isFirst) noexcept {
    const std::int32_t width = job.Session.State2D.WorkWidth;
    const std::int32_t window = job.Session.BlendWindowSize;
    double* const weights = job.Session.BlendMask + static_cast<std::ptrdiff_t>(y) * width;
    const std::int32_t top = y - window / 2;
    if (window <= 1) {
        std::copy_n(WinnersOf(job, y), width, weights);
        return;
    }
    if (isFirst) {
        std::fill_n(counts, width, std::uint16_t{0});
        for (std::int32_t i = 0; i < window; ++i) AddCounts(counts, WinnersOf(job, top + i), width);
    } else {
        SlideCounts(counts, WinnersOf(job, top + window - 1), WinnersOf(job, top - 1), width);
    }
    AverageRow(counts, weights, width, window);
}

// At equal size the frame is blended while the row's weights are in the cache.
void ProcessTile(const BlendJob& job, std::uint16_t* counts, std::int32_t top, std::int32_t bottom) noexcept {
    bool isFirst = true;
    for (std::int32_t y = top; y < bottom; ++y) {
        const bool isAveraged = IsAveraged(job, y);
        if (isAveraged) AverageMaskRow(job, counts, y, isFirst);
        if (isAveraged) isFirst = false;
        if (!job.Columns && (isAveraged || job.IsBlanking)) BlendFrameRow(job, y);
    }
}

} // namespace

BlendScratch MakeBlendScratch(const KyfFocusComposition& session) {
    const KyfCompositionState& state = session.State2D;
    BlendScratch scratch;
    if (!HasWorkingPixels(state)) return scratch;
    scratch.Counts.resize(static_cast<std::size_t>(TileCount(session)) * static_cast<std::size_t>(state.WorkWidth));
    if (IsSameSize(state)) return scratch;
    const double ratio = static_cast<double>(state.SourceWidth) / state.WorkWidth;
    scratch.Columns.resize(static_cast<std::size_t>(state.SourceWidth));
    for (std::int32_t x = 0; x < state.SourceWidth; ++x)
        scratch.Columns[static_cast<std::size_t>(x)] = TruncateToInt32(x / ratio);
    return scratch;
}

void SelectWinners(KyfFocusComposition& session, KyiImageData& working, KyiBool parallel) {
    const std::int32_t frame = session.State2D.FrameCount;
    const std::int32_t width = session.State2D.WorkWidth;
    const bool is16Bit = working.PixelBytes == 2;
#pragma omp parallel for schedule(static) if (parallel != 0)
    for (std::int32_t y = 0; y < session.State2D.WorkHeight; ++y) {
        std::int32_t* const best = session.BestFocusMap[y];
        std::int32_t* const frames = session.BestFrameMap[y];
        if (is16Bit)
            SelectRow16(RowOf<std::uint16_t>(working, y), best, frames, frame, width);
        else
            SelectRow8(RowOf<std::uint8_t>(working, y), best, frames, frame, width);
    }
}

void BlendFrame(KyfFocusComposition& session, const KyiImageData* winners, const KyiImageData& frame,
                BlendScratch& scratch, KyiBool parallel) {
    const KyfCompositionState& state = session.State2D;
    const BlendJob job = MakeJob(session, winners, frame, scratch);
    const std::int32_t rows = RowsPerTile(session);
    // Tiles are dealt out in turn: winners crowd in parts of a frame.
#pragma omp parallel for schedule(static, 1) if (parallel != 0)
    for (std::int32_t tile = 0; tile < TileCount(session); ++tile) {
        std::uint16_t* const counts = scratch.Counts.data() + static_cast<std::ptrdiff_t>(tile) * state.WorkWidth;
        ProcessTile(job, counts, tile * rows, std::min(state.WorkHeight, (tile + 1) * rows));
    }
    if (IsSameSize(state)) return;
#pragma omp parallel for schedule(static, 16) if (parallel != 0)
    for (std::int32_t y = 0; y < state.SourceHeight; ++y)
        if (winners || job.IsBlanking) BlendFrameRow(job, y);
}

} // namespace kyf

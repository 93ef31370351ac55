#include "safe3d/map_stages.h"

#include <algorithm>
#include <limits>
#include <new>
#include <string>

#include "filters/double_image.h"
#include "filters/filters.h"
#include "filters/numbers.h"
#include "safe3d/height_repair.h"
#include "safe3d/middle_filter.h"

namespace kyf {

namespace {

constexpr std::int32_t kMedianSize = 11;
constexpr std::int32_t kMeanSize = 3;
constexpr std::int32_t kMargin = 0;
constexpr double kFullCutoff = 3.0; // smoothing at frame size, in pixels

enum PlaneType : std::int32_t { kPlaneBottom = 0, kPlaneTop = 1 };

bool HasPlane(const KyfFocusComposition& session) {
    return session.PlaneType == kPlaneBottom || session.PlaneType == kPlaneTop;
}

void Require(bool isDone) {
    if (!isDone) throw std::bad_alloc();
}

KyfImageDataUint16* CopyOf(const KyfImageDataUint16& image) {
    KyfImageDataUint16* const copy = AllocUint16Image(image.Width, image.Height);
    Require(copy != nullptr);
    CopyUint16Image(image, *copy, /*parallel=*/0);
    return copy;
}

double LowestHeight(const KyfFocusComposition& session) {
    double level = std::numeric_limits<double>::max();
    for (std::int32_t i = 0; i < session.State3D.FrameCount; ++i)
        if (session.HeightList[i] < level) level = session.HeightList[i];
    return level;
}

double HighestHeight(const KyfFocusComposition& session) {
    double level = -std::numeric_limits<double>::max();
    for (std::int32_t i = 0; i < session.State3D.FrameCount; ++i)
        if (session.HeightList[i] > level) level = session.HeightList[i];
    return level;
}

void TakeMedians(KyfImageDataUint16& image, const KyiImageData& mask, std::int32_t times, KyiBool parallel) {
    Require(RepeatMiddleFilter(image, mask, kMedianSize, times, parallel) != 0);
}

void TraceNoiseRemove(std::int32_t times) {
    if (!KyiIsPuttingTraceLog()) return;
    const std::wstring text = L"pFocusInfo->ProjectionNoiseRemove=" + std::to_wstring(times);
    KyiPutTraceLog(__FILE__, __LINE__, text.c_str(), 0);
}

// The median before the relaxation is on this side only.
void RepairCompositeMap(GridMaps& maps, std::int32_t medians, KyiBool parallel) {
    KyfImageDataUint16& image = maps.OfComposite();
    KyiImageData& mask = maps.CompositeMask();
    Require(HardenMask(mask, parallel) != 0);
    TakeMedians(image, mask, 1, parallel);
    RelaxHoles(image, mask);
    TakeMedians(image, mask, medians, parallel);
}

void ReadBack(const KyfImageDataUint16& image, KyfImageData& frameMap) {
    for (std::int32_t y = 0; y < image.Height; ++y)
        for (std::int32_t x = 0; x < image.Width; ++x)
            frameMap.Rows[y][x] = image.Rows[y][x] * image.Scale + image.Offset;
}

// The height between two frames lies on the line between theirs. A position beyond the stack counts as its end.
double HeightAt(const double* heights, double last, double position) {
    double v = position > 0 ? position : 0.0;
    v = v < last ? v : last;
    const std::int32_t i = TruncateToInt32(v);
    return i + 1 <= last ? (heights[i + 1] - heights[i]) * (v - i) + heights[i] : heights[i];
}

void FramesToHeights(const KyfFocusComposition& session, KyfImageData& full, KyiBool parallel) {
    const double* const heights = session.HeightList;
    const double last = session.State3D.FrameCount - 1;
#pragma omp parallel for schedule(static) if (parallel)
    for (std::int32_t y = 0; y < full.Height; ++y)
        for (std::int32_t x = 0; x < full.Width; ++x) full.Rows[y][x] = HeightAt(heights, last, full.Rows[y][x]);
}

} // namespace

GridMaps::GridMaps(const KyfFocusComposition& session, const KyfImageData& frameMap, const KyiImageData& mask)
    : m_height16(AllocUint16Image(frameMap.Width, frameMap.Height)), m_compose16(nullptr), m_composeMask(nullptr) {
    Require(static_cast<bool>(m_height16));
    QuantiseMap(frameMap, *m_height16);
    if (!HasPlane(session)) return;
    m_compose16.Reset(CopyOf(*m_height16));
    m_composeMask.Reset(KyiDuplicateImageData(&mask, 0));
    Require(static_cast<bool>(m_composeMask));
}

void GridMaps::FreeComposite() {
    m_compose16.Free();
    m_composeMask.Free();
}

void RepairMaps(const KyfFocusComposition& session, GridMaps& maps, KyiImageData& mask, KyiBool parallel,
                CProgressProcManager& steps) {
    KyfImageDataUint16& image = maps.OfHeights();
    if (HasPlane(session)) {
        const double level = session.PlaneType == kPlaneBottom ? LowestHeight(session) : HighestHeight(session);
        Require(FillPlane(image, mask, level, steps.GetCurrent()) != 0);
    }
    steps.Next();
    Require(HardenMask(mask, parallel) != 0);
    RelaxHoles(image, mask);
    TraceNoiseRemove(session.ProjectionNoiseRemove);
    TakeMedians(image, mask, session.ProjectionNoiseRemove, parallel);
    if (maps.HasTwo()) RepairCompositeMap(maps, session.ProjectionNoiseRemove, parallel);
    steps.Next();
    const bool isBrightness = session.ScopeType == 2 || session.ScopeType == 3;
    if (!isBrightness) Require(TakeHoleMean(image, kMeanSize, kMargin, parallel, steps.GetCurrent()) != 0);
    steps.Next();
}

void MakeFullMap(GridMaps& maps, KyfImageDataUint16& full, KyiBool parallel, CProgressProcManager& steps) {
    const KyfImageDataUint16& grid = maps.OfComposite();
    full.Scale = grid.Scale;
    full.Offset = grid.Offset;
    ResampleBilinear(grid, full, parallel, steps.GetCurrent());
    steps.Next();
    RoundToWholeFrames(full, parallel);
    Require(TakeHoleMean(full, kMeanSize, kMargin, parallel, steps.GetCurrent()) != 0);
    steps.Next();
}

void MakeHeights(const KyfFocusComposition& session, GridMaps& maps, KyfImageData& frameMap, KyfImageData& full,
                 KyiBool parallel, CProgressProcManager& steps) {
    ReadBack(maps.OfHeights(), frameMap);
    const std::int32_t percent =
        session.Speed == 0 ? session.D3ShapeSmoothing : WrappingSum(session.D3ShapeSmoothing, 2);
    const double cutoff = percent / 100.0 * session.EdgeDataWidth;
    const HeldImage<KyfImageData> smooth(AllocDoubleImage(frameMap.Width, frameMap.Height));
    Require(static_cast<bool>(smooth));
    Require(FilterSplineDouble(&frameMap, smooth.Get(), cutoff, cutoff, kMargin, parallel) == KyfResultOk);
    ResampleBilinear(*smooth, full, parallel, steps.GetCurrent());
    steps.Next();
    Require(FilterSplineDouble(&full, &full, kFullCutoff, kFullCutoff, kMargin, parallel) == KyfResultOk);
    FramesToHeights(session, full, parallel);
}

} // namespace kyf

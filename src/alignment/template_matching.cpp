#include "alignment/template_matching.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <memory>
#include <new>
#include <utility>

#include "alignment/frame_warp.h"
#include "alignment/pattern_matching.h"
#include "alignment/template_transform.h"
#include "filters/image_layout.h"
#include "filters/numbers.h"
#include "filters/sample_rows.h"

namespace kyf {

namespace {

constexpr std::int32_t kShiftsPerGrowth = 256;
constexpr std::array<std::int32_t, 4> kStepWeights{10, 60, 20, 10};
constexpr std::int32_t kChannels = 3;

std::int32_t ChooseAreaCount(const KyfFocusComposition& session) noexcept {
    return std::clamp(session.AreaNo, 0, kMostAreas - 2) + 2;
}

std::int32_t WidthOf(const KyfRect& rectangle) noexcept {
    return WrappingSum(rectangle.Right, WrappingProduct(rectangle.Left, -1));
}
std::int32_t HeightOf(const KyfRect& rectangle) noexcept {
    return WrappingSum(rectangle.Bottom, WrappingProduct(rectangle.Top, -1));
}

// The pixels of a rectangle of the frame, those beyond its edge repeated.
void CutOut(const KyiImageData& frame, const KyfRect& area, KyiImageData& image) noexcept {
    const std::int32_t place[4] = {area.Left, area.Top, image.Width - 1, image.Height - 1};
    KyiClipImage(&frame, &image, place);
}

// Null for areas of frames so small that nothing is left of them.
ImagePtr NewCutOut(const KyiImageData& frame, const KyfRect& area) {
    if (WidthOf(area) < 1 || HeightOf(area) < 1) return nullptr;
    ImagePtr image(KyiAllocImageData(WidthOf(area), HeightOf(area), frame.Format));
    if (!image) throw std::bad_alloc();
    CutOut(frame, area, *image);
    return image;
}

// The list is hung below the node even where nothing will be reported: its owner is the tree.
KyfProgress* const* AppendSteps(KyfProgress* progress) {
    if (!progress) return nullptr;
    const auto count = static_cast<std::int32_t>(kStepWeights.size());
    KyfProgress** const steps = KyfProgressCreateSubList(count, 0);
    for (std::size_t i = 0; i < kStepWeights.size(); ++i) steps[i]->Weight = kStepWeights[i];
    KyfAppendProgress(progress, steps, count);
    return steps;
}

KyfProgress* StepOf(KyfProgress* const* steps, std::size_t index) noexcept { return steps ? steps[index] : nullptr; }

// The centres of the areas, in the frame and where they are found in the stack.
struct FoundPoints {
    std::array<KyPoint, kMostAreas> InFrame{};
    std::array<KyPoint, kMostAreas> InStack{};
    std::size_t Count = 0;
};

KyPoint CentreOf(const KyfRect& area) noexcept {
    return {WrappingSum(area.Left, area.Right) / 2, WrappingSum(area.Top, area.Bottom) / 2};
}

// The search image ends one column and one row short of what has been cut out.
KyPoint FindArea(KyfPatternMatching& matcher, const KyiImageData* cutOut, const KyiImageData& frame,
                 const AreaRects& area, KyiBool parallel) {
    const KyfRect whole = cutOut ? KyfRect{0, 0, cutOut->Width - 1, cutOut->Height - 1} : KyfRect{};
    LoadSearchImage(matcher, cutOut, whole, parallel);
    LoadTemplate(matcher, &frame, area.Template, parallel);
    const KyPoint found = SearchTemplate(matcher, parallel);
    return {WrappingSum(WrappingSum(WidthOf(area.Template) / 2, area.Search.Left), found.x),
            WrappingSum(WrappingSum(HeightOf(area.Template) / 2, area.Search.Top), found.y)};
}

FoundPoints FindAreas(KyfFocusComposition& session, const KyiImageData& frame, KyiBool parallel, KyfProgress* step) {
    FoundPoints points;
    points.Count = static_cast<std::size_t>(session.Matcher->AreaCount);
    for (std::size_t i = 0; i < points.Count; ++i) {
        const AreaRects area{session.AreaSearchRects[i], session.AreaTemplateRects[i]};
        points.InFrame[i] = CentreOf(area.Template);
        points.InStack[i] = FindArea(*session.Matcher, session.AreaTemplates[i], frame, area, parallel);
        const double part = static_cast<double>(i + 1) / static_cast<double>(points.Count);
        KyfProgressSetPersent(step, TruncateToInt32(part * 100.0));
    }
    KyfProgressCompleteProc(step);
    return points;
}

// All channels are warped in one go; a colour frame's step still tells of each.
void WarpWithSteps(const KyiImageData& frame, KyiImageData& aligned, const KyfFrameShift& shift, KyiBool parallel,
                   KyfProgress* step) {
    KyfProgress** channels = nullptr;
    if (step && KyiIsFormatBgr(frame.Format)) {
        channels = KyfProgressCreateSubList(kChannels, /*equal=*/1);
        KyfAppendProgress(step, channels, kChannels);
    }
    WarpFrame(frame, aligned, shift, parallel);
    for (std::int32_t i = 0; channels && i < kChannels; ++i) KyfProgressCompleteProc(channels[i]);
    KyfProgressCompleteProc(step);
}

std::unique_ptr<KyfPatternMatching> NewMatcher(std::int32_t areaCount) {
    auto matcher = std::make_unique<KyfPatternMatching>();
    PreparePatternMatching(*matcher);
    matcher->AreaCount = areaCount;
    return matcher;
}

} // namespace

void SetUpTemplateMatching(KyfFocusComposition& session, const KyiImageData& frame) {
    const std::int32_t count = ChooseAreaCount(session);
    std::unique_ptr<KyfPatternMatching> matcher = NewMatcher(count);
    auto table = std::make_unique<KyiImageData*[]>(kMostAreas);
    std::array<AreaRects, kMostAreas> areas{};
    std::array<ImagePtr, kMostAreas> cutOuts;
    for (std::size_t i = 0; i < static_cast<std::size_t>(count); ++i) {
        areas[i] = PlaceArea(session.AreaPos[i], frame.Width, frame.Height);
        cutOuts[i] = NewCutOut(frame, areas[i].Search);
    }

    FreeTemplateMatching(session);
    session.Matcher = matcher.release();
    session.AreaTemplates = table.release();
    for (std::size_t i = 0; i < cutOuts.size(); ++i) {
        session.AreaSearchRects[i] = areas[i].Search;
        session.AreaTemplateRects[i] = areas[i].Template;
        session.AreaTemplates[i] = cutOuts[i].release();
    }
    session.CommonRect = {0, 0, frame.Width - 1, frame.Height - 1};
}

bool IsTemplateMatchingSetUp(const KyfFocusComposition& session) noexcept {
    return session.Matcher && session.AreaTemplates;
}

KyfRect AlignByTemplates(KyfFocusComposition& session, const KyiImageData& frame, KyiImageData& aligned,
                         KyfFrameShift& shift, KyiBool parallel, KyfProgress* progress) {
    KyfProgress* const* const steps = AppendSteps(progress);
    const FoundPoints points = FindAreas(session, frame, parallel, StepOf(steps, 0));
    shift = SolveTransform({points.InFrame.data(), points.Count}, {points.InStack.data(), points.Count}, frame.Width,
                           frame.Height);
    WarpWithSteps(frame, aligned, shift, parallel, StepOf(steps, 1));
    const KyfRect common = NarrowCommonRect(session.CommonRect, frame.Width, frame.Height, shift);
    KyfProgressCompleteProc(StepOf(steps, 2));
    KyfProgressCompleteProc(StepOf(steps, 3)); // of the new cut-outs: they follow when the frame is taken
    return common;
}

void TakeAlignedFrame(KyfFocusComposition& session, const KyiImageData& aligned, const KyfRect& common) noexcept {
    session.CommonRect = common;
    for (std::int32_t i = 0; i < kMostAreas; ++i)
        if (session.AreaTemplates[i]) CutOut(aligned, session.AreaSearchRects[i], *session.AreaTemplates[i]);
}

KyfFrameShift& FrameShiftOf(KyfFocusComposition& session, std::int32_t frameIndex) {
    if (!session.FrameShifts || frameIndex >= session.FrameShiftCapacity) {
        const std::int32_t kept = session.FrameShifts ? session.FrameShiftCapacity : 0;
        const std::int32_t capacity = frameIndex / kShiftsPerGrowth * kShiftsPerGrowth + kShiftsPerGrowth;
        auto grown = std::make_unique<KyfFrameShift[]>(static_cast<std::size_t>(capacity));
        std::copy_n(session.FrameShifts, kept, grown.get());
        delete[] session.FrameShifts;
        session.FrameShifts = grown.release();
        session.FrameShiftCapacity = capacity;
    }
    return session.FrameShifts[frameIndex];
}

ImagePtr TakeWarpImage(const KyfFocusComposition& session, const KyiImageData& frame) {
    ImagePtr spare = session.Matcher ? std::move(session.Matcher->Spare) : nullptr;
    if (!spare || !IsSameLayout(*spare, frame) || spare->Origin != frame.Origin) return CloneImageLayout(frame);
    KyiCopyPalette(frame.Palette, spare->Palette);
    return spare;
}

void KeepWarpImage(const KyfFocusComposition& session, ImagePtr image) noexcept {
    if (session.Matcher) session.Matcher->Spare = std::move(image);
}

void FreeTemplateMatching(KyfFocusComposition& session) noexcept {
    for (std::int32_t i = 0; session.AreaTemplates && i < kMostAreas; ++i) KyiFreeImageData(session.AreaTemplates[i]);
    delete[] std::exchange(session.AreaTemplates, nullptr);
    delete std::exchange(session.Matcher, nullptr);
}

} // namespace kyf

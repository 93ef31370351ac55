#include <new>
#include <optional>
#include <utility>

#include "alignment/alignment.h"
#include "alignment/line_matching.h"
#include "alignment/template_matching.h"
#include "filters/image_layout.h"
#include "progress/progress_proc_manager.h"
#include "selection2d/aligned_frame.h"
#include "selection2d/blend.h"
#include "selection2d/focus_chain.h"
#include "selection2d/selection2d.h"
#include "selection2d/tables.h"

namespace kyf {

namespace {

constexpr std::int32_t kAddSteps = 10;

ImagePtr Duplicate(const KyiImageData& image) {
    ImagePtr copy(KyiDuplicateImageData(&image, 0));
    if (!copy) throw std::bad_alloc();
    return copy;
}

// The composite of a stack whose result has been made may be cut, or in the host's hands.
bool IsStackOpen(const KyfFocusComposition& session) noexcept {
    const KyfCompositionState& state = session.State2D;
    const KyiImageData* const composite = state.CompImage;
    return composite && composite->Width == state.SourceWidth && composite->Height == state.SourceHeight &&
           composite->Format == state.SourceFormat && session.BestFocusMap && session.BestFrameMap && session.BlendMask;
}

bool FitsStack(const KyfCompositionState& state, const KyiImageData& frame) noexcept {
    return frame.Width == state.SourceWidth && frame.Height == state.SourceHeight && frame.Format == state.SourceFormat;
}

ImagePtr GrayOf(const KyiImageData& frame, KyiBool parallel) {
    ImagePtr gray = NewImage(frame, GrayPartnerFormat(frame.Format));
    CopyToGray(frame, *gray, parallel);
    return gray;
}

// Null when there is no working pixel.
ImagePtr FirstWorkingImage(const KyfFocusComposition& session, const KyiImageData& frame, KyiBool parallel) {
    if (!HasWorkingPixels(session.State2D)) return nullptr;
    return IsBrightnessFocus(session) ? Duplicate(frame) : GrayOf(frame, parallel);
}

// Null also where brightness is asked of colour frames: nothing can be selected by these, so that nothing is computed.
ImagePtr LaterWorkingImage(const KyfFocusComposition& session, const KyiImageData& frame, KyiBool parallel) {
    if (!HasWorkingPixels(session.State2D)) return nullptr;
    if (!IsBrightnessFocus(session)) return GrayOf(frame, parallel);
    if (!KyiIsFormatGrayscale(frame.Format)) return nullptr;
    ImagePtr brightness = CloneImageLayout(frame);
    CopyFirstChannel(frame, *brightness);
    return brightness;
}

void StoreFirstFocus(const KyfFocusComposition& session, const KyiImageData& working, KyiBool parallel) {
#pragma omp parallel for schedule(static) if (parallel != 0)
    for (std::int32_t y = 0; y < session.BestFocusHeight; ++y)
        KyiGetLinePixel(&working, 0, y, /*channel=*/1, session.BestFocusMap[y], session.BestFocusWidth);
}

// A stack in which no later frame can win anything adds and makes like any other: the log is the only place to see it.
void TraceWhyNothingCanWin(const KyfFocusComposition& session, const KyiImageData& frame) {
    if (!HasWorkingPixels(session.State2D))
        KyiPutTraceLog(__FILE__, __LINE__,
                       L"The Speed is unknown or leaves no pixel of such small frames: the composite stays the first "
                       L"frame.",
                       0);
    else if (IsBrightnessFocus(session) && !KyiIsFormatGrayscale(frame.Format))
        KyiPutTraceLog(__FILE__, __LINE__,
                       L"Brightness is selected from gray frames only: the composite stays the first frame.", 0);
}

// Until the count becomes 1 the session has no composite, so that a frame that failed half-way can be given again.
void AddFirstFrame(KyfFocusComposition& session, const KyiImageData& frame, KyiBool parallel,
                   CProgressProcManager& steps) {
    KyfCompositionState& state = session.State2D;
    KyiFreeImageData(std::exchange(state.CompImage, nullptr));
    ImagePtr composite = Duplicate(frame);
    steps.Next();
    SetUpTables(session, frame);
    steps.Next();
    if (Choose2DAlignment(session) == AlignmentMethod::TemplateMatching) SetUpTemplateMatching(session, frame);
    steps.Next();
    ImagePtr working = FirstWorkingImage(session, frame, parallel);
    steps.Next();
    if (Choose2DAlignment(session) == AlignmentMethod::LineMatching)
        SetUpLineMatching(session.Matching2D, session.MatchingDetectType, state, frame, ProfileSource::FirstChannel,
                          parallel);
    steps.Next();
    working = RunFocusChain(session, std::move(working), parallel, steps);
    if (working) StoreFirstFocus(session, *working, parallel);
    working.reset();
    steps.Next();
    TraceWhyNothingCanWin(session, frame);
    state.CompImage = composite.release();
    state.FrameCount = 1;
}

// All that can fail comes before the selection, which is the first to change the session.
void AddLaterFrame(KyfFocusComposition& session, const KyiImageData& original, AlignedFrame& frame, KyiBool parallel,
                   CProgressProcManager& steps) {
    const std::optional<KyfRect> common = WarpOntoStack(session, original, frame, parallel, steps.GetCurrent());
    steps.Next();
    std::optional<LineMatch> match;
    if (Choose2DAlignment(session) == AlignmentMethod::LineMatching) match = AlignByLines(session, frame, parallel);
    steps.Next();
    BlendScratch scratch = MakeBlendScratch(session);
    ImagePtr working = LaterWorkingImage(session, *frame.Image, parallel);
    steps.Next();
    working = RunFocusChain(session, std::move(working), parallel, steps);
    if (common) TakeAlignedFrame(session, *frame.Image, *common);
    if (match) AcceptLineMatch(session.Matching2D, *match);
    if (working) SelectWinners(session, *working, parallel);
    steps.Next();
    BlendFrame(session, working.get(), *frame.Image, scratch, parallel);
    steps.Next();
    steps.Next();
    session.State2D.FrameCount += 1;
}

// The settings of a stack may have changed since its first frame.
bool IsAlignmentReady(const KyfFocusComposition& session) {
    return Choose2DAlignment(session) != AlignmentMethod::TemplateMatching || IsTemplateMatchingSetUp(session);
}

} // namespace

KyfResult Kyf2DSelectionAddImage(KyfFocusComposition* session, KyiImageData* frame, KyiBool takeOwnership,
                                 KyiBool& ownershipTaken, KyiBool parallel, KyfProgress* progress) {
    ownershipTaken = 0;
    if (!session || !frame || GrayPartnerFormat(frame->Format) < 0) return KyfResultInvalidParameter;
    const KyfCompositionState& state = session->State2D;
    const bool isFirst = state.FrameCount == 0;
    if (!isFirst && !IsStackOpen(*session)) {
        KyiPutTraceLog(__FILE__, __LINE__, L"The stack's result has been cut or extracted: it takes no more frames.",
                       0);
        return KyfResultInvalidParameter;
    }
    if (!isFirst && !FitsStack(state, *frame)) return KyfResultInvalidParameter;
    if (!isFirst && !IsAlignmentReady(*session)) {
        KyiPutTraceLog(__FILE__, __LINE__, L"Automatic positioning was off when the stack began: it cannot begin now.",
                       0);
        return KyfResultInvalidParameter;
    }
    CProgressProcManager steps(progress, kAddSteps);
    if (isFirst) {
        AddFirstFrame(*session, *frame, parallel, steps);
        return KyfResultOk;
    }
    AlignedFrame aligned = ChooseAlignedFrame(*session, *frame, takeOwnership);
    AddLaterFrame(*session, *frame, aligned, parallel, steps);
    if (Choose2DAlignment(*session) == AlignmentMethod::TemplateMatching)
        KeepWarpImage(*session, std::move(aligned.Own));
    if (aligned.IsTakenOver) {
        KyiFreeImageData(frame);
        ownershipTaken = 1;
    }
    return KyfResultOk;
}

} // namespace kyf

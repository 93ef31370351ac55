// The add half of 3D safe composition: checks, first frame, temporary bitmap, and the two processes of a frame.
#include <algorithm>
#include <new>
#include <utility>

#include <kyimaging/functracelog.h>

#include "alignment/alignment.h"
#include "alignment/line_matching.h"
#include "alignment/projection_shift.h"
#include "filters/numbers.h"
#include "progress/progress_proc_manager.h"
#include "safe3d/frame_process.h"
#include "safe3d/later_frame.h"
#include "safe3d/safe3d.h"
#include "safe3d/temp_frames.h"

namespace kyf {

namespace {

constexpr std::int32_t kAddSteps = 4;
constexpr std::int32_t kSetUpSteps = 2; // of a later frame: projection shift and line matching
constexpr std::int32_t kMaxWorkWidth = 512;

struct AddCall {
    KyiImageData* Frame;
    KyiBool TakeOwnership;
    KyiBool& OwnershipTaken;
    KyiBool Parallel;
};

// The step from 256 to 64 is meant.
std::int32_t EdgeDataWidthOf(std::int32_t speed) {
    if (speed == 2) return 64;
    return speed == 1 ? 256 : 512;
}

void SetSizes(KyfFocusComposition& session, const KyiImageData& frame) {
    KyfCompositionState& state = session.State3D;
    state.SourceWidth = frame.Width;
    state.SourceHeight = frame.Height;
    state.SourceFormat = frame.Format;
    session.EdgeDataWidth = EdgeDataWidthOf(session.Speed);
    state.WorkWidth = std::min(frame.Width, kMaxWorkWidth);
    state.WorkHeight =
        frame.Width >= kMaxWorkWidth ? WrappingProduct(frame.Height, kMaxWorkWidth) / frame.Width : frame.Height;
}

template <std::size_t N> void SetTaps(double (&filter)[N], double first, double second, double third) {
    filter[0] = first;
    filter[1] = second;
    filter[2] = third;
}

void SetFilters(KyfFocusComposition& session) {
    SetTaps(session.BlurFilterX, 0.25, 0.5, 0.25);
    SetTaps(session.BlurFilterY, 0.25, 0.5, 0.25);
    session.BlurFilterSize = 3;
    SetTaps(session.SobelFilterA, -1.0, -2.0, -1.0);
    SetTaps(session.SobelFilterB, 1.0, 0.0, -1.0);
    SetTaps(session.SobelFilterC, 1.0, 0.0, -1.0);
    SetTaps(session.SobelFilterD, -1.0, -2.0, -1.0);
    session.SobelFilterSize = 3;
}

// Pixels that no frame's blend reaches keep what the first frame has there.
void KeepFirstFrame(KyfFocusComposition& session, const AddCall& call) {
    KyiFreeImageData(std::exchange(session.State3D.CompImage, nullptr));
    session.State3D.CompImage = call.TakeOwnership ? call.Frame : KyiDuplicateImageData(call.Frame, 0);
    if (!session.State3D.CompImage) throw std::bad_alloc();
    if (call.TakeOwnership) call.OwnershipTaken = 1;
}

KyfResult SetUpFirstFrame(KyfFocusComposition& session, const AddCall& call) {
    const AlignmentMethod method = Choose3DAlignment(session);
    KeepFirstFrame(session, call);
    SetSizes(session, *call.Frame);
    if (method == AlignmentMethod::ProjectionShift) {
        DestroyProjectionShift(&session.ProjectionShift);
        session.ProjectionShift = CreateProjectionShift(call.Frame, call.Parallel);
        if (!session.ProjectionShift) return KyfResultFailAlloc;
    }
    const KyfResult result = SaveTempFrame(session, *call.Frame);
    if (result != KyfResultOk) return result;
    SetFilters(session);
    if (method == AlignmentMethod::LineMatching)
        SetUpLineMatching(session.Matching3D, session.MatchingDetectType, session.State3D, *call.Frame,
                          ProfileSource::Gray, call.Parallel);
    return KyfResultOk;
}

// Measuring and moving by projection is most of the set-up.
void WeighSetUp(KyfProgress* progress) {
    if (!progress) return;
    progress->SubList[0]->Weight = 80;
    progress->SubList[1]->Weight = 20;
}

KyfResult SetUpLaterFrame(KyfFocusComposition& session, LaterFrame& frame, KyfProgress* progress) {
    const AlignmentMethod method = Choose3DAlignment(session);
    CProgressProcManager steps(progress, kSetUpSteps);
    if (method == AlignmentMethod::ProjectionShift) {
        WeighSetUp(progress);
        frame.MoveByProjection();
    }
    steps.Next();
    if (method == AlignmentMethod::LineMatching) frame.MoveByLines();
    steps.Next();
    return SaveTempFrame(session, frame.Image());
}

bool FitsStack(const KyfCompositionState& state, const KyiImageData& frame) {
    return state.FrameCount == 0 || (frame.Width == state.SourceWidth && frame.Height == state.SourceHeight &&
                                     frame.Format == state.SourceFormat);
}

KyfResult AddFrame(KyfFocusComposition& session, const AddCall& call, KyfProgress* progress, const CFuncTraceLog& log) {
    KyfCompositionState& state = session.State3D;
    CProgressProcManager steps(progress, kAddSteps);
    LaterFrame frame(session, *call.Frame, call.Parallel);
    KyfResult result =
        state.FrameCount == 0 ? SetUpFirstFrame(session, call) : SetUpLaterFrame(session, frame, steps.GetCurrent());
    if (result != KyfResultOk) return result;
    result = ProcessFrame(session, frame.Image(), call.Parallel, steps, log);
    if (result != KyfResultOk) return result;
    frame.Accept();
    state.FrameCount += 1;
    KyfProgressCompleteProc(progress);
    return KyfResultOk;
}

} // namespace

KyfResult Kyf3DSafeAddImage(KyfFocusComposition* session, KyiImageData* frame, KyiBool takeOwnership,
                            KyiBool& ownershipTaken, KyiBool parallel, KyfProgress* progress) {
    const CFuncTraceLog log(
        __FILE__, __LINE__,
        L"Kyf3DSafeAddImage( KyfFocusComposition*, KyiImageData*, BOOL, BOOL&, BOOL, KyfProgress* )", 0);
    ownershipTaken = 0;
    if (!session || !frame || !FitsStack(session->State3D, *frame)) return KyfResultInvalidParameter;
    try {
        return AddFrame(*session, {frame, takeOwnership, ownershipTaken, parallel}, progress, log);
    } catch (const std::bad_alloc&) {
        return KyfResultFailAlloc;
    }
}

} // namespace kyf

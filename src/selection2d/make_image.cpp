#include <algorithm>
#include <cstddef>
#include <new>

#include "filters/double_image.h"
#include "filters/numbers.h"
#include "progress/progress_proc_manager.h"
#include "selection2d/selection2d.h"
#include "selection2d/tables.h"

namespace kyf {

namespace {

constexpr std::int32_t kMakeSteps = 3;

void ReportRow(const KyfCompositionState& state, KyfProgress* progress, std::int32_t y) {
    KyfProgressSetPersent(progress, TruncateToInt32(y / static_cast<double>(state.SourceHeight) * 100.0));
}

void FillAtWorkingSize(const KyfFocusComposition& session, KyfCompositionState& state, KyfProgress* progress) {
    for (std::int32_t y = 0; y < state.SourceHeight; ++y) {
        const std::int32_t* const frames = session.BestFrameMap[y];
        double* const heights = state.HeightDataMap[y];
        for (std::int32_t x = 0; x < state.SourceWidth; ++x) heights[x] = session.HeightList[frames[x]];
        ReportRow(state, progress, y);
    }
}

// Without working pixels all is the first frame's, and no focus was measured.
void FillWithFirstFrame(const KyfFocusComposition& session, KyfCompositionState& state, std::int32_t** focus,
                        KyfProgress* progress) {
    for (std::int32_t y = 0; y < state.SourceHeight; ++y) {
        std::fill_n(state.HeightDataMap[y], state.SourceWidth, session.HeightList[0]);
        std::fill_n(focus[y], state.SourceWidth, 0);
        ReportRow(state, progress, y);
    }
}

void FillEnlarged(const KyfFocusComposition& session, KyfCompositionState& state, std::int32_t** focus,
                  KyfProgress* progress) {
    const double columnRatio = static_cast<double>(state.SourceWidth) / state.WorkWidth;
    const double rowRatio = static_cast<double>(state.SourceHeight) / state.WorkHeight;
    for (std::int32_t y = 0; y < state.SourceHeight; ++y) {
        const std::int32_t sourceRow = TruncateToInt32(y / rowRatio);
        const std::int32_t* const frames = session.BestFrameMap[sourceRow];
        const std::int32_t* const oldFocus = session.BestFocusMap[sourceRow];
        for (std::int32_t x = 0; x < state.SourceWidth; ++x) {
            const std::int32_t sourceColumn = TruncateToInt32(x / columnRatio);
            state.HeightDataMap[y][x] = session.HeightList[frames[sourceColumn]];
            focus[y][x] = oldFocus[sourceColumn];
        }
        ReportRow(state, progress, y);
    }
}

// BestFocusMap comes along to the full size; BestFrameMap stays at the working size.
void EnlargeTables(KyfFocusComposition& session, KyfCompositionState& state, KyfProgress* progress) {
    IntRowsPtr focus = NewIntRows(state.SourceWidth, state.SourceHeight, /*cleared=*/false);
    if (HasWorkingPixels(state))
        FillEnlarged(session, state, focus.get(), progress);
    else
        FillWithFirstFrame(session, state, focus.get(), progress);
    FreeIntRows(session.BestFocusMap, session.BestFocusHeight);
    session.BestFocusMap = focus.release();
    session.BestFocusWidth = state.SourceWidth;
    session.BestFocusHeight = state.SourceHeight;
}

void FreeHeightDataMap(KyfCompositionState& state) noexcept {
    FreeDoubleRows(state.HeightDataMap);
    state.HeightDataMap = nullptr;
    state.MapWidth = 0;
    state.MapHeight = 0;
}

KyfResult FillHeightDataMap(KyfFocusComposition& session, KyfCompositionState& state, KyfProgress* progress) {
    if (!session.BestFrameMap || !session.BestFocusMap || state.SourceWidth == 0 || state.SourceHeight == 0)
        return KyfResultInvalidParameter;
    if (!AllocHeightDataMap(&state)) return KyfResultFailAlloc;
    const bool isFullSize = state.WorkWidth == state.SourceWidth && state.WorkHeight == state.SourceHeight;
    try {
        if (isFullSize)
            FillAtWorkingSize(session, state, progress);
        else
            EnlargeTables(session, state, progress);
    } catch (const std::bad_alloc&) {
        FreeHeightDataMap(state);
        return KyfResultFailAlloc;
    }
    return KyfResultOk;
}

// Without memory for heights the image is made alone, as from a stack without heights. Where only their copy cannot be
// had, std::bad_alloc ends the make, and another one can go on from there.
KyfResult MakeSteps(KyfFocusComposition& session, const KyfRect& rectangle, KyiBool parallel, KyfProgress* progress) {
    KyfCompositionState& state = session.State2D;
    CProgressProcManager steps(progress, kMakeSteps);
    MakeHeightDataMap(&session, &state, steps.GetCurrent());
    steps.Next();
    KyfResult result = CutCompImage(&session, &state, rectangle);
    if (result != KyfResultOk) return result;
    steps.Next();
    if (state.CuttedAntNoiseHeightDataMap) result = SmoothCuttedHeightData(session.Smoothing, &state, parallel);
    if (result != KyfResultOk) return result;
    steps.Next();
    KyfProgressCompleteProc(progress);
    return KyfResultOk;
}

} // namespace

double** AllocHeightDataMap(KyfCompositionState* state) noexcept {
    FreeHeightDataMap(*state);
    if (state->SourceWidth == 0 || state->SourceHeight == 0) return nullptr;
    state->MapWidth = state->SourceWidth;
    state->MapHeight = state->SourceHeight;
    state->HeightDataMap = AllocDoubleRows(state->MapWidth, state->MapHeight);
    return state->HeightDataMap;
}

void CopyAntNoiseHeightDataMap(KyfCompositionState* state) {
    FreeDoubleRows(state->AntNoiseHeightDataMap);
    state->AntNoiseHeightDataMap = nullptr;
    if (!state->HeightDataMap) return;
    double** const copy = AllocDoubleRows(state->SourceWidth, state->SourceHeight);
    if (!copy) throw std::bad_alloc();
    for (std::int32_t y = 0; y < state->SourceHeight; ++y)
        std::copy_n(state->HeightDataMap[y], state->SourceWidth, copy[y]);
    state->AntNoiseHeightDataMap = copy;
}

KyfResult MakeHeightDataMap(KyfFocusComposition* session, KyfCompositionState* state, KyfProgress* progress) {
    if (session->HeightList && !state->HeightDataMap) {
        const KyfResult result = FillHeightDataMap(*session, *state, progress);
        if (result != KyfResultOk) return result;
    }
    if (state->HeightDataMap && !state->AntNoiseHeightDataMap) CopyAntNoiseHeightDataMap(state);
    KyfProgressCompleteProc(progress);
    return KyfResultOk;
}

KyfResult Kyf2DSelectionMakeCompImage(KyfFocusComposition* session, const KyfRect& rectangle, KyiBool parallel,
                                      KyfProgress* progress) {
    try {
        return MakeSteps(*session, rectangle, parallel, progress);
    } catch (const std::bad_alloc&) {
        return KyfResultFailAlloc;
    }
}

} // namespace kyf

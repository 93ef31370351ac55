// The make half of 3D safe composition: the order of the stages, what they hold meanwhile, and the cut.
#include <new>
#include <utility>

#include "filters/double_image.h"
#include "gpu/gpu_switches.h"
#include "progress/progress_proc_manager.h"
#include "safe3d/compose_by_height.h"
#include "safe3d/custom_deleter.h"
#include "safe3d/frame_images.h"
#include "safe3d/map_stages.h"
#include "safe3d/peak_selection.h"
#include "safe3d/safe3d.h"
#include "selection2d/selection2d.h"

namespace kyf {

namespace {

constexpr std::int32_t kMakeSteps = 9; // the last one has no stage
constexpr const wchar_t* kMethod = L"Kyf3DSafeMakeHeightData";

template <typename T> T* Required(T* image) {
    if (!image) throw std::bad_alloc();
    return image;
}

KyfResult MakeComposite(KyfFocusComposition& session, GridMaps& maps, KyiBool parallel, CProgressProcManager& steps) {
    const KyfCompositionState& state = session.State3D;
    const HeldImage<KyfImageDataUint16> full16(Required(AllocUint16Image(state.SourceWidth, state.SourceHeight)));
    MakeFullMap(maps, *full16, parallel, steps);
    const KyfResult result = ComposeByHeight(session, *full16, parallel, steps.GetCurrent());
    steps.Next();
    return result;
}

void MakeHeightMap(KyfFocusComposition& session, GridMaps& maps, KyfImageData& frameMap, KyiBool parallel,
                   CProgressProcManager& steps) {
    KyfCompositionState& state = session.State3D;
    HeldImage<KyfImageData> full(Required(AllocDoubleImage(state.SourceWidth, state.SourceHeight)));
    MakeHeights(session, maps, frameMap, *full, parallel, steps);
    FreeDoubleRows(std::exchange(state.HeightDataMap, std::exchange(full->Rows, nullptr)));
    steps.Next();
}

/// All stages of a stack that has its heights and no map yet. The result is the composite's.
KyfResult MakeMaps(KyfFocusComposition& session, KyiBool parallel, KyfProgress* progress) {
    CProgressProcManager steps(progress, kMakeSteps);
    const std::int32_t width = session.EdgeDataWidth;
    const std::int32_t height = session.EdgeDataHeight;
    const HeldImage<KyfImageData> frameMap(Required(AllocDoubleImage(width, height)));
    HeldImage<KyiImageData> mask(Required(KyiAllocMaskImageData(width, height)));
    SelectPeaks(session, *frameMap, *mask, parallel);
    GridMaps maps(session, *frameMap, *mask);
    RepairMaps(session, maps, *mask, parallel, steps);
    mask.Free();
    const KyfResult result = MakeComposite(session, maps, parallel, steps);
    maps.FreeComposite();
    MakeHeightMap(session, maps, *frameMap, parallel, steps);
    return result;
}

bool HasStack(const KyfFocusComposition& session) {
    return session.State3D.SourceWidth != 0 && session.State3D.SourceHeight != 0 && HasAllFrameImages(session);
}

KyfResult EndEarly(KyfResult result, const wchar_t* name) {
    KyiPutEndMethodLog(__FILE__, __LINE__, kMethod, name);
    return result;
}

} // namespace

KyfResult Kyf3DSafeMakeHeightData(KyfFocusComposition* session, KyiBool parallel, KyfProgress* progress) {
    KyfCompositionState& state = session->State3D;
    SetIsDisableGpu(session->DisableGPU);
    KyiPutBeginMethodLog(__FILE__, __LINE__, kMethod, 0);
    KyfResult result = KyfResultOk;
    try {
        if (session->HeightList && !state.HeightDataMap) {
            KyiPutTraceLog(__FILE__, __LINE__,
                           L"pFocusInfo->HeightList != nullptr && pFocusInfo->HeightDataMap == nullptr", 0);
            if (!HasStack(*session)) return EndEarly(KyfResultInvalidParameter, L"KyfResultInvalidParameter");
            Required(AllocHeightDataMap(&state));
            result = MakeMaps(*session, parallel, progress);
        }
        if (state.HeightDataMap && !state.AntNoiseHeightDataMap) CopyAntNoiseHeightDataMap(&state);
    } catch (const std::bad_alloc&) {
        return EndEarly(KyfResultFailAlloc, L"KyfResultFailAlloc");
    }
    KyfProgressCompleteProc(progress);
    KyiPutEndMethodLog(__FILE__, __LINE__, kMethod, nullptr);
    return result;
}

KyfResult Kyf3DSafeMakeCompImage(KyfFocusComposition* session, const KyfRect& rectangle, KyiBool parallel,
                                 KyfProgress* progress) {
    KyfCompositionState& state = session->State3D;
    KyfProgress* stages[2]{};
    if (progress) {
        KyfProgress** const list = KyfProgressCreateSubList(2, /*equal=*/0);
        list[0]->Weight = 90;
        list[1]->Weight = 10;
        KyfAppendProgress(progress, list, 2);
        stages[0] = list[0];
        stages[1] = list[1];
    }
    Kyf3DSafeMakeHeightData(session, parallel, stages[0]); // the composite is cut whatever came of it
    KyfProgressCompleteProc(stages[0]);
    KyfResult result = CutCompImage(session, &state, rectangle);
    if (result != KyfResultOk) return result;
    result = SmoothCuttedHeightData(session->Smoothing3D, &state, parallel);
    KyfProgressCompleteProc(stages[1]);
    KyfProgressCompleteProc(progress);
    return result;
}

} // namespace kyf

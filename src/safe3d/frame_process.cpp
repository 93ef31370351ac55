#include "safe3d/frame_process.h"

#include "filters/numbers.h"
#include "safe3d/cuda_stages.h"
#include "safe3d/frame_stages.h"
#include "safe3d/opencl_stages.h"
#include "safe3d/processing_path.h"

namespace kyf {

namespace {

constexpr std::int32_t kFilterStages = 3;

std::unique_ptr<FrameStages> MakeStages(ProcessingPath path, const KyfFocusComposition& session,
                                        const KyiImageData& frame, KyiBool parallel) {
    switch (path) {
    case ProcessingPath::Cuda: return MakeCudaStages(session, frame, parallel);
    case ProcessingPath::OpenCl: return MakeOpenClStages(session, frame, parallel);
    case ProcessingPath::Cpu: break;
    }
    return MakeCpuStages(session, frame, parallel);
}

void RunFirstProcess(FrameStages& stages, CProgressProcManager& steps, const CFuncTraceLog& log) {
    log.Trace(__FILE__, __LINE__, L"Begin 1st process.");
    log.Trace(__FILE__, __LINE__, stages.BeginLine());
    stages.Reduce();
    steps.Next();
    stages.TakeChannel();
}

void FilterFrame(FrameStages& stages, KyfProgress* progress, const CFuncTraceLog& log) {
    CProgressProcManager steps(progress, kFilterStages);
    log.Trace(__FILE__, __LINE__, L"Blur filter 10 times");
    stages.Blur(steps.GetCurrent());
    steps.Next();
    log.Trace(__FILE__, __LINE__, L"Sobel filter");
    stages.FilterBlurred();
    steps.Next();
    log.Trace(__FILE__, __LINE__, L"Sobel filter Only");
    stages.FilterPlain();
    steps.Next();
}

void RunSecondProcess(KyfFocusComposition& session, FrameStages& stages, CProgressProcManager& steps,
                      const CFuncTraceLog& log) {
    log.Trace(__FILE__, __LINE__, L"Begin 2nd process.");
    if (session.ScopeType == 2 || session.ScopeType == 3) {
        log.Trace(__FILE__, __LINE__, L"Processing added for GPU related purposes");
        stages.TakeBrightness();
    } else {
        FilterFrame(stages, steps.GetCurrent(), log);
    }
    steps.Next();
    log.Trace(__FILE__, __LINE__, L"Creating edge strength data");
    const KyfCompositionState& state = session.State3D;
    session.EdgeDataHeight = WrappingProduct(session.EdgeDataWidth, state.WorkHeight) / state.WorkWidth;
    stages.MakeEdgeData(MakeFrameImages(session));
    steps.Next();
}

} // namespace

KyfResult ProcessFrame(KyfFocusComposition& session, const KyiImageData& frame, KyiBool parallel,
                       CProgressProcManager& steps, const CFuncTraceLog& log) {
    steps.Next();
    const ProcessingPath path = ChooseProcessingPath(session.DisableGPU, log);
    const std::unique_ptr<FrameStages> stages = MakeStages(path, session, frame, parallel);
    if (!stages) return KyfResultFailAlloc;
    RunFirstProcess(*stages, steps, log);
    RunSecondProcess(session, *stages, steps, log);
    return KyfResultOk;
}

} // namespace kyf

#include "safe3d/frame_process.h"

#include <limits>
#include <utility>

#include "filters/double_image.h"
#include "filters/numbers.h"
#include "safe3d/edge_data.h"
#include "safe3d/frame_images.h"
#include "safe3d/reduce_channel.h"

namespace kyf {

namespace {

constexpr std::int32_t kBlurPasses = 3; // the trace says 10, and so does the percent of a pass
constexpr std::int32_t kPercentOfPass = 10;
constexpr std::int32_t kBlurMargin = 0;
constexpr std::int32_t kFilterStages = 3;

// One block for all images takes large pages where images of their own would not.
constexpr std::int32_t kImages = 4;

KyfImageData* AllocImages(const KyfCompositionState& state) {
    if (state.WorkHeight > std::numeric_limits<std::int32_t>::max() / kImages) return nullptr;
    return AllocDoubleImage(state.WorkWidth, kImages * state.WorkHeight);
}

// The pass reads one image and writes another, and the two change places. Whichever is returned holds the blur.
const KyfImageData& Blur(const KyfFocusComposition& session, FrameBuffers& buffers, KyiBool parallel,
                         KyfProgress* progress) {
    const KyfImageData* from = &buffers.KidoSource;
    KyfImageData* to = &buffers.Work;
    KyfImageData* spare = &buffers.Bibun;
    for (std::int32_t pass = 1; pass <= kBlurPasses; ++pass) {
        BlurPass(*from, *to, kBlurMargin, session.BlurFilterX, session.BlurFilterY, session.BlurFilterSize, parallel);
        from = to;
        std::swap(to, spare);
        KyfProgressSetPersent(progress, pass * kPercentOfPass);
    }
    return *from;
}

// What the edge strength is the difference of.
struct Differentials {
    const KyfImageData& Plain;
    const KyfImageData& Blurred;
};

Differentials FilterFrame(const KyfFocusComposition& session, FrameBuffers& buffers, KyiBool parallel,
                          KyfProgress* progress, const CFuncTraceLog& log) {
    CProgressProcManager stages(progress, kFilterStages);
    log.Trace(__FILE__, __LINE__, L"Blur filter 10 times");
    const KyfImageData& blurred = Blur(session, buffers, parallel, stages.GetCurrent());
    stages.Next();
    log.Trace(__FILE__, __LINE__, L"Sobel filter");
    FilterHighPass(blurred, buffers.BokashiBibun);
    stages.Next();
    log.Trace(__FILE__, __LINE__, L"Sobel filter Only");
    FilterHighPass(buffers.KidoSource, buffers.Bibun);
    stages.Next();
    return {buffers.Bibun, buffers.BokashiBibun};
}

// Brightness stands for focus: the channel as it is, less nothing.
Differentials TakeBrightness(const FrameBuffers& buffers, const CFuncTraceLog& log) {
    log.Trace(__FILE__, __LINE__, L"Processing added for GPU related purposes");
    return {buffers.KidoSource, buffers.BokashiBibun};
}

} // namespace

FrameBuffers::FrameBuffers(const KyfCompositionState& state) : m_block(AllocImages(state)) {
    if (!m_block) return;
    double** rows = m_block->Rows;
    for (KyfImageData* const image : {&BokashiBibun, &Bibun, &Work, &KidoSource}) {
        *image = {rows, state.WorkWidth, state.WorkHeight};
        rows += state.WorkHeight;
    }
}

void RunFirstProcess(const KyiImageData& frame, FrameBuffers& buffers, KyiBool parallel, const CFuncTraceLog& log) {
    log.Trace(__FILE__, __LINE__, L"Begin processing by CPU.");
    ReduceChannel(frame, buffers.KidoSource, parallel);
}

void RunSecondProcess(KyfFocusComposition& session, FrameBuffers& buffers, KyiBool parallel,
                      CProgressProcManager& steps, const CFuncTraceLog& log) {
    log.Trace(__FILE__, __LINE__, L"Begin 2nd process.");
    const bool isBrightness = session.ScopeType == 2 || session.ScopeType == 3;
    const Differentials from =
        isBrightness ? TakeBrightness(buffers, log) : FilterFrame(session, buffers, parallel, steps.GetCurrent(), log);
    steps.Next();
    log.Trace(__FILE__, __LINE__, L"Creating edge strength data");
    const KyfCompositionState& state = session.State3D;
    session.EdgeDataHeight = WrappingProduct(session.EdgeDataWidth, state.WorkHeight) / state.WorkWidth;
    const FrameImages images = MakeFrameImages(session);
    MakeEdgeData(from.Plain, from.Blurred, buffers.KidoSource, images.Edge, images.Kido, parallel);
    steps.Next();
}

} // namespace kyf

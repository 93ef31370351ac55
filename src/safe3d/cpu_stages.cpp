#include <limits>
#include <new>
#include <utility>

#include "filters/double_image.h"
#include "safe3d/custom_deleter.h"
#include "safe3d/edge_data.h"
#include "safe3d/frame_stages.h"
#include "safe3d/reduce_channel.h"

namespace kyf {

namespace {

constexpr std::int32_t kBlurPasses = 3; // the trace says 10, and so does the percent of a pass
constexpr std::int32_t kPercentOfPass = 10;
constexpr std::int32_t kBlurMargin = 0;

// One block for all images takes large pages where images of their own would not.
constexpr std::int32_t kImages = 3;

KyfImageData* AllocImages(const KyfCompositionState& state) {
    if (state.WorkHeight > std::numeric_limits<std::int32_t>::max() / kImages) return nullptr;
    return AllocDoubleImage(state.WorkWidth, kImages * state.WorkHeight);
}

class CpuStages final : public FrameStages {
  public:
    CpuStages(const KyfFocusComposition& session, const KyiImageData& frame, KyiBool parallel)
        : m_session(session), m_frame(frame), m_parallel(parallel), m_block(AllocImages(session.State3D)) {
        if (!m_block) return;
        const KyfCompositionState& state = session.State3D;
        double** rows = m_block->Rows;
        for (KyfImageData* const image : {&m_channel, &m_plain, &m_blurred}) {
            *image = {rows, state.WorkWidth, state.WorkHeight};
            rows += state.WorkHeight;
        }
    }

    bool HasAll() const { return static_cast<bool>(m_block); }

    const wchar_t* BeginLine() const override { return L"Begin processing by CPU."; }

    void Reduce() override { ReduceChannel(m_frame, m_channel, m_parallel); }

    void TakeChannel() override {} // is reduced alone

    // The passes go to and fro between the two images that the filters write later.
    void Blur(KyfProgress* progress) override {
        if (!IsBlurSize(m_session.BlurFilterSize)) return;
        KyfImageData* to = &m_plain;
        KyfImageData* spare = &m_blurred;
        for (std::int32_t pass = 1; pass <= kBlurPasses; ++pass) {
            BlurPass(*m_blurInput, *to, kBlurMargin, m_session.BlurFilterX, m_session.BlurFilterY,
                     m_session.BlurFilterSize, m_parallel);
            m_blurInput = to;
            std::swap(to, spare);
            KyfProgressSetPersent(progress, pass * kPercentOfPass);
        }
    }

    void FilterBlurred() override { FilterHighPass(*m_blurInput, m_blurred); }

    void FilterPlain() override {
        FilterHighPass(m_channel, m_plain);
        m_edgeInput = &m_plain;
    }

    void TakeBrightness() override {} // the channel as it is, less nothing

    void MakeEdgeData(const FrameImages& images) override {
        kyf::MakeEdgeData(*m_edgeInput, m_blurred, m_channel, images.Edge, images.Kido, m_parallel);
    }

  private:
    const KyfFocusComposition& m_session;
    const KyiImageData& m_frame;
    KyiBool m_parallel;
    HeldImage<KyfImageData> m_block; // all zeros to start with
    KyfImageData m_channel{};
    KyfImageData m_plain{};                       // in the end the gradient of the channel
    KyfImageData m_blurred{};                     // in the end the gradient of the blurred channel
    const KyfImageData* m_blurInput = &m_channel; // after the blur its result
    const KyfImageData* m_edgeInput = &m_channel;
};

} // namespace

std::unique_ptr<FrameStages> MakeCpuStages(const KyfFocusComposition& session, const KyiImageData& frame,
                                           KyiBool parallel) {
    auto stages = std::make_unique<CpuStages>(session, frame, parallel);
    if (!stages->HasAll()) return nullptr;
    return stages;
}

} // namespace kyf

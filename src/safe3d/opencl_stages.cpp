#include "safe3d/opencl_stages.h"

#include <algorithm>
#include <cstddef>
#include <utility>
#include <vector>

#include "filters/filters.h"
#include "filters/image_layout.h"
#include "gpu/frame_packing.h"
#include "gpu/opencl_frame.h"
#include "gpu/opencl_program.h"

namespace kyf {

namespace {

constexpr std::int32_t kBlurMargin = 0;

std::size_t AreaOf(std::int32_t width, std::int32_t height) {
    return static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
}

void StoreImage(const std::vector<double>& values, KyfImageData& image) {
    const double* from = values.data();
    for (std::int32_t y = 0; y < image.Height; ++y, from += image.Width) std::copy_n(from, image.Width, image.Rows[y]);
}

class OpenClStages final : public FrameStages {
  public:
    OpenClStages(const KyfFocusComposition& session, const KyiImageData& frame, ImagePtr reduced, KyiBool parallel)
        : m_session(session), m_frame(frame), m_parallel(parallel), m_reduced(std::move(reduced)),
          m_device(COpenCLAPI::TheInstance(), COpenCLProgram::GetInstance().Program(), session.State3D.WorkWidth,
                   session.State3D.WorkHeight) {}

    const wchar_t* BeginLine() const override { return L"Begin processing by OpenCL."; }

    void Reduce() override {
        if (UseParallelProcess(&m_frame, m_parallel)) {
            const KyfCompositionState& state = m_session.State3D;
            m_device.Reduce(PackFrame(m_frame, m_parallel), m_frame.Width, m_frame.Height,
                            ReductionTo(m_frame, state.WorkWidth, state.WorkHeight));
            return;
        }
        ReduceImage(&m_frame, m_reduced.get(), m_parallel);
        m_device.TakeReduced(PackFirstBytes(*m_reduced, m_parallel));
    }

    void TakeChannel() override { m_device.CopyGreen(); }

    void Blur(KyfProgress*) override {
        const std::int32_t size = m_session.BlurFilterSize;
        m_device.Blur(BlurMatrix(m_session.BlurFilterX, m_session.BlurFilterY, size), size, kBlurMargin);
    }

    void FilterBlurred() override { m_device.FilterBlurred(); }
    void FilterPlain() override { m_device.FilterPlain(); }

    // Nothing has been put into the host's images on this path.
    void TakeBrightness() override {
        const std::vector<double> zeros(AreaOf(m_session.State3D.WorkWidth, m_session.State3D.WorkHeight));
        m_device.TakeDifferentials(zeros.data(), zeros.data());
    }

    void MakeEdgeData(const FrameImages& images) override {
        std::vector<double> edge(AreaOf(images.Edge.Width, images.Edge.Height));
        std::vector<double> kido(edge.size());
        m_device.MakeEdgeData(images.Edge.Width, images.Edge.Height, edge.data(), kido.data());
        StoreImage(edge, images.Edge);
        StoreImage(kido, images.Kido);
    }

  private:
    const KyfFocusComposition& m_session;
    const KyiImageData& m_frame;
    KyiBool m_parallel;
    ImagePtr m_reduced;
    OpenClFrame m_device;
};

} // namespace

std::unique_ptr<FrameStages> MakeOpenClStages(const KyfFocusComposition& session, const KyiImageData& frame,
                                              KyiBool parallel) {
    const KyfCompositionState& state = session.State3D;
    ImagePtr reduced(KyiAllocImageData(state.WorkWidth, state.WorkHeight, frame.Format));
    if (!reduced) return nullptr;
    KyiCopyPalette(frame.Palette, reduced->Palette);
    KyiFill(reduced.get(), 0, 0, 0); // no reduction writes the first byte of four, which stands for them here
    return std::make_unique<OpenClStages>(session, frame, std::move(reduced), parallel);
}

} // namespace kyf

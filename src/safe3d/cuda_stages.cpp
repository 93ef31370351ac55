#include "safe3d/cuda_stages.h"

#include <algorithm>
#include <cstddef>
#include <new>
#include <utility>
#include <vector>

#include "filters/filters.h"
#include "filters/image_layout.h"
#include "gpu/cuda_launch.h"
#include "gpu/frame_packing.h"
#include "safe3d/edge_data.h"

namespace kyf {

namespace {

constexpr std::int32_t kBlurPasses = 3;
constexpr std::int32_t kBlurMargin = 0;
constexpr std::int32_t kHalfWindow = 4;
constexpr std::size_t kPackedBytes = 3;

std::size_t AreaOf(std::int32_t width, std::int32_t height) {
    return static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
}

CudaMemory UploadDoubles(const CCudaAPI& api, const std::vector<double>& values) {
    return {api, values.data(), values.size() * sizeof(double)};
}

void FetchDoubles(const CCudaAPI& api, const CudaMemory& from, std::vector<double>& values) {
    api.CopyToHost(values.data(), from.Address(), values.size() * sizeof(double));
}

void StoreImage(const std::vector<double>& values, KyfImageData& image) {
    const double* from = values.data();
    for (std::int32_t y = 0; y < image.Height; ++y, from += image.Width) std::copy_n(from, image.Width, image.Rows[y]);
}

/// Images on the device live as long as the object, d_source included.
class CudaStages final : public FrameStages {
  public:
    CudaStages(const KyfFocusComposition& session, const KyiImageData& frame, ImagePtr reduced, KyiBool parallel)
        : m_session(session), m_frame(frame), m_parallel(parallel), m_reduced(std::move(reduced)),
          m_width(session.State3D.WorkWidth), m_height(session.State3D.WorkHeight), m_area(AreaOf(m_width, m_height)) {}

    const wchar_t* BeginLine() const override { return L"Begin processing by CUDA."; }

    void Reduce() override {
        d_reduced = CudaMemory(m_api, m_area * kPackedBytes);
        if (UseParallelProcess(&m_frame, m_parallel)) {
            ReduceOnDevice();
            return;
        }
        ReduceImage(&m_frame, m_reduced.get(), m_parallel);
        const std::vector<std::uint8_t> packed = PackFirstBytes(*m_reduced, m_parallel);
        d_reduced.Fill(packed.data(), packed.size());
    }

    void TakeChannel() override {
        const CopyGreen copyGreen(m_api, "copy_green");
        for (CudaMemory* const channel : {&d_kido, &d_green_a, &d_green_b}) {
            *channel = NewImage();
            Note(copyGreen.Run(m_width, m_height, channel->Address(), d_reduced.Address(), m_height, m_width));
        }
    }

    // The passes go to and fro between two of the channel's copies.
    void Blur(KyfProgress*) override {
        const std::int32_t size = m_session.BlurFilterSize;
        if (!IsBlurSize(size)) return;
        const CudaMemory d_matrix =
            UploadDoubles(m_api, BlurMatrix(m_session.BlurFilterX, m_session.BlurFilterY, size));
        const MultiFilter multiFilter(m_api, "multi_filter");
        for (std::int32_t pass = 0; pass < kBlurPasses; ++pass) {
            Note(multiFilter.Run(m_width - 2 * kBlurMargin, m_height - 2 * kBlurMargin, m_spare->Address(),
                                 m_blurred->Address(), m_height, m_width, kBlurMargin, d_matrix.Address(), size));
            std::swap(m_blurred, m_spare);
        }
    }

    void FilterBlurred() override {
        d_bokashi_bibun = NewImage();
        FilterHighPass(d_bokashi_bibun, *m_blurred);
    }

    void FilterPlain() override { FilterHighPass(*m_spare, d_kido); }

    // Nothing has been put into the host's images on this path.
    void TakeBrightness() override {
        const std::vector<double> zeros(m_area);
        *m_spare = UploadDoubles(m_api, zeros);
        d_bokashi_bibun = UploadDoubles(m_api, zeros);
    }

    // A frame of which a launch has failed counts as one without features.
    void MakeEdgeData(const FrameImages& images) override {
        const std::int32_t width = images.Edge.Width;
        const std::int32_t height = images.Edge.Height;
        std::vector<double> edge(AreaOf(width, height));
        std::vector<double> kido(edge.size());
        const CudaMemory d_edge = UploadDoubles(m_api, edge);
        const CudaMemory d_result_kido = UploadDoubles(m_api, kido);
        const TotalData totalData(m_api, "total_data");
        if (m_isWhole)
            totalData.Run(width, height, d_edge.Address(), d_result_kido.Address(), height, width, m_spare->Address(),
                          d_bokashi_bibun.Address(), d_kido.Address(), m_height, m_width,
                          static_cast<double>(m_height) / height, static_cast<double>(m_width) / width, kHalfWindow);
        FetchDoubles(m_api, d_edge, edge);
        FetchDoubles(m_api, d_result_kido, kido);
        StoreImage(edge, images.Edge);
        StoreImage(kido, images.Kido);
    }

  private:
    void Note(bool isLaunched) { m_isWhole = m_isWhole && isLaunched; }

    CudaMemory NewImage() const { return {m_api, m_area * sizeof(double)}; }

    void ReduceOnDevice() {
        const DeviceReduction to = ReductionTo(m_frame, m_width, m_height);
        const ReductionDownAve reduction(m_api, "reduction_down_ave");
        const std::vector<std::uint8_t> packed = PackFrame(m_frame, m_parallel);
        d_source = CudaMemory(m_api, packed.data(), packed.size());
        Note(reduction.Run(m_width, m_height, d_reduced.Address(), d_source.Address(), m_height, m_width,
                           m_frame.Height, m_frame.Width, to.XRatio, to.YRatio, to.XStep, to.YStep));
    }

    void FilterHighPass(const CudaMemory& to, const CudaMemory& from) {
        const HighPassFilter highPass(m_api, "high_pass_filter");
        Note(highPass.Run(m_width, m_height, to.Address(), from.Address(), m_height, m_width));
    }

    const CCudaAPI& m_api = CCudaAPI::TheInstance();
    const KyfFocusComposition& m_session;
    const KyiImageData& m_frame;
    KyiBool m_parallel;
    ImagePtr m_reduced;
    std::int32_t m_width;
    std::int32_t m_height;
    std::size_t m_area;
    CudaMemory d_reduced;
    CudaMemory d_source;
    CudaMemory d_kido;
    CudaMemory d_green_a;
    CudaMemory d_green_b;
    CudaMemory d_bokashi_bibun;
    CudaMemory* m_blurred = &d_green_a; // after the blur the one last written
    CudaMemory* m_spare = &d_green_b;   // in the end the gradient of the channel
    bool m_isWhole = true;              // every launch so far has been taken
};

} // namespace

std::unique_ptr<FrameStages> MakeCudaStages(const KyfFocusComposition& session, const KyiImageData& frame,
                                            KyiBool parallel) {
    const KyfCompositionState& state = session.State3D;
    ImagePtr reduced(KyiAllocImageData(state.WorkWidth, state.WorkHeight, frame.Format));
    if (!reduced) return nullptr;
    KyiCopyPalette(frame.Palette, reduced->Palette);
    KyiFill(reduced.get(), 0, 0, 0); // no reduction writes the first byte of four, which stands for them here
    return std::make_unique<CudaStages>(session, frame, std::move(reduced), parallel);
}

} // namespace kyf

#include "safe3d/compose_by_height.h"

#include <utility>

#include "filters/image_layout.h"
#include "filters/sample_rows.h"
#include "progress/progress_proc_manager.h"
#include "safe3d/blend_by_height.h"
#include "safe3d/temp_frames.h"

namespace kyf {

namespace {

// Rows that a thread takes at a time: the one that reads a frame takes none until it has done so.
constexpr std::int32_t kRowsAtATime = 16;

constexpr int BlendedChannels(bool isColour) noexcept { return isColour ? 3 : 1; }

// A file of another size or kind than the composite counts as one that cannot be read.
bool FitsComposite(const KyiImageData& frame, const KyiImageData& composite, bool isColour) noexcept {
    return frame.Width == composite.Width && frame.Height == composite.Height &&
           SampleBytes(frame.PixelBytes) == SampleBytes(composite.PixelBytes) &&
           SampleStride(frame.PixelBytes) >= BlendedChannels(isColour);
}

template <typename T> class Composer {
  public:
    Composer(KyfFocusComposition& session, const KyfImageDataUint16& full, bool parallel)
        : m_session(session), m_full(full), m_composite(*session.State3D.CompImage), m_parallel(parallel),
          m_isColour(KyiIsFormatBgr(m_composite.Format) != 0) {}

    KyfResult Run(KyfProgress* progress) {
        ImagePtr previous = Load(0);
        if (!previous) return KyfResultInvalidParameter;
        const std::int32_t count = m_session.State3D.FrameCount;
        CProgressProcManager steps(progress, count - 1);
        ImagePtr next = count > 1 ? Load(1) : nullptr;
        KyfResult result = KyfResultInvalidParameter;
        for (std::int32_t i = 1; i < count && next; ++i) {
            ImagePtr following = BlendAndReadAhead(i, *previous, *next);
            previous = std::exchange(next, std::move(following));
            if (i == count - 1) result = KyfResultOk;
            steps.Next();
        }
        KyfProgressCompleteProc(progress);
        return result;
    }

  private:
    ImagePtr Load(std::int32_t index) const noexcept {
        ImagePtr frame = LoadTempFrame(m_session, index);
        if (frame && !FitsComposite(*frame, m_composite, m_isColour)) frame.reset();
        return frame;
    }

    // Blends the step from frame i - 1 to frame i while the frame after it is read. Without threads: one, then the
    // other.
    ImagePtr BlendAndReadAhead(std::int32_t i, const KyiImageData& previous, const KyiImageData& next) {
        const std::int32_t count = m_session.State3D.FrameCount;
        const BlendStep step = MakeBlendStep(i, count, m_full.Scale, m_full.Offset);
        const BlendStrides strides{SampleStride(previous.PixelBytes), SampleStride(next.PixelBytes),
                                   SampleStride(m_composite.PixelBytes)};
        const SampleRows<const T> previousRows(previous);
        const SampleRows<const T> nextRows(next);
        const SampleRows<T> outRows(m_composite);
        ImagePtr following;
#pragma omp parallel if (m_parallel)
        {
#pragma omp single nowait
            if (i + 1 < count) following = Load(i + 1);
#pragma omp for schedule(dynamic, kRowsAtATime)
            for (std::int32_t y = 0; y < m_composite.Height; ++y)
                BlendRow(step, m_full.Rows[y], previousRows[y], nextRows[y], outRows[y], strides,
                         BlendedChannels(m_isColour), m_composite.Width);
        }
        return following;
    }

    KyfFocusComposition& m_session;
    const KyfImageDataUint16& m_full;
    KyiImageData& m_composite;
    bool m_parallel;
    bool m_isColour;
};

// A composite that has been cut or taken is none to blend into.
bool HasWholeComposite(const KyfCompositionState& state) noexcept {
    return state.CompImage && state.CompImage->Width == state.SourceWidth &&
           state.CompImage->Height == state.SourceHeight;
}

} // namespace

KyfResult ComposeByHeight(KyfFocusComposition& session, const KyfImageDataUint16& full, KyiBool parallel,
                          KyfProgress* progress) {
    if (!HasWholeComposite(session.State3D) || !session.TempFileMap) return KyfResultInvalidParameter;
    switch (SampleBytes(session.State3D.CompImage->PixelBytes)) {
    case 1: return Composer<std::uint8_t>(session, full, parallel != 0).Run(progress);
    case 2: return Composer<std::uint16_t>(session, full, parallel != 0).Run(progress);
    default: return KyfResultInvalidParameter;
    }
}

} // namespace kyf

#include "safe3d/compose_by_height.h"

#include <algorithm>
#include <cstddef>
#include <new>
#include <string>
#include <utility>
#include <vector>

#include <omp.h>

#include "filters/image_layout.h"
#include "filters/sample_rows.h"
#include "filters/scratch.h"
#include "progress/progress_proc_manager.h"
#include "safe3d/blend_by_height.h"
#include "safe3d/temp_frames.h"

namespace kyf {

namespace {

constexpr std::int32_t kRowsOfBlock = 16; // that threads take in turn: a surface's rows in focus lie side by side

constexpr int BlendedChannels(bool isColour) noexcept { return isColour ? 3 : 1; }

// A file of another size or kind than the composite counts as one that cannot be read.
bool FitsComposite(const KyiImageData& frame, const KyiImageData& composite, bool isColour) noexcept {
    return frame.Width == composite.Width && frame.Height == composite.Height &&
           SampleBytes(frame.PixelBytes) == SampleBytes(composite.PixelBytes) &&
           SampleStride(frame.PixelBytes) >= BlendedChannels(isColour);
}

/// Traced as a file that cannot be read is, by its path and the reason.
void TraceMisfit(const wchar_t* path) noexcept {
    if (!KyiIsPuttingTraceLog()) return;
    try {
        KyiPutTraceLog(__FILE__, __LINE__, (std::wstring(path) + L": an image of another size or kind").c_str(), 0);
    } catch (const std::bad_alloc&) { // no memory for the line
    }
}

/// Ranges of the map's samples, piece by piece: most pieces have nothing to do with most frames.
class MapRanges {
  public:
    static constexpr std::int32_t kPiece = 128; // pixels

    MapRanges(const KyfImageDataUint16& map, bool parallel)
        : m_pieces(BlockCount(map.Width, kPiece)),
          m_ranges(static_cast<std::size_t>(m_pieces) * static_cast<std::size_t>(map.Height)) {
#pragma omp parallel for schedule(static) if (parallel)
        for (std::int32_t y = 0; y < map.Height; ++y)
            for (std::int32_t p = 0; p < m_pieces; ++p)
                m_ranges[IndexOf(y, p)] =
                    RangeOfSamples(map.Rows[y] + p * kPiece, std::min(kPiece, map.Width - p * kPiece));
    }

    std::int32_t Pieces() const { return m_pieces; }
    const SampleRange& At(std::int32_t y, std::int32_t piece) const { return m_ranges[IndexOf(y, piece)]; }

  private:
    std::size_t IndexOf(std::int32_t y, std::int32_t piece) const {
        return static_cast<std::size_t>(y) * static_cast<std::size_t>(m_pieces) + static_cast<std::size_t>(piece);
    }

    std::int32_t m_pieces;
    std::vector<SampleRange> m_ranges;
};

/// Two neighbouring frames and what their step needs.
template <typename T> struct FramePair {
    FramePair(const KyiImageData& previous, const KyiImageData& next, const KyiImageData& composite)
        : Previous(previous), Next(next), Strides{SampleStride(previous.PixelBytes), SampleStride(next.PixelBytes),
                                                  SampleStride(composite.PixelBytes)} {}

    SampleRows<const T> Previous;
    SampleRows<const T> Next;
    BlendStrides Strides;
};

template <typename T> class Composer {
  public:
    Composer(KyfFocusComposition& session, const KyfImageDataUint16& full, bool parallel)
        : m_session(session), m_full(full), m_composite(*session.State3D.CompImage), m_rows(m_composite),
          m_ranges(full, parallel), m_parallel(parallel), m_readsAhead(parallel && omp_get_max_threads() > 1),
          m_isColour(KyiIsFormatBgr(m_composite.Format) != 0) {}

    KyfResult Run(KyfProgress* progress) {
        ImagePtr previous = Load(0, nullptr);
        if (!previous) return KyfResultInvalidParameter;
        const std::int32_t count = m_session.State3D.FrameCount;
        CProgressProcManager steps(progress, count - 1);
        ImagePtr next = count > 1 ? Load(1, nullptr) : nullptr;
        ImagePtr spare;
        KyfResult result = KyfResultInvalidParameter;
        for (std::int32_t i = 1; i < count && next; ++i) {
            ImagePtr following = BlendAndReadAhead(i, *previous, *next, spare);
            spare = std::move(previous);
            previous = std::move(next);
            next = m_readsAhead || i + 1 == count ? std::move(following) : Load(i + 1, std::move(spare));
            if (i == count - 1) result = KyfResultOk;
            steps.Next();
        }
        KyfProgressCompleteProc(progress);
        return result;
    }

  private:
    ImagePtr Load(std::int32_t index, ImagePtr spare) const noexcept {
        ImagePtr frame = LoadTempFrame(m_session, index, std::move(spare));
        if (!frame || FitsComposite(*frame, m_composite, m_isColour)) return frame;
        TraceMisfit(m_session.TempFileMap[index]);
        return nullptr;
    }

    // Blends the step from frame i - 1 to frame i. The calling thread, which gets the reason of a file that cannot be
    // read, reads the frame after it into `spare` meanwhile; the other threads share the rows, or it takes them itself
    // when it has come alone.
    ImagePtr BlendAndReadAhead(std::int32_t i, const KyiImageData& previous, const KyiImageData& next,
                               ImagePtr& spare) {
        const std::int32_t count = m_session.State3D.FrameCount;
        const BlendStep step = MakeBlendStep(i, count, m_full.Scale, m_full.Offset);
        const FramePair<T> frames(previous, next, m_composite);
        const bool reads = m_readsAhead && i + 1 < count;
        ImagePtr following;
#pragma omp parallel if (m_parallel)
        {
            const std::int32_t team = omp_get_num_threads();
            const std::int32_t reader = reads && team > 1 ? 1 : 0; // threads that blend nothing
            const std::int32_t place = omp_get_thread_num() - reader;
            if (reads && omp_get_thread_num() == 0) following = Load(i + 1, std::move(spare));
            if (place >= 0) BlendShare(step, frames, place, team - reader);
        }
        return following;
    }

    // Every `shares`-th block of rows, from block `share` on.
    void BlendShare(const BlendStep& step, const FramePair<T>& frames, std::int32_t share, std::int32_t shares) const {
        const std::int32_t blocks = BlockCount(m_composite.Height, kRowsOfBlock);
        for (std::int32_t block = share; block < blocks; block += shares) {
            const std::int32_t first = block * kRowsOfBlock;
            const std::int32_t count = std::min(kRowsOfBlock, m_composite.Height - first);
            for (std::int32_t y = first; y < first + count; ++y) BlendPieces(step, frames, y);
        }
    }

    void BlendPieces(const BlendStep& step, const FramePair<T>& frames, std::int32_t y) const {
        for (std::int32_t p = 0; p < m_ranges.Pieces(); ++p) {
            if (!m_ranges.At(y, p).Meets(step)) continue;
            const std::int32_t first = p * MapRanges::kPiece;
            const std::ptrdiff_t at = first;
            BlendRow(step, m_full.Rows[y] + first, frames.Previous[y] + at * frames.Strides.Previous,
                     frames.Next[y] + at * frames.Strides.Next, m_rows[y] + at * frames.Strides.Out, frames.Strides,
                     BlendedChannels(m_isColour), std::min(MapRanges::kPiece, m_composite.Width - first));
        }
    }

    KyfFocusComposition& m_session;
    const KyfImageDataUint16& m_full;
    KyiImageData& m_composite;
    SampleRows<T> m_rows;
    MapRanges m_ranges;
    bool m_parallel;
    bool m_readsAhead; // else a frame takes the memory of the one before the last
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

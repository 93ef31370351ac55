/// The way of one frame from its pixels to edge strength and luminance, on the CPU.
#ifndef KYFOCUS_SAFE3D_FRAME_PROCESS_H
#define KYFOCUS_SAFE3D_FRAME_PROCESS_H

#include <kyfocus/session.h>
#include <kyimaging/functracelog.h>

#include "progress/progress_proc_manager.h"
#include "safe3d/custom_deleter.h"

namespace kyf {

/// Images of the working size that live for one add, in one block. All zeros to start with.
class FrameBuffers {
  public:
    explicit FrameBuffers(const KyfCompositionState& state);
    /// False when out of memory, and without working pixels.
    bool HasAll() const { return static_cast<bool>(m_block); }

    KyfImageData BokashiBibun{}; ///< differential of the blurred channel
    KyfImageData Bibun{};        ///< differential of the channel
    KyfImageData Work{};         ///< blur input and output
    KyfImageData KidoSource{};   ///< the channel

  private:
    HeldImage<KyfImageData> m_block;
};

/// Reduces the frame's channel to the working size. Throws std::bad_alloc.
void RunFirstProcess(const KyiImageData& frame, FrameBuffers& buffers, KyiBool parallel, const CFuncTraceLog& log);

/// Filters and edge strength data, into the session's next frame images. Completes two of the add's steps on the way.
/// Throws std::bad_alloc.
void RunSecondProcess(KyfFocusComposition& session, FrameBuffers& buffers, KyiBool parallel,
                      CProgressProcManager& steps, const CFuncTraceLog& log);

} // namespace kyf

#endif

/// The way of one frame from its pixels to edge strength and luminance, on the CPU.
#ifndef KYFOCUS_SAFE3D_FRAME_PROCESS_H
#define KYFOCUS_SAFE3D_FRAME_PROCESS_H

#include <kyfocus/session.h>
#include <kyimaging/functracelog.h>

#include "progress/progress_proc_manager.h"
#include "safe3d/custom_deleter.h"

namespace kyf {

/// Images of the working size that live for one add.
class FrameBuffers {
  public:
    /// For frames like `frame`. An image that cannot be had is null.
    FrameBuffers(const KyfCompositionState& state, const KyiImageData& frame);
    bool HasAll() const;

    HeldImage<KyiImageData> Reduced;      ///< the frame at working size
    HeldImage<KyfImageData> BokashiBibun; ///< differential of the blurred channel; zeros to start with
    HeldImage<KyfImageData> Bibun;        ///< differential of the channel
    HeldImage<KyfImageData> Work;         ///< blur input and output
    HeldImage<KyfImageData> KidoSource;   ///< the channel
};

/// Reduces the frame.
void RunFirstProcess(const KyiImageData& frame, FrameBuffers& buffers, KyiBool parallel, const CFuncTraceLog& log);

/// Filters and edge strength data, into the session's next frame images. Completes two of the add's steps on the way.
/// Throws std::bad_alloc.
void RunSecondProcess(KyfFocusComposition& session, FrameBuffers& buffers, KyiBool parallel,
                      CProgressProcManager& steps, const CFuncTraceLog& log);

} // namespace kyf

#endif

/// The way of one frame from its pixels to edge strength and luminance, on the path that the call has chosen.
#ifndef KYFOCUS_SAFE3D_FRAME_PROCESS_H
#define KYFOCUS_SAFE3D_FRAME_PROCESS_H

#include <kyfocus/session.h>
#include <kyimaging/functracelog.h>

#include "progress/progress_proc_manager.h"

namespace kyf {

/// Chooses the path, reduces the frame and makes the session's next frame images. Completes all four steps of the add,
/// the first of them when it begins. Throws std::bad_alloc.
/// @param frame  As it has been saved: moved into place where the stack is aligned.
/// @return 1; -3 when the working images cannot be had.
KyfResult ProcessFrame(KyfFocusComposition& session, const KyiImageData& frame, KyiBool parallel,
                       CProgressProcManager& steps, const CFuncTraceLog& log);

} // namespace kyf

#endif

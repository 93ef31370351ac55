/// Focus values of a frame: gray, reduction to the working size, edge strength, maximum, spline smoothing.
#ifndef KYFOCUS_SELECTION2D_FOCUS_CHAIN_H
#define KYFOCUS_SELECTION2D_FOCUS_CHAIN_H

#include <kyfocus/session.h>

#include "filters/image_layout.h"
#include "progress/progress_proc_manager.h"

namespace kyf {

/// Whether brightness itself is the focus value: ScopeType 2 and 3.
bool IsBrightnessFocus(const KyfFocusComposition& session) noexcept;

/// Reduction, edge strength, maximum and smoothing of a working image, each a step of `steps`. The edge strength is
/// left out where brightness is the focus value. A null image stays null and completes the steps. Throws
/// std::bad_alloc.
ImagePtr RunFocusChain(const KyfFocusComposition& session, ImagePtr image, KyiBool parallel,
                       CProgressProcManager& steps);

} // namespace kyf

#endif

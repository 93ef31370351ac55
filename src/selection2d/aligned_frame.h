/// A later frame as the stack goes on with it, after its method of alignment.
#ifndef KYFOCUS_SELECTION2D_ALIGNED_FRAME_H
#define KYFOCUS_SELECTION2D_ALIGNED_FRAME_H

#include <kyfocus/session.h>

#include "filters/image_layout.h"

namespace kyf {

/// Where the pixels are that selection and blend read.
struct AlignedFrame {
    const KyiImageData* Image; ///< the frame, or Own
    ImagePtr Own;              ///< an image that the method writes to; null where the frame itself serves
    bool IsTakenOver;          ///< the frame is the session's and is to be freed once the add has come through
};

/// Chooses the image by the session's method. Template matching warps into an image of its own and never takes the
/// frame over, line matching moves rows in place and does so in a copy unless it may take the frame over, and without a
/// method the frame is read where it lies. A frame on offer is taken over at a reduced working size only.
/// Throws std::bad_alloc.
AlignedFrame ChooseAlignedFrame(const KyfFocusComposition& session, const KyiImageData& frame, KyiBool takeOwnership);

} // namespace kyf

#endif

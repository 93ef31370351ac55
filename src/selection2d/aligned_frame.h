/// A later frame as the stack goes on with it, after its method of alignment.
#ifndef KYFOCUS_SELECTION2D_ALIGNED_FRAME_H
#define KYFOCUS_SELECTION2D_ALIGNED_FRAME_H

#include <optional>

#include <kyfocus/session.h>

#include "alignment/line_matching.h"
#include "alignment/template_matching.h"
#include "filters/image_layout.h"

namespace kyf {

/// Where the pixels are that selection and blend read.
struct AlignedFrame {
    KyiImageData* Image; ///< the frame, or Own
    ImagePtr Own;        ///< an image that the method writes to; null where the frame itself serves
    bool IsTakenOver;    ///< the frame is the session's and is to be freed once the add has come through
};

/// Chooses the image by the session's method. Template matching warps into an image of its own and never takes the
/// frame over; with any other method, or none, the frame is read where it lies until it has to move. A frame on offer
/// is taken over at a reduced working size only. Throws std::bad_alloc.
AlignedFrame ChooseAlignedFrame(const KyfFocusComposition& session, KyiImageData& frame, KyiBool takeOwnership);

/// Where template matching lines frames up, warps the frame into the image that was chosen for it, and stores its
/// transform in FrameShifts. @return what the frame and all before it cover, for TakeAlignedFrame; nothing where
/// another method or none does the work. Throws std::bad_alloc.
std::optional<KyfRect> WarpOntoStack(KyfFocusComposition& session, const KyiImageData& frame,
                                     const AlignedFrame& aligned, KyiBool parallel, KyfProgress* progress);

/// Matches the frame with the one before and moves its rows: in place where it is taken over, else in an image of its
/// own, and nowhere where it already lies right. The match is still to be accepted. Throws std::bad_alloc.
LineMatch AlignByLines(const KyfFocusComposition& session, AlignedFrame& frame, KyiBool parallel);

} // namespace kyf

#endif

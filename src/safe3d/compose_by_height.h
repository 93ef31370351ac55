/// The composite by height: each pixel a blend of the two frames between which its map value lies.
#ifndef KYFOCUS_SAFE3D_COMPOSE_BY_HEIGHT_H
#define KYFOCUS_SAFE3D_COMPOSE_BY_HEIGHT_H

#include <kyfocus/session.h>

#include "safe3d/image_uint16.h"

namespace kyf {

/// Reads the temporary bitmaps one after the other and blends them into State3D.CompImage. What no frame reaches stays.
/// @param full  Frame numbers at the frame's size. @param progress  Gets a step for each frame but the first, and is
///              completed once the first frame has been read. May be null.
/// @return 1; -2 when a frame cannot be read or does not fit, with the blend done as far as the frames before it, and
///         for a stack of one frame.
KyfResult ComposeByHeight(KyfFocusComposition& session, const KyfImageDataUint16& full, KyiBool parallel,
                          KyfProgress* progress);

} // namespace kyf

#endif

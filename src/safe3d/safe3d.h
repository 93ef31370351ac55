/// 3D safe composition: a height map from edge strength over the stack, and a composite by height.
///
/// Uses selection2d (cutting), alignment, filters, progress, imaging (public calls) and platform.
#ifndef KYFOCUS_SAFE3D_SAFE3D_H
#define KYFOCUS_SAFE3D_SAFE3D_H

#include <kyfocus/session.h>

namespace kyf {

/// Takes one frame into the 3D pipeline. This build has none: the result is -2, traced, and nothing changes.
KyfResult Kyf3DSafeAddImage(KyfFocusComposition* session, KyiImageData* frame, KyiBool takeOwnership,
                            KyiBool& ownershipTaken, KyiBool parallel, KyfProgress* progress);

/// Makes height map and composite. This build has none: the result is -2, traced.
KyfResult Kyf3DSafeMakeCompImage(KyfFocusComposition* session, const KyfRect& rectangle, KyiBool parallel,
                                 KyfProgress* progress);

} // namespace kyf

#endif

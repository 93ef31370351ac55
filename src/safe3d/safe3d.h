/// 3D safe composition: a height map from edge strength over the stack, and a composite by height.
///
/// Uses selection2d (cutting), alignment, gpu, filters, progress, imaging (public calls) and platform.
#ifndef KYFOCUS_SAFE3D_SAFE3D_H
#define KYFOCUS_SAFE3D_SAFE3D_H

#include <kyfocus/session.h>

namespace kyf {

/// Takes one frame into the 3D pipeline: its pixels go to a bitmap in the temporary folder, its edge strength and
/// luminance stay in memory. Completes four steps below `progress`, and the node itself on success.
/// @param takeOwnership   The caller offers the frame. @param ownershipTaken  Set to 1 when the session keeps the frame
///                        as CompImage, which it does with the first one; may be so after a failure too. Else set to 0.
///                        Line matching moves a later frame's rows in place; a failing add puts them back.
/// @return 1; -2 for a frame that does not fit the first; -3 when out of memory; -4 when the bitmap cannot be written.
///         The frame count and the state of alignment change with success only.
KyfResult Kyf3DSafeAddImage(KyfFocusComposition* session, KyiImageData* frame, KyiBool takeOwnership,
                            KyiBool& ownershipTaken, KyiBool parallel, KyfProgress* progress);

/// Height map and composite of the stack, once; without a HeightList neither. The composite's own failure does not keep
/// the heights from being made.
/// @return 1; -2 without a stack, or when the composite could not be completed; -3 when out of memory: HeightDataMap
///         then holds zeros.
KyfResult Kyf3DSafeMakeHeightData(KyfFocusComposition* session, KyiBool parallel, KyfProgress* progress);

/// The whole make: height data, whatever comes of it, then the cut of everything to the rectangle. Completes two steps
/// and the node.
/// @return 1; -3 when out of memory, and without height data, the composite being cut already.
KyfResult Kyf3DSafeMakeCompImage(KyfFocusComposition* session, const KyfRect& rectangle, KyiBool parallel,
                                 KyfProgress* progress);

} // namespace kyf

#endif

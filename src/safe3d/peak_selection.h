/// Per-pixel selection: where each pixel of the grid is in focus, and whether that can be believed.
#ifndef KYFOCUS_SAFE3D_PEAK_SELECTION_H
#define KYFOCUS_SAFE3D_PEAK_SELECTION_H

#include <kyfocus/session.h>

namespace kyf {

/// Finds the focus peak of every pixel over the stack and fits it.
///
/// A peak is looked for from pixel to pixel in row order, and a pixel without any edge strength has the peak of the one
/// before it (0 before any has one). Where brightness stands for focus that shows in the result: it is the same with
/// any number of threads.
/// @param session   All frames have their images, and HeightList is set. Lent.
/// @param frameMap  Receives positions in frame numbers; pixels without a peak keep what they hold. Of the grid's size.
/// @param mask      Receives 0 where the position can be believed, 255 where not.
/// Throws std::bad_alloc.
void SelectPeaks(const KyfFocusComposition& session, KyfImageData& frameMap, KyiImageData& mask, KyiBool parallel);

} // namespace kyf

#endif

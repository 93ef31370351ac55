/// Numbers as colours that differ as much to the eye as the numbers do.
#ifndef KYFOCUS_APP_COLOUR_MAP_H
#define KYFOCUS_APP_COLOUR_MAP_H

#include "drawing.h"

namespace app {

/// The colour of a position from 0, dark blue, over green to 1, yellow; what lies beyond takes the end's colour.
/// Source   "viridis" by N. Smith and S. van der Walt, given to the public domain (CC0): twenty of its colours at even
///          distances, lines between them.
Bgr ColourOf(double position);

} // namespace app

#endif

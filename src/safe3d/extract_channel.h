/// The channel of a frame that the edge strength is made from, as doubles.
#ifndef KYFOCUS_SAFE3D_EXTRACT_CHANNEL_H
#define KYFOCUS_SAFE3D_EXTRACT_CHANNEL_H

#include <kyfocus/types.h>

namespace kyf {

/// Stores the green samples, or those of a gray image, unscaled: 0 to 255 or 0 to 65535. The images have one size; a
/// pixel size that kernels do not know leaves the destination as it was.
void ExtractChannel(const KyiImageData& source, KyfImageData& destination, KyiBool parallel);

} // namespace kyf

#endif

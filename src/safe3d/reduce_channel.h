/// Reduction of the one channel that edge strength is made from.
#ifndef KYFOCUS_SAFE3D_REDUCE_CHANNEL_H
#define KYFOCUS_SAFE3D_REDUCE_CHANNEL_H

#include <kyfocus/types.h>

namespace kyf {

/// What ReduceImage to the destination's size, and ExtractChannel after it, give, without the channels between. Whether
/// UseParallelProcess holds of the source decides about the cap of 16-bit samples, as there.
/// @param destination  Not larger than the source. Throws std::bad_alloc.
void ReduceChannel(const KyiImageData& source, KyfImageData& destination, KyiBool parallel);

} // namespace kyf

#endif

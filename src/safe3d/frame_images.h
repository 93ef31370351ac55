/// The two small images that stand for a frame once it has been added.
#ifndef KYFOCUS_SAFE3D_FRAME_IMAGES_H
#define KYFOCUS_SAFE3D_FRAME_IMAGES_H

#include <kyfocus/session.h>

namespace kyf {

/// The entries of frame State3D.FrameCount in EdgeFrames and KidoFrames, EdgeDataWidth x EdgeDataHeight; the session's.
struct FrameImages {
    KyfImageData& Edge;
    KyfImageData& Kido;
};

/// Takes entries that an add before has left behind, or makes them; the tables grow by 256. Throws std::bad_alloc, with
/// the tables in order, also for a grid of more than 2^27 samples.
FrameImages MakeFrameImages(KyfFocusComposition& session);

/// Whether every frame of a stack of at least one has its two images, all of the size of the grid.
bool HasAllFrameImages(const KyfFocusComposition& session) noexcept;

} // namespace kyf

#endif

/// Frames of a synthetic stack as images.
#ifndef KYFOCUS_APP_SYNTH_FRAME_H
#define KYFOCUS_APP_SYNTH_FRAME_H

#include "images.h"
#include "synth_defocus.h"
#include "synth_options.h"
#include "synth_surface.h"

namespace app {

/// Pixels that the scene must reach beyond the image so that every frame is seen whole, blur included.
int MarginOf(const SynthOptions& options);

/// Frame `frame` as the camera sees it: moved, out of focus, noisy. Can be called from several threads.
/// @param scene, layers  Of the same options; the layers hold the scene's picture.
/// Throws Failure when out of memory.
Image MakeFrame(const SynthOptions& options, const Scene& scene, const BlurLayers& layers, int frame);

/// The picture without movement, blur or noise.
Image MakeTruth(const SynthOptions& options, const Scene& scene, const BlurLayers& layers);

/// The picture without movement and blur at 1 / 2^halvings of its brightness, noisy.
Image MakeExposure(const SynthOptions& options, const Scene& scene, const BlurLayers& layers, int halvings);

} // namespace app

#endif

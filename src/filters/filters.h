/// Image primitives: block-average reduction, mirrored border, Sobel edge strength, 5 by 5 running maximum, spline
/// smoothing, and the rule for running them in parallel.
///
/// Uses imaging (public calls), progress and platform. Filters work channel by channel, 0 red, 1 green, 2 blue, on
/// images of any known format, and keep no state. `parallel` is the host's flag: it never changes a result except
/// where a filter says so.
#ifndef KYFOCUS_FILTERS_FILTERS_H
#define KYFOCUS_FILTERS_FILTERS_H

#include <cstdint>

#include <kyfocus/progress.h>
#include <kyfocus/types.h>

namespace kyf {

/// Pixels below which images are filtered in one thread; 0 means no limit.
extern std::uint32_t g_parallelProcImageSize;

/// Whether an image is worth a parallel kernel: the flag is set, the machine has two processors or more, and the image
/// has at least g_parallelProcImageSize pixels (counted in 32 bits). Tested in that order.
bool UseParallelProcess(const KyiImageData* image, KyiBool parallel);

/// The same for the image that it is with a border on all sides.
bool UseBorderedParallel(const KyiImageData& image, std::int32_t border, KyiBool parallel);

/// Scales down to the destination's size by averages of whole blocks, (int)rx by (int)ry samples that start at the
/// truncated position; equal sizes are copied. The sequential kernel caps results at 255 whatever the sample width,
/// the parallel one at the destination's largest value. The destination is not larger than the source.
void ReduceImage(const KyiImageData* source, KyiImageData* destination, KyiBool parallel);

/// A new image, larger by the borders on all sides, with the edges reflected (the edge sample repeats). What no
/// reflection of a small source reaches is 0, and so is the unused byte of four-byte pixels in the border. The caller
/// frees it. Throws std::bad_alloc.
KyiImageData* MirrorBorderImage(const KyiImageData* source, std::int32_t borderX, std::int32_t borderY,
                                KyiBool parallel);

/// Sobel edge strength |Gx| + |Gy|, capped at the largest value less 1. The last column repeats the one to its left.
/// Source and destination have one size and format and may be the same image.
void FilterEdgeStrength(const KyiImageData* source, KyiImageData* destination, KyiBool parallel);

/// Running maximum over 5 by 5 samples; a column that enters the window during a rescan is seen by the next rescan
/// only. Source and destination have one size and format and may be the same image.
void FilterMaximum5x5(const KyiImageData* source, KyiImageData* destination, KyiBool parallel);

/// Spline smoothing: every row, then every column, becomes the exact second-order penalised least-squares fit
/// (Whittaker-Henderson). Gain 1/2 at the cutoff, twice the size. A size of 0 leaves its axis alone.
/// @param sizeX, sizeY  Half wavelengths, in samples. @param scale  Factor on loading, divided out on storing.
/// Source and destination have one size and format and may be the same image.
/// @param progress  Completed at the end; gets a sub-list where several passes run. May be null.
void FilterSplineImage(const KyiImageData* source, KyiImageData* destination, double sizeX, double sizeY, double scale,
                       KyiBool parallel, KyfProgress* progress);

/// The same fit on doubles, with cutoffs in samples; each pass adds 0.01. `margin` samples stay untouched on all sides.
/// Source and destination have one size and may be the same record. With one cutoff 0, Width counts as the height too.
/// @return 1; -3 when the intermediate image cannot be had, with the destination untouched.
KyfResult FilterSplineDouble(const KyfImageData* source, KyfImageData* destination, double cutoffX, double cutoffY,
                             std::int32_t margin, KyiBool parallel);

/// Smoothing weight L of a cutoff in samples: (0.5 / sin(pi / cutoff)) to the fourth power.
double SplineWeight(double cutoff);

} // namespace kyf

#endif

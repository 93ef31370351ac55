/// From the working channel of a frame to its edge strength and luminance images.
///
/// The focus measure is a difference of gradients: the channel is high-pass filtered as it is and blurred; what the
/// blur removes is detail. Images have one size unless said otherwise, and source and destination are not the same.
#ifndef KYFOCUS_SAFE3D_EDGE_DATA_H
#define KYFOCUS_SAFE3D_EDGE_DATA_H

#include <cstdint>

#include <kyfocus/types.h>

namespace kyf {

/// Largest side of a blur.
constexpr std::int32_t kMaxBlurSize = 10;

/// Whether a blur of this many weights a side has a middle and is not too large. Any other does nothing.
constexpr bool IsBlurSize(std::int32_t size) { return size % 2 == 1 && size <= kMaxBlurSize; }

/// One pass of a separable blur, summed row by row of the weights. Past the left or upper edge sample k is read at
/// x + k + 1, past the right or lower edge at x - k - 1, which is no mirror. `margin` pixels on all sides are not
/// written; a size that is none does nothing.
/// @param weightsX, weightsY  `size` weights, at most kMaxBlurSize; divided by their sum.
void BlurPass(const KyfImageData& source, KyfImageData& destination, std::int32_t margin, const double* weightsX,
              const double* weightsY, std::int32_t size, KyiBool parallel);

/// Length of the gradient of a seven-tap high-pass along x and y, always in parallel. The near edge is mirrored at its
/// sample, the far edge behind it.
void FilterHighPass(const KyfImageData& source, KyfImageData& destination);

/// A rectangle, right and bottom edge excluded.
struct SampleWindow {
    std::int32_t Left;
    std::int32_t Top;
    std::int32_t Right;
    std::int32_t Bottom;
};

struct WindowSum {
    double Sum;
    std::int32_t Count;
};

/// Sum and number of the samples of a window inside the image, added up row by row, x rising.
WindowSum SumWindow(const KyfImageData& image, const SampleWindow& window);

/// Edge strength and luminance on the grid of `edge` and `kido`: means over 8 by 8 windows, which reach 4 samples to
/// the left and 3 to the right of the truncated position. Edge strength is 50 times the plain gradient's mean less
/// the blurred gradient's, and not below 0; luminance is the mean of the channel.
/// @param bibun, bokashiBibun  Gradient of the channel as it is, and blurred.
/// @param kidoSource  The channel: whole numbers up to 65535.
void MakeEdgeData(const KyfImageData& bibun, const KyfImageData& bokashiBibun, const KyfImageData& kidoSource,
                  KyfImageData& edge, KyfImageData& kido, KyiBool parallel);

/// Copies the samples of an image.
void CopyDoubleImage(const KyfImageData& source, KyfImageData& destination, KyiBool parallel);

} // namespace kyf

#endif

/// How far two images or two height maps are apart. Plain numbers: no files, no options.
///
/// Sums run row by row from the top left, so that a figure has the same bits with any number of threads.
#ifndef KYFOCUS_APP_METRICS_H
#define KYFOCUS_APP_METRICS_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

#include <kyimaging/kyimaging.h>

namespace app {

/// Differences of all samples of all channels, second minus first, in levels of the samples.
struct SampleDifferences {
    double MeanSquare = 0.0;
    double Mean = 0.0;         ///< signed: positive where the second image is brighter
    double MeanAbsolute = 0.0; ///< mean of the magnitudes
    std::int32_t Largest = 0;  ///< largest magnitude
};

/// The images have one size, one sample depth, and are both gray or both colour; the same below.
SampleDifferences CompareSamples(const KyiImageData& first, const KyiImageData& second);

/// Peak signal to noise ratio in dB: 10 lg(peak^2 / meanSquare). Infinite for a mean square of 0.
double PeakSignalToNoise(double meanSquare, double peak);

/// Mean structural similarity of the gray images, 1 for equal ones. Empty when a side is shorter than the 11 pixels of
/// the window.
/// Source   Z. Wang, A. C. Bovik, H. R. Sheikh, E. P. Simoncelli, "Image quality assessment: from error visibility to
///          structural similarity", IEEE Transactions on Image Processing 13(4), 2004: Gaussian window of 11 x 11
///          pixels with a standard deviation of 1.5 pixels and sum 1, K1 = 0.01, K2 = 0.03, at the images' own scale,
///          over the windows that lie inside the image. Colour is turned to gray by KyiTransformToGray.
/// Throws Failure when out of memory.
std::optional<double> StructuralSimilarity(const KyiImageData& first, const KyiImageData& second);

/// Differences of two height maps, second minus first, in their unit, over the pixels that are measured in both.
struct HeightDifferences {
    double RootMeanSquare = 0.0;
    double Mean = 0.0;
    double Largest = 0.0;     ///< largest magnitude
    std::size_t Measured = 0; ///< pixels that are a number in both; 0 leaves the rest at 0
    std::size_t Near = 0;     ///< of these, pixels whose magnitude is at most the limit
};

/// The maps have one length. Values that are not finite are holes.
/// @param offset  Taken from every value of the second map. @param limit  What counts as near.
HeightDifferences CompareHeights(std::span<const double> first, std::span<const double> second, double offset = 0.0,
                                 double limit = 0.0);

} // namespace app

#endif

/// Kernel of the running maximum: a block of rows goes through it side by side, one row a lane.
#ifndef KYFOCUS_FILTERS_MAXIMUM5X5_BLOCK_H
#define KYFOCUS_FILTERS_MAXIMUM5X5_BLOCK_H

#include <cstddef>
#include <cstdint>

namespace kyf {

/// Rows of a block: one vector register of samples.
template <typename T> constexpr int kMaximumLanes = 64 / static_cast<int>(sizeof(T));
/// Pixels of a strip that a block goes through at a time.
constexpr int kMaximumStripPixels = 128;
constexpr int kMaximumWindow = 5;
constexpr int kMaximumPixelSamples = 4;

/// Working memory of one block; fits the first-level cache for gray.
template <typename T> struct MaximumScratch {
    static constexpr int kLanes = kMaximumLanes<T>;
    static constexpr int kStrip = kMaximumStripPixels * kMaximumPixelSamples;
    static constexpr int kHistory = (kMaximumWindow - 1) * kMaximumPixelSamples;

    alignas(64) T Rows[kLanes][kStrip];               ///< maxima of five rows; later the outputs
    alignas(64) T Columns[kHistory + kStrip][kLanes]; ///< the same transposed, after the four pixels before the strip
    alignas(64) T Running[kMaximumPixelSamples][kLanes];  ///< running maximum of each channel and row
    alignas(64) T Position[kMaximumPixelSamples][kLanes]; ///< its place in the window; 0 asks for a rescan
};

/// Rows of an image as the block sees them.
template <typename T> struct MaximumBlock {
    const T* Above[2]; ///< the rows two and one above; beyond the image any row of the window
    const T* Source;   ///< first row
    std::ptrdiff_t SourceStep;
    const T* Below[2]; ///< the rows one and two below the last, as above
    T* Destination;
    std::ptrdiff_t DestinationStep;
    std::int32_t Width; ///< pixels
    int Stride;         ///< samples of a pixel
    std::int32_t Rows;  ///< kMaximumLanes at most
};

/// Filters the rows of one block. Source and destination may be the same rows; the rows above and below stay as they
/// are.
void MaximumOfBlock(const MaximumBlock<std::uint8_t>& block, MaximumScratch<std::uint8_t>& scratch) noexcept;
void MaximumOfBlock(const MaximumBlock<std::uint16_t>& block, MaximumScratch<std::uint16_t>& scratch) noexcept;

} // namespace kyf

#endif

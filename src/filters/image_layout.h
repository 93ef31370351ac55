/// Images as the pipelines use them: owning pointers, sample addressing, and the small copies that start a pipeline.
#ifndef KYFOCUS_FILTERS_IMAGE_LAYOUT_H
#define KYFOCUS_FILTERS_IMAGE_LAYOUT_H

#include <cstdint>
#include <memory>

#include <kyimaging/kyimaging.h>

namespace kyf {

struct ImageDeleter {
    void operator()(KyiImageData* image) const noexcept { KyiFreeImageData(image); }
};
using ImagePtr = std::unique_ptr<KyiImageData, ImageDeleter>;

/// Samples from one pixel to the next: 1 for gray, 3 or 4 for colour; 0 for a pixel size that kernels do not know.
constexpr int SampleStride(int pixelBytes) noexcept {
    switch (pixelBytes) {
    case 1:
    case 2: return 1;
    case 3:
    case 6: return 3;
    case 4: return 4;
    default: return 0;
    }
}

/// Bytes of a sample: 1 or 2; 0 for a pixel size that kernels do not know.
constexpr int SampleBytes(int pixelBytes) noexcept {
    return pixelBytes == 2 || pixelBytes == 6 ? 2 : SampleStride(pixelBytes) != 0 ? 1 : 0;
}

/// Sample of channel `channel` (0 red, 1 green, 2 blue) inside a pixel; 0 in one-channel pixels.
constexpr int ChannelOffset(int pixelBytes, int channel) noexcept {
    const int stride = SampleStride(pixelBytes);
    return stride > 1 ? stride - channel - 1 : 0;
}

/// The gray format with the same sample width: of a gray word itself; -1 for an unknown word.
std::int32_t GrayPartnerFormat(std::int32_t format) noexcept;

/// An image of the source's size, format, origin and palette; pixels not initialised. Throws std::bad_alloc.
ImagePtr CloneImageLayout(const KyiImageData& source);

/// An image of the source's size and palette in `format`, pixels not initialised. Throws std::bad_alloc.
ImagePtr NewImage(const KyiImageData& source, std::int32_t format);

/// The rows from `first` up to `last` as an image of their own, which looks into the block of the whole one.
KyiImageData RowsOf(const KyiImageData& image, std::int32_t first, std::int32_t last) noexcept;

/// Gray of an image: a copy with its palette when it is gray already. The destination has the gray partner format.
void CopyToGray(const KyiImageData& source, KyiImageData& destination, KyiBool parallel);

/// A copy of a gray image; of a colour image channel 0 only, the other samples of the destination stay.
void CopyFirstChannel(const KyiImageData& source, KyiImageData& destination);

} // namespace kyf

#endif

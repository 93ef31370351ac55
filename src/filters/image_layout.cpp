#include "filters/image_layout.h"

#include <cstddef>
#include <new>
#include <vector>

#include "filters/scratch.h"

namespace kyf {

namespace {

ImagePtr Owned(KyiImageData* image) {
    if (!image) throw std::bad_alloc();
    return ImagePtr(image);
}

} // namespace

std::int32_t GrayPartnerFormat(std::int32_t format) noexcept {
    if (KyiIsFormatGrayscale(format)) return format;
    switch (format) {
    case KyiFormatBgr24:
    case KyiFormatBgr32:
    case KyiFormatBgr24Other: return KyiFormatGray8;
    case KyiFormatBgr48:
    case KyiFormatBgr48Other: return KyiFormatGray16;
    case KyiFormatBgr24Alternate:
    case KyiFormatBgr32Alternate: return KyiFormatGray8Alternate;
    case KyiFormatBgr48Alternate:
    case KyiFormatBgr48Second: return KyiFormatGray16Alternate;
    default: return -1;
    }
}

ImagePtr CloneImageLayout(const KyiImageData& source) {
    ImagePtr clone = Owned(KyiAllocImageDataEx(source.Width, source.Height, source.Format, source.Origin, 0));
    KyiCopyPalette(source.Palette, clone->Palette);
    return clone;
}

ImagePtr NewImage(const KyiImageData& source, std::int32_t format) {
    ImagePtr image = Owned(KyiAllocImageData(source.Width, source.Height, format));
    KyiCopyPalette(source.Palette, image->Palette);
    return image;
}

KyiImageData RowsOf(const KyiImageData& image, std::int32_t first, std::int32_t last) noexcept {
    KyiImageData rows = image;
    rows.Height = last - first;
    rows.Pixels = static_cast<std::uint8_t*>(image.Pixels) + std::ptrdiff_t{image.LineBytes} * (image.Height - last);
    return rows;
}

void CopyToGray(const KyiImageData& source, KyiImageData& destination, KyiBool parallel) {
    if (!KyiIsFormatGrayscale(source.Format)) {
        if (!KyiIsSameSize(&source, &destination)) return;
        const WorkShare share(source.Height, parallel != 0);
#pragma omp parallel for schedule(static) if (parallel != 0)
        for (std::int32_t chunk = 0; chunk < share.Chunks; ++chunk) {
            const KyiImageData colour = RowsOf(source, share.First(chunk), share.Last(chunk));
            KyiImageData gray = RowsOf(destination, share.First(chunk), share.Last(chunk));
            KyiTransformToGray(&colour, &gray, 0);
        }
        return;
    }
    KyiCopyPalette(source.Palette, destination.Palette);
    KyiCopyImageData(&source, &destination, 0, 0);
}

void CopyFirstChannel(const KyiImageData& source, KyiImageData& destination) {
    if (KyiIsFormatGrayscale(source.Format)) {
        KyiCopyImageData(&source, &destination, 0, 0);
        return;
    }
    std::vector<std::int32_t> line(static_cast<std::size_t>(source.Width));
    for (std::int32_t y = 0; y < source.Height; ++y) {
        KyiGetLinePixel(&source, 0, y, 0, line.data(), source.Width);
        KyiSetLinePixel(&destination, 0, y, 0, line.data(), source.Width);
    }
}

} // namespace kyf

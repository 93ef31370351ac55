#include "differentiation_map_file.h"

#include <new>

#include "errors.h"
#include "images.h"

namespace app {

DifferentiationMap LoadDifferentiationMap(const std::filesystem::path& file) {
    const Image image = LoadImage(file);
    if (!KyiIsFormatGrayscale(image->Format))
        throw Failure(DisplayPath(file) + ": is " + DescribeImage(*image) +
                      ", expected a gray image, as compose --differentiation-map writes");
    DifferentiationMap map{image->Width, image->Height, KyiGetDepth(image->Format), {}};
    map.Values.resize(static_cast<std::size_t>(map.Width) * static_cast<std::size_t>(map.Height));
    for (int y = 0; y < map.Height; ++y)
        KyiGetLinePixel(image.get(), 0, y, 0, map.Values.data() + static_cast<std::ptrdiff_t>(y) * map.Width,
                        map.Width);
    return map;
}

void SaveDifferentiationMap(const std::filesystem::path& file, const DifferentiationMap& map) {
    const Image image(KyiAllocImageData(map.Width, map.Height, map.Depth > 256 ? KyiFormatGray16 : KyiFormatGray8));
    if (!image) throw std::bad_alloc();
    for (int y = 0; y < map.Height; ++y)
        KyiSetLinePixel(image.get(), 0, y, 0, map.Values.data() + static_cast<std::ptrdiff_t>(y) * map.Width,
                        map.Width);
    SaveImage(file, *image);
}

} // namespace app

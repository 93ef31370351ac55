#include "filters/filters.h"

#include <cstring>
#include <limits>
#include <new>

#include "filters/image_layout.h"

namespace kyf {

namespace {

std::int32_t BorderedSize(std::int32_t size, std::int32_t border) {
    const std::int64_t bordered = static_cast<std::int64_t>(size) + 2 * static_cast<std::int64_t>(border);
    if (bordered < 1 || bordered > std::numeric_limits<std::int32_t>::max()) throw std::bad_alloc();
    return static_cast<std::int32_t>(bordered);
}

struct Border {
    std::int32_t X;
    std::int32_t Y;
};

// Source position behind a position of the bordered axis, or -1 where no reflection reaches.
std::int32_t ReflectedPosition(std::int32_t position, std::int32_t border, std::int32_t size) {
    std::int64_t at = static_cast<std::int64_t>(position) - border;
    if (at < 0)
        at = -1 - at;
    else if (at >= size)
        at = 2 * static_cast<std::int64_t>(size) - 1 - at;
    return at >= 0 && at < size ? static_cast<std::int32_t>(at) : -1;
}

// The unused byte of a four-byte pixel belongs to the source alone: in the border it stays 0.
void FillRow(const KyiImageData& source, std::int32_t sourceY, KyiImageData& result, std::int32_t y,
             const Border& border) {
    const bool isBorderRow = y - border.Y != sourceY;
    const auto pixel = static_cast<std::size_t>(source.PixelBytes);
    const auto* const in = static_cast<const std::uint8_t*>(KyiGetPixelAddress(&source, 0, sourceY));
    auto* const out = static_cast<std::uint8_t*>(KyiGetPixelAddress(&result, 0, y));
    for (std::int32_t x = 0; x < result.Width; ++x) {
        const std::int32_t sourceX = ReflectedPosition(x, border.X, source.Width);
        if (sourceX < 0) continue;
        const bool isBorder = isBorderRow || x - border.X != sourceX;
        const std::size_t unused = isBorder && pixel == 4 ? 1 : 0;
        std::memcpy(out + pixel * static_cast<std::size_t>(x) + unused,
                    in + pixel * static_cast<std::size_t>(sourceX) + unused, pixel - unused);
    }
}

} // namespace

KyiImageData* MirrorBorderImage(const KyiImageData* source, std::int32_t borderX, std::int32_t borderY,
                                KyiBool /*parallel*/) {
    const std::int32_t width = BorderedSize(source->Width, borderX);
    const std::int32_t height = BorderedSize(source->Height, borderY);
    ImagePtr result(KyiAllocImageData(width, height, source->Format));
    if (!result) throw std::bad_alloc();
    std::memset(result->Pixels, 0, static_cast<std::size_t>(result->LineBytes) * static_cast<std::size_t>(height));
    for (std::int32_t y = 0; y < height; ++y) {
        const std::int32_t sourceY = ReflectedPosition(y, borderY, source->Height);
        if (sourceY >= 0) FillRow(*source, sourceY, *result, y, {borderX, borderY});
    }
    return result.release();
}

} // namespace kyf

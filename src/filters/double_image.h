/// Tables and images of doubles: a row pointer table and one block of samples, both page blocks.
#ifndef KYFOCUS_FILTERS_DOUBLE_IMAGE_H
#define KYFOCUS_FILTERS_DOUBLE_IMAGE_H

#include <cstdint>
#include <memory>

#include <kyfocus/types.h>

namespace kyf {

/// A zero-filled table of `height` rows of `width` doubles; null when out of memory or for a size below 1.
[[nodiscard]] double** AllocDoubleRows(std::int32_t width, std::int32_t height) noexcept;

/// Releases a table of AllocDoubleRows. Null does nothing.
void FreeDoubleRows(double** rows) noexcept;

/// A zero-filled image of doubles; null when out of memory or for a size below 1.
[[nodiscard]] KyfImageData* AllocDoubleImage(std::int32_t width, std::int32_t height) noexcept;

/// Releases an image of AllocDoubleImage with its table, if it still has one. Null does nothing.
void FreeDoubleImage(KyfImageData* image) noexcept;

struct DoubleImageDeleter {
    void operator()(KyfImageData* image) const noexcept { FreeDoubleImage(image); }
};
using DoubleImagePtr = std::unique_ptr<KyfImageData, DoubleImageDeleter>;

} // namespace kyf

#endif

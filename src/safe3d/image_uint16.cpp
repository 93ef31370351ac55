#include "safe3d/image_uint16.h"

#include <cstddef>
#include <cstring>
#include <new>

#include "platform/pages.h"

namespace kyf {

namespace {

std::uint16_t** AllocRows(std::size_t width, std::size_t height) noexcept {
    auto** const rows = static_cast<std::uint16_t**>(platform::AllocatePages(height * sizeof(std::uint16_t*)));
    if (!rows) return nullptr;
    auto* const samples = static_cast<std::uint16_t*>(platform::AllocatePages(width * height * sizeof(std::uint16_t)));
    if (!samples) {
        platform::FreePages(rows);
        return nullptr;
    }
    for (std::size_t y = 0; y < height; ++y) rows[y] = samples + y * width;
    return rows;
}

void FreeRows(std::uint16_t** rows) noexcept {
    if (!rows) return;
    platform::FreePages(rows[0]);
    platform::FreePages(rows);
}

} // namespace

KyfImageDataUint16* AllocUint16Image(std::int32_t width, std::int32_t height) noexcept {
    if (width < 1 || height < 1) return nullptr;
    std::uint16_t** const rows = AllocRows(static_cast<std::size_t>(width), static_cast<std::size_t>(height));
    if (!rows) return nullptr;
    auto* const image = new (std::nothrow) KyfImageDataUint16{rows, width, height, 1.0, 0.0};
    if (!image) FreeRows(rows);
    return image;
}

void FreeUint16Image(KyfImageDataUint16* image) noexcept {
    if (!image) return;
    FreeRows(image->Rows);
    delete image;
}

void CopyUint16Image(const KyfImageDataUint16& source, KyfImageDataUint16& destination, KyiBool parallel) {
    const std::size_t rowBytes = static_cast<std::size_t>(source.Width) * sizeof(std::uint16_t);
#pragma omp parallel for schedule(static) if (parallel)
    for (std::int32_t y = 0; y < source.Height; ++y) std::memcpy(destination.Rows[y], source.Rows[y], rowBytes);
    destination.Scale = source.Scale;
    destination.Offset = source.Offset;
}

} // namespace kyf

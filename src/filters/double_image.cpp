#include "filters/double_image.h"

#include <new>

#include "platform/pages.h"

namespace kyf {

double** AllocDoubleRows(std::int32_t width, std::int32_t height) noexcept {
    if (width < 1 || height < 1) return nullptr;
    const auto columns = static_cast<std::size_t>(width);
    const auto lines = static_cast<std::size_t>(height);
    auto** const rows = static_cast<double**>(platform::AllocatePages(lines * sizeof(double*)));
    if (!rows) return nullptr;
    auto* const samples = static_cast<double*>(platform::AllocatePages(lines * columns * sizeof(double)));
    if (!samples) {
        platform::FreePages(rows);
        return nullptr;
    }
    for (std::size_t y = 0; y < lines; ++y) rows[y] = samples + y * columns;
    return rows;
}

void FreeDoubleRows(double** rows) noexcept {
    if (!rows) return;
    platform::FreePages(rows[0]);
    platform::FreePages(rows);
}

KyfImageData* AllocDoubleImage(std::int32_t width, std::int32_t height) noexcept {
    double** const rows = AllocDoubleRows(width, height);
    if (!rows) return nullptr;
    auto* const image = new (std::nothrow) KyfImageData{rows, width, height};
    if (!image) FreeDoubleRows(rows);
    return image;
}

void FreeDoubleImage(KyfImageData* image) noexcept {
    if (!image) return;
    FreeDoubleRows(image->Rows);
    delete image;
}

} // namespace kyf

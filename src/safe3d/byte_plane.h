/// Scratch copies of masks.
#ifndef KYFOCUS_SAFE3D_BYTE_PLANE_H
#define KYFOCUS_SAFE3D_BYTE_PLANE_H

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <new>

#include "filters/sample_rows.h"

namespace kyf {

/// Bytes of `width` x `height`, with rows one after the other, not initialised. Empty when out of memory.
class BytePlane {
  public:
    BytePlane(std::int32_t width, std::int32_t height)
        : m_width(width),
          m_bytes(new (std::nothrow) std::uint8_t[static_cast<std::size_t>(width) * static_cast<std::size_t>(height)]) {
    }

    explicit operator bool() const noexcept { return m_bytes != nullptr; }
    std::uint8_t* operator[](std::int32_t y) const noexcept { return m_bytes.get() + std::ptrdiff_t{y} * m_width; }

  private:
    std::int32_t m_width;
    std::unique_ptr<std::uint8_t[]> m_bytes;
};

/// Copies the samples of a mask of the plane's size.
inline void LoadMask(const KyiImageData& mask, BytePlane& plane) {
    const SampleRows<const std::uint8_t> rows(mask);
    for (std::int32_t y = 0; y < mask.Height; ++y) std::memcpy(plane[y], rows[y], static_cast<std::size_t>(mask.Width));
}

} // namespace kyf

#endif

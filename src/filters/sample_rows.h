/// The samples of an image as rows, all channels of a pixel side by side.
#ifndef KYFOCUS_FILTERS_SAMPLE_ROWS_H
#define KYFOCUS_FILTERS_SAMPLE_ROWS_H

#include <cstddef>
#include <cstdint>

#include "filters/image_layout.h"

namespace kyf {

/// Rows of T, an 8-bit or 16-bit sample. The image is lent and has samples of that width.
template <typename T> class SampleRows {
  public:
    explicit SampleRows(const KyiImageData& image)
        : m_top(static_cast<T*>(KyiGetPixelAddress(&image, 0, 0))),
          m_step(image.Height > 1 ? static_cast<T*>(KyiGetPixelAddress(&image, 0, 1)) - m_top : 0) {}

    T* operator[](std::int32_t y) const noexcept { return m_top + m_step * y; }
    /// Samples from one row to the next; negative where rows lie bottom-up.
    std::ptrdiff_t Step() const noexcept { return m_step; }

  private:
    T* m_top;
    std::ptrdiff_t m_step;
};

/// Whether a filter that goes from one image to another of its kind can run: one size, format and pixel size.
inline bool IsSameLayout(const KyiImageData& first, const KyiImageData& second) noexcept {
    return first.Width == second.Width && first.Height == second.Height && first.Format == second.Format &&
           first.PixelBytes == second.PixelBytes;
}

} // namespace kyf

#endif

/// Rows of an image that a neighbourhood filter needs as they were, while it writes over the image.
///
/// Chunks of rows run side by side. What a chunk reads beyond its own rows is kept before any of them starts.
#ifndef KYFOCUS_FILTERS_KEPT_ROWS_H
#define KYFOCUS_FILTERS_KEPT_ROWS_H

#include <algorithm>
#include <cstring>

#include "filters/sample_rows.h"
#include "filters/scratch.h"

namespace kyf {

/// Copies of rows, `lines` for each chunk; none where source and destination are apart.
template <typename T> class KeptRows {
  public:
    KeptRows(const KyiImageData& source, const KyiImageData& destination, std::int32_t lines, std::int32_t chunks)
        : m_rows(source), m_height(source.Height),
          m_samples(static_cast<std::size_t>(source.Width) * static_cast<std::size_t>(SampleStride(source.PixelBytes))),
          m_lines(lines), m_isNeeded(source.Pixels == destination.Pixels),
          m_block(m_isNeeded ? m_samples * static_cast<std::size_t>(lines) * static_cast<std::size_t>(chunks) : 0) {}

    bool IsNeeded() const noexcept { return m_isNeeded; }
    T* Line(std::int32_t chunk, std::int32_t line) const noexcept {
        return m_block.Get() + m_samples * static_cast<std::size_t>(chunk * m_lines + line);
    }
    /// Copies row y, or the edge row nearest to it, and gives the copy.
    const T* Keep(std::int32_t y, std::int32_t chunk, std::int32_t line) const noexcept {
        std::memcpy(Line(chunk, line), Row(y), m_samples * sizeof(T));
        return Line(chunk, line);
    }
    /// Row y of the image, or the edge row nearest to it.
    const T* Row(std::int32_t y) const noexcept { return m_rows[std::clamp(y, 0, m_height - 1)]; }

  private:
    SampleRows<const T> m_rows;
    std::int32_t m_height;
    std::size_t m_samples;
    std::int32_t m_lines;
    bool m_isNeeded;
    Scratch<T> m_block;
};

/// The unused first samples of four-sample pixels, as they are in the source.
template <typename T> void KeepUnusedSamples(const T* source, T* destination, std::int32_t pixels) noexcept {
    for (std::ptrdiff_t i = 0; i < static_cast<std::ptrdiff_t>(pixels) * 4; i += 4) destination[i] = source[i];
}

} // namespace kyf

#endif

/// What the two neighbourhood filters share: a source that survives its destination, and the parallel rule of bordered
/// images.
#ifndef KYFOCUS_FILTERS_IN_PLACE_H
#define KYFOCUS_FILTERS_IN_PLACE_H

#include <cstdint>
#include <new>

#include "filters/filters.h"
#include "filters/image_layout.h"

namespace kyf {

/// The source itself, or a copy of it where source and destination are one image. Throws std::bad_alloc.
class SeparateSource {
  public:
    SeparateSource(const KyiImageData& source, const KyiImageData& destination) : m_source(source) {
        if (source.Pixels != destination.Pixels) return;
        m_copy.reset(KyiDuplicateImageData(&source, 0));
        if (!m_copy) throw std::bad_alloc();
    }
    const KyiImageData& Get() const noexcept { return m_copy ? *m_copy : m_source; }

  private:
    const KyiImageData& m_source;
    ImagePtr m_copy;
};

/// UseParallelProcess on the size that the image has with a border.
inline bool UseBorderedParallel(const KyiImageData& image, std::int32_t border, KyiBool parallel) {
    KyiImageData bordered = image;
    bordered.Width += 2 * border;
    bordered.Height += 2 * border;
    return UseParallelProcess(&bordered, parallel);
}

/// The unused first samples of four-sample pixels, as they are in the source.
template <typename T> void KeepUnusedSamples(const T* source, T* destination, std::int32_t pixels) noexcept {
    for (std::ptrdiff_t i = 0; i < static_cast<std::ptrdiff_t>(pixels) * 4; i += 4) destination[i] = source[i];
}

} // namespace kyf

#endif

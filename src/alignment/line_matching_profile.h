/// Band profiles of line matching: a few rows of a frame averaged into one line of whole numbers.
#ifndef KYFOCUS_ALIGNMENT_LINE_MATCHING_PROFILE_H
#define KYFOCUS_ALIGNMENT_LINE_MATCHING_PROFILE_H

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "filters/image_layout.h"

namespace kyf {

/// `Height` rows, the first of them Height / 2 above the centre. Rows beyond the image repeat its first or last row.
struct Band {
    std::int32_t CentreRow;
    std::int32_t Height;
};

/// What of a pixel goes into a profile. The gray is KyiTransformToGray's; in a gray image both are the sample.
enum class ProfileSource { FirstChannel, Gray };

/// Reads bands of one image. Only the rows of a band are turned to gray, a few at a time. Several bands are shared out
/// to threads whole: a band is too little work to be cut up.
class BandReader {
  public:
    /// @param image  Lent for the reader's life. @param bands  Most bands of one call. Throws std::bad_alloc.
    BandReader(const KyiImageData& image, ProfileSource source, std::size_t bands, KyiBool parallel);

    /// profiles[i][x] = sum of the samples of band i in column x / its Height, truncated; Width entries each.
    void Read(std::span<const Band> bands, std::int32_t* const* profiles) noexcept;

  private:
    /// What one thread works in.
    struct Slice {
        ImagePtr Colour;                 ///< rows of the image, on their way to gray
        ImagePtr Gray;                   ///< the same rows; null where the image's own samples serve
        std::vector<std::int32_t> Line;  ///< one row of the first channel
        std::vector<std::uint32_t> Sums; ///< of the band in hand, by columns
    };

    void ReadBand(Slice& slice, Band band, std::int32_t* profile) const noexcept;
    void AddRows(Slice& slice, std::int32_t top, std::int32_t bottom) const noexcept;
    void AddGrayRows(Slice& slice, std::int32_t top, std::int32_t bottom) const noexcept;

    const KyiImageData& m_image;
    bool m_isFirstChannel; ///< of a colour image; otherwise gray samples are read
    std::vector<Slice> m_slices;
};

} // namespace kyf

#endif

/// Template matcher: finds a small image in a larger one by normalised cross-correlation, coarse to fine, in whole
/// pixels.
///
/// A search image and a template are loaded, then searched. Both are read in channel 1, the green of a colour frame.
#ifndef KYFOCUS_ALIGNMENT_PATTERN_MATCHING_H
#define KYFOCUS_ALIGNMENT_PATTERN_MATCHING_H

#include <cstddef>
#include <cstdint>
#include <vector>

#include <kyfocus/alignment.h>

#include "filters/image_layout.h"

namespace kyf {

/// Samples row by row without gaps. 16 bits hold every sample of a frame, and twice as many of them as of 32-bit
/// integers fit into a register.
struct SamplePlane {
    std::vector<std::uint16_t> Samples;
    std::int32_t Width = 0;
    std::int32_t Height = 0;
    std::int32_t Peak = 0; ///< greatest sample, or above

    const std::uint16_t* Row(std::int32_t y) const noexcept {
        return Samples.data() + static_cast<std::size_t>(y) * static_cast<std::size_t>(Width);
    }
    std::uint16_t* Row(std::int32_t y) noexcept {
        return Samples.data() + static_cast<std::size_t>(y) * static_cast<std::size_t>(Width);
    }
};

/// Positions of a level: left end to right end, the ends excluded.
struct SearchWindow {
    std::int32_t Left;
    std::int32_t Top;
    std::int32_t Right;
    std::int32_t Bottom;
};

} // namespace kyf

/// Held by the session as Matcher.
struct KyfPatternMatching {
    char16_t Signature[6]{}; ///< "KYPTM" once the record has been reset
    kyf::SamplePlane Search;
    KyfRect SearchRect{}; ///< where the search image was loaded from; its left and top are added to what is found
    kyf::SamplePlane Template;
    std::int32_t StartStep = 0;       ///< distance of samples and positions on the coarsest level
    std::int32_t LevelCount = 0;      ///< levels that the template is prepared for: steps 1, 2, 4, ...
    std::vector<double> TemplateSums; ///< for each level: sum of the template's samples at that step
    std::vector<double> TemplateSquareSums;

    // The level in hand.
    std::int32_t PositionRows = 0; ///< candidate positions
    std::int32_t PositionColumns = 0;
    std::int32_t SampleRows = 0; ///< template samples
    std::int32_t SampleColumns = 0;
    double SampleCount = 0.0;
    std::vector<double> WindowSums; ///< for each position, row by row: sum of the search samples under the template
    std::vector<double> WindowSquareSums;
    kyf::SamplePlane LevelSearch; ///< the samples that the positions of this level can reach
    kyf::SamplePlane LevelTemplate;

    std::int32_t AreaCount = 0; ///< areas of the stack, as many as its first frame was given
    kyf::ImagePtr Spare;        ///< what the frame before was warped into, for the next one; null before the first
};

namespace kyf {

/// Empties the record and signs it. Null does nothing.
void ResetPatternMatching(KyfPatternMatching* matcher);

/// Resets the record and sizes it for a template of `LevelCount` 4 levels, the first of step 8. Throws std::bad_alloc.
void PreparePatternMatching(KyfPatternMatching& matcher);

/// Loads the pixels of a rectangle; beyond the image they are those of its edge. Without an image nothing happens: what
/// was loaded before stays. Throws std::bad_alloc.
void LoadSearchImage(KyfPatternMatching& matcher, const KyiImageData* image, const KyfRect& rectangle,
                     KyiBool parallel);

/// The same for the template, with its sums. An empty rectangle is passed over too.
void LoadTemplate(KyfPatternMatching& matcher, const KyiImageData* image, const KyfRect& rectangle, KyiBool parallel);

/// Goes through the levels, from StartStep by halves down to 1, each around the best position of the one before. Of
/// equally good positions the last in row order wins; where nothing correlates, the window's top left corner stands.
/// @return the position in the image that the search image was loaded from. Throws std::bad_alloc.
KyPoint SearchTemplate(KyfPatternMatching& matcher, KyiBool parallel);

/// One level of it, with its window and step. @return the best position, in the search image.
KyPoint SearchLevel(KyfPatternMatching& matcher, const SearchWindow& window, std::int32_t step, KyiBool parallel);

/// Candidate positions of a level: of the first without a previous best, of a later one around it.
SearchWindow FirstWindow(const KyfPatternMatching& matcher) noexcept;
SearchWindow WindowAround(const KyfPatternMatching& matcher, KyPoint best, std::int32_t step) noexcept;

} // namespace kyf

#endif

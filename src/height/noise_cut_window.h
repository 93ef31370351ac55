/// Kernels of the fill from neighbours: means over windows of 9 x 9, eight pixels side by side.
#ifndef KYFOCUS_HEIGHT_NOISE_CUT_WINDOW_H
#define KYFOCUS_HEIGHT_NOISE_CUT_WINDOW_H

#include <cstddef>
#include <cstdint>

namespace kyf {

constexpr std::int32_t kFillReach = 4; ///< pixels from the middle of a window to its edge
constexpr std::int32_t kFillRows = 2 * kFillReach + 1;
constexpr std::int32_t kFillLanes = 8;

/// Numbers that a window row holds on either side of its pixels, all 0: eight lanes may begin at the last pixel.
constexpr std::size_t kFillMargin = 16;

/// One row as windows see it. All pointers are to column 0.
struct WindowRow {
    double* Heights;       ///< what counts; 0 in the place of what does not
    std::uint8_t* Counted; ///< 1 for a height that is not negative, marks among them
    std::uint8_t* Live;    ///< 1 for the same without the marks
};

void LoadWindowRow(const double* row, std::int32_t width, const WindowRow& loaded) noexcept;

/// Gives each marked pixel of a row the mean of its window. Sums run row by row from the top, columns rising.
/// @param rows     The row's neighbours from the upper one on, in the middle the row itself as loaded.
/// @param columns  Scratch of two lines of bytes with margins, to column 0. @return pixels that still are marked.
std::int32_t FillRow(const WindowRow (&rows)[kFillRows], double* row, std::int32_t width,
                     std::uint8_t* const (&columns)[2]) noexcept;

} // namespace kyf

#endif

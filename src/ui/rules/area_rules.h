/// Rules of the template areas: patterns, squares in the picture frame, dragging by mouse and keyboard.
///
/// Squares are centred on places in percent of the frame. Pixels are 64 bits wide, so that no place overflows. Uses the
/// public settings and the number rules of the filters.
#ifndef KYFOCUS_UI_RULES_AREA_RULES_H
#define KYFOCUS_UI_RULES_AREA_RULES_H

#include <array>
#include <cstdint>

#include <kyfocus/composition_setting.h>

namespace kyfui {

struct Areas {
    KyfAreaNo AreaNo = 0; ///< number of areas less 2
    std::array<KyPoint, 4> AreaPos{};
};

Areas AreasFromSetting(const CKyfFocusCompositionSetting& setting);
void WriteAreas(const Areas& areas, CKyfFocusCompositionSetting& setting);

/// Areas in use: 2 to 4, and no more or fewer than there are for numbers beyond.
int AreaCount(KyfAreaNo areaNo);

/// The usual places for this number. The points that it does not use keep their values, and so do all of them for a
/// number without a pattern, which is taken none the less.
void SetAreaPattern(KyfAreaNo areaNo, Areas& areas);

/// Half of a square's side in pixels, for a display scale.
std::int32_t AreaHalfSize(double magnification);

/// The picture frame, in pointer coordinates. Right and bottom edge are outside.
struct PictureFrame {
    std::int32_t Left, Top, Width, Height;
};

struct Pixel {
    std::int64_t X, Y;
    bool operator==(const Pixel&) const = default;
};

struct AreaSquare {
    std::int64_t Left, Top, Right, Bottom;
    bool operator==(const AreaSquare&) const = default;
};

/// The pixel that a place in percent falls on.
Pixel AreaPixel(const PictureFrame& frame, const KyPoint& place);
AreaSquare SquareAround(const Pixel& pixel, std::int32_t halfSize);

/// Which square a pixel is on: the index of the nearest centre, the earlier one on a tie, if it lies within the half
/// size; else -1. Nothing 10000 pixels away or more is found.
int AreaAt(const PictureFrame& frame, const Areas& areas, std::int32_t halfSize, const Pixel& pixel);

/// The dialog's picture without its window.
class AreaPicture {
  public:
    AreaPicture(const Areas& areas, const PictureFrame& frame, std::int32_t halfSize);

    const Areas& Get() const { return m_areas; }
    bool IsDragging() const { return m_dragging; }
    void SetFrame(const PictureFrame& frame) { m_frame = frame; }
    void SetPattern(KyfAreaNo areaNo) { SetAreaPattern(areaNo, m_areas); }
    AreaSquare Square(int index) const;

    /// @return Whether a drag starts, which also shows the drag cursor: within the frame only.
    bool ButtonDown(std::int32_t x, std::int32_t y);
    struct Moved {
        bool Cursor;  ///< the drag cursor is shown: there is a square
        bool Repaint; ///< a square has moved
    };
    Moved MouseMove(std::int32_t x, std::int32_t y);
    void ButtonUp() { m_dragging = false; }

    /// Moves a square along one axis, to the next percent up (step 1) or down (-1) at which it lies strictly inside the
    /// frame on this axis. @return Whether there is one.
    bool StepX(int index, int step);
    bool StepY(int index, int step);

  private:
    Areas m_areas;
    PictureFrame m_frame;
    std::int32_t m_halfSize;
    bool m_dragging = false;
};

} // namespace kyfui

#endif

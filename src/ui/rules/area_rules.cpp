#include "ui/rules/area_rules.h"

#include <algorithm>
#include <cmath>

#include "filters/numbers.h"

namespace kyfui {

namespace {

/// The cursor's hot spot is the corner of its picture; what it points at lies this far inside.
constexpr int kPointerOffset = 5;
constexpr double kFarthest = 10000.0; // pixels
constexpr double kHalfSizeAtScale1 = 13.0;
constexpr std::int32_t kWhole = 100; // percent

constexpr std::array<KyPoint, 2> kTwoAreas = {{{25, 50}, {75, 50}}};
constexpr std::array<KyPoint, 3> kThreeAreas = {{{50, 25}, {75, 75}, {25, 75}}};
constexpr std::array<KyPoint, 4> kFourAreas = {{{50, 25}, {75, 50}, {50, 75}, {25, 50}}};

std::int64_t PixelOf(std::int32_t start, std::int32_t length, std::int32_t percent) {
    return start + std::int64_t{length} * percent / kWhole;
}

std::int32_t PercentOf(std::int64_t offset, std::int32_t length) {
    return kyf::TruncateToInt32(static_cast<double>(offset) / length * 100.0);
}

bool IsWithin(std::int64_t pixel, std::int32_t start, std::int32_t length) {
    return pixel >= start && pixel < std::int64_t{start} + length;
}

bool IsStrictlyInside(std::int64_t center, std::int32_t halfSize, std::int32_t start, std::int32_t length) {
    return center - halfSize > start && center + halfSize < std::int64_t{start} + length;
}

bool IsWithin(const PictureFrame& frame, const Pixel& pixel) {
    return IsWithin(pixel.X, frame.Left, frame.Width) && IsWithin(pixel.Y, frame.Top, frame.Height);
}

bool IsStrictlyInside(const PictureFrame& frame, const Pixel& center, std::int32_t halfSize) {
    return IsStrictlyInside(center.X, halfSize, frame.Left, frame.Width) &&
           IsStrictlyInside(center.Y, halfSize, frame.Top, frame.Height);
}

double Distance(const Pixel& a, const Pixel& b) {
    const auto dx = static_cast<double>(a.X - b.X);
    const auto dy = static_cast<double>(a.Y - b.Y);
    return std::sqrt(dx * dx + dy * dy);
}

/// Looks no further than the frame's own percents; a place beyond either end comes in from there.
bool Step(std::int32_t& percent, int step, std::int32_t halfSize, std::int32_t start, std::int32_t length) {
    const std::int32_t stride = step < 0 ? -1 : 1;
    std::int32_t candidate = std::clamp(percent, -1, kWhole + 1) + stride;
    for (; candidate >= 0 && candidate <= kWhole; candidate += stride) {
        if (!IsStrictlyInside(PixelOf(start, length, candidate), halfSize, start, length)) continue;
        percent = candidate;
        return true;
    }
    return false;
}

} // namespace

Areas AreasFromSetting(const CKyfFocusCompositionSetting& setting) {
    Areas areas;
    areas.AreaNo = setting.GetAreaNo();
    for (std::int32_t i = 0; i < setting.GetAreaPosMaxCount(); ++i)
        areas.AreaPos[static_cast<std::size_t>(i)] = setting.GetAreaPos(i);
    return areas;
}

void WriteAreas(const Areas& areas, CKyfFocusCompositionSetting& setting) {
    setting.SetAreaNo(areas.AreaNo);
    for (std::int32_t i = 0; i < setting.GetAreaPosMaxCount(); ++i)
        setting.SetAreaPos(i, areas.AreaPos[static_cast<std::size_t>(i)]);
}

int AreaCount(KyfAreaNo areaNo) { return std::clamp(areaNo, -2, 2) + 2; }

void SetAreaPattern(KyfAreaNo areaNo, Areas& areas) {
    areas.AreaNo = areaNo;
    if (areaNo == 0) std::ranges::copy(kTwoAreas, areas.AreaPos.begin());
    if (areaNo == 1) std::ranges::copy(kThreeAreas, areas.AreaPos.begin());
    if (areaNo == 2) std::ranges::copy(kFourAreas, areas.AreaPos.begin());
}

std::int32_t AreaHalfSize(double magnification) { return kyf::TruncateToInt32(magnification * kHalfSizeAtScale1); }

Pixel AreaPixel(const PictureFrame& frame, const KyPoint& place) {
    return {PixelOf(frame.Left, frame.Width, place.x), PixelOf(frame.Top, frame.Height, place.y)};
}

AreaSquare SquareAround(const Pixel& pixel, std::int32_t halfSize) {
    return {pixel.X - halfSize, pixel.Y - halfSize, pixel.X + halfSize, pixel.Y + halfSize};
}

int AreaAt(const PictureFrame& frame, const Areas& areas, std::int32_t halfSize, const Pixel& pixel) {
    int nearest = -1;
    double least = kFarthest;
    for (int i = 0; i < AreaCount(areas.AreaNo); ++i) {
        const double distance = Distance(pixel, AreaPixel(frame, areas.AreaPos[static_cast<std::size_t>(i)]));
        if (distance >= least) continue;
        least = distance;
        nearest = i;
    }
    return least <= halfSize ? nearest : -1;
}

AreaPicture::AreaPicture(const Areas& areas, const PictureFrame& frame, std::int32_t halfSize)
    : m_areas(areas), m_frame(frame), m_halfSize(halfSize) {}

AreaSquare AreaPicture::Square(int index) const {
    return SquareAround(AreaPixel(m_frame, m_areas.AreaPos[static_cast<std::size_t>(index)]), m_halfSize);
}

bool AreaPicture::ButtonDown(std::int32_t x, std::int32_t y) {
    if (!IsWithin(m_frame, {x, y})) return false;
    m_dragging = true;
    return true;
}

AreaPicture::Moved AreaPicture::MouseMove(std::int32_t x, std::int32_t y) {
    const Pixel tested = {std::int64_t{x} + kPointerOffset, std::int64_t{y} + kPointerOffset};
    if (!IsWithin(m_frame, tested)) return {false, false};
    const int nearest = AreaAt(m_frame, m_areas, m_halfSize, tested);
    if (nearest < 0) return {false, false};
    if (!m_dragging || !IsStrictlyInside(m_frame, tested, m_halfSize)) return {true, false};
    m_areas.AreaPos[static_cast<std::size_t>(nearest)] = {PercentOf(tested.X - m_frame.Left, m_frame.Width),
                                                          PercentOf(tested.Y - m_frame.Top, m_frame.Height)};
    return {true, true};
}

bool AreaPicture::StepX(int index, int step) {
    if (index < 0 || index >= AreaCount(m_areas.AreaNo)) return false;
    return Step(m_areas.AreaPos[static_cast<std::size_t>(index)].x, step, m_halfSize, m_frame.Left, m_frame.Width);
}

bool AreaPicture::StepY(int index, int step) {
    if (index < 0 || index >= AreaCount(m_areas.AreaNo)) return false;
    return Step(m_areas.AreaPos[static_cast<std::size_t>(index)].y, step, m_halfSize, m_frame.Top, m_frame.Height);
}

} // namespace kyfui

#include "ui/rules/link_slider.h"

#include "filters/numbers.h"
#include "ui/rules/slider_edit.h"

namespace kyfui {

namespace {

/// The remainder of a division; 0 where there is none, so that every position is a stop.
std::int32_t Remainder(std::int32_t value, std::int32_t divisor) {
    return divisor == 0 || divisor == -1 ? 0 : value % divisor;
}

} // namespace

void LinkSliderRules::SetEditLink(SliderEditRules* edit) {
    m_editLink.reset();
    if (edit != nullptr) m_editLink = edit->m_alive;
    m_reversed = m_control.IsVertical();
}

void LinkSliderRules::SetSlideRange(std::int32_t min, std::int32_t max) {
    m_rangeMin = min;
    m_rangeMax = max;
    m_control.SetRange(min, max);
}

std::int32_t LinkSliderRules::Mirrored(std::int32_t position) const {
    return kyf::WrappingDifference(kyf::WrappingSum(m_rangeMax, m_rangeMin), position);
}

void LinkSliderRules::SetSlidePos(std::int32_t position) {
    m_pos = m_reversed ? Mirrored(position) : position;
    m_control.SetPosition(m_pos);
}

std::int32_t LinkSliderRules::Limited(std::int32_t position) const {
    if (position < m_rangeMin) return m_rangeMin;
    return position > m_rangeMax ? m_rangeMax : position;
}

/// The stop that a position leads to in the direction of the move.
/// @param tested  Position that may be a stop already, in which case it stays.
std::int32_t LinkSliderRules::Rounded(std::int32_t tested, std::int32_t position) const {
    if (Remainder(kyf::WrappingSum(tested, m_rangeMin), m_per) == 0 || m_lastPos == m_pos) return position;
    std::int32_t stop = kyf::WrappingDifference(position, Remainder(position, m_per));
    if (m_lastPos < m_pos) stop = kyf::WrappingSum(stop, m_per);
    return m_rangeMin % 2 != 0 ? kyf::WrappingDifference(stop, 1) : stop;
}

void LinkSliderRules::Show(std::int32_t position) {
    m_pos = position;
    if (SliderEditRules* const edit = EditLink()) edit->UpdateEdit(position);
}

void LinkSliderRules::HScroll(std::int32_t code, std::int32_t position) {
    if (EditLink() == nullptr) return;
    const std::int32_t control = m_control.Position();
    switch (code) {
    case kLineBack:
    case kLineForward:
        m_pos = control;
        Show(Limited(Rounded(control, control)));
        break;
    case kPageBack:
    case kPageForward:
        m_pos = position;
        Show(Limited(Rounded(control, control)));
        break;
    case kThumbTrack:
        m_pos = position;
        Show(Limited(Rounded(position, control)));
        break;
    default: break;
    }
    m_lastPos = m_pos;
}

void LinkSliderRules::VScroll(std::int32_t code, std::int32_t position) {
    switch (code) {
    case kLineBack:
    case kLineForward:
    case kThumbTrack: Show(Mirrored(position)); break;
    case kPageBack:
    case kPageForward: Show(Mirrored(m_control.Position())); break;
    default: break;
    }
}

} // namespace kyfui

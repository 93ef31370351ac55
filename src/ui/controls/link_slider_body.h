/// The rules of a slider and what they reach the widget by.
#ifndef KYFOCUS_UI_CONTROLS_LINK_SLIDER_BODY_H
#define KYFOCUS_UI_CONTROLS_LINK_SLIDER_BODY_H

#include <kyfocus/ui/link_slider.h>

#include "ui/rules/link_slider.h"

namespace kyfui {

class LinkSliderBody : public SliderControl {
  public:
    explicit LinkSliderBody(CKyfLinkSlider& widget) : m_widget(widget), m_known(widget.value()) {}

    /// Asked for when the link is made. Positions count by the answer until the next time.
    bool IsVertical() const override { return m_vertical = m_widget.orientation() == Qt::Vertical; }
    std::int32_t Position() const override { return Turned(m_widget.sliderPosition()); }
    void SetPosition(std::int32_t position) override { SetShown(Turned(position)); }
    void SetRange(std::int32_t min, std::int32_t max) override;
    void SetTickFrequency(std::int32_t positions) override;

    /// Has the next move start from where the thumb stands. The rules learn positions of moves only, so that one after
    /// a value was typed or set might go the wrong way to its stop.
    void BeginMove();
    /// Puts the thumb at a value without telling anybody's rules.
    void SetShown(int value);
    /// Whether the rules have brought this value about, or have heard of it.
    bool IsKnown(int value) const { return value == m_known; }
    void TakeAsKnown(int value) { m_known = value; }

    LinkSliderRules Rules{*this};
    bool IsWheelTurning = false;

  private:
    /// Positions of a vertical control count from the top, where a QSlider has its greatest value.
    std::int32_t Turned(std::int32_t position) const;

    CKyfLinkSlider& m_widget;
    mutable bool m_vertical = false;
    int m_known;
};

} // namespace kyfui

#endif

/// A slider and edit pair without a toolkit: a text, a position and a count of beeps.
#ifndef KYFOCUS_TESTS_UI_SLIDER_PAIR_H
#define KYFOCUS_TESTS_UI_SLIDER_PAIR_H

#include <cstdint>
#include <string>

#include "ui/rules/key_filter.h"
#include "ui/rules/link_slider.h"
#include "ui/rules/slider_edit.h"

namespace test {

class PlainSlider : public kyfui::SliderControl {
  public:
    explicit PlainSlider(bool vertical) : m_vertical(vertical) {}
    bool IsVertical() const override { return m_vertical; }
    std::int32_t Position() const override { return Control; }
    void SetPosition(std::int32_t position) override { Control = position; }
    void SetRange(std::int32_t min, std::int32_t max) override { Min = min, Max = max; }
    void SetTickFrequency(std::int32_t positions) override { TickFrequency = positions; }

    std::int32_t Control = 0;
    std::int32_t Min = 0, Max = 0;
    std::int32_t TickFrequency = -1;
    kyfui::LinkSliderRules Rules{*this};

  private:
    bool m_vertical;
};

class PlainEdit : public kyfui::EditField {
  public:
    std::wstring Text() const override { return m_text; }
    void SetText(const std::wstring& text) override {
        m_text = text;
        ++Writes;
        Rules.OnUpdate();
    }
    void OnBadInput() override { ++Beeps; }

    /// A key press; false when it was refused.
    bool Type(char32_t key) {
        if (!kyfui::IsAccepted(Rules.ParseType(), key, kyfui::KindOfAscii(key))) {
            OnBadInput();
            return false;
        }
        SetText(m_text + static_cast<wchar_t>(key));
        return true;
    }

    std::int32_t Beeps = 0;
    std::int32_t Writes = 0;
    kyfui::SliderEditRules Rules{*this};

  private:
    std::wstring m_text;
};

/// Linked both ways.
struct SliderPair {
    explicit SliderPair(bool vertical = false) : Slider(vertical) { Edit.Rules.SetSlideLink(&Slider.Rules); }

    /// Moves the control as a user does, and notifies it.
    void Scroll(std::int32_t code, std::int32_t position) { Scroll(code, position, position); }
    void Scroll(std::int32_t code, std::int32_t control, std::int32_t position) {
        Slider.Control = control;
        if (Slider.IsVertical())
            Slider.Rules.VScroll(code, position);
        else
            Slider.Rules.HScroll(code, position);
    }

    PlainSlider Slider;
    PlainEdit Edit;
};

} // namespace test

#endif

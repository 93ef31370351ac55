/// The rules of an edit field and what they reach the widget by.
#ifndef KYFOCUS_UI_CONTROLS_SLIDER_EDIT_BODY_H
#define KYFOCUS_UI_CONTROLS_SLIDER_EDIT_BODY_H

#include <kyfocus/ui/slider_edit.h>

#include "ui/controls/typed_text.h"
#include "ui/rules/slider_edit.h"

namespace kyfui {

class SliderEditBody : public EditField {
  public:
    explicit SliderEditBody(CKyfSliderEdit& widget) : m_widget(widget) {}

    std::wstring Text() const override { return WithPlainDigits(m_widget.text()); }

    /// QLineEdit tells of a text that differs; the rules want to hear of each.
    void SetText(const std::wstring& text) override {
        const QString shown = QString::fromStdWString(text);
        if (shown == m_widget.text())
            Rules.OnUpdate();
        else
            m_widget.setText(shown);
    }

    void OnBadInput() override { m_widget.OnBadInput(); }

    SliderEditRules Rules{*this};

  private:
    CKyfSliderEdit& m_widget;
};

} // namespace kyfui

#endif

/// The edit half of a slider and edit pair: it holds value, range and format, and keeps text and slider in step.
///
/// Text, key filter and beep are the toolkit's. Uses the number rules of the filters.
#ifndef KYFOCUS_UI_RULES_SLIDER_EDIT_H
#define KYFOCUS_UI_RULES_SLIDER_EDIT_H

#include <cstdint>
#include <limits>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace kyfui {

class LinkSliderRules;

/// What the rules need of an edit field.
class EditField {
  public:
    virtual ~EditField() = default;
    virtual std::wstring Text() const = 0;
    /// Every change of the text must reach SliderEditRules::OnUpdate, and this one even when the text was the same.
    virtual void SetText(const std::wstring& text) = 0;
    virtual void OnBadInput() = 0;
};

/// A position that no slider has: nothing is shown, and the next update writes the text whatever it was.
inline constexpr std::int32_t kNothingShown = std::numeric_limits<std::int32_t>::min();

class SliderEditRules {
  public:
    explicit SliderEditRules(EditField& field) : m_field(field) {}
    SliderEditRules(const SliderEditRules&) = delete;
    SliderEditRules& operator=(const SliderEditRules&) = delete;

    void SetParseType(std::uint16_t parseType) { m_parseType = parseType; }
    void SetFormatString(std::wstring format) { m_format = std::move(format); }
    void SetPer(std::int32_t per);

    /// Links both ways; what was linked before is let go. Either half may be destroyed first.
    void SetSlideLink(LinkSliderRules* slider);

    /// Whole numbers. Always true.
    bool SetParams(std::int32_t min, std::int32_t max, std::int32_t ticks);
    /// Any number of a range, in at most 1001 positions; a table that was set is dropped. Always true.
    bool SetParams(double min, double max, std::int32_t ticks, std::wstring format, std::int32_t decimals);
    /// The numbers of a table in rising order. False, and nothing changes, when it is empty.
    bool SetParams(double min, double max, std::span<const double> table, std::int32_t ticks, std::wstring format);
    /// Gives range and ticks to the slider. False when there is none; the number of positions, which values are shown
    /// by, is taken all the same.
    bool InitSlider();

    /// False, and nothing changes, when the value is of the other mode or outside the range.
    bool SetValue(std::int32_t value);
    bool SetValue(double value);
    /// What the whole text says; empty when it is not a number.
    std::optional<std::int32_t> GetIntValue() const;
    std::optional<double> GetDoubleValue() const;

    /// Shows the value of a slider position. False when it was shown already.
    bool UpdateEdit(std::int32_t position);
    /// The text has changed.
    void OnUpdate();
    /// The field is about to lose the focus.
    void OnKillFocus();

    std::wstring ShownText() const { return m_field.Text(); }
    bool IsDouble() const { return m_isDouble; }
    std::uint16_t ParseType() const { return m_parseType; }
    LinkSliderRules* SlideLink() const { return m_slideLink.lock().get(); }
    std::int32_t MinPos() const { return m_minPos; }
    std::int32_t MaxPos() const { return m_maxPos; }
    std::int32_t SlidePos() const { return m_slidePos; }
    std::int32_t SlideRange() const { return m_slideRange; }

  private:
    friend class LinkSliderRules;
    void SetRange(double min, double max, std::int32_t ticks);
    void ForceUpdate();
    /// Take the number at the head of the text, limited to the range; false when it had to be.
    bool TakeInt(std::wstring_view text);
    bool TakeDouble(std::wstring_view text);
    std::int32_t TablePositionOf(double value) const;
    double ValueOf(std::int32_t position) const;

    EditField& m_field;
    std::shared_ptr<SliderEditRules> m_alive{this, [](SliderEditRules*) {}};
    std::weak_ptr<LinkSliderRules> m_slideLink;
    std::uint16_t m_parseType = 0xFFFF;
    std::wstring m_format = L"%d";
    std::int32_t m_tickCount = 0;
    bool m_isDouble = false;
    std::int32_t m_minPos = 0, m_maxPos = 0;
    std::int32_t m_slidePos = kNothingShown;
    std::int32_t m_slideRange = 0;
    double m_minValue = 0.0, m_maxValue = 0.0;
    double m_value = 0.0;
    double m_valueRange = 0.0;
    std::int32_t m_per = 0;
    std::vector<double> m_table;
    bool m_updating = false; ///< writing the text from inside OnUpdate notifies the change again
};

} // namespace kyfui

#endif

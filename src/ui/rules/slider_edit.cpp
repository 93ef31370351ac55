#include "ui/rules/slider_edit.h"

#include <algorithm>
#include <cmath>

#include "filters/numbers.h"
#include "ui/rules/link_slider.h"
#include "ui/rules/number_text.h"

namespace kyfui {

namespace {

constexpr std::size_t kMostRead = 512;
constexpr double kMostPositions = 1000.0;

constexpr std::uint16_t kDigits = 0x01;
constexpr std::uint16_t kSignedDigits = 0x11;
constexpr std::uint16_t kReal = 0x04;

std::int32_t LastPosition(double range, std::int32_t decimals) {
    if (range > kMostPositions) return static_cast<std::int32_t>(kMostPositions);
    const double positions = range * (decimals == 2 ? 100.0 : std::pow(10.0, decimals));
    return kyf::TruncateToInt32(positions > kMostPositions ? kMostPositions : positions);
}

/// 0 for no ticks at all.
std::int32_t TickFrequency(std::int32_t range, std::int32_t ticks) {
    if (ticks == 0) return 0;
    return ticks == -1 ? kyf::WrappingDifference(0, range) : range / ticks;
}

} // namespace

void SliderEditRules::SetPer(std::int32_t per) {
    m_per = per;
    if (LinkSliderRules* const slider = SlideLink()) slider->SetPer(per);
}

void SliderEditRules::SetSlideLink(LinkSliderRules* slider) {
    if (LinkSliderRules* const before = SlideLink(); before != nullptr && before != slider) before->m_editLink.reset();
    m_slideLink.reset();
    if (slider == nullptr) return;
    if (SliderEditRules* const before = slider->EditLink(); before != nullptr && before != this)
        before->m_slideLink.reset();
    m_slideLink = slider->m_alive;
    slider->SetEditLink(this);
}

bool SliderEditRules::SetParams(std::int32_t min, std::int32_t max, std::int32_t ticks) {
    m_isDouble = false;
    m_tickCount = ticks;
    m_minPos = min;
    m_maxPos = max;
    InitSlider();
    m_format = L"%d";
    m_parseType = min < 0 ? kSignedDigits : kDigits;
    return true;
}

void SliderEditRules::SetRange(double min, double max, std::int32_t ticks) {
    m_isDouble = true;
    m_minValue = min;
    m_maxValue = max;
    m_valueRange = max - min;
    m_minPos = 0;
    m_tickCount = ticks;
}

bool SliderEditRules::SetParams(double min, double max, std::int32_t ticks, std::wstring format,
                                std::int32_t decimals) {
    SetRange(min, max, ticks);
    m_table.clear();
    m_maxPos = LastPosition(m_valueRange, decimals);
    InitSlider();
    m_format = std::move(format);
    m_parseType = decimals >= 1 ? kReal : min < 0.0 ? kSignedDigits : kDigits;
    return true;
}

bool SliderEditRules::SetParams(double min, double max, std::span<const double> table, std::int32_t ticks,
                                std::wstring format) {
    if (table.empty()) return false;
    m_table.assign(table.begin(), table.end());
    SetRange(min, max, ticks);
    m_maxPos = static_cast<std::int32_t>(m_table.size() - 1);
    InitSlider();
    m_format = std::move(format);
    m_parseType = kReal;
    return true;
}

bool SliderEditRules::InitSlider() {
    m_slideRange = kyf::WrappingDifference(m_maxPos, m_minPos);
    LinkSliderRules* const slider = SlideLink();
    if (slider == nullptr) return false;
    slider->SetEditLink(this);
    slider->SetSlideRange(m_minPos, m_maxPos);
    slider->SetTickFrequency(TickFrequency(m_slideRange, m_tickCount));
    return true;
}

bool SliderEditRules::SetValue(std::int32_t value) {
    if (m_isDouble || value < m_minPos || value > m_maxPos) return false;
    m_field.SetText(FormatInt(m_format, value));
    return true;
}

bool SliderEditRules::SetValue(double value) {
    if (!m_isDouble || !(value >= m_minValue && value <= m_maxValue)) return false;
    m_field.SetText(FormatDouble(m_format, value));
    return true;
}

std::optional<std::int32_t> SliderEditRules::GetIntValue() const { return WholeInt(m_field.Text()); }

std::optional<double> SliderEditRules::GetDoubleValue() const { return WholeDouble(m_field.Text()); }

double SliderEditRules::ValueOf(std::int32_t position) const {
    if (m_table.empty()) return position * m_valueRange / m_slideRange + m_minValue;
    const auto last = static_cast<std::int64_t>(m_table.size()) - 1;
    return m_table[static_cast<std::size_t>(std::clamp<std::int64_t>(position, 0, last))];
}

bool SliderEditRules::UpdateEdit(std::int32_t position) {
    if (position == m_slidePos) return false;
    m_slidePos = position;
    if (m_isDouble) {
        m_value = ValueOf(position);
        m_field.SetText(FormatDouble(m_format, m_value));
    } else
        m_field.SetText(FormatInt(L"%d", position));
    return true;
}

/// Rewrites the text with the value of the present position.
void SliderEditRules::ForceUpdate() {
    const std::int32_t position = m_slidePos;
    m_slidePos = kNothingShown;
    UpdateEdit(position);
}

bool SliderEditRules::TakeInt(std::wstring_view text) {
    const std::int32_t value = LeadingInt(text);
    m_slidePos = value < m_minPos ? m_minPos : value > m_maxPos ? m_maxPos : value;
    return m_slidePos == value;
}

bool SliderEditRules::TakeDouble(std::wstring_view text) {
    const double value = LeadingDouble(text);
    const bool below = value < m_minValue;
    const bool above = !below && value > m_maxValue;
    m_value = below ? m_minValue : above ? m_maxValue : value;
    m_slidePos = m_table.empty() ? kyf::TruncateToInt32(m_slideRange * (m_value - m_minValue) / m_valueRange)
                                 : TablePositionOf(m_value);
    return !below && !above;
}

/// Index of the entry nearest to a value, of the upper one on a tie. A value beyond the table leaves the position.
std::int32_t SliderEditRules::TablePositionOf(double value) const {
    for (std::size_t i = 0; i < m_table.size(); ++i) {
        const auto index = static_cast<std::int32_t>(i);
        if (m_table[i] == value) return index;
        if (m_table[i] > value) return i > 0 && value - m_table[i - 1] < m_table[i] - value ? index - 1 : index;
    }
    return m_slidePos;
}

void SliderEditRules::OnUpdate() {
    if (SlideLink() == nullptr || m_updating) return;
    m_updating = true;
    const std::wstring text = m_field.Text().substr(0, kMostRead);
    const bool inRange = m_isDouble ? TakeDouble(text) : TakeInt(text);
    if (!inRange) m_field.OnBadInput();
    if (LinkSliderRules* const slider = SlideLink()) slider->SetSlidePos(m_slidePos);
    if (!inRange) ForceUpdate();
    m_updating = false;
}

void SliderEditRules::OnKillFocus() {
    if (GetDoubleValue()) return;
    OnUpdate();
    ForceUpdate();
}

} // namespace kyfui

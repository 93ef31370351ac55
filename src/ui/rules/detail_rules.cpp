#include "ui/rules/detail_rules.h"

#include <algorithm>
#include <charconv>

namespace kyfui {

namespace {

std::int32_t Limit(std::int32_t value) { return std::clamp(value, kDetailMin, kDetailMax); }

std::string_view WithoutBlanks(std::string_view text) {
    const std::size_t first = text.find_first_not_of(" \t");
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

} // namespace

DetailValues DetailFromSetting(const CKyfFocusCompositionSetting& setting) {
    DetailValues values;
    values.HalationMeasures = setting.IsHalationMeasures() != 0 ? 1 : 0;
    values.AdoptionPeakPosition = setting.GetAdoptionPeakPosition() != 0 ? 1 : 0;
    values[DetailField::Sensitivity] = Limit(setting.GetFocusingValueDetectionSensitivity());
    values[DetailField::NoiseRemove] = Limit(setting.GetProjectionNoiseRemove());
    values[DetailField::ShapeSmoothing] = Limit(setting.GetD3ShapeSmoothing());
    return values;
}

void WriteDetail(const DetailValues& values, CKyfFocusCompositionSetting& setting) {
    setting.SetHalationMeasures(values.HalationMeasures);
    setting.SetAdoptionPeakPosition(values.AdoptionPeakPosition);
    setting.SetFocusingValueDetectionSensitivity(values[DetailField::Sensitivity]);
    setting.SetProjectionNoiseRemove(values[DetailField::NoiseRemove]);
    setting.SetD3ShapeSmoothing(values[DetailField::ShapeSmoothing]);
}

std::optional<std::int32_t> TestDetailField(std::string_view text) {
    const std::string_view number = WithoutBlanks(text);
    std::int32_t value = 0;
    const auto [stopped, error] = std::from_chars(number.data(), number.data() + number.size(), value);
    if (error != std::errc{} || stopped != number.data() + number.size() || value != Limit(value)) return std::nullopt;
    return value;
}

DetailModel::DetailModel(const DetailValues& values) : m_values(values) { RewriteTexts(); }

void DetailModel::MoveSlider(DetailField field, std::int32_t position) {
    m_values[field] = Limit(position);
    RewriteTexts();
}

bool DetailModel::TypeText(DetailField field, std::string_view text) {
    m_texts[static_cast<std::size_t>(field)] = text;
    if (text.empty()) return true;
    const std::optional<std::int32_t> value = TestDetailField(text);
    if (!value) return false;
    m_values[field] = *value;
    return true;
}

void DetailModel::ClickDefaults() {
    m_values = DetailValues();
    RewriteTexts();
}

std::optional<DetailField> DetailModel::FailingField() const {
    for (const DetailField field : kDetailFields)
        if (!TextOf(field).empty() && !TestDetailField(TextOf(field))) return field;
    return std::nullopt;
}

void DetailModel::RewriteTexts() {
    for (std::size_t i = 0; i < m_texts.size(); ++i) m_texts[i] = std::to_string(m_values.Fields[i]);
}

} // namespace kyfui

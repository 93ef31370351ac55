/// Rules of the dialog with the five values of the 3D composition.
///
/// Its sliders are plain ones. Moving one stores its position and rewrites all fields; a field that fails the range
/// test stores nothing and takes the focus back.
#ifndef KYFOCUS_UI_RULES_DETAIL_RULES_H
#define KYFOCUS_UI_RULES_DETAIL_RULES_H

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include <kyfocus/composition_setting.h>

namespace kyfui {

inline constexpr std::int32_t kDetailMin = 0;
inline constexpr std::int32_t kDetailMax = 10;

/// The three values that have a slider and a field.
enum class DetailField : std::size_t { Sensitivity, NoiseRemove, ShapeSmoothing };
inline constexpr std::array kDetailFields = {DetailField::Sensitivity, DetailField::NoiseRemove,
                                             DetailField::ShapeSmoothing};

/// What the button "defaults" gives.
struct DetailValues {
    std::int32_t HalationMeasures = 1;              ///< 0 or 1
    std::int32_t AdoptionPeakPosition = 1;          ///< 0 or 1: the dialog shows it as a check
    std::array<std::int32_t, 3> Fields = {5, 5, 5}; ///< by DetailField

    std::int32_t& operator[](DetailField field) { return Fields[static_cast<std::size_t>(field)]; }
    std::int32_t operator[](DetailField field) const { return Fields[static_cast<std::size_t>(field)]; }
    bool operator==(const DetailValues&) const = default;
};

/// As the dialog can show them: checks 0 or 1, fields within the range.
DetailValues DetailFromSetting(const CKyfFocusCompositionSetting& setting);
void WriteDetail(const DetailValues& values, CKyfFocusCompositionSetting& setting);

/// The range test: the number when all of the text is one from kDetailMin to kDetailMax; blanks around it don't count.
std::optional<std::int32_t> TestDetailField(std::string_view text);

/// The dialog without its window. Sliders stand at the values.
class DetailModel {
  public:
    explicit DetailModel(const DetailValues& values);

    const DetailValues& Values() const { return m_values; }
    const std::string& TextOf(DetailField field) const { return m_texts[static_cast<std::size_t>(field)]; }

    void MoveSlider(DetailField field, std::int32_t position);
    /// @return Whether the text can stay: false sends the focus back to the field, with all of it selected. An empty
    ///         field can stay; the value then is what it was.
    bool TypeText(DetailField field, std::string_view text);
    void ClickHalation(bool on) { m_values.HalationMeasures = on ? 1 : 0; }
    void ClickPeakPosition(bool on) { m_values.AdoptionPeakPosition = on ? 1 : 0; }
    void ClickDefaults();
    /// The first field whose text fails the range test: OK is refused then.
    std::optional<DetailField> FailingField() const;

  private:
    void RewriteTexts();

    DetailValues m_values;
    std::array<std::string, 3> m_texts;
};

} // namespace kyfui

#endif

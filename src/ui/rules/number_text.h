/// Numbers in edit fields: read as the C library reads them, with a full stop in every locale.
#ifndef KYFOCUS_UI_RULES_NUMBER_TEXT_H
#define KYFOCUS_UI_RULES_NUMBER_TEXT_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace kyfui {

/// The number at the head of a text in base 10, after blanks; 0 when there is none. Cut to the range of 32 bits.
std::int32_t LeadingInt(std::wstring_view text);

/// As LeadingInt; empty when the text is more or less than one number with blanks ahead of it.
std::optional<std::int32_t> WholeInt(std::wstring_view text);

/// The number at the head of a text, after blanks; 0.0 when there is none. Infinite when it is too great.
double LeadingDouble(std::wstring_view text);

/// As LeadingDouble; empty when the text is more or less than one number with blanks ahead of it.
std::optional<double> WholeDouble(std::wstring_view text);

/// Most characters that a formatted value has.
inline constexpr std::size_t kMostFormatted = 511;

/// The value in a printf format, cut to kMostFormatted characters. The first conversion of the format shows the value,
/// turned into the number that the conversion asks for; others, and those that show no number, stay as they stand.
/// The text depends on no locale.
std::wstring FormatInt(std::wstring_view format, std::int32_t value);
std::wstring FormatDouble(std::wstring_view format, double value);

} // namespace kyfui

#endif

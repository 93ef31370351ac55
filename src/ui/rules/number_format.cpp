#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <type_traits>

#include "filters/numbers.h"
#include "ui/rules/number_text.h"

namespace kyfui {

namespace {

/// One conversion of a printf format.
struct Conversion {
    std::size_t End = 0; ///< one past its letter
    bool Left = false, Plus = false, Blank = false, Zeros = false;
    std::size_t Width = 0;
    std::optional<std::size_t> Precision;
    char Letter = 0;
};

bool IsIntegerLetter(wchar_t c) { return std::wstring_view(L"diuxXo").find(c) != std::wstring_view::npos; }

bool IsRealLetter(wchar_t c) { return std::wstring_view(L"fFeEgG").find(c) != std::wstring_view::npos; }

/// No double has more places after its point, and no text is as long.
constexpr std::size_t kMostCounted = 1100;

/// A count of characters or places; greater ones change nothing more.
std::size_t ReadCount(std::wstring_view format, std::size_t& at) {
    std::size_t count = 0;
    for (; at < format.size() && format[at] >= L'0' && format[at] <= L'9'; ++at)
        count = std::min(count * 10 + static_cast<std::size_t>(format[at] - L'0'), kMostCounted);
    return count;
}

void ReadFlags(std::wstring_view format, std::size_t& at, Conversion& conversion) {
    for (; at < format.size(); ++at) {
        switch (format[at]) {
        case L'-': conversion.Left = true; break;
        case L'+': conversion.Plus = true; break;
        case L' ': conversion.Blank = true; break;
        case L'0': conversion.Zeros = true; break;
        case L'#':
        case L'\'': break;
        default: return;
        }
    }
}

/// The conversion that begins at a percent sign; none when it shows no number.
std::optional<Conversion> ReadConversion(std::wstring_view format, std::size_t begin) {
    Conversion conversion;
    std::size_t at = begin + 1;
    ReadFlags(format, at, conversion);
    conversion.Width = ReadCount(format, at);
    if (at < format.size() && format[at] == L'.') conversion.Precision = ReadCount(format, ++at);
    while (at < format.size() && std::wstring_view(L"hlLqjzt").find(format[at]) != std::wstring_view::npos) ++at;
    if (at == format.size() || !(IsIntegerLetter(format[at]) || IsRealLetter(format[at]))) return std::nullopt;
    conversion.Letter = static_cast<char>(format[at]);
    conversion.End = at + 1;
    return conversion;
}

/// Digits without a sign.
std::string IntegerDigits(const Conversion& conversion, std::int32_t value) {
    const auto bits = static_cast<std::uint32_t>(value);
    const bool isSigned = conversion.Letter == 'd' || conversion.Letter == 'i';
    const int base = conversion.Letter == 'o' ? 8 : (conversion.Letter | 0x20) == 'x' ? 16 : 10;
    std::array<char, 16> buffer;
    const auto end =
        std::to_chars(buffer.data(), buffer.data() + buffer.size(), isSigned && value < 0 ? 0u - bits : bits, base);
    std::string digits(buffer.data(), end.ptr);
    if (conversion.Precision == 0u && value == 0) digits.clear();
    const std::size_t least = conversion.Precision.value_or(1);
    if (digits.size() < least) digits.insert(0, least - digits.size(), '0');
    return digits;
}

std::string RealDigits(const Conversion& conversion, double value) {
    const char lower = static_cast<char>(conversion.Letter | 0x20);
    const std::chars_format style = lower == 'f'   ? std::chars_format::fixed
                                    : lower == 'e' ? std::chars_format::scientific
                                                   : std::chars_format::general;
    std::array<char, kMostCounted + 320> buffer; // the greatest double has 309 digits ahead of its point
    const auto end = std::to_chars(buffer.data(), buffer.data() + buffer.size(), std::abs(value), style,
                                   static_cast<int>(conversion.Precision.value_or(6)));
    return std::string(buffer.data(), end.ptr);
}

std::string Upper(std::string text) {
    for (char& c : text)
        if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
    return text;
}

std::string Pad(const Conversion& conversion, const std::string& sign, const std::string& digits, bool zeros) {
    const std::size_t length = sign.size() + digits.size();
    const std::size_t missing = conversion.Width > length ? conversion.Width - length : 0;
    if (conversion.Left) return sign + digits + std::string(missing, ' ');
    if (zeros) return sign + std::string(missing, '0') + digits;
    return std::string(missing, ' ') + sign + digits;
}

std::string SignOf(const Conversion& conversion, bool negative) {
    if (negative) return "-";
    return conversion.Plus ? "+" : conversion.Blank ? " " : "";
}

std::string Show(const Conversion& conversion, std::int32_t value) {
    const bool isSigned = conversion.Letter == 'd' || conversion.Letter == 'i';
    const std::string digits = IntegerDigits(conversion, value);
    const std::string sign = isSigned ? SignOf(conversion, value < 0) : "";
    const std::string text = Pad(conversion, sign, digits, conversion.Zeros && !conversion.Precision);
    return conversion.Letter == 'X' ? Upper(text) : text;
}

/// What is no number has no sign: machines differ in it.
std::string Show(const Conversion& conversion, double value) {
    const std::string sign = SignOf(conversion, std::signbit(value) && !std::isnan(value));
    const std::string text =
        Pad(conversion, sign, RealDigits(conversion, value), conversion.Zeros && std::isfinite(value));
    return conversion.Letter >= 'a' ? text : Upper(text);
}

template <class Number> std::string ShowAsAsked(const Conversion& conversion, Number value) {
    if (IsRealLetter(static_cast<wchar_t>(conversion.Letter))) return Show(conversion, static_cast<double>(value));
    if constexpr (std::is_same_v<Number, double>)
        return Show(conversion, kyf::TruncateToInt32(value));
    else
        return Show(conversion, value);
}

template <class Number> std::wstring Format(std::wstring_view format, Number value) {
    std::wstring text;
    bool shown = false;
    for (std::size_t at = 0; at < format.size() && text.size() < kMostFormatted;) {
        if (format[at] == L'%' && at + 1 < format.size() && format[at + 1] == L'%') {
            text += L'%';
            at += 2;
            continue;
        }
        const auto conversion = format[at] == L'%' && !shown ? ReadConversion(format, at) : std::nullopt;
        if (conversion) {
            const std::string number = ShowAsAsked(*conversion, value);
            text.append(number.begin(), number.end());
            at = conversion->End;
            shown = true;
        } else
            text += format[at++];
    }
    text.resize(std::min(text.size(), kMostFormatted));
    return text;
}

} // namespace

std::wstring FormatInt(std::wstring_view format, std::int32_t value) { return Format(format, value); }

std::wstring FormatDouble(std::wstring_view format, double value) { return Format(format, value); }

} // namespace kyfui

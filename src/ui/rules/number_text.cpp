#include "ui/rules/number_text.h"

#include <algorithm>
#include <clocale>
#include <cstdlib>

namespace kyfui {

namespace {

bool IsBlank(wchar_t c) { return c == L' ' || (c >= L'\t' && c <= L'\r'); }

bool IsDigit(wchar_t c) { return c >= L'0' && c <= L'9'; }

std::size_t SkipBlanks(std::wstring_view text) {
    std::size_t at = 0;
    while (at < text.size() && IsBlank(text[at])) ++at;
    return at;
}

/// A number and the count of characters that it was read from; 0 when there was none.
template <class T> struct Read {
    T Value;
    std::size_t Length;
};

Read<std::int32_t> ReadInt(std::wstring_view text) {
    constexpr std::int64_t kBeyond = std::int64_t{1} << 31;
    std::size_t at = SkipBlanks(text);
    const bool negative = at < text.size() && text[at] == L'-';
    if (at < text.size() && (text[at] == L'-' || text[at] == L'+')) ++at;
    if (at == text.size() || !IsDigit(text[at])) return {0, 0};
    std::int64_t value = 0;
    for (; at < text.size() && IsDigit(text[at]); ++at) value = std::min(value * 10 + (text[at] - L'0'), kBeyond);
    value = negative ? -value : std::min(value, kBeyond - 1);
    return {static_cast<std::int32_t>(value), at};
}

/// Characters that a number can hold, hexadecimal ones among them. None is a decimal point of some locale.
bool OccursInNumber(wchar_t c) {
    return IsDigit(c) || IsBlank(c) || (c >= L'a' && c <= L'z') || (c >= L'A' && c <= L'Z') || c == L'+' || c == L'-';
}

Read<double> ReadDouble(std::wstring_view text) {
    const std::string point = std::localeconv()->decimal_point;
    std::string narrow;
    std::size_t pointAt = std::string::npos;
    for (const wchar_t c : text) {
        if (c == L'.' && pointAt == std::string::npos) {
            pointAt = narrow.size();
            narrow += point;
        } else if (OccursInNumber(c))
            narrow += static_cast<char>(c);
        else
            break;
    }
    char* end = nullptr;
    const double value = std::strtod(narrow.c_str(), &end);
    std::size_t length = static_cast<std::size_t>(end - narrow.c_str());
    if (pointAt != std::string::npos && length > pointAt) length -= point.size() - 1;
    return {value, length};
}

template <class T> std::optional<T> Whole(const Read<T>& read, std::wstring_view text) {
    if (read.Length == 0 || read.Length != text.size()) return std::nullopt;
    return read.Value;
}

} // namespace

std::int32_t LeadingInt(std::wstring_view text) { return ReadInt(text).Value; }

std::optional<std::int32_t> WholeInt(std::wstring_view text) { return Whole(ReadInt(text), text); }

double LeadingDouble(std::wstring_view text) { return ReadDouble(text).Value; }

std::optional<double> WholeDouble(std::wstring_view text) { return Whole(ReadDouble(text), text); }

} // namespace kyfui

#include "platform/profile_text.h"

#include "platform/text.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace platform {

namespace {

constexpr std::string_view kBlanks = " \t\v\f";

std::string_view Trim(std::string_view text) {
    const std::size_t first = text.find_first_not_of(kBlanks);
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

std::string_view WithoutQuotes(std::string_view text) {
    const bool isQuoted =
        text.size() >= 2 && text.front() == text.back() && (text.front() == '"' || text.front() == '\'');
    return isQuoted ? text.substr(1, text.size() - 2) : text;
}

char LowerCase(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

/// Leaves `text` behind the head of the first section of that name. False when there is none.
bool SkipToSection(std::string_view& text, std::string_view section) {
    while (const std::optional<std::string_view> line = TakeLine(text)) {
        const ProfileLine content = ReadProfileLine(*line);
        if (content.Is == ProfileLine::Kind::Section && IsSameName(content.Name, section)) return true;
    }
    return false;
}

} // namespace

ProfileEncoding FindProfileEncoding(std::string_view bytes) {
    if (bytes.starts_with("\xEF\xBB\xBF")) return ProfileEncoding::Utf8Marked;
    return bytes.starts_with("\xFF\xFE") ? ProfileEncoding::Utf16Marked : ProfileEncoding::Utf8;
}

std::string FromUtf16(std::string_view bytes) {
    const auto unit = [&](std::size_t i) {
        return static_cast<std::uint32_t>(static_cast<std::uint8_t>(bytes[i]) | static_cast<std::uint8_t>(bytes[i + 1])
                                                                                    << 8);
    };
    std::wstring wide;
    wide.reserve(bytes.size() / 2);
    for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) {
        std::uint32_t code = unit(i);
        const bool isHigh = code >= 0xD800 && code <= 0xDBFF && i + 3 < bytes.size();
        if (isHigh && unit(i + 2) >= 0xDC00 && unit(i + 2) <= 0xDFFF) {
            code = 0x10000 + ((code - 0xD800) << 10) + (unit(i + 2) - 0xDC00);
            i += 2;
        } else if (code >= 0xD800 && code <= 0xDFFF) {
            code = 0xFFFD;
        }
        wide += static_cast<wchar_t>(code);
    }
    return ToUtf8(wide);
}

std::string DecodeProfile(std::string bytes) {
    switch (FindProfileEncoding(bytes)) {
    case ProfileEncoding::Utf8Marked: bytes.erase(0, 3); break;
    case ProfileEncoding::Utf16Marked: return FromUtf16(std::string_view(bytes).substr(2));
    case ProfileEncoding::Utf8: break;
    }
    return bytes;
}

ProfileLine ReadProfileLine(std::string_view line) {
    line = Trim(line);
    if (line.empty() || line.front() == ';') return {ProfileLine::Kind::Other, {}, {}};
    if (const std::size_t end = line.find(']'); line.front() == '[' && end != std::string_view::npos)
        return {ProfileLine::Kind::Section, Trim(line.substr(1, end - 1)), {}};
    const std::size_t equals = line.find('=');
    if (equals == std::string_view::npos) return {ProfileLine::Kind::Other, {}, {}};
    return {ProfileLine::Kind::Key, Trim(line.substr(0, equals)), WithoutQuotes(Trim(line.substr(equals + 1)))};
}

std::optional<std::string_view> TakeLine(std::string_view& text) {
    if (text.empty()) return std::nullopt;
    const std::size_t end = std::min(text.find_first_of("\r\n"), text.size());
    const std::string_view line = text.substr(0, end);
    const std::size_t lineEnd = text.substr(end).starts_with("\r\n") ? 2 : 1;
    text.remove_prefix(std::min(end + lineEnd, text.size()));
    return line;
}

bool IsSameName(std::string_view first, std::string_view second) {
    return std::equal(first.begin(), first.end(), second.begin(), second.end(),
                      [](char a, char b) { return LowerCase(a) == LowerCase(b); });
}

bool IsBlankLine(std::string_view line) { return Trim(line).empty(); }

std::optional<std::string_view> FindProfileValue(std::string_view text, std::string_view section,
                                                 std::string_view key) {
    if (!SkipToSection(text, section)) return std::nullopt;
    while (const std::optional<std::string_view> line = TakeLine(text)) {
        const ProfileLine content = ReadProfileLine(*line);
        if (content.Is == ProfileLine::Kind::Section) break;
        if (content.Is == ProfileLine::Kind::Key && IsSameName(content.Name, key)) return content.Value;
    }
    return std::nullopt;
}

} // namespace platform

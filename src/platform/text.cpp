#include "platform/text.h"

#include <cstddef>
#include <cstdint>

namespace platform {

namespace {

static_assert(sizeof(wchar_t) == 4, "a wide character of this side holds a whole code point");

constexpr std::uint32_t kStandIn = 0xDC00;
constexpr std::uint32_t kReplacement = 0xFFFD;

bool IsStandIn(std::uint32_t code) { return code >= kStandIn + 0x80 && code <= kStandIn + 0xFF; }

bool IsCharacter(std::uint32_t code) { return code < 0xD800 || (code > 0xDFFF && code <= 0x10FFFF); }

/// The bytes of one character of a wide text, at most 4.
struct Bytes {
    char Values[4];
    std::size_t Count;
};

Bytes EncodeCharacter(wchar_t character) {
    const auto given = static_cast<std::uint32_t>(character);
    if (IsStandIn(given)) return {{static_cast<char>(given - kStandIn)}, 1};
    const std::uint32_t code = IsCharacter(given) ? given : kReplacement;
    const auto tail = [code](int shift) { return static_cast<char>(0x80 | ((code >> shift) & 0x3F)); };
    if (code < 0x80) return {{static_cast<char>(code)}, 1};
    if (code < 0x800) return {{static_cast<char>(0xC0 | (code >> 6)), tail(0)}, 2};
    if (code < 0x10000) return {{static_cast<char>(0xE0 | (code >> 12)), tail(6), tail(0)}, 3};
    return {{static_cast<char>(0xF0 | (code >> 18)), tail(12), tail(6), tail(0)}, 4};
}

// Bytes of the sequence that a first byte announces; 0 for a byte that starts none.
std::size_t SequenceLength(std::uint8_t first) {
    if (first < 0x80) return 1;
    if (first >= 0xC2 && first <= 0xDF) return 2;
    if (first >= 0xE0 && first <= 0xEF) return 3;
    if (first >= 0xF0 && first <= 0xF4) return 4;
    return 0;
}

struct Decoded {
    std::uint32_t Code;
    std::size_t Length; // 0: no valid sequence starts here
};

Decoded Decode(std::string_view text) {
    const auto byte = [&](std::size_t i) { return static_cast<std::uint8_t>(text[i]); };
    const std::size_t length = SequenceLength(byte(0));
    if (length == 0 || length > text.size()) return {0, 0};
    std::uint32_t code = length == 1 ? byte(0) : byte(0) & (0xFFu >> (length + 1));
    for (std::size_t i = 1; i < length; ++i) {
        if ((byte(i) & 0xC0) != 0x80) return {0, 0};
        code = code << 6 | (byte(i) & 0x3Fu);
    }
    const bool isOverlong = (length == 3 && code < 0x800) || (length == 4 && code < 0x10000);
    return isOverlong || !IsCharacter(code) ? Decoded{0, 0} : Decoded{code, length};
}

} // namespace

std::string ToUtf8(std::wstring_view text) {
    std::string out;
    out.reserve(text.size());
    for (const wchar_t character : text) {
        const Bytes bytes = EncodeCharacter(character);
        out.append(bytes.Values, bytes.Count);
    }
    return out;
}

bool ToUtf8(std::wstring_view text, std::span<char> out) noexcept {
    std::size_t length = 0;
    for (const wchar_t character : text) {
        const Bytes bytes = EncodeCharacter(character);
        if (bytes.Count >= out.size() - length) return false;
        for (std::size_t i = 0; i < bytes.Count; ++i) out[length++] = bytes.Values[i];
    }
    out[length] = '\0';
    return true;
}

std::wstring ToWide(std::string_view text) {
    std::wstring out;
    out.reserve(text.size());
    while (!text.empty()) {
        const Decoded decoded = Decode(text);
        const std::uint32_t code =
            decoded.Length > 0 ? decoded.Code : kStandIn + static_cast<std::uint8_t>(text.front());
        out += static_cast<wchar_t>(code);
        text.remove_prefix(decoded.Length > 0 ? decoded.Length : 1);
    }
    return out;
}

} // namespace platform

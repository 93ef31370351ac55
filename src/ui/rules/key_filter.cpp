#include "ui/rules/key_filter.h"

namespace kyfui {

namespace {

constexpr std::uint16_t kControl = 0xFFFF;
constexpr std::uint16_t kDigit = 0x15;
constexpr std::uint16_t kExponent = 0x06;
constexpr std::uint16_t kLetter = 0x02;
constexpr std::uint16_t kMinus = 0x14;
constexpr std::uint16_t kPoint = 0x04;
constexpr std::uint16_t kUnderscore = 0x28;
constexpr std::uint16_t kOther = 0x08;

} // namespace

CharacterKind KindOfAscii(char32_t character) {
    if (character >= U'0' && character <= U'9') return CharacterKind::Digit;
    const char32_t lower = character | 0x20;
    return lower >= U'a' && lower <= U'z' ? CharacterKind::Letter : CharacterKind::Other;
}

std::uint16_t CharacterClass(char32_t character, CharacterKind kind) {
    if (character < 0x20) return kControl;
    if (kind == CharacterKind::Digit) return kDigit;
    if (kind == CharacterKind::Letter) return character == U'E' || character == U'e' ? kExponent : kLetter;
    switch (character) {
    case U'-': return kMinus;
    case U'.': return kPoint;
    case U'_': return kUnderscore;
    default: return kOther;
    }
}

bool IsAccepted(std::uint16_t parseType, char32_t character, CharacterKind kind) {
    return (CharacterClass(character, kind) & parseType) != 0;
}

} // namespace kyfui

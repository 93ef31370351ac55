/// Which characters an edit field takes.
#ifndef KYFOCUS_UI_RULES_KEY_FILTER_H
#define KYFOCUS_UI_RULES_KEY_FILTER_H

#include <cstdint>

namespace kyfui {

/// What a character is in its script. Toolkits know this for all scripts; ASCII is known here.
enum class CharacterKind { Letter, Digit, Other };

CharacterKind KindOfAscii(char32_t character);

/// The class of a character: one bit for each group of parse types that accept it.
std::uint16_t CharacterClass(char32_t character, CharacterKind kind);

/// Whether the class of the character has a bit in common with the parse type.
bool IsAccepted(std::uint16_t parseType, char32_t character, CharacterKind kind);

} // namespace kyfui

#endif

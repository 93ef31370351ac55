/// The text of a profile file and what each of its lines says. Works on UTF-8.
#ifndef KYFOCUS_PLATFORM_PROFILE_TEXT_H
#define KYFOCUS_PLATFORM_PROFILE_TEXT_H

#include <optional>
#include <string>
#include <string_view>

namespace platform {

/// How the bytes of a profile file are to be read. Files without a mark at their start are UTF-8.
enum class ProfileEncoding { Utf8, Utf8Marked, Utf16Marked };

ProfileEncoding FindProfileEncoding(std::string_view bytes);

/// The text without its mark, in UTF-8. Bytes that are no UTF-8 stay as they are.
std::string DecodeProfile(std::string bytes);

/// UTF-8 of UTF-16 units, low byte first. Half a pair of surrogates becomes U+FFFD, half a unit at the end is dropped.
std::string FromUtf16(std::string_view bytes);

/// One line: a section's head, a key with its value, or anything else (comments, blank lines, junk).
struct ProfileLine {
    enum class Kind { Other, Section, Key } Is;
    std::string_view Name;  ///< of the section or key, without blanks around it
    std::string_view Value; ///< of the key, without blanks and then one pair of quotes around it
};

/// @param line  Without its line end.
ProfileLine ReadProfileLine(std::string_view line);

/// Cuts the first line off `text`, without its line end (a carriage return, a line feed or both). Empty at the end.
std::optional<std::string_view> TakeLine(std::string_view& text);

/// Whether two names are one: letters A to Z count without case.
bool IsSameName(std::string_view first, std::string_view second);

/// Whether nothing but blanks stands in a line.
bool IsBlankLine(std::string_view line);

/// The value of a key in a text without mark; empty when section or key is missing. Of several the first counts.
std::optional<std::string_view> FindProfileValue(std::string_view text, std::string_view section, std::string_view key);

} // namespace platform

#endif

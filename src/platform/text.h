/// Wide text and UTF-8.
#ifndef KYFOCUS_PLATFORM_TEXT_H
#define KYFOCUS_PLATFORM_TEXT_H

#include <span>
#include <string>
#include <string_view>

namespace platform {

/// UTF-8 of a wide text. What is no character becomes U+FFFD, except the stand-ins below, which give their byte back.
std::string ToUtf8(std::wstring_view text);

/// The same, with a terminator, into a buffer of the caller's that is not empty: for what must not run out of memory.
/// @return false when it does not fit; the buffer's content is then any.
bool ToUtf8(std::wstring_view text, std::span<char> out) noexcept;

/// Wide text of UTF-8. A byte that is no part of valid UTF-8 becomes U+DC00 + byte, so that any file name survives the
/// way to wide text and back.
std::wstring ToWide(std::string_view text);

} // namespace platform

#endif

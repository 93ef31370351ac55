/// Wide text and UTF-8.
#ifndef KYFOCUS_PLATFORM_TEXT_H
#define KYFOCUS_PLATFORM_TEXT_H

#include <string>
#include <string_view>

namespace platform {

/// UTF-8 of a wide text. What is no character becomes U+FFFD, except the stand-ins below, which give their byte back.
std::string ToUtf8(std::wstring_view text);

/// Wide text of UTF-8. A byte that is no part of valid UTF-8 becomes U+DC00 + byte, so that any file name survives the
/// way to wide text and back.
std::wstring ToWide(std::string_view text);

} // namespace platform

#endif

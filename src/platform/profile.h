/// Profile (INI) files: "[section]" lines, "key=value" lines.
#ifndef KYFOCUS_PLATFORM_PROFILE_H
#define KYFOCUS_PLATFORM_PROFILE_H

#include <cstddef>
#include <string>

namespace platform {

/// The value of a key, cut to `capacity` - 1 characters; `fallback` when file, section or key is missing. Section and
/// key are compared without case; of several the first counts. The value loses surrounding blanks and then one pair of
/// quotes (single or double) around it.
std::wstring ReadProfileText(const wchar_t* path, const wchar_t* section, const wchar_t* key, const wchar_t* fallback,
                             std::size_t capacity);

} // namespace platform

#endif

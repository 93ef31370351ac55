/// Profile (INI) files: "[section]" lines, "key=value" lines.
///
/// Section and key are compared without case; of several the first counts. A value loses surrounding blanks and then
/// one pair of quotes (single or double) around it.
#ifndef KYFOCUS_PLATFORM_PROFILE_H
#define KYFOCUS_PLATFORM_PROFILE_H

#include <cstddef>
#include <optional>
#include <span>
#include <string>

namespace platform {

/// A profile file as it was at one moment: values read from it belong together, whoever writes it meanwhile. A file
/// that is missing, unreadable or no plain file is as an empty one.
class ProfileFile {
  public:
    explicit ProfileFile(const wchar_t* path);

    /// The value of a key, cut to `capacity` - 1 characters; `fallback` when section or key is missing.
    std::wstring Read(const wchar_t* section, const wchar_t* key, const wchar_t* fallback, std::size_t capacity) const;

  private:
    std::string m_text;
};

/// One value of a file, read as ProfileFile does.
std::wstring ReadProfileText(const wchar_t* path, const wchar_t* section, const wchar_t* key, const wchar_t* fallback,
                             std::size_t capacity);

/// A number in base 10, with blanks and a sign ahead of it as wcstol allows, cut to the range of a long; empty when
/// anything else stands in the text, or nothing.
std::optional<long> ParseProfileNumber(const std::wstring& text);

struct ProfileEntry {
    std::wstring Key;
    std::wstring Value;
};

/// Gives keys of one section their values, as ChangeProfile does, and puts the file in its place in one step: a reader
/// finds either none of the changes or all. File and section are made as needed, folders are not. Permissions are kept,
/// owner and group where the process may set them, and a link that leads to the file; of a link that leads nowhere the
/// file that it names is made. Another name of the file (a hard link) keeps the old content.
/// @param entries  Each key once.
/// @return false, with the file as it was, when it cannot be read or written, or when a name or value is none.
bool WriteProfileTexts(const wchar_t* path, const wchar_t* section, std::span<const ProfileEntry> entries);

} // namespace platform

#endif

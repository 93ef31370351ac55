#include "platform/profile.h"

#include "platform/files.h"
#include "platform/profile_change.h"
#include "platform/profile_text.h"
#include "platform/text.h"

#include <cstdlib>
#include <cwchar>
#include <filesystem>
#include <memory>
#include <string_view>
#include <system_error>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

namespace platform {

namespace {

// A profile is written by hand or key by key; what is larger is no profile.
constexpr std::size_t kLargestProfile = std::size_t{64} << 20;
constexpr mode_t kNewFileMode = 0600; // settings are their user's own
constexpr int kMostLinks = 40;        // as many as the system follows

/// The bytes of a file, none when it is missing. Empty when it is there and cannot be read.
std::optional<std::string> ReadBytes(const wchar_t* path) try {
    InputFile file(path);
    if (file.Size() > kLargestProfile) return std::nullopt;
    std::string bytes(static_cast<std::size_t>(file.Size()), '\0');
    bytes.resize(file.ReadAt(0, bytes.data(), bytes.size()));
    if (file.ErrorNumber() != 0) return std::nullopt;
    return bytes;
} catch (const std::system_error& error) {
    if (error.code() == std::errc::no_such_file_or_directory) return std::string();
    return std::nullopt;
}

// What a buffer of that many characters, the terminator among them, would hold.
std::wstring Cut(std::wstring text, std::size_t capacity) {
    if (const std::size_t end = text.find(L'\0'); end != std::wstring::npos) text.resize(end);
    if (text.size() >= capacity) text.resize(capacity > 0 ? capacity - 1 : 0);
    return text;
}

struct FreeText {
    void operator()(char* text) const { std::free(text); } // NOLINT(cppcoreguidelines-no-malloc): from realpath
};

/// The file that a path leads to, links followed. While there is none: the path itself, or the one that the last link
/// names.
std::wstring FollowLinks(const wchar_t* path) {
    const std::string name = ToUtf8(path);
    if (const std::unique_ptr<char, FreeText> target(realpath(name.c_str(), nullptr)); target)
        return ToWide(target.get());
    std::filesystem::path file = name;
    std::error_code error;
    for (int links = 0; links < kMostLinks && std::filesystem::is_symlink(file, error); ++links) {
        const std::filesystem::path text = std::filesystem::read_symlink(file, error);
        if (error) break;
        file = file.parent_path() / text;
    }
    return ToWide(file.native());
}

/// Whether the caller may write into the file, or there is none. A folder that may be written to would let a file be
/// replaced that is protected from writing.
bool MayBeWritten(const std::wstring& path) {
    const std::string name = ToUtf8(path);
    return faccessat(AT_FDCWD, name.c_str(), W_OK, AT_EACCESS) == 0 ||
           faccessat(AT_FDCWD, name.c_str(), F_OK, AT_EACCESS) != 0;
}

bool ReplaceFile(const std::wstring& path, const std::string& bytes) try {
    FileReplacement file(path.c_str(), kNewFileMode);
    file.Append(bytes.data(), bytes.size());
    file.Commit();
    return true;
} catch (const std::system_error&) {
    return false;
}

} // namespace

ProfileFile::ProfileFile(const wchar_t* path) : m_text(DecodeProfile(ReadBytes(path).value_or(""))) {}

std::wstring ProfileFile::Read(const wchar_t* section, const wchar_t* key, const wchar_t* fallback,
                               std::size_t capacity) const {
    if (section && key)
        if (const auto value = FindProfileValue(m_text, ToUtf8(section), ToUtf8(key)))
            return Cut(ToWide(*value), capacity);
    return Cut(fallback ? fallback : L"", capacity);
}

std::wstring ReadProfileText(const wchar_t* path, const wchar_t* section, const wchar_t* key, const wchar_t* fallback,
                             std::size_t capacity) {
    return ProfileFile(path).Read(section, key, fallback, capacity);
}

std::optional<long> ParseProfileNumber(const std::wstring& text) {
    wchar_t* end = nullptr;
    const long value = std::wcstol(text.c_str(), &end, 10);
    if (end == text.c_str() || end != text.c_str() + text.size()) return std::nullopt;
    return value;
}

bool WriteProfileTexts(const wchar_t* path, const wchar_t* section, std::span<const ProfileEntry> entries) {
    if (!path || !*path || !section) return false;
    const std::wstring target = FollowLinks(path);
    const std::optional<std::string> before = ReadBytes(target.c_str());
    if (!before) return false;
    std::vector<ProfileChange> changes;
    changes.reserve(entries.size());
    for (const ProfileEntry& entry : entries) changes.push_back({ToUtf8(entry.Key), ToUtf8(entry.Value)});
    const std::optional<std::string> after = ChangeProfile(*before, ToUtf8(section), changes);
    if (!after || !MayBeWritten(target)) return false;
    return ReplaceFile(target, *after);
}

} // namespace platform

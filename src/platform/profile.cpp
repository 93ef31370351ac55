#include "platform/profile.h"

#include "platform/files.h"
#include "platform/profile_text.h"
#include "platform/text.h"

#include <optional>
#include <string_view>
#include <system_error>

namespace platform {

namespace {

// A profile is written by hand or key by key; what is larger is no profile.
constexpr std::size_t kLargestProfile = std::size_t{64} << 20;

/// Empty for a file that is missing, unreadable, too large or no plain file.
std::string ReadProfileFile(const wchar_t* path) try {
    InputFile file(path);
    if (file.Size() > kLargestProfile) return {};
    std::string bytes(static_cast<std::size_t>(file.Size()), '\0');
    bytes.resize(file.ReadAt(0, bytes.data(), bytes.size()));
    return bytes;
} catch (const std::system_error&) {
    return {};
}

/// Leaves `text` behind the head of the first section of that name. False when there is none.
bool SkipToSection(std::string_view& text, std::string_view section) {
    while (const std::optional<std::string_view> line = TakeLine(text)) {
        const ProfileLine content = ReadProfileLine(*line);
        if (content.Is == ProfileLine::Kind::Section && IsSameName(content.Name, section)) return true;
    }
    return false;
}

std::optional<std::string_view> FindValue(std::string_view text, std::string_view section, std::string_view key) {
    if (!SkipToSection(text, section)) return std::nullopt;
    while (const std::optional<std::string_view> line = TakeLine(text)) {
        const ProfileLine content = ReadProfileLine(*line);
        if (content.Is == ProfileLine::Kind::Section) break;
        if (content.Is == ProfileLine::Kind::Key && IsSameName(content.Name, key)) return content.Value;
    }
    return std::nullopt;
}

// What a buffer of that many characters, the terminator among them, would hold.
std::wstring Cut(std::wstring text, std::size_t capacity) {
    if (const std::size_t end = text.find(L'\0'); end != std::wstring::npos) text.resize(end);
    if (text.size() >= capacity) text.resize(capacity > 0 ? capacity - 1 : 0);
    return text;
}

} // namespace

std::wstring ReadProfileText(const wchar_t* path, const wchar_t* section, const wchar_t* key, const wchar_t* fallback,
                             std::size_t capacity) {
    if (path && section && key) {
        const std::string text = DecodeProfile(ReadProfileFile(path));
        if (const auto value = FindValue(text, ToUtf8(section), ToUtf8(key))) return Cut(ToWide(*value), capacity);
    }
    return Cut(fallback ? fallback : L"", capacity);
}

} // namespace platform

#include "platform/profile.h"

#include "platform/profile_text.h"
#include "platform/text.h"

#include <cerrno>
#include <fcntl.h>
#include <optional>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

namespace platform {

namespace {

// A profile is written by hand or key by key; what is larger is no profile.
constexpr std::size_t kLargestProfile = std::size_t{64} << 20;

// Fills `bytes` to its size, or shortens it to what the file gave.
void ReadBytes(int file, std::string& bytes) {
    std::size_t at = 0;
    while (at < bytes.size()) {
        const ssize_t got = read(file, bytes.data() + at, bytes.size() - at);
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0) break;
        at += static_cast<std::size_t>(got);
    }
    bytes.resize(at);
}

/// Empty for a file that is missing, unreadable, too large or no plain file.
std::string ReadProfileFile(const std::string& path) {
    const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    if (file < 0) return {};
    struct stat state {};
    std::string bytes;
    const bool isProfile = fstat(file, &state) == 0 && S_ISREG(state.st_mode) && state.st_size >= 0 &&
                           static_cast<std::size_t>(state.st_size) <= kLargestProfile;
    if (isProfile) {
        bytes.resize(static_cast<std::size_t>(state.st_size));
        ReadBytes(file, bytes);
    }
    close(file);
    return bytes;
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
        const std::string text = DecodeProfile(ReadProfileFile(ToUtf8(path)));
        if (const auto value = FindValue(text, ToUtf8(section), ToUtf8(key))) return Cut(ToWide(*value), capacity);
    }
    return Cut(fallback ? fallback : L"", capacity);
}

} // namespace platform

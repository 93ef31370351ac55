/// A profile's bytes as a row of units: bytes, or pairs of bytes in a file of UTF-16.
#ifndef KYFOCUS_PLATFORM_PROFILE_UNITS_H
#define KYFOCUS_PLATFORM_PROFILE_UNITS_H

#include <algorithm>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace platform {

class ProfileUnits {
  public:
    /// @param width  Bytes a unit: 1, or 2 with the low byte first. The bytes are whole units.
    ProfileUnits(std::string_view bytes, std::size_t width) noexcept : m_bytes(bytes), m_width(width) {}

    std::string_view Bytes() const noexcept { return m_bytes; }
    std::size_t Count() const noexcept { return m_bytes.size() / m_width; }
    ProfileUnits First(std::size_t count) const noexcept { return {m_bytes.substr(0, count * m_width), m_width}; }
    ProfileUnits From(std::size_t first) const noexcept { return {m_bytes.substr(first * m_width), m_width}; }

    /// Whether a unit is one of these characters, which are ASCII.
    bool IsOneOf(std::size_t i, std::string_view characters) const noexcept {
        if (m_width == 2 && m_bytes[2 * i + 1] != '\0') return false;
        return characters.find(m_bytes[i * m_width]) != std::string_view::npos;
    }
    /// The first unit from `from` on that is (or is not) one of the characters; Count() without one.
    std::size_t FindOneOf(std::string_view characters, std::size_t from = 0, bool isOneOf = true) const noexcept {
        while (from < Count() && IsOneOf(from, characters) != isOneOf) ++from;
        return from;
    }

  private:
    std::string_view m_bytes;
    std::size_t m_width;
};

/// A line and what ends it: nothing, a carriage return, a line feed or both.
struct ProfileUnitLine {
    ProfileUnits Content;
    ProfileUnits End;
};

/// Cuts the first line off. Empty at the end.
inline std::optional<ProfileUnitLine> TakeUnitLine(ProfileUnits& text) {
    if (text.Count() == 0) return std::nullopt;
    const std::size_t length = text.FindOneOf("\r\n");
    const ProfileUnits rest = text.From(length);
    const bool isPair = rest.Count() >= 2 && rest.IsOneOf(0, "\r") && rest.IsOneOf(1, "\n");
    const std::size_t end = std::min(rest.Count(), std::size_t{isPair ? 2U : 1U});
    const ProfileUnitLine line{text.First(length), rest.First(end)};
    text = rest.From(end);
    return line;
}

} // namespace platform

#endif

#include "platform/profile_change.h"

#include "platform/profile_text.h"
#include "platform/profile_units.h"
#include "platform/text.h"

#include <array>
#include <cstdint>
#include <vector>

namespace platform {

namespace {

constexpr std::string_view kBlanks = " \t\v\f";
constexpr std::string_view kForbidden("\r\n\0", 3);

std::string ToUtf16(std::string_view text) {
    std::string bytes;
    const auto append = [&bytes](std::uint32_t unit) {
        bytes += static_cast<char>(unit & 0xFF);
        bytes += static_cast<char>(unit >> 8);
    };
    for (const wchar_t character : ToWide(text)) {
        const char32_t code = static_cast<char32_t>(character);
        if (code < 0x10000) {
            append(code);
        } else {
            append(0xD800 + ((code - 0x10000) >> 10));
            append(0xDC00 + ((code - 0x10000) & 0x3FF));
        }
    }
    return bytes;
}

/// Where the bytes of a file turn into lines, and lines into bytes.
struct Encoding {
    std::size_t MarkBytes;
    std::size_t UnitBytes;

    std::string ToBytes(std::string_view text) const { return UnitBytes == 2 ? ToUtf16(text) : std::string(text); }
    std::string ToText(ProfileUnits units) const {
        return UnitBytes == 2 ? FromUtf16(units.Bytes()) : std::string(units.Bytes());
    }
};

Encoding EncodingOf(std::string_view bytes) {
    switch (FindProfileEncoding(bytes)) {
    case ProfileEncoding::Utf8Marked: return {3, 1};
    case ProfileEncoding::Utf16Marked: return {2, 2};
    case ProfileEncoding::Utf8: break;
    }
    return {0, 1};
}

std::string SectionLine(std::string_view section) { return std::string("[").append(section).append("]"); }

std::string KeyLine(const ProfileChange& change) { return std::string(change.Key).append("=").append(change.Value); }

bool IsReadBack(const std::string& line, std::string_view name, ProfileLine::Kind kind, const Encoding& encoding) {
    if (line.find_first_of(kForbidden) != std::string::npos) return false;
    const std::string bytes = encoding.ToBytes(line);
    const std::string text = encoding.ToText({bytes, encoding.UnitBytes});
    const ProfileLine content = ReadProfileLine(text);
    return text == line && content.Is == kind && content.Name == name;
}

/// Writes the lines of a file anew, one after the other.
class Rewriting {
  public:
    Rewriting(std::string_view section, std::span<const ProfileChange> changes, const Encoding& encoding,
              std::string lineEnd)
        : m_section(section), m_changes(changes), m_encoding(encoding), m_lineEnd(std::move(lineEnd)),
          m_isWritten(changes.size(), false) {}

    void Take(const ProfileUnitLine& line) {
        const std::string text = m_encoding.ToText(line.Content);
        const ProfileLine content = ReadProfileLine(text);
        if (content.Is == ProfileLine::Kind::Section) EnterSection(content.Name);
        const bool isKey = m_place == Place::Inside && content.Is == ProfileLine::Kind::Key;
        if (!isKey || !TakeKey(line.Content, content.Name)) m_out += line.Content.Bytes();
        m_out += line.End.Bytes();
        if (m_place == Place::Inside && !IsBlankLine(text)) m_sectionEnd = m_out.size();
    }

    std::string Finish() {
        if (m_place == Place::Before) {
            EndLine(m_out);
            m_out += m_encoding.ToBytes(SectionLine(m_section)) + m_lineEnd;
            m_sectionEnd = m_out.size();
        }
        if (m_place != Place::Behind) InsertNewKeys();
        return std::move(m_out);
    }

  private:
    enum class Place { Before, Inside, Behind };

    void EnterSection(std::string_view name) {
        if (m_place == Place::Inside) {
            InsertNewKeys();
            m_place = Place::Behind;
        } else if (m_place == Place::Before && IsSameName(name, m_section)) {
            m_place = Place::Inside;
        }
    }

    /// False for a key that stays as it is.
    bool TakeKey(ProfileUnits line, std::string_view name) {
        for (std::size_t i = 0; i < m_changes.size(); ++i) {
            if (m_isWritten[i] || !IsSameName(name, m_changes[i].Key)) continue;
            m_isWritten[i] = true;
            const std::size_t value = line.FindOneOf(kBlanks, line.FindOneOf("=") + 1, /*isOneOf=*/false);
            m_out += line.First(value).Bytes();
            m_out += m_encoding.ToBytes(m_changes[i].Value);
            return true;
        }
        return false;
    }

    void InsertNewKeys() {
        std::string head = m_out.substr(0, m_sectionEnd);
        const std::string tail = m_out.substr(m_sectionEnd);
        for (std::size_t i = 0; i < m_changes.size(); ++i) {
            if (m_isWritten[i]) continue;
            EndLine(head);
            head += m_encoding.ToBytes(KeyLine(m_changes[i])) + m_lineEnd;
        }
        m_out = head + tail;
    }

    void EndLine(std::string& bytes) const {
        const ProfileUnits units(bytes, m_encoding.UnitBytes);
        if (units.Count() > 0 && !units.IsOneOf(units.Count() - 1, "\r\n")) bytes += m_lineEnd;
    }

    std::string_view m_section;
    std::span<const ProfileChange> m_changes;
    Encoding m_encoding;
    std::string m_lineEnd;
    std::vector<bool> m_isWritten; ///< of each change
    std::string m_out;
    Place m_place = Place::Before;
    std::size_t m_sectionEnd = 0; ///< behind its last line that is not blank
};

} // namespace

std::optional<std::string> ChangeProfile(std::string_view bytes, std::string_view section,
                                         std::span<const ProfileChange> changes) {
    if (bytes.starts_with("\xFE\xFF")) return std::nullopt; // units with the high byte first are not read either
    const Encoding encoding = EncodingOf(bytes);
    if (!IsReadBack(SectionLine(section), section, ProfileLine::Kind::Section, encoding)) return std::nullopt;
    for (const ProfileChange& change : changes)
        if (!IsReadBack(KeyLine(change), change.Key, ProfileLine::Kind::Key, encoding)) return std::nullopt;

    // Half a unit at the end of a file of units is nobody's; it stays there.
    const std::size_t halfUnit = (bytes.size() - encoding.MarkBytes) % encoding.UnitBytes;
    const std::string_view content = bytes.substr(encoding.MarkBytes, bytes.size() - encoding.MarkBytes - halfUnit);
    ProfileUnits rest(content, encoding.UnitBytes);
    ProfileUnits firstLine = rest;
    const std::optional<ProfileUnitLine> first = TakeUnitLine(firstLine);
    const bool hasLineEnd = first && first->End.Count() > 0;
    Rewriting rewriting(section, changes, encoding,
                        hasLineEnd ? std::string(first->End.Bytes()) : encoding.ToBytes("\n"));
    while (const std::optional<ProfileUnitLine> line = TakeUnitLine(rest)) rewriting.Take(*line);
    return std::string(bytes.substr(0, encoding.MarkBytes)) + rewriting.Finish() +
           std::string(bytes.substr(bytes.size() - halfUnit));
}

} // namespace platform

// Profile files of any bytes: reading them, changing them, reading them again.
//
// What holds for every file: a change is either refused or reads back; it touches the lines of its keys and adds new
// ones, and no others; the same change once more changes nothing.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/profile_change.h"
#include "platform/profile_text.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

constexpr std::string_view kSection = "FocusCompositionSetting";
constexpr std::string_view kLineEnds = "\r\n";

void Require(bool holds, const char* law) {
    if (holds) return;
    std::fprintf(stderr, "profile: %s\n", law);
    std::abort();
}

std::optional<std::string> Read(const std::string& bytes, std::string_view section, std::string_view key) {
    const std::string text = platform::DecodeProfile(bytes);
    const std::optional<std::string_view> value = platform::FindProfileValue(text, section, key);
    return value ? std::optional<std::string>(*value) : std::nullopt;
}

/// The text of a file in lines; empty ones left out, so that a line that a new one was put behind counts the same.
std::vector<std::string> Lines(const std::string& bytes) {
    const std::string text = platform::DecodeProfile(bytes);
    std::string_view rest = text;
    std::vector<std::string> lines;
    while (const std::optional<std::string_view> line = platform::TakeLine(rest))
        if (!line->empty()) lines.emplace_back(*line);
    return lines;
}

bool IsChanged(const std::string& line, const std::vector<platform::ProfileChange>& changes) {
    const platform::ProfileLine content = platform::ReadProfileLine(line);
    if (content.Is != platform::ProfileLine::Kind::Key) return false;
    for (const platform::ProfileChange& change : changes)
        if (platform::IsSameName(content.Name, change.Key)) return true;
    return false;
}

/// Every line of the file stands there still, in its order, but for those of the keys.
bool KeepsOtherLines(const std::string& before, const std::string& after,
                     const std::vector<platform::ProfileChange>& changes) {
    const std::vector<std::string> kept = Lines(after);
    std::size_t next = 0;
    for (const std::string& line : Lines(before)) {
        if (IsChanged(line, changes)) continue;
        while (next < kept.size() && kept[next] != line) ++next;
        if (next == kept.size()) return false;
        ++next;
    }
    return true;
}

void CheckChange(const std::string& bytes, const std::vector<platform::ProfileChange>& changes) {
    const std::optional<std::string> changed = platform::ChangeProfile(bytes, kSection, changes);
    Require(changed.has_value() == !bytes.starts_with("\xFE\xFF"), "a change of plain names and values was refused");
    if (!changed) return;
    for (const platform::ProfileChange& change : changes)
        Require(Read(*changed, kSection, change.Key) == change.Value, "a value does not read back");
    Require(KeepsOtherLines(bytes, *changed, changes), "another line is gone");
    const std::optional<std::string> again = platform::ChangeProfile(*changed, kSection, changes);
    Require(again == changed, "the same change once more changes the file");
    Require(platform::FindProfileEncoding(bytes) == platform::FindProfileEncoding(*changed), "the mark is gone");
}

/// Names and values that come from the input: refused or read back.
void CheckWildChange(const std::string& bytes, std::string_view head) {
    const std::string key(head.substr(0, head.size() / 2));
    const std::string value(head.substr(head.size() / 2));
    const std::vector<platform::ProfileChange> changes{{key, value}};
    const std::optional<std::string> changed = platform::ChangeProfile(bytes, kSection, changes);
    if (!changed) return;
    const std::optional<std::string> read = Read(*changed, kSection, key);
    Require(read.has_value(), "a key that was written is not there");
    Require(value.find(*read) != std::string::npos, "a value reads back as another");
    Require(value.find_first_of(kLineEnds) == std::string::npos, "a value of two lines was written");
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string bytes(reinterpret_cast<const char*>(data), size);
    Read(bytes, kSection, "Speed");
    CheckChange(bytes, {{"Speed", "2"}});
    CheckChange(bytes, {{"AlgType", "-1"}, {"Speed", ""}, {"DisableGPU", "2147483647"}});
    constexpr std::size_t kHead = 8;
    CheckWildChange(bytes, std::string_view(bytes).substr(0, kHead));
    return 0;
}

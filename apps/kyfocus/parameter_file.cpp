#include "parameter_file.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <map>
#include <optional>
#include <string_view>

#include <fcntl.h>
#include <kyfocus/setting_persister.h>
#include <sys/stat.h>
#include <unistd.h>

#include "errors.h"
#include "images.h"

namespace app {
namespace {

namespace fs = std::filesystem;
using Parameter = KyfFocusCompositionParameter;
constexpr std::string_view kSection = "focuscompositionsetting";
constexpr std::string_view kBlanks = " \t\v\f";
constexpr std::uintmax_t kLargestFile = std::uintmax_t{64} << 20; // the library reads no larger one
constexpr std::size_t kLongestText = 40;                          // characters of a text of the file in a message

std::string_view Trim(std::string_view text) {
    const std::size_t first = text.find_first_not_of(kBlanks);
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

std::string LowerCase(std::string_view text) {
    std::string lower(text);
    for (char& letter : lower) letter = static_cast<char>(std::tolower(static_cast<unsigned char>(letter)));
    return lower;
}

/// Opens a file that may be one of parameters. Asked before it is opened: a pipe without a writer would hold the
/// program.
std::ifstream OpenParameters(const fs::path& file) {
    std::error_code error;
    const fs::file_status status = fs::status(file, error);
    if (fs::exists(status) && !fs::is_regular_file(status)) throw Failure(DisplayPath(file) + ": is no plain file");
    std::ifstream stream(file, std::ios::binary);
    if (!stream) throw Failure(DisplayPath(file) + ": parameters cannot be read: " + std::strerror(errno));
    if (fs::file_size(file, error) > kLargestFile)
        throw Failure(DisplayPath(file) + ": too large for a parameter file, expected at most 64 MiB");
    return stream;
}

std::string ReadBytes(const fs::path& file) {
    std::ifstream stream = OpenParameters(file);
    std::string bytes;
    for (char buffer[1 << 16]; stream.read(buffer, sizeof buffer), stream.gcount() > 0;)
        bytes.append(buffer, static_cast<std::size_t>(stream.gcount()));
    if (stream.bad()) throw Failure(DisplayPath(file) + ": parameters cannot be read: " + std::strerror(errno));
    return bytes;
}

/// For showing: in a file of UTF-16 every other byte tells enough of names and numbers.
std::string ToText(const std::string& bytes) {
    if (bytes.starts_with("\xEF\xBB\xBF")) return bytes.substr(3);
    if (!bytes.starts_with("\xFF\xFE")) return bytes;
    std::string text;
    for (std::size_t i = 2; i + 1 < bytes.size(); i += 2) text += bytes[i + 1] == '\0' ? bytes[i] : '?';
    return text;
}

struct KeyText {
    std::string Name;
    std::string Value; // as it stands, quotes included
};

/// A key without a value counts as absent.
bool IsEmptyValue(const std::string& text) { return text.empty() || text == "\"\"" || text == "''"; }

/// The keys of the first section of parameters; empty without one.
std::optional<std::vector<KeyText>> ReadSection(std::string_view text) {
    std::optional<std::vector<KeyText>> keys;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find_first_of("\r\n"), text.size());
        const std::string_view line = Trim(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
        if (line.empty() || line.front() == ';') continue;
        const std::size_t bracket = line.find(']');
        const std::size_t equals = line.find('=');
        if (line.front() == '[' && bracket != std::string_view::npos) {
            if (keys) break;
            if (LowerCase(Trim(line.substr(1, bracket - 1))) == kSection) keys.emplace();
        } else if (keys && equals != std::string_view::npos) {
            keys->push_back({std::string(Trim(line.substr(0, equals))), std::string(Trim(line.substr(equals + 1)))});
        }
    }
    return keys;
}

/// What the library reads of a file. It tells nothing of a file that fails, and takes its keys for missing.
struct Reading {
    Parameter Loaded{}; // over the defaults
    Parameter Zeros{};  // over a record of zeros, and over one of ones: what differs is not from the file
    Parameter Ones{};

    explicit Reading(const fs::path& file) {
        KyfLoadFocusCompositionParameter(&Loaded, WidePath(file).c_str());
        LoadOver(0, file, Zeros);
        LoadOver(1, file, Ones);
    }

    static void LoadOver(std::int32_t value, const fs::path& file, Parameter& parameter) {
        for (const ParameterKey& key : ParameterKeys()) key.Field(parameter) = value;
        CKyfFocusCompositionSetting setting(parameter);
        CKyfFocusCompositionSettingPersister::Load(WidePath(file), setting);
        parameter = setting.Get();
    }
};

bool IsSame(Parameter first, Parameter second) {
    return std::all_of(ParameterKeys().begin(), ParameterKeys().end(),
                       [&](const ParameterKey& key) { return key.Field(first) == key.Field(second); });
}

/// Throws Failure when the file fails or changes meanwhile.
Reading ReadTwice(const fs::path& file, const std::string& bytes) {
    const Reading first(file);
    const Reading second(file);
    const bool isSame =
        IsSame(first.Loaded, second.Loaded) && IsSame(first.Zeros, second.Zeros) && IsSame(first.Ones, second.Ones);
    if (ReadBytes(file) != bytes || !isSame)
        throw Failure(DisplayPath(file) + ": parameters cannot be read: they do not read the same twice");
    return first;
}

/// A fresh copy, or none where there is no file. Its owner is kept where the process may set it.
void CopyToChange(const fs::path& from, const fs::path& to) {
    fs::remove(to);
    struct stat status {};
    if (stat(from.c_str(), &status) != 0) return;
    std::error_code error;
    fs::copy_file(from, to, error);
    if (error) throw Failure(DisplayPath(to) + ": cannot be written: " + error.message());
    [[maybe_unused]] const int given = chown(to.c_str(), status.st_uid, status.st_gid);
}

/// The library tells nothing of a save: it is read back.
void SaveParameters(const Parameter& settings, const fs::path& file) {
    KyfSaveFocusCompositionParameter(&settings, WidePath(file).c_str());
    Parameter saved{};
    KyfLoadFocusCompositionParameter(&saved, WidePath(file).c_str());
    if (!IsSame(settings, saved))
        throw Failure(DisplayPath(file) + ": parameters cannot be written: they do not read back, as on a full disk");
}

} // namespace

ParameterFile ReadParameterFile(const fs::path& file) {
    const std::string bytes = ReadBytes(file);
    const std::optional<std::vector<KeyText>> keys = ReadSection(ToText(bytes));
    if (!keys) throw Failure(DisplayPath(file) + ": no parameters, expected a section [FocusCompositionSetting]");
    std::map<std::string, std::string> texts; // of several the first counts
    for (const KeyText& key : *keys) texts.emplace(LowerCase(key.Name), key.Value);
    Reading reading = ReadTwice(file, bytes);
    ParameterFile result;
    for (const ParameterKey& key : ParameterKeys()) {
        ParameterEntry entry{&key, ParameterEntry::Source::File, key.Field(reading.Loaded), {}};
        const auto text = texts.find(LowerCase(key.Name));
        if (key.Field(reading.Zeros) != key.Field(reading.Ones)) {
            const bool isMissing = text == texts.end() || IsEmptyValue(text->second);
            entry.From = isMissing ? ParameterEntry::Source::Missing : ParameterEntry::Source::Unreadable;
            if (!isMissing) entry.Text = text->second;
        }
        result.Entries.push_back(entry);
        if (text != texts.end()) texts.erase(text);
    }
    for (const KeyText& key : *keys)
        if (texts.erase(LowerCase(key.Name)) > 0) result.UnknownKeys.push_back(key.Name);
    return result;
}

std::string ShownText(std::string text) {
    for (char& letter : text)
        if (static_cast<unsigned char>(letter) < ' ' || letter == '\x7F') letter = '?';
    return text.size() <= kLongestText ? text : text.substr(0, kLongestText) + "...";
}

void OverlayParameters(const ParameterFile& file, Parameter& settings) {
    for (const ParameterEntry& entry : file.Entries)
        if (entry.From == ParameterEntry::Source::File) entry.Key->Field(settings) = entry.Value;
}

void RequireWritable(const fs::path& file) {
    std::error_code error;
    if (!fs::exists(file, error)) return;
    OpenParameters(file);
    if (faccessat(AT_FDCWD, file.c_str(), W_OK, AT_EACCESS) != 0) // as the library asks
        throw Failure(DisplayPath(file) + ": parameters cannot be written: " + std::strerror(errno));
}

void WriteParameters(const Parameter& settings, const fs::path& file, OutputFiles& outputs) {
    outputs.Write(file, [&](const fs::path& path) {
        RequireWritable(file);
        CopyToChange(file, path);
        SaveParameters(settings, path);
    });
}

} // namespace app

#include "npy_file.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cerrno>
#include <charconv>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>

#include "binary_file.h"
#include "errors.h"
#include "images.h"

namespace app {
namespace {

namespace fs = std::filesystem;
constexpr std::string_view kMagic("\x93NUMPY", 6);
constexpr std::size_t kAlignment = 64; // of the first number in the file

/// What the header tells of an array.
struct NpyForm {
    bool IsBigEndian = false;
    std::size_t SampleBytes = 0;
    int Width = 0;
    int Height = 0;
};

[[noreturn]] void Fail(const fs::path& file, const std::string& reason) {
    throw Failure(DisplayPath(file) + ": " + reason);
}

std::string ReadBytes(std::istream& stream, std::size_t count, const fs::path& file) {
    std::string bytes(count, '\0');
    if (!stream.read(bytes.data(), static_cast<std::streamsize>(count))) Fail(file, "cut short");
    return bytes;
}

/// Opens a plain file. Asked before it is opened: a pipe without a writer would hold the program.
std::ifstream Open(const fs::path& file) {
    std::error_code error;
    const fs::file_status status = fs::status(file, error);
    if (fs::exists(status) && !fs::is_regular_file(status)) Fail(file, "is no plain file");
    std::ifstream stream(file, std::ios::binary);
    if (!stream) Fail(file, "cannot be read: " + std::string(std::strerror(errno)));
    return stream;
}

/// The text of the header; the stream then stands at the numbers.
std::string ReadHeader(std::istream& stream, const fs::path& file) {
    const std::string start = ReadBytes(stream, kMagic.size() + 2, file);
    if (!start.starts_with(kMagic)) Fail(file, "not a .npy file");
    const int version = static_cast<unsigned char>(start[kMagic.size()]);
    if (version < 1 || version > 3) Fail(file, "version " + std::to_string(version) + " of .npy files is not read");
    const std::string lengthBytes = ReadBytes(stream, version == 1 ? 2 : 4, file);
    std::size_t length = 0;
    for (std::size_t index = lengthBytes.size(); index-- > 0;)
        length = length << 8 | static_cast<unsigned char>(lengthBytes[index]);
    constexpr std::size_t kLongest = 65535;
    if (length > kLongest) Fail(file, "header out of range");
    return ReadBytes(stream, length, file);
}

/// Reads a header: {'descr': '<f8', 'fortran_order': False, 'shape': (2, 3), }, its keys in any order.
class HeaderReader {
  public:
    explicit HeaderReader(std::string_view text) : m_rest(text) {}

    /// False unless it tells of rows of floats, one after the other. Sizes may be any.
    bool Read() {
        if (!Take('{')) return false;
        while (!Take('}'))
            if (!ReadEntry() || (!Take(',') && !Next('}'))) return false;
        SkipBlanks();
        return m_rest.empty() && SampleBytes != 0 && m_isByRows && Height && Width;
    }

    bool IsBigEndian = false;
    std::size_t SampleBytes = 0;
    std::optional<std::int64_t> Height;
    std::optional<std::int64_t> Width;

  private:
    bool ReadEntry() {
        const std::string_view key = Text();
        if (!Take(':')) return false;
        if (key == "descr") return ReadKind();
        if (key == "fortran_order") return m_isByRows = TakeWord("False");
        return key == "shape" && ReadShape();
    }

    bool ReadKind() {
        const std::string_view kind = Text();
        if (kind != "<f4" && kind != "<f8" && kind != ">f4" && kind != ">f8") return false;
        IsBigEndian = kind[0] == '>';
        SampleBytes = kind[2] == '4' ? 4 : 8;
        return true;
    }

    bool ReadShape() {
        if (!Take('(')) return false;
        Height = Number();
        if (!Take(',')) return false;
        Width = Number();
        Take(',');
        return Take(')');
    }

    void SkipBlanks() { m_rest.remove_prefix(std::min(m_rest.find_first_not_of(" \t\r\n"), m_rest.size())); }

    bool Next(char expected) {
        SkipBlanks();
        return m_rest.starts_with(expected);
    }
    bool Take(char expected) {
        const bool isThere = Next(expected);
        if (isThere) m_rest.remove_prefix(1);
        return isThere;
    }
    bool TakeWord(std::string_view word) {
        SkipBlanks();
        const bool isThere = m_rest.starts_with(word);
        if (isThere) m_rest.remove_prefix(word.size());
        return isThere;
    }

    /// What stands between quotes, empty without.
    std::string_view Text() {
        const char quote = Next('"') ? '"' : '\'';
        if (!Take(quote)) return {};
        const std::string_view text = m_rest.substr(0, m_rest.find(quote));
        m_rest.remove_prefix(text.size());
        Take(quote);
        return text;
    }

    std::optional<std::int64_t> Number() {
        SkipBlanks();
        std::int64_t number = 0;
        const auto [end, error] = std::from_chars(m_rest.data(), m_rest.data() + m_rest.size(), number);
        if (error == std::errc::invalid_argument) return std::nullopt;
        m_rest.remove_prefix(static_cast<std::size_t>(end - m_rest.data()));
        return error == std::errc() ? number : std::numeric_limits<std::int64_t>::max();
    }

    std::string_view m_rest;
    bool m_isByRows = false;
};

NpyForm ParseHeader(const std::string& header, const fs::path& file) {
    HeaderReader reader(header);
    if (!reader.Read()) Fail(file, "not a height map (expected two dimensions of 32- or 64-bit floats, rows first)");
    constexpr std::int64_t kMostPixels = std::numeric_limits<std::int32_t>::max();
    if (*reader.Width < 1 || *reader.Height < 1 || *reader.Width > kMostPixels / *reader.Height)
        Fail(file, "size out of range");
    return {reader.IsBigEndian, reader.SampleBytes, static_cast<int>(*reader.Width), static_cast<int>(*reader.Height)};
}

/// The float in four bytes or the double in eight.
double DecodeSample(std::string bytes, bool isBigEndian) {
    if (!isBigEndian) std::reverse(bytes.begin(), bytes.end());
    std::uint64_t word = 0;
    for (const char byte : bytes) word = word << 8 | static_cast<unsigned char>(byte);
    if (bytes.size() == 8) return std::bit_cast<double>(word);
    return std::bit_cast<float>(static_cast<std::uint32_t>(word));
}

/// Refuses a file that is too short for its shape before memory is taken.
void CheckLength(const fs::path& file, std::istream& stream, std::size_t bytes) {
    std::error_code error;
    const std::uint64_t length = fs::file_size(file, error);
    if (error || length < static_cast<std::uint64_t>(stream.tellg()) + bytes) Fail(file, "cut short");
}

std::string HeaderOf(const HeightMap& map) {
    std::string text = "{'descr': '<f8', 'fortran_order': False, 'shape': (" + std::to_string(map.Height) + ", " +
                       std::to_string(map.Width) + "), }";
    const std::size_t fixed = kMagic.size() + 4;
    const std::size_t whole = (fixed + text.size() + 1 + kAlignment - 1) / kAlignment * kAlignment;
    text.resize(whole - fixed - 1, ' ');
    return text + '\n';
}

} // namespace

bool IsNpyFile(const fs::path& file) {
    std::error_code error;
    if (!fs::is_regular_file(file, error)) return false; // a pipe without a writer would hold the program
    std::array<char, kMagic.size()> start{};
    std::ifstream stream(file, std::ios::binary);
    return stream.read(start.data(), start.size()) && std::string_view(start.data(), start.size()) == kMagic;
}

HeightMap LoadNpy(const fs::path& file) {
    std::ifstream stream = Open(file);
    const NpyForm form = ParseHeader(ReadHeader(stream, file), file);
    const std::size_t rowBytes = static_cast<std::size_t>(form.Width) * form.SampleBytes;
    CheckLength(file, stream, rowBytes * static_cast<std::size_t>(form.Height));
    HeightMap map{form.Width, form.Height, {}};
    map.Values.reserve(static_cast<std::size_t>(form.Width) * static_cast<std::size_t>(form.Height));
    for (int y = 0; y < form.Height; ++y) {
        const std::string row = ReadBytes(stream, rowBytes, file);
        for (std::size_t start = 0; start < rowBytes; start += form.SampleBytes)
            map.Values.push_back(DecodeSample(row.substr(start, form.SampleBytes), form.IsBigEndian));
    }
    return map;
}

void SaveNpy(const fs::path& file, const HeightMap& map) {
    BinaryFile out(file);
    const std::string header = HeaderOf(map);
    out.Text(kMagic);
    out.U8(1); // version 1.0
    out.U8(0);
    out.U16(static_cast<std::uint16_t>(header.size()));
    out.Text(header);
    for (const double height : map.Values) out.F64(height);
    out.Close();
}

} // namespace app

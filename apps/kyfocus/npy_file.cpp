#include "npy_file.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <limits>
#include <regex>
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

/// The text of the header; the stream then stands at the numbers.
std::string ReadHeader(std::istream& stream, const fs::path& file) {
    const std::string start = ReadBytes(stream, kMagic.size() + 2, file);
    if (!start.starts_with(kMagic)) Fail(file, "not a .npy file");
    const bool isFirstVersion = start[kMagic.size()] == 1;
    const std::string lengthBytes = ReadBytes(stream, isFirstVersion ? 2 : 4, file);
    std::size_t length = 0;
    for (std::size_t index = lengthBytes.size(); index-- > 0;)
        length = length << 8 | static_cast<unsigned char>(lengthBytes[index]);
    constexpr std::size_t kLongest = 65535;
    if (length > kLongest) Fail(file, "header out of range");
    return ReadBytes(stream, length, file);
}

NpyForm ParseHeader(const std::string& header, const fs::path& file) {
    static const std::regex g_kind("'descr': *'([<>])f([48])'");
    static const std::regex g_order("'fortran_order': *False");
    static const std::regex g_shape("'shape': *\\(([0-9]{1,9}), *([0-9]{1,9}),?\\)");
    std::smatch kind;
    std::smatch shape;
    if (!std::regex_search(header, kind, g_kind) || !std::regex_search(header, g_order) ||
        !std::regex_search(header, shape, g_shape))
        Fail(file, "not a height map (expected two dimensions of 32- or 64-bit floats, rows first)");
    NpyForm form;
    form.IsBigEndian = kind[1] == ">";
    form.SampleBytes = kind[2] == "4" ? 4 : 8;
    form.Height = std::stoi(shape[1]);
    form.Width = std::stoi(shape[2]);
    constexpr std::int64_t kMostPixels = std::numeric_limits<std::int32_t>::max();
    if (form.Width == 0 || form.Height == 0 || std::int64_t{form.Width} * form.Height > kMostPixels)
        Fail(file, "size out of range");
    return form;
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
    std::array<char, kMagic.size()> start{};
    std::ifstream stream(file, std::ios::binary);
    return stream.read(start.data(), start.size()) && std::string_view(start.data(), start.size()) == kMagic;
}

HeightMap LoadNpy(const fs::path& file) {
    std::ifstream stream(file, std::ios::binary);
    if (!stream) Fail(file, "cannot be read: " + std::string(std::strerror(errno)));
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

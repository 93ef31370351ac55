#include "support/arrays.h"

#include <array>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <stdexcept>

namespace test {

namespace {

// Header of version 1 and 2 files: magic, version, header length, then a Python literal with 'descr' and 'shape'.
template <typename T> Array<T> Read(const std::filesystem::path& file, const std::string& descr) {
    std::ifstream in(file, std::ios::binary);
    if (!in) throw std::runtime_error("no test data: " + file.string());
    std::array<char, 8> magic{};
    in.read(magic.data(), magic.size());
    if (!in || std::memcmp(magic.data(), "\x93NUMPY", 6) != 0) throw std::runtime_error("no .npy: " + file.string());
    std::array<unsigned char, 4> length{};
    in.read(reinterpret_cast<char*>(length.data()), magic[6] == 1 ? 2 : 4);
    const auto headerBytes = static_cast<std::size_t>(length[0] | (length[1] << 8) | (length[2] << 16));
    std::string header(headerBytes, '\0');
    in.read(header.data(), static_cast<std::streamsize>(headerBytes));
    if (header.find("'" + descr + "'") == std::string::npos ||
        header.find("'fortran_order': False") == std::string::npos)
        throw std::runtime_error("not " + descr + " in C order: " + file.string());

    Array<T> array;
    std::size_t count = 1;
    std::size_t at = header.find('(', header.find("'shape'")) + 1;
    while (header[at] != ')') {
        if (header[at] >= '0' && header[at] <= '9') {
            std::size_t digits = 0;
            array.Shape.push_back(std::stoul(header.substr(at), &digits));
            count *= array.Shape.back();
            at += digits;
        } else {
            ++at;
        }
    }
    array.Values.resize(count);
    in.read(reinterpret_cast<char*>(array.Values.data()), static_cast<std::streamsize>(count * sizeof(T)));
    if (!in) throw std::runtime_error("truncated: " + file.string());
    return array;
}

template <typename T> std::string HashOf(std::span<const T> values) {
    std::uint64_t hash = 0xcbf29ce484222325u;
    for (const std::byte byte : std::as_bytes(values))
        hash = (hash ^ static_cast<std::uint64_t>(byte)) * 0x100000001b3u;
    std::array<char, 17> text{};
    std::snprintf(text.data(), text.size(), "%016llx", static_cast<unsigned long long>(hash));
    return text.data();
}

} // namespace

Array<std::int32_t> ReadInts(const std::filesystem::path& file) { return Read<std::int32_t>(file, "<i4"); }
Array<double> ReadDoubles(const std::filesystem::path& file) { return Read<double>(file, "<f8"); }
Array<float> ReadFloats(const std::filesystem::path& file) { return Read<float>(file, "<f4"); }
Array<std::uint16_t> ReadUint16s(const std::filesystem::path& file) { return Read<std::uint16_t>(file, "<u2"); }
Array<std::uint8_t> ReadBytes(const std::filesystem::path& file) { return Read<std::uint8_t>(file, "|u1"); }

std::string Hash(std::span<const std::int32_t> values) { return HashOf(values); }
std::string Hash(std::span<const double> values) { return HashOf(values); }

} // namespace test

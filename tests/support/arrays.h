/// Arrays of the test data: .npy files (little-endian, C order) of 32-bit integers and doubles.
#ifndef KYFOCUS_TESTS_SUPPORT_ARRAYS_H
#define KYFOCUS_TESTS_SUPPORT_ARRAYS_H

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <span>
#include <string>
#include <vector>

namespace test {

/// An array as it lies in the file; `Shape` from the slowest axis to the fastest.
template <typename T> struct Array {
    std::vector<std::size_t> Shape;
    std::vector<T> Values;

    /// The values of entry i of the slowest axis.
    std::span<const T> Entry(std::size_t i) const {
        const std::size_t size = Values.size() / Shape.front();
        return std::span<const T>(Values).subspan(i * size, size);
    }
};

/// Throws std::runtime_error, naming the file, when it is missing or holds another type.
Array<std::int32_t> ReadInts(const std::filesystem::path& file);
Array<double> ReadDoubles(const std::filesystem::path& file);
Array<float> ReadFloats(const std::filesystem::path& file);
Array<std::uint16_t> ReadUint16s(const std::filesystem::path& file);
Array<std::uint8_t> ReadBytes(const std::filesystem::path& file);

/// 64-bit FNV-1a over the little-endian bytes of the numbers, as 16 hexadecimal digits.
std::string Hash(std::span<const std::int32_t> values);
std::string Hash(std::span<const double> values);

} // namespace test

#endif

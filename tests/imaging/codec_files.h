/// Files for the tests of the codecs.
#ifndef KYFOCUS_TESTS_IMAGING_CODEC_FILES_H
#define KYFOCUS_TESTS_IMAGING_CODEC_FILES_H

#include <cstdint>
#include <filesystem>
#include <span>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/case_files.h"
#include "support/images.h"

namespace test {

using Bytes = std::vector<std::uint8_t>;

/// Appends a number in little-endian order, filled up with zeros.
inline void Put(Bytes& bytes, std::uint64_t value, int count) {
    for (int i = 0; i < count; ++i, value >>= 8) bytes.push_back(static_cast<std::uint8_t>(value));
}

/// Overwrites a little-endian number.
inline void PutAt(Bytes& bytes, std::size_t at, std::uint64_t value, int count = 4) {
    for (int i = 0; i < count; ++i)
        bytes.at(at + static_cast<std::size_t>(i)) = static_cast<std::uint8_t>(value >> (8 * i));
}

Bytes ReadFile(const std::filesystem::path& file);
void WriteFile(const std::filesystem::path& file, std::span<const std::uint8_t> bytes);

/// Null when the library refuses the file; checks that result and image tell the same.
Image LoadFile(const std::filesystem::path& file);
bool SaveFile(const std::filesystem::path& file, const KyiImageData& image);

/// A file that lives in memory: thousands of small ones would wear a disk.
class MemoryFile {
  public:
    MemoryFile();
    ~MemoryFile();
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;
    void Set(std::span<const std::uint8_t> bytes);
    /// Cuts the file short.
    void Cut(std::size_t bytes);
    std::filesystem::path Path() const { return "/proc/self/fd/" + std::to_string(m_descriptor); }

  private:
    int m_descriptor;
};

/// Loads a file of these bytes.
Image LoadBytes(std::span<const std::uint8_t> bytes);

/// The reason of the last load or save.
std::string LastReason();

/// Saves under a name with `extension` in a folder of its own and loads that.
Image SaveAndLoad(const KyiImageData& image, const std::string& extension);

} // namespace test

#endif

/// The bytes of a file as one text.
#ifndef KYFOCUS_TESTS_SUPPORT_FILE_TEXT_H
#define KYFOCUS_TESTS_SUPPORT_FILE_TEXT_H

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace test {

/// All bytes as they stand; empty when the file cannot be read.
inline std::string ReadText(const std::filesystem::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

} // namespace test

#endif

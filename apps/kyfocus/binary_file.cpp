#include "binary_file.h"

#include <bit>
#include <cerrno>
#include <cstring>

#include "errors.h"
#include "images.h"

namespace app {
namespace {

constexpr std::size_t kBufferBytes = std::size_t{1} << 16;

} // namespace

BinaryFile::BinaryFile(const std::filesystem::path& file) : m_name(file), m_file(std::fopen(file.c_str(), "wb")) {
    if (!m_file) Fail();
    m_buffer.reserve(kBufferBytes);
}

void BinaryFile::Fail() const { throw Failure(DisplayPath(m_name) + ": cannot be written: " + std::strerror(errno)); }

void BinaryFile::Flush() {
    if (std::fwrite(m_buffer.data(), 1, m_buffer.size(), m_file.get()) != m_buffer.size()) Fail();
    m_buffer.clear();
}

template <typename Word> void BinaryFile::Put(Word word) {
    if (m_buffer.size() + sizeof word > kBufferBytes) Flush();
    for (std::size_t byte = 0; byte < sizeof word; ++byte)
        m_buffer.push_back(static_cast<char>(static_cast<std::uint64_t>(word) >> (8 * byte) & 0xFFU));
}

void BinaryFile::Text(std::string_view bytes) {
    for (const char byte : bytes) U8(static_cast<std::uint8_t>(byte));
}

void BinaryFile::U8(std::uint8_t value) { Put(value); }
void BinaryFile::U16(std::uint16_t value) { Put(value); }
void BinaryFile::U32(std::uint32_t value) { Put(value); }
void BinaryFile::F32(float value) { Put(std::bit_cast<std::uint32_t>(value)); }
void BinaryFile::F64(double value) { Put(std::bit_cast<std::uint64_t>(value)); }

void BinaryFile::Close() {
    Flush();
    if (std::fclose(m_file.release()) != 0) Fail();
}

void WriteTextFile(const std::filesystem::path& file, std::string_view text) {
    BinaryFile written(file);
    written.Text(text);
    written.Close();
}

} // namespace app

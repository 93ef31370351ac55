#include "imaging/codec_files.h"

#include <fstream>
#include <iterator>
#include <stdexcept>

#include <sys/mman.h>
#include <unistd.h>

namespace test {

Bytes ReadFile(const std::filesystem::path& file) {
    std::ifstream in(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

void WriteFile(const std::filesystem::path& file, std::span<const std::uint8_t> bytes) {
    std::ofstream out(file, std::ios::binary | std::ios::trunc);
    out.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

Image LoadFile(const std::filesystem::path& file) {
    KyiImageData* image = reinterpret_cast<KyiImageData*>(&image); // must not stay
    const bool loaded = KyiLoadImageData(file.wstring().c_str(), &image) != 0;
    EXPECT_EQ(loaded, image != nullptr);
    EXPECT_EQ(loaded, LastReason().empty()) << LastReason();
    return Image(image);
}

bool SaveFile(const std::filesystem::path& file, const KyiImageData& image) {
    return KyiSaveImageData(file.wstring().c_str(), &image, 0) != 0;
}

MemoryFile::MemoryFile() : m_descriptor(memfd_create("image", MFD_CLOEXEC)) {
    if (m_descriptor < 0) throw std::runtime_error("no file in memory");
}

MemoryFile::~MemoryFile() { close(m_descriptor); }

void MemoryFile::Set(std::span<const std::uint8_t> bytes) {
    const auto size = static_cast<ssize_t>(bytes.size());
    Cut(0);
    if (pwrite(m_descriptor, bytes.data(), bytes.size(), 0) != size) throw std::runtime_error("no file in memory");
}

void MemoryFile::Cut(std::size_t bytes) {
    if (ftruncate(m_descriptor, static_cast<off_t>(bytes)) != 0) throw std::runtime_error("no file in memory");
}

Image LoadBytes(std::span<const std::uint8_t> bytes) {
    MemoryFile file;
    file.Set(bytes);
    return LoadFile(file.Path());
}

std::string LastReason() { return KyiGetLastFileError(); }

Image SaveAndLoad(const KyiImageData& image, const std::string& extension) {
    const TemporaryFolder folder;
    const std::filesystem::path file = folder.Path() / ("image" + extension);
    EXPECT_TRUE(SaveFile(file, image)) << LastReason();
    return LoadFile(file);
}

} // namespace test

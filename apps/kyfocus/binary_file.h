/// Numbers into a file, little endian on every machine.
#ifndef KYFOCUS_APP_BINARY_FILE_H
#define KYFOCUS_APP_BINARY_FILE_H

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>

namespace app {

/// A new file, written through a buffer. All calls throw Failure, naming the file and the reason.
class BinaryFile {
  public:
    explicit BinaryFile(const std::filesystem::path& file);

    void Text(std::string_view bytes);
    void U8(std::uint8_t value);
    void U16(std::uint16_t value);
    void U32(std::uint32_t value);
    void F32(float value);
    void F64(double value);

    /// Writes what is left. A file that is not closed is not complete.
    void Close();

  private:
    template <typename Word> void Put(Word word);
    void Flush();
    [[noreturn]] void Fail() const;

    struct CloseFile {
        void operator()(std::FILE* file) const { std::fclose(file); }
    };
    std::filesystem::path m_name;
    std::unique_ptr<std::FILE, CloseFile> m_file;
    std::string m_buffer;
};

/// A new file with this text. Throws Failure, naming the file and the reason.
void WriteTextFile(const std::filesystem::path& file, std::string_view text);

} // namespace app

#endif

/// TIFF files that hold one page of numbers, by libtiff's calls on a handle.
#ifndef KYFOCUS_APP_TIFF_FILE_H
#define KYFOCUS_APP_TIFF_FILE_H

#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>

#include <tiffio.h>

namespace app {

/// One open file. Reading trusts nothing: only regular files are opened, no part is mapped, so that a file that shrinks
/// meanwhile is a short read, and memory is bounded by the length of the file.
class TiffFile {
  public:
    enum class For { Reading, Writing };

    /// Get() gives null, and Reason() tells why, when the file cannot be opened or has no sound page.
    TiffFile(const std::filesystem::path& file, For use);
    ~TiffFile();
    TiffFile(const TiffFile&) = delete;
    TiffFile& operator=(const TiffFile&) = delete;

    TIFF* Get() const noexcept { return m_tiff.get(); }
    /// What libtiff said first, with the system's reason: later messages are consequences. Empty when it said nothing.
    const std::string& Reason() const noexcept { return m_reason; }
    /// Writes what is left, which may give a reason. The handle is gone.
    void Close() noexcept { m_tiff.reset(); }

  private:
    struct CloseTiff {
        void operator()(TIFF* tiff) const { TIFFClose(tiff); }
    };

    bool OpenInput(const std::filesystem::path& file);
    void Open(const std::filesystem::path& file, For use);
    void LoseTag(const std::string& reason);
    static int OnError(TIFF*, void* self, const char* module, const char* format, va_list values);
    static tmsize_t OnRead(thandle_t self, void* to, tmsize_t bytes);
    static toff_t OnSeek(thandle_t self, toff_t offset, int whence);
    static toff_t OnSize(thandle_t self);

    std::string m_reason;
    int m_input = -1; // of a file that is read
    std::uint64_t m_length = 0;
    std::uint64_t m_position = 0;
    std::uint64_t m_tagBytes = 0; // read so far while opening
    bool m_isOpening = false;
    bool m_isTagLost = false;
    std::unique_ptr<TIFF, CloseTiff> m_tiff; // the last one: closing may still write and tell
};

} // namespace app

#endif

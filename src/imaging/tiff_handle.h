/// One open TIFF: where its bytes come from or go to, and what libtiff said. Nothing is shared between two of them.
#ifndef KYFOCUS_IMAGING_TIFF_HANDLE_H
#define KYFOCUS_IMAGING_TIFF_HANDLE_H

#include <array>
#include <cstdarg>
#include <cstddef>
#include <cstdint>

#include <tiffio.h>

#include "platform/files.h"

namespace kyi {

class TiffHandle {
  public:
    /// Throws FileError when the file has no sound first page.
    explicit TiffHandle(platform::InputFile& file);
    /// @param big  Whether offsets have 64 bits.
    TiffHandle(platform::FileReplacement& file, bool big);
    ~TiffHandle();
    TiffHandle(const TiffHandle&) = delete;
    TiffHandle& operator=(const TiffHandle&) = delete;

    TIFF* Get() const noexcept { return m_tiff; }

    /// A tag's value, or its default.
    template <typename T> T Tag(std::uint32_t tag, T otherwise) const noexcept {
        T value = otherwise;
        return TIFFGetFieldDefaulted(m_tiff, tag, &value) ? value : otherwise;
    }

    /// From now on warnings count as damage: they tell of pixels that were guessed.
    void BeginPixels() noexcept { m_readsPixels = true; }
    /// Throws FileError with what libtiff said, when it said something or when `succeeded` is false.
    void Check(bool succeeded) const;

    /// Writes what is left and closes. False when that failed.
    bool Close() noexcept;

  private:
    void Open(const char* mode, std::int64_t mostMemory);
    static int OnError(TIFF*, void* handle, const char* module, const char* format, va_list values);
    static int OnWarning(TIFF*, void* handle, const char* module, const char* format, va_list values);
    static tmsize_t OnRead(thandle_t handle, void* to, tmsize_t bytes);
    static tmsize_t OnWrite(thandle_t handle, void* from, tmsize_t bytes);
    static toff_t OnSeek(thandle_t handle, toff_t offset, int whence);
    static toff_t OnSize(thandle_t handle);
    void Keep(const char* format, va_list values) noexcept;
    bool IsPastTags(std::size_t bytes) noexcept;

    platform::InputFile* m_input = nullptr;
    platform::FileReplacement* m_output = nullptr;
    TIFF* m_tiff = nullptr;
    std::uint64_t m_position = 0;
    std::uint64_t m_tagBytes = 0; ///< read so far while opening
    bool m_isOpening = false;
    bool m_readsPixels = false;
    bool m_tagLost = false;
    std::array<char, 200> m_text{};
};

} // namespace kyi

#endif

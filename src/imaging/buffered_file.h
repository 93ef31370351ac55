/// Small reads and writes for the libraries that decode and encode. Nothing here throws: it is called through C code.
#ifndef KYFOCUS_IMAGING_BUFFERED_FILE_H
#define KYFOCUS_IMAGING_BUFFERED_FILE_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <vector>

#include "platform/files.h"

namespace kyi {

constexpr std::size_t kFileBufferBytes = std::size_t{128} << 10;

/// Reads a file from its start on.
class BufferedInput {
  public:
    explicit BufferedInput(platform::InputFile& file) : m_file(file), m_buffer(kFileBufferBytes) {}

    /// The next piece of the file, which stands until the next call; empty at its end.
    std::span<const std::uint8_t> Next() noexcept {
        const std::size_t got = m_file.ReadAt(m_offset, m_buffer.data(), m_buffer.size());
        m_offset += got;
        return {m_buffer.data(), got};
    }

    /// False when the file ends before.
    bool Read(void* to, std::size_t bytes) noexcept {
        auto* out = static_cast<std::uint8_t*>(to);
        while (bytes > 0) {
            if (m_piece.empty() && (m_piece = Next()).empty()) return false;
            const std::size_t here = std::min(bytes, m_piece.size());
            std::memcpy(out, m_piece.data(), here);
            m_piece = m_piece.subspan(here);
            out += here;
            bytes -= here;
        }
        return true;
    }

  private:
    platform::InputFile& m_file;
    std::vector<std::uint8_t> m_buffer;
    std::span<const std::uint8_t> m_piece;
    std::uint64_t m_offset = 0;
};

/// Appends to a file. What is left at the end needs a Flush.
class BufferedOutput {
  public:
    explicit BufferedOutput(platform::FileReplacement& file) : m_file(file), m_buffer(kFileBufferBytes) {}

    bool Append(const void* from, std::size_t bytes) noexcept {
        if (bytes > m_buffer.size() - m_used && !Flush()) return false;
        if (bytes > m_buffer.size()) return m_file.Append(from, bytes);
        std::memcpy(m_buffer.data() + m_used, from, bytes);
        m_used += bytes;
        return true;
    }

    bool Flush() noexcept {
        const bool written = m_file.Append(m_buffer.data(), m_used);
        m_used = 0;
        return written;
    }

  private:
    platform::FileReplacement& m_file;
    std::vector<std::uint8_t> m_buffer;
    std::size_t m_used = 0;
};

} // namespace kyi

#endif

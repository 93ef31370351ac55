#include "imaging/bitmap_rle.h"

#include <cstring>

namespace kyi {

namespace {

// After a zero byte: what the next byte means; from 3 on it counts pixels that follow as they are.
enum Escape : std::uint8_t { kEndOfLine = 0, kEndOfBitmap = 1, kMove = 2 };

class RunDecoder {
  public:
    RunDecoder(std::span<const std::uint8_t> data, int bits, std::uint8_t* pixels, std::size_t lineBytes,
               std::size_t width, std::size_t height) noexcept
        : m_data(data), m_bits(bits), m_pixels(pixels), m_lineBytes(lineBytes), m_width(width), m_height(height) {}

    bool Decode() noexcept {
        while (m_data.size() >= 2) {
            const std::uint8_t count = m_data[0];
            const std::uint8_t value = m_data[1];
            m_data = m_data.subspan(2);
            if (count == 0 && value == kEndOfBitmap) return true;
            if (!(count != 0 ? Run(count, value) : Escaped(value))) return false;
        }
        // The mark of the end is missing from some files; all lines must be there then.
        return m_row == m_height || (m_row + 1 == m_height && m_column == m_width);
    }

  private:
    bool Escaped(std::uint8_t code) noexcept {
        switch (code) {
        case kEndOfLine: m_column = 0; return ++m_row <= m_height;
        case kMove: return Move();
        default: return Literal(code);
        }
    }

    bool Move() noexcept {
        if (m_data.size() < 2) return false;
        m_column += m_data[0];
        m_row += m_data[1];
        m_data = m_data.subspan(2);
        return m_column <= m_width && m_row <= m_height;
    }

    bool HasRoom(std::size_t count) const noexcept { return m_row < m_height && count <= m_width - m_column; }

    std::uint8_t* Here() const noexcept { return m_pixels + m_row * m_lineBytes + m_column; }

    bool Run(std::size_t count, std::uint8_t value) noexcept {
        if (!HasRoom(count)) return false;
        std::uint8_t* const out = Here();
        if (m_bits == 8)
            std::memset(out, value, count);
        else
            for (std::size_t i = 0; i < count; ++i) out[i] = Nibble(value, i);
        m_column += count;
        return true;
    }

    bool Literal(std::size_t count) noexcept {
        const std::size_t bytes = m_bits == 8 ? count : (count + 1) / 2;
        const std::size_t padded = (bytes + 1) / 2 * 2;
        if (!HasRoom(count) || m_data.size() < bytes) return false;
        std::uint8_t* const out = Here();
        if (m_bits == 8)
            std::memcpy(out, m_data.data(), count);
        else
            for (std::size_t i = 0; i < count; ++i) out[i] = Nibble(m_data[i / 2], i);
        m_data = m_data.subspan(padded < m_data.size() ? padded : m_data.size());
        m_column += count;
        return true;
    }

    static std::uint8_t Nibble(std::uint8_t pair, std::size_t i) noexcept {
        return static_cast<std::uint8_t>(i % 2 == 0 ? pair >> 4 : pair & 15);
    }

    std::span<const std::uint8_t> m_data;
    int m_bits;
    std::uint8_t* m_pixels;
    std::size_t m_lineBytes;
    std::size_t m_width;
    std::size_t m_height;
    std::size_t m_column = 0;
    std::size_t m_row = 0;
};

} // namespace

bool DecodeRunLengths(std::span<const std::uint8_t> data, int bits, std::uint8_t* pixels, std::size_t lineBytes,
                      std::size_t width, std::size_t height) noexcept {
    return RunDecoder(data, bits, pixels, lineBytes, width, height).Decode();
}

} // namespace kyi

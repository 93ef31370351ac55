/// The input of a target as a row of choices. Behind its end all choices are 0.
#ifndef KYFOCUS_FUZZ_SUPPORT_CHOICES_H
#define KYFOCUS_FUZZ_SUPPORT_CHOICES_H

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <limits>
#include <span>
#include <string>

namespace fuzz {

class Choices {
  public:
    explicit Choices(std::span<const std::uint8_t> bytes) : m_bytes(bytes) {}

    bool AtEnd() const noexcept { return m_bytes.empty(); }
    std::span<const std::uint8_t> Rest() const noexcept { return m_bytes; }

    template <typename Word> Word Raw() noexcept {
        Word word{};
        const std::size_t count = std::min(sizeof word, m_bytes.size());
        if (count > 0) std::memcpy(&word, m_bytes.data(), count); // an empty input may have no address
        m_bytes = m_bytes.subspan(count);
        return word;
    }

    std::uint8_t Byte() noexcept { return Raw<std::uint8_t>(); }
    bool Flag() noexcept { return (Byte() & 1) != 0; }

    /// From `least` to `most`, both included and less than 256 apart.
    std::int32_t Between(std::int32_t least, std::int32_t most) noexcept {
        return least + static_cast<std::int32_t>(Byte() % static_cast<unsigned>(most - least + 1));
    }

    /// A number for a field that is meant to hold `least` to `most`: mostly one of those or one beside them, at times
    /// any number or one of the ends of the type.
    std::int32_t Field(std::int32_t least, std::int32_t most) noexcept {
        const std::uint8_t kind = Byte();
        if (kind < 0xE0) return least - 1 + static_cast<std::int32_t>(kind % static_cast<unsigned>(most - least + 3));
        if (kind < 0xF0) return Raw<std::int32_t>();
        static constexpr std::int32_t kEnds[] = {std::numeric_limits<std::int32_t>::min(),
                                                 std::numeric_limits<std::int32_t>::max(),
                                                 -1,
                                                 -100,
                                                 100,
                                                 1000,
                                                 65536,
                                                 std::numeric_limits<std::int32_t>::min() + 1};
        return kEnds[kind % std::size(kEnds)];
    }

    /// Any number of 64 bits, those that are none included; often a plain one.
    double Real() noexcept {
        const std::uint8_t kind = Byte();
        if (kind < 0xC0) return static_cast<double>(kind) - 64.0;
        if (kind < 0xD0) return std::bit_cast<double>(Raw<std::uint64_t>());
        static constexpr double kOdd[] = {std::numeric_limits<double>::quiet_NaN(),
                                          std::numeric_limits<double>::infinity(),
                                          -std::numeric_limits<double>::infinity(),
                                          std::numeric_limits<double>::max(),
                                          std::numeric_limits<double>::lowest(),
                                          std::numeric_limits<double>::min(),
                                          std::numeric_limits<double>::denorm_min(),
                                          -0.0,
                                          0.1,
                                          1e-12,
                                          2147483648.0,
                                          1e18};
        return kOdd[kind % std::size(kOdd)];
    }

  private:
    std::span<const std::uint8_t> m_bytes;
};

} // namespace fuzz

#endif

// PNG files of any bytes, as they are and with the checksums of their chunks made right: a change would otherwise
// hardly ever get past those.
#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "imaging/image_file_law.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

constexpr std::string_view kStart = "\x89PNG\r\n\x1A\n";
constexpr std::size_t kSumBytes = 4;

std::uint32_t ReadBigEndian(const std::uint8_t* at) {
    return std::uint32_t{at[0]} << 24 | std::uint32_t{at[1]} << 16 | std::uint32_t{at[2]} << 8 | at[3];
}

std::array<std::uint32_t, 256> MakeTable() {
    std::array<std::uint32_t, 256> table{};
    for (std::uint32_t i = 0; i < table.size(); ++i) {
        table[i] = i;
        for (int bit = 0; bit < 8; ++bit) table[i] = (table[i] & 1) != 0 ? 0xEDB88320U ^ table[i] >> 1 : table[i] >> 1;
    }
    return table;
}

/// The checksum of a chunk's kind and data.
std::uint32_t Sum(const std::uint8_t* bytes, std::size_t count) {
    static const std::array<std::uint32_t, 256> table = MakeTable();
    std::uint32_t sum = 0xFFFFFFFFU;
    for (std::size_t i = 0; i < count; ++i) sum = table[(sum ^ bytes[i]) & 0xFF] ^ sum >> 8;
    return sum ^ 0xFFFFFFFFU;
}

void MendSums(fuzz::Bytes& bytes) {
    std::size_t at = kStart.size();
    while (at + 8 + kSumBytes <= bytes.size()) {
        const std::size_t length = ReadBigEndian(bytes.data() + at);
        if (length > bytes.size() - at - 8 - kSumBytes) return;
        const std::uint32_t sum = Sum(bytes.data() + at + 4, length + 4);
        at += 8 + length;
        for (std::size_t i = 0; i < kSumBytes; ++i) bytes[at++] = static_cast<std::uint8_t>(sum >> (24 - 8 * i));
    }
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Bytes bytes = fuzz::WithStart({data, size}, kStart);
    fuzz::CheckImageFile(bytes);
    MendSums(bytes);
    fuzz::CheckImageFile(bytes);
    return 0;
}

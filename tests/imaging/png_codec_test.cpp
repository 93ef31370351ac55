/// PNG files whose headers cannot be.
#include "imaging/codec_files.h"

namespace {

using test::Bytes;

constexpr std::uint32_t kWidth = 19;
constexpr std::uint32_t kHeight = 11;

void ExpectRefused(const Bytes& file, const std::string& reason) {
    EXPECT_FALSE(test::LoadBytes(file));
    EXPECT_NE(test::LastReason().find(reason), std::string::npos) << "said: " << test::LastReason();
}

/// A PNG with one changed number in its first chunk, whose checksum is made right again.
Bytes MakePng(std::size_t at, std::uint32_t value, int bytes) {
    const test::TemporaryFolder folder;
    EXPECT_TRUE(test::SaveFile(folder.Path() / "a.png", *test::RandomImage(kWidth, kHeight, KyiFormatBgr24, 1)));
    Bytes file = test::ReadFile(folder.Path() / "a.png");
    for (int i = 0; i < bytes; ++i)
        file[at + static_cast<std::size_t>(i)] = static_cast<std::uint8_t>(value >> (8 * (bytes - 1 - i)));
    std::uint32_t crc = 0xffffffffu;
    for (std::size_t i = 12; i < 29; ++i) {
        crc ^= file[i];
        for (int bit = 0; bit < 8; ++bit) crc = (crc >> 1) ^ ((crc & 1) != 0 ? 0xedb88320u : 0);
    }
    for (std::size_t i = 0; i < 4; ++i) file[29 + i] = static_cast<std::uint8_t>(~crc >> (24 - 8 * i));
    return file;
}

TEST(PngCodec, RefusesHeadersThatCannotBe) {
    ASSERT_TRUE(test::LoadBytes(MakePng(16, kWidth, 4)));
    for (const std::size_t at : {std::size_t{16}, std::size_t{20}})
        for (const std::uint32_t size :
             {0u, 0x7fffffffu, 0x80000000u, 0xffffffffu, 20000000u, 40000u, kHeight + kWidth})
            EXPECT_FALSE(test::LoadBytes(MakePng(at, size, 4))) << "at " << at << ": " << size;
    ExpectRefused(MakePng(16, 100000000, 4), "claims");
    for (const std::uint32_t bits : {0u, 3u, 4u, 32u, 255u}) EXPECT_FALSE(test::LoadBytes(MakePng(24, bits, 1)));
    for (const std::uint32_t type : {1u, 3u, 5u, 255u}) EXPECT_FALSE(test::LoadBytes(MakePng(25, type, 1)));
}

} // namespace

/// Bitmaps by hand: every kind of pixel and header that is read, and the bytes that are written.
#include "imaging/codec_files.h"

#include <cstring>

namespace {

using test::Bytes;
using test::Image;
using test::Put;
using test::PutAt;

struct Header {
    std::int32_t Width = 2;
    std::int32_t Height = 2;
    int Bits = 24;
    std::uint32_t Compression = 0;
    std::uint32_t HeaderBytes = 40;
    std::uint32_t Colours = 0;
};

/// File header and information header, up to where masks or palette stand; the pixel offset is yet 0.
Bytes MakeHeader(const Header& header) {
    Bytes bytes{'B', 'M'};
    Put(bytes, 0, 12);
    Put(bytes, header.HeaderBytes, 4);
    Put(bytes, static_cast<std::uint32_t>(header.Width), 4);
    Put(bytes, static_cast<std::uint32_t>(header.Height), 4);
    Put(bytes, 1, 2);
    Put(bytes, static_cast<std::uint64_t>(header.Bits), 2);
    Put(bytes, header.Compression, 4);
    Put(bytes, 0, 12);
    Put(bytes, header.Colours, 4);
    Put(bytes, 0, 4);
    return bytes;
}

Bytes Joined(Bytes bytes, const Bytes& between, const Bytes& pixels) {
    bytes.insert(bytes.end(), between.begin(), between.end());
    PutAt(bytes, 10, bytes.size());
    bytes.insert(bytes.end(), pixels.begin(), pixels.end());
    return bytes;
}

/// A header's masks and what follows them in a longer header.
Bytes Masks(std::uint32_t red, std::uint32_t green, std::uint32_t blue, std::size_t more = 0) {
    Bytes bytes;
    for (const std::uint32_t mask : {red, green, blue}) Put(bytes, mask, 4);
    bytes.resize(12 + more);
    return bytes;
}

/// Expects samples [channel][y][x].
void ExpectSamples(const Bytes& file, std::int32_t format, const std::vector<std::int32_t>& samples) {
    const Image image = test::LoadBytes(file);
    ASSERT_TRUE(image) << test::LastReason();
    EXPECT_EQ(image->Format, format);
    EXPECT_TRUE(test::SameValues(samples, test::ToPlanes(*image)));
}

void ExpectRefused(const Bytes& file, const std::string& reason) {
    EXPECT_FALSE(test::LoadBytes(file));
    EXPECT_NE(test::LastReason().find(reason), std::string::npos) << "said: " << test::LastReason();
}

// Blue, green, red of two pixels and two bytes that fill the line up.
const Bytes kLines24{1, 2, 3, 4, 5, 6, 0, 0, 7, 8, 9, 10, 11, 12, 0, 0};
const Bytes kFourGrays{9, 9, 9, 0, 100, 100, 100, 0, 200, 200, 200, 0, 255, 255, 255, 0};
const Bytes kTwoColours{10, 20, 30, 0, 40, 50, 60, 0};

TEST(BitmapCodec, PutsTheFirstStoredLineAtTheBottom) {
    ExpectSamples(Joined(MakeHeader({}), {}, kLines24), KyiFormatBgr24, {9, 12, 3, 6, 8, 11, 2, 5, 7, 10, 1, 4});
}

TEST(BitmapCodec, PutsTheFirstStoredLineAtTheTopForANegativeHeight) {
    ExpectSamples(Joined(MakeHeader({.Height = -2}), {}, kLines24), KyiFormatBgr24,
                  {3, 6, 9, 12, 2, 5, 8, 11, 1, 4, 7, 10});
}

TEST(BitmapCodec, ReadsLongerHeaders) {
    for (const std::uint32_t bytes : {52u, 56u, 64u, 108u, 124u})
        ExpectSamples(Joined(MakeHeader({.HeaderBytes = bytes}), Bytes(bytes - 40), kLines24), KyiFormatBgr24,
                      {9, 12, 3, 6, 8, 11, 2, 5, 7, 10, 1, 4});
}

TEST(BitmapCodec, DropsTheFourthByteOf32Bits) {
    const Bytes pixels{1, 2, 3, 99, 4, 5, 6, 98};
    ExpectSamples(Joined(MakeHeader({.Height = 1, .Bits = 32}), {}, pixels), KyiFormatBgr24, {3, 6, 2, 5, 1, 4});
    ExpectSamples(Joined(MakeHeader({.Height = 1, .Bits = 32, .Compression = 3, .HeaderBytes = 124}),
                         Masks(0xff0000, 0xff00, 0xff, 72), pixels),
                  KyiFormatBgr24, {3, 6, 2, 5, 1, 4});
}

TEST(BitmapCodec, FollowsChannelMasks) {
    const Bytes pixels{1, 2, 3, 99, 4, 5, 6, 98};
    ExpectSamples(
        Joined(MakeHeader({.Height = 1, .Bits = 32, .Compression = 3}), Masks(0xff, 0xff00, 0xff0000), pixels),
        KyiFormatBgr24, {1, 4, 2, 5, 3, 6});
    Bytes wide;
    Put(wide, (1023u << 20) | (512u << 10) | 1u, 4);
    ExpectSamples(Joined(MakeHeader({.Width = 1, .Height = 1, .Bits = 32, .Compression = 3}),
                         Masks(1023u << 20, 1023u << 10, 1023u), wide),
                  KyiFormatBgr24, {255, 128, 0});
}

TEST(BitmapCodec, Scales16BitsToTheNearest) {
    Bytes pixels;
    Put(pixels, (31u << 10) | (15u << 5) | 1u, 2);
    Put(pixels, 0x8000u, 2); // the highest bit belongs to no channel
    ExpectSamples(Joined(MakeHeader({.Height = 1, .Bits = 16}), {}, pixels), KyiFormatBgr24, {255, 0, 123, 0, 8, 0});
    Bytes six;
    Put(six, (31u << 11) | (32u << 5) | 16u, 2);
    Put(six, 0, 2);
    ExpectSamples(Joined(MakeHeader({.Height = 1, .Bits = 16, .Compression = 3}), Masks(0xf800, 0x7e0, 0x1f), six),
                  KyiFormatBgr24, {255, 0, 130, 0, 132, 0});
}

TEST(BitmapCodec, RefusesMasksWithGapsOrWithoutBits) {
    const Bytes pixels(8);
    const Bytes header = MakeHeader({.Height = 1, .Bits = 32, .Compression = 3});
    ExpectRefused(Joined(header, Masks(0xff00ff, 0xff00, 0xff), pixels), "gaps");
    ExpectRefused(Joined(header, Masks(0, 0, 0), pixels), "damaged");
}

TEST(BitmapCodec, MapsAPaletteOfGraysToGray) {
    const Bytes two{0x1b, 0, 0, 0}; // indexes 1 and 11; behind the palette all is black
    ExpectSamples(Joined(MakeHeader({.Height = 1, .Bits = 4, .Colours = 4}), kFourGrays, two), KyiFormatGray8,
                  {100, 0});
    const Bytes eight{3, 0, 0, 0};
    ExpectSamples(Joined(MakeHeader({.Height = 1, .Bits = 8, .Colours = 4}), kFourGrays, eight), KyiFormatGray8,
                  {255, 9});
}

TEST(BitmapCodec, MapsAPaletteWithAColourToColour) {
    const Bytes bits{0x40, 0, 0, 0};
    ExpectSamples(Joined(MakeHeader({.Height = 1, .Bits = 1}), kTwoColours, bits), KyiFormatBgr24,
                  {30, 60, 20, 50, 10, 40});
}

TEST(BitmapCodec, RefusesAPaletteThatRunsIntoThePixels) {
    ExpectRefused(Joined(MakeHeader({.Height = 1, .Bits = 8, .Colours = 5}), kFourGrays, Bytes(4)), "damaged");
    ExpectRefused(Joined(MakeHeader({.Height = 1, .Bits = 8}), {}, Bytes(4)), "damaged");
    ExpectRefused(Joined(MakeHeader({.Height = 1, .Bits = 8, .Colours = 257}), Bytes(1028), Bytes(4)), "damaged");
}

TEST(BitmapCodec, DecodesRunsLiteralsAndMovesOf8Bits) {
    const Header header{.Width = 4, .Height = 3, .Bits = 8, .Compression = 1, .Colours = 4};
    // Bottom line: two pixels of 3, two of 1. Middle: move right by 1, literal 1, 2, 3 with a byte of padding. Top: 2.
    const Bytes runs{2, 3, 2, 1, 0, 0, 0, 2, 1, 0, 0, 3, 1, 2, 3, 0, 0, 0, 1, 2, 0, 1};
    ExpectSamples(Joined(MakeHeader(header), kFourGrays, runs), KyiFormatGray8,
                  {200, 9, 9, 9, 9, 100, 200, 255, 255, 255, 100, 100});
}

TEST(BitmapCodec, DecodesRunsAndLiteralsOf4Bits) {
    const Header header{.Width = 5, .Height = 2, .Bits = 4, .Compression = 2, .Colours = 4};
    const Bytes runs{5, 0x12, 0, 0, 0, 5, 0x01, 0x23, 0x10, 0, 0, 1};
    ExpectSamples(Joined(MakeHeader(header), kFourGrays, runs), KyiFormatGray8,
                  {9, 100, 200, 255, 100, 100, 200, 100, 200, 100});
}

TEST(BitmapCodec, AcceptsRunsWithoutTheirEndMarkWhenAllLinesAreThere) {
    const Header header{.Width = 2, .Height = 1, .Bits = 8, .Compression = 1, .Colours = 4};
    ExpectSamples(Joined(MakeHeader(header), kFourGrays, {2, 3}), KyiFormatGray8, {255, 255});
    ExpectRefused(Joined(MakeHeader(header), kFourGrays, {1, 3}), "run lengths");
}

TEST(BitmapCodec, RefusesRunsThatLeaveTheImage) {
    const Header header{.Width = 4, .Height = 2, .Bits = 8, .Compression = 1, .Colours = 4};
    for (const Bytes& runs : {Bytes{5, 1, 0, 1}, Bytes{2, 1, 3, 1, 0, 1}, Bytes{0, 5, 1, 1, 1, 1, 1, 0, 0, 1},
                              Bytes{0, 2, 5, 0, 0, 1}, Bytes{0, 2, 0, 3, 0, 1}, Bytes{0, 0, 0, 0, 1, 1, 0, 1},
                              Bytes{0, 0, 0, 0, 0, 0, 0, 1}, Bytes{0, 2, 1}, Bytes{0, 4, 1, 1}})
        ExpectRefused(Joined(MakeHeader(header), kFourGrays, runs), "run lengths");
}

TEST(BitmapCodec, RefusesHeadersThatCannotBe) {
    const Bytes good = Joined(MakeHeader({}), {}, kLines24);
    const auto changed = [&](std::size_t at, std::uint64_t value, int count = 4) {
        Bytes bytes = good;
        PutAt(bytes, at, value, count);
        return bytes;
    };
    for (const std::uint32_t size : {0u, 0x80000000u, 0xffffffffu}) ExpectRefused(changed(18, size), "no pixels");
    ExpectRefused(changed(22, 0), "no pixels");
    for (const std::size_t at : {std::size_t{18}, std::size_t{22}}) {
        ExpectRefused(changed(at, 0x7fffffff), "larger than");
        ExpectRefused(changed(at, 1000000), "truncated");
    }
    ExpectRefused(changed(22, 0x80000000u), "larger than"); // its negative is no 32-bit number
    for (const std::uint32_t offset : {0u, 14u, 53u}) ExpectRefused(changed(10, offset), "damaged");
    for (const std::uint32_t offset : {70u, 0x7fffffffu, 0xffffffffu}) ExpectRefused(changed(10, offset), "truncated");
    for (const std::uint32_t bytes : {0u, 11u, 39u, 41u, 0x7fffffffu, 0xffffffffu})
        ExpectRefused(changed(14, bytes), "damaged");
    for (const std::uint32_t bits : {0u, 2u, 3u, 48u, 65535u}) ExpectRefused(changed(28, bits, 2), "damaged");
    for (const std::uint32_t compression : {1u, 2u, 3u, 6u}) ExpectRefused(changed(30, compression), "damaged");
    for (const std::uint32_t compression : {4u, 5u, 7u, 0xffffffffu})
        ExpectRefused(changed(30, compression), "compression");
}

TEST(BitmapCodec, RefusesAnUncompressedFileBeforeItMakesTheImage) {
    // 30000 x 30000 of 24 bits: 2.7 GB that the file does not hold.
    const Bytes file = Joined(MakeHeader({.Width = 30000, .Height = 30000}), {}, kLines24);
    ExpectRefused(file, "16 bytes of pixels, 2700000000 expected");
}

TEST(BitmapCodec, RefusesRunLengthsThatClaimFarTooMuch) {
    const Header header{.Width = 30000, .Height = 30000, .Bits = 8, .Compression = 1, .Colours = 4};
    ExpectRefused(Joined(MakeHeader(header), kFourGrays, {0, 1}), "claims");
}

TEST(BitmapCodec, WritesGrayAsAnOrdinaryBitmapOf8Bits) {
    const test::TemporaryFolder folder;
    const std::vector<std::int32_t> samples{1, 2, 3, 4, 5, 6};
    ASSERT_TRUE(test::SaveFile(folder.Path() / "a.bmp", *test::FromPlanes(3, 2, KyiFormatGray8, samples)));
    Bytes palette;
    for (std::uint32_t i = 0; i < 256; ++i) Put(palette, i * 0x010101u, 4);
    palette.resize(1088 - 54);
    Bytes expected =
        Joined(MakeHeader({.Width = 3, .Height = 2, .Bits = 8, .Colours = 256}), palette, {4, 5, 6, 0, 1, 2, 3, 0});
    PutAt(expected, 2, expected.size());
    PutAt(expected, 34, 8);
    EXPECT_EQ(expected, test::ReadFile(folder.Path() / "a.bmp"));
}

TEST(BitmapCodec, WritesColourAsAnOrdinaryBitmapOf24Bits) {
    const test::TemporaryFolder folder;
    const std::vector<std::int32_t> samples{1, 2, 3, 4, 5, 6};
    ASSERT_TRUE(test::SaveFile(folder.Path() / "a.bmp", *test::FromPlanes(1, 2, KyiFormatBgr24, samples)));
    Bytes expected = Joined(MakeHeader({.Width = 1, .Height = 2}), Bytes(64 - 54), {6, 4, 2, 0, 5, 3, 1, 0});
    PutAt(expected, 2, expected.size());
    PutAt(expected, 34, 8);
    EXPECT_EQ(expected, test::ReadFile(folder.Path() / "a.bmp"));
}

TEST(BitmapCodec, WritesOtherFormatsAsABlock) {
    const test::TemporaryFolder folder;
    const std::vector<std::int32_t> samples{0x0102, 0x0304, 0x0506};
    ASSERT_TRUE(test::SaveFile(folder.Path() / "a.bmp", *test::FromPlanes(3, 1, KyiFormatGray16, samples)));
    Bytes head = MakeHeader({.Width = 3, .Height = 1, .Bits = 16, .Compression = 0x3149594b});
    Put(head, KyiFormatGray16, 4);
    head.resize(128);
    Bytes expected = Joined(head, {}, {2, 1, 4, 3, 6, 5, 0, 0});
    PutAt(expected, 2, expected.size());
    PutAt(expected, 34, 8);
    EXPECT_EQ(expected, test::ReadFile(folder.Path() / "a.bmp"));
    EXPECT_EQ(std::memcmp(expected.data() + 30, "KYI1", 4), 0);
}

TEST(BitmapCodec, RefusesBlocksWhoseFormatDoesNotFit) {
    const Header header{.Width = 3, .Height = 1, .Bits = 16, .Compression = 0x3149594b};
    const auto block = [](Header changed, std::uint32_t format) {
        Bytes head = MakeHeader(changed);
        Put(head, format, 4);
        head.resize(128);
        return Joined(head, {}, Bytes(64));
    };
    EXPECT_TRUE(test::LoadBytes(block(header, KyiFormatGray16)));
    for (const std::uint32_t format : {0u, 3u, 4u, 7u, 99u, 0xffffffffu})
        ExpectRefused(block(header, format), "damaged");
    ExpectRefused(block({.Width = 3, .Height = 1, .Bits = 0, .Compression = 0x3149594b}, 99), "damaged");
    ExpectRefused(block({.Width = 3, .Height = -1, .Bits = 16, .Compression = 0x3149594b}, 5), "damaged");
    ExpectRefused(block({.Width = 300, .Height = 1, .Bits = 16, .Compression = 0x3149594b}, 5), "truncated");
}

} // namespace

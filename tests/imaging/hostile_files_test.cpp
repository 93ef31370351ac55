/// Files made to do harm: sizes that cannot be, pictures that are far larger than their file, directories that lead in
/// circles, files cut short. Each is refused with a reason or gives a picture, in little memory.
#include "imaging/codec_files.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include <jpeglib.h> // needs <cstdio> before it
#include <tiffio.h>

#include "support/peak_memory.h"

namespace {

using test::Bytes;
using test::Image;

// The address checks keep up to so much of what was freed, in MiB, to tell who still uses it.
constexpr long KeptByTheChecks() {
#if defined(__SANITIZE_ADDRESS__)
    return 256;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
    return 256;
#else
    return 0;
#endif
#else
    return 0;
#endif
}

/// What happens between its begin and its end takes less than 128 MiB more than before.
class Frugal {
  public:
    Frugal() {
        test::ForgetPeakMemory();
        m_memory = test::PeakMemory();
    }
    ~Frugal() { EXPECT_LT(test::PeakMemory() - m_memory, 128 + KeptByTheChecks()); }
    Frugal(const Frugal&) = delete;
    Frugal& operator=(const Frugal&) = delete;

  private:
    long m_memory = 0;
};

void ExpectRefused(const Bytes& file, const std::string& reason) {
    const Frugal frugal;
    EXPECT_FALSE(test::LoadBytes(file));
    EXPECT_NE(test::LastReason().find(reason), std::string::npos) << "said: " << test::LastReason();
}

Bytes Stored(const std::string& name, const std::string& file) {
    return test::ReadFile(test::DataFolder() / "codecs" / name / file);
}

void PutBig(Bytes& bytes, std::size_t at, std::uint64_t value, int count) {
    for (int i = 0; i < count; ++i)
        bytes.at(at + static_cast<std::size_t>(i)) = static_cast<std::uint8_t>(value >> (8 * (count - 1 - i)));
}

// ---- PNG

/// The checksum of a chunk.
std::uint32_t Sum(const std::uint8_t* bytes, std::size_t count) {
    std::uint32_t sum = 0xFFFFFFFFU;
    for (std::size_t i = 0; i < count; ++i) {
        sum ^= bytes[i];
        for (int bit = 0; bit < 8; ++bit) sum = (sum & 1) != 0 ? sum >> 1 ^ 0xEDB88320U : sum >> 1;
    }
    return ~sum;
}

/// A small gray PNG whose header tells another size.
Bytes PngOfSize(std::uint64_t width, std::uint64_t height) {
    constexpr std::size_t kHeader = 12; // kind of the first chunk, then width and height
    Bytes file = Stored("png_gray8", "image.png");
    PutBig(file, kHeader + 4, width, 4);
    PutBig(file, kHeader + 8, height, 4);
    PutBig(file, kHeader + 17, Sum(file.data() + kHeader, 17), 4);
    return file;
}

// ---- JPEG

constexpr std::uint8_t kBaseline = 0xC0;
constexpr std::uint8_t kScan = 0xDA;

std::size_t FindMarker(const Bytes& file, std::uint8_t marker) {
    for (std::size_t at = 2; at + 1 < file.size(); ++at)
        if (file[at] == 0xFF && file[at + 1] == marker) return at;
    ADD_FAILURE() << "no such marker";
    return 0;
}

Bytes JpegOfSize(std::uint64_t width, std::uint64_t height) {
    Bytes file = Stored("jpeg_gray", "image.jpg");
    const std::size_t at = FindMarker(file, kBaseline);
    PutBig(file, at + 5, height, 2);
    PutBig(file, at + 7, width, 2);
    return file;
}

// ---- bitmap

Bytes BitmapOfSize(std::uint64_t width, std::uint64_t height) {
    Bytes file = Stored("bmp_24_windows", "image.bmp");
    test::PutAt(file, 18, width);
    test::PutAt(file, 22, height);
    return file;
}

/// A bitmap of 8 bits in run lengths.
Bytes RunsOfSize(std::uint64_t width, std::uint64_t height) {
    Bytes file = Stored("bmp_gray8_windows", "image.bmp");
    test::PutAt(file, 18, width);
    test::PutAt(file, 22, height);
    test::PutAt(file, 30, 1);
    return file;
}

// ---- TIFF

/// Place of an entry in the first directory of a little-endian file.
std::size_t FindTag(const Bytes& file, std::uint32_t tag) {
    const auto get = [&](std::size_t at, int count) {
        std::size_t value = 0;
        while (count-- > 0) value = value << 8 | file.at(at + static_cast<std::size_t>(count));
        return value;
    };
    const std::size_t directory = get(4, 4);
    for (std::size_t i = 0; i < get(directory, 2); ++i)
        if (get(directory + 2 + 12 * i, 2) == tag) return directory + 2 + 12 * i;
    ADD_FAILURE() << "no tag " << tag;
    return 0;
}

void SetTag(Bytes& file, std::uint32_t tag, std::uint64_t value) {
    const std::size_t at = FindTag(file, tag);
    test::PutAt(file, at + 2, 4, 2); // 32 bits
    test::PutAt(file, at + 8, value);
}

Bytes TiffOfSize(const std::string& name, std::uint64_t width, std::uint64_t height) {
    Bytes file = Stored(name, "image.tif");
    SetTag(file, TIFFTAG_IMAGEWIDTH, width);
    SetTag(file, TIFFTAG_IMAGELENGTH, height);
    return file;
}

// ---- sizes

struct SizeCase {
    const char* Name;
    Bytes (*Make)(std::uint64_t width, std::uint64_t height);
    int Bits; // of a size in the header
};

Bytes PlainTiffOfSize(std::uint64_t width, std::uint64_t height) {
    return TiffOfSize("tiff_gray8_plain", width, height);
}
Bytes LzwTiffOfSize(std::uint64_t width, std::uint64_t height) { return TiffOfSize("tiff_gray8_lzw", width, height); }

const SizeCase kSizeCases[] = {{"bitmap", BitmapOfSize, 32},  {"runs", RunsOfSize, 32},
                               {"png", PngOfSize, 32},        {"jpeg", JpegOfSize, 16},
                               {"tiff", PlainTiffOfSize, 32}, {"tiff_lzw", LzwTiffOfSize, 32}};

class HostileSize : public testing::TestWithParam<SizeCase> {};

TEST_P(HostileSize, IsRefusedWhateverItIs) {
    const Frugal frugal;
    const std::uint64_t top = std::uint64_t{1} << GetParam().Bits;
    for (const std::uint64_t size : {std::uint64_t{0}, top / 2 - 1, top / 2, top / 2 + 1, top - 2, top - 1}) {
        for (const bool isWidth : {true, false}) {
            SCOPED_TRACE(testing::Message() << size << (isWidth ? " wide" : " high"));
            if (!isWidth && size >= top - 2 && GetParam().Make == BitmapOfSize) continue; // 1 or 2 lines, top down
            EXPECT_FALSE(test::LoadBytes(GetParam().Make(isWidth ? size : 5, isWidth ? 5 : size)));
            EXPECT_NE(test::LastReason(), "");
        }
    }
}

TEST_P(HostileSize, BeyondTheLimitIsToldAsSuch) {
    if (GetParam().Bits == 16)
        ExpectRefused(GetParam().Make(60000, 60000), "larger than 1.5 gigapixels");
    else
        ExpectRefused(GetParam().Make(40000, 40000), "larger than 1.5 gigapixels");
}

TEST_P(HostileSize, FarBeyondWhatTheFileCanHoldIsToldAsSuch) {
    const bool isPlain = GetParam().Make == BitmapOfSize;
    ExpectRefused(GetParam().Make(30000, 30000), isPlain ? "truncated" : "claims far more pixels than it can hold");
}

std::string NameOf(const testing::TestParamInfo<SizeCase>& info) { return info.param.Name; }
INSTANTIATE_TEST_SUITE_P(Kinds, HostileSize, testing::ValuesIn(kSizeCases), NameOf);

// ---- what grows when it is unpacked

/// A chunk with its length and checksum.
Bytes Chunk(const char* kind, const Bytes& data) {
    Bytes chunk(8);
    PutBig(chunk, 0, data.size(), 4);
    std::copy_n(kind, 4, chunk.begin() + 4);
    chunk.insert(chunk.end(), data.begin(), data.end());
    chunk.resize(chunk.size() + 4);
    PutBig(chunk, chunk.size() - 4, Sum(chunk.data() + 4, data.size() + 4), 4);
    return chunk;
}

/// A deflate stream of many zeros, 1032 to a byte: what libpng writes of a black line.
Bytes PackedZeros(std::uint32_t count) {
    const test::TemporaryFolder folder;
    const Image line(KyiAllocImageData(static_cast<std::int32_t>(count), 1, KyiFormatGray8));
    KyiFill(line.get(), 0, 0, 0);
    EXPECT_TRUE(test::SaveFile(folder.Path() / "line.png", *line));
    const Bytes file = test::ReadFile(folder.Path() / "line.png");
    Bytes packed;
    for (std::size_t at = 8; at + 12 <= file.size();) {
        std::size_t length = 0;
        for (std::size_t i = 0; i < 4; ++i) length = length << 8 | file[at + i];
        const auto data = file.begin() + static_cast<std::ptrdiff_t>(at) + 8;
        if (std::equal(data - 4, data, "IDAT"))
            packed.insert(packed.end(), data, data + static_cast<std::ptrdiff_t>(length));
        at += 12 + length;
    }
    return packed;
}

// ---- what is held beside the image

const char* const kTooMuch = "claims far more pixels than it can hold";

/// The end of the picture at once: all of it is index 0. `fill` bytes stand behind it.
Bytes EmptyRuns(std::uint64_t width, std::uint64_t height, std::size_t fill, bool isGray) {
    Bytes file = Stored("bmp_gray8_windows", "image.bmp");
    constexpr std::size_t kPalette = 54;
    if (!isGray) file.at(kPalette + 1) = 200; // green
    test::PutAt(file, 18, width);
    test::PutAt(file, 22, height);
    test::PutAt(file, 30, 1);
    std::size_t pixels = 0;
    for (std::size_t i = 14; i-- > 10;) pixels = pixels << 8 | file.at(i);
    file.resize(pixels);
    file.insert(file.end(), {0, 1});
    file.resize(file.size() + fill);
    return file;
}

TEST(HostileBitmap, HoldsIndexesAndColoursWithinTheLimit) {
    // 4 bytes a pixel of colour, 1 of gray, below 16 MiB or 6144 times 18,000 bytes.
    const Image small = test::LoadBytes(EmptyRuns(2000, 2000, 0, false));
    ASSERT_TRUE(small) << test::LastReason();
    EXPECT_EQ(small->Format, KyiFormatBgr24);
    ExpectRefused(EmptyRuns(2100, 2000, 0, false), kTooMuch);
    EXPECT_TRUE(test::LoadBytes(EmptyRuns(4000, 4000, 0, true))) << test::LastReason();
    ExpectRefused(EmptyRuns(4200, 4000, 0, true), kTooMuch);
    ExpectRefused(EmptyRuns(8000, 8000, 17'998, false), kTooMuch);
    // A line has 4 bytes at least.
    EXPECT_TRUE(test::LoadBytes(EmptyRuns(1, 4'000'000, 0, true))) << test::LastReason();
    ExpectRefused(EmptyRuns(1, 4'200'000, 0, true), kTooMuch);
}

TEST(HostilePng, HoldsItsRowsWithinTheLimit) {
    // 1 byte a pixel, and two rows of 8.
    ExpectRefused(PngOfSize(980'000, 1), "damaged PNG");
    ExpectRefused(PngOfSize(1'000'000, 1), kTooMuch);
    ExpectRefused(PngOfSize(1, 4'000'000), "damaged PNG");
    ExpectRefused(PngOfSize(1, 4'200'000), kTooMuch);
}

TEST(HostileJpeg, HoldsTheCoefficientsOfSeveralScansWithinTheLimit) {
    const auto sized = [](const char* name, std::uint8_t frame, std::uint64_t side) {
        Bytes file = Stored(name, "image.jpg");
        const std::size_t at = FindMarker(file, frame);
        PutBig(file, at + 5, side, 2);
        PutBig(file, at + 7, side, 2);
        return file;
    };
    constexpr std::uint8_t kProgressive = 0xC2;
    // 3 bytes a pixel, and 2 a sample.
    ExpectRefused(sized("jpeg_full", kBaseline, 2300), "damaged JPEG");
    ExpectRefused(sized("jpeg_full", kBaseline, 2400), kTooMuch);
    ExpectRefused(sized("jpeg_progressive", kProgressive, 1300), "");
    ExpectRefused(sized("jpeg_progressive", kProgressive, 2300), kTooMuch);
}

/// A TIFF of one strip or tile, in the place of as many as it takes, which hold the same bytes.
struct SharedBlocks {
    std::uint32_t Width;
    std::uint32_t Height;
    std::uint32_t TileWidth; // 0: strips of one line
    std::uint32_t TileHeight;
    std::uint16_t Photometric;
    std::uint16_t Samples;
    bool InPlanes = false;
    std::uint32_t Compression = COMPRESSION_ADOBE_DEFLATE;
};

Bytes TiffOf(const SharedBlocks& shape, const Bytes& data) {
    const bool isTiled = shape.TileWidth != 0;
    const std::uint32_t across = isTiled ? (shape.Width - 1) / shape.TileWidth + 1 : 1;
    const std::uint32_t down = isTiled ? (shape.Height - 1) / shape.TileHeight + 1 : shape.Height;
    const std::size_t blocks = std::size_t{across} * down * (shape.InPlanes ? shape.Samples : 1U);
    Bytes file = {'I', 'I', 42, 0};
    const std::size_t start = 8;
    const std::size_t offsets = start + data.size();
    const std::size_t counts = offsets + 4 * blocks;
    test::Put(file, counts + 4 * blocks, 4);
    file.insert(file.end(), data.begin(), data.end());
    for (std::size_t i = 0; i < blocks; ++i) test::Put(file, start, 4);
    for (std::size_t i = 0; i < blocks; ++i) test::Put(file, data.size(), 4);
    struct Entry {
        std::uint32_t Tag;
        std::uint64_t Value;
        std::size_t Count = 1;
    };
    std::vector<Entry> entries = {{TIFFTAG_IMAGEWIDTH, shape.Width},
                                  {TIFFTAG_IMAGELENGTH, shape.Height},
                                  {TIFFTAG_BITSPERSAMPLE, 8},
                                  {TIFFTAG_COMPRESSION, shape.Compression},
                                  {TIFFTAG_PHOTOMETRIC, shape.Photometric}};
    if (!isTiled) entries.push_back({TIFFTAG_STRIPOFFSETS, offsets, blocks});
    entries.push_back({TIFFTAG_SAMPLESPERPIXEL, shape.Samples});
    if (!isTiled) {
        entries.push_back({TIFFTAG_ROWSPERSTRIP, 1});
        entries.push_back({TIFFTAG_STRIPBYTECOUNTS, counts, blocks});
    }
    if (shape.InPlanes) entries.push_back({TIFFTAG_PLANARCONFIG, PLANARCONFIG_SEPARATE});
    if (isTiled) {
        entries.push_back({TIFFTAG_TILEWIDTH, shape.TileWidth});
        entries.push_back({TIFFTAG_TILELENGTH, shape.TileHeight});
        entries.push_back({TIFFTAG_TILEOFFSETS, offsets, blocks});
        entries.push_back({TIFFTAG_TILEBYTECOUNTS, counts, blocks});
    }
    test::Put(file, entries.size(), 2);
    for (const Entry& entry : entries) {
        test::Put(file, entry.Tag, 2);
        test::Put(file, entry.Tag == TIFFTAG_BITSPERSAMPLE ? TIFF_SHORT : TIFF_LONG, 2);
        test::Put(file, entry.Count, 4);
        test::Put(file, entry.Value, 4);
    }
    test::Put(file, 0, 4);
    return file;
}

TEST(HostileTiff, WhoseTilesShareTheirBytesKeepsWithinTheLimit) {
    const Bytes zeros = PackedZeros(1U << 22);
    const auto kinds = {std::pair<std::uint16_t, std::uint16_t>{PHOTOMETRIC_MINISBLACK, 1}, {PHOTOMETRIC_SEPARATED, 4}};
    for (const auto& [photometric, samples] : kinds) {
        SCOPED_TRACE(photometric);
        // As programs write them that store equal tiles once.
        const Image image = test::LoadBytes(TiffOf({1000, 1000, 256, 256, photometric, samples}, zeros));
        ASSERT_TRUE(image) << test::LastReason();
        EXPECT_EQ(image->Width, 1000);
        // All but one column of each tile lies beyond the image.
        ExpectRefused(TiffOf({1, 16000, (1U << 18) / samples, 16, photometric, samples}, zeros), kTooMuch);
        ExpectRefused(TiffOf({1, 16000, 1U << 31, 1U << 31, photometric, samples}, zeros), "");
        ExpectRefused(TiffOf({1, 16000, 0xFFFFFFF0U, 16, photometric, samples}, zeros), "");
    }
}

TEST(HostileTiff, WhoseStripsShareTheirBytesKeepsWithinTheLimit) {
    Bytes packed = PackedZeros(64);
    EXPECT_TRUE(test::LoadBytes(TiffOf({1, 16000, 0, 0, PHOTOMETRIC_MINISBLACK, 1}, packed))) << test::LastReason();
    packed.resize(900'000);
    EXPECT_TRUE(test::LoadBytes(TiffOf({1, 4000, 0, 0, PHOTOMETRIC_MINISBLACK, 1}, packed))) << test::LastReason();
    for (const auto& [photometric, samples] :
         {std::pair<std::uint16_t, std::uint16_t>{PHOTOMETRIC_MINISBLACK, 1}, {PHOTOMETRIC_SEPARATED, 4}})
        ExpectRefused(TiffOf({1, 16000, 0, 0, photometric, samples}, packed), "share their bytes");
}

void SetByteCount(Bytes& file, std::size_t strip, std::uint64_t count) {
    const std::size_t entry = FindTag(file, TIFFTAG_STRIPBYTECOUNTS);
    std::size_t table = 0;
    for (std::size_t i = 12; i-- > 8;) table = table << 8 | file.at(entry + i);
    test::PutAt(file, table + 4 * strip, count);
}

// libtiff comes to the end of the first plane with the last row, when it has read the other planes.
TEST(HostileTiff, WhosePlanesShareTheirBytesBehindAnEmptyStripKeepsWithinTheLimit) {
    constexpr std::uint32_t kHeight = 4000;
    const SharedBlocks shape{1, kHeight, 0, 0, PHOTOMETRIC_SEPARATED, 4, /*InPlanes=*/true};
    Bytes packed = PackedZeros(64);
    const std::size_t few = packed.size();
    const Image image = test::LoadBytes(TiffOf(shape, packed));
    ASSERT_TRUE(image) << test::LastReason();
    EXPECT_EQ(image->Height, static_cast<std::int32_t>(kHeight));
    packed.resize(900'000);
    Bytes file = TiffOf(shape, packed);
    for (std::size_t strip = 0; strip < kHeight; ++strip) SetByteCount(file, strip, strip + 1 < kHeight ? few : 0);
    ExpectRefused(file, "share their bytes");
}

// There a strip without bytes goes on to the end of the file.
TEST(HostileTiff, WhoseStripsOfOldJpegTellNoBytesKeepsWithinTheLimit) {
    constexpr std::uint32_t kHeight = 16000;
    Bytes file =
        TiffOf({1, kHeight, 0, 0, PHOTOMETRIC_YCBCR, 3, /*InPlanes=*/false, COMPRESSION_OJPEG}, Bytes(900'000));
    for (std::size_t strip = 0; strip < kHeight; ++strip) SetByteCount(file, strip, 0);
    ExpectRefused(file, "share their bytes");
}

TEST(HostileTiff, HoldsTheColoursOfAPaletteWithinTheLimit) {
    const auto sized = [](std::uint64_t side) {
        Bytes file = TiffOfSize("tiff_palette8", side, side);
        SetTag(file, TIFFTAG_COMPRESSION, COMPRESSION_ADOBE_DEFLATE);
        SetTag(file, TIFFTAG_ROWSPERSTRIP, side);
        return file;
    };
    // 3 bytes a pixel, and 1 of the strip.
    ExpectRefused(sized(2000), "damaged TIFF");
    ExpectRefused(sized(2100), kTooMuch);
}

// ---- what is large and true

constexpr std::int32_t kFlatWidth = 4000;
constexpr std::int32_t kFlatHeight = 3000;

void SaveFlatTiff(const std::filesystem::path& path, bool isPalette, int compression, std::uint32_t rows) {
    const std::unique_ptr<TIFF, void (*)(TIFF*)> tiff(TIFFOpen(path.c_str(), "w"), TIFFClose);
    ASSERT_TRUE(tiff);
    TIFFSetField(tiff.get(), TIFFTAG_IMAGEWIDTH, kFlatWidth);
    TIFFSetField(tiff.get(), TIFFTAG_IMAGELENGTH, kFlatHeight);
    TIFFSetField(tiff.get(), TIFFTAG_BITSPERSAMPLE, isPalette ? 8 : 16);
    TIFFSetField(tiff.get(), TIFFTAG_SAMPLESPERPIXEL, isPalette ? 1 : 3);
    TIFFSetField(tiff.get(), TIFFTAG_PHOTOMETRIC, isPalette ? PHOTOMETRIC_PALETTE : PHOTOMETRIC_RGB);
    TIFFSetField(tiff.get(), TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    TIFFSetField(tiff.get(), TIFFTAG_COMPRESSION, compression);
    TIFFSetField(tiff.get(), TIFFTAG_ROWSPERSTRIP, rows);
    std::vector<std::uint16_t> green(256);
    green[0] = 0x8000;
    const std::vector<std::uint16_t> none(256);
    if (isPalette) TIFFSetField(tiff.get(), TIFFTAG_COLORMAP, none.data(), green.data(), none.data());
    std::vector<std::uint8_t> row(std::size_t{kFlatWidth} * (isPalette ? 1 : 6));
    for (std::uint32_t y = 0; y < kFlatHeight; ++y) ASSERT_EQ(TIFFWriteScanline(tiff.get(), row.data(), y, 0), 1);
}

void SaveFlatJpeg(const std::filesystem::path& path, bool isProgressive) {
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "wb"), std::fclose);
    ASSERT_TRUE(file);
    jpeg_compress_struct codec{};
    jpeg_error_mgr errors{};
    codec.err = jpeg_std_error(&errors);
    jpeg_create_compress(&codec);
    jpeg_stdio_dest(&codec, file.get());
    codec.image_width = kFlatWidth;
    codec.image_height = kFlatHeight;
    codec.input_components = 3;
    codec.in_color_space = JCS_RGB;
    jpeg_set_defaults(&codec);
    codec.optimize_coding = TRUE;
    if (isProgressive) jpeg_simple_progression(&codec);
    jpeg_start_compress(&codec, TRUE);
    std::vector<std::uint8_t> line(std::size_t{kFlatWidth} * 3, 128);
    JSAMPROW row = line.data();
    while (codec.next_scanline < codec.image_height) jpeg_write_scanlines(&codec, &row, 1);
    jpeg_finish_compress(&codec);
    jpeg_destroy_compress(&codec);
}

TEST(FlatPicture, IsReadHoweverSmallItsFileIs) {
    const test::TemporaryFolder folder;
    const std::filesystem::path path = folder.Path() / "flat";
    const auto expectRead = [&](std::int32_t format) {
        ASSERT_FALSE(testing::Test::HasFatalFailure());
        const Image image = test::LoadFile(path);
        ASSERT_TRUE(image) << test::LastReason();
        EXPECT_EQ(image->Format, format);
        EXPECT_EQ(image->Width, kFlatWidth);
        EXPECT_EQ(image->Height, kFlatHeight);
    };
    for (const std::int32_t format : {KyiFormatGray16, KyiFormatBgr24, KyiFormatBgr48}) {
        SCOPED_TRACE(format);
        const Image flat(KyiAllocImageData(kFlatWidth, kFlatHeight, format));
        KyiFill(flat.get(), 0, 0, 0);
        const std::filesystem::path png = folder.Path() / "flat.png";
        ASSERT_TRUE(test::SaveFile(png, *flat));
        EXPECT_LT(std::filesystem::file_size(png) * 500, static_cast<std::uint64_t>(flat->LineBytes) * kFlatHeight);
        std::filesystem::rename(png, path);
        expectRead(format);
    }
    for (const bool isPalette : {false, true})
        for (const int compression : {COMPRESSION_ADOBE_DEFLATE, COMPRESSION_LZW})
            for (const std::uint32_t rows : {16U, std::uint32_t{kFlatHeight}}) {
                SCOPED_TRACE(testing::Message() << isPalette << ' ' << compression << ' ' << rows);
                SaveFlatTiff(path, isPalette, compression, rows);
                expectRead(isPalette ? KyiFormatBgr24 : KyiFormatBgr48);
            }
    for (const bool isProgressive : {false, true}) {
        SCOPED_TRACE(isProgressive);
        SaveFlatJpeg(path, isProgressive);
        expectRead(KyiFormatBgr24);
    }
}

TEST(HostilePng, TextsAndProfilesThatGrowWithoutEndAreLeftAlone) {
    const Bytes zeros = PackedZeros(200'000'000);
    Bytes texts = {'a', 0, 0};
    texts.insert(texts.end(), zeros.begin(), zeros.end());
    for (const char* const kind : {"zTXt", "iCCP"}) {
        SCOPED_TRACE(kind);
        Bytes file = Stored("png_gray8", "image.png");
        const Bytes chunk = Chunk(kind, texts);
        file.insert(file.begin() + 33, chunk.begin(), chunk.end()); // behind the header
        const Image plain = test::LoadBytes(Stored("png_gray8", "image.png"));
        const Frugal frugal;
        const Image image = test::LoadBytes(file);
        ASSERT_TRUE(image) << test::LastReason();
        EXPECT_TRUE(test::SameImage(*plain, *image));
    }
}

TEST(HostileJpeg, WithScansWithoutEndIsRefused) {
    const Bytes good = Stored("jpeg_progressive", "image.jpg");
    ASSERT_TRUE(test::LoadBytes(good));
    const std::size_t first = FindMarker(good, kScan); // the coarse picture, which can be told again and again
    std::size_t end = first + 2;
    while (good.at(end) != 0xFF || good.at(end + 1) == 0) ++end;
    const auto scan = good.begin() + static_cast<std::ptrdiff_t>(first);
    const auto rest = good.begin() + static_cast<std::ptrdiff_t>(end);
    for (const int times : {100, 100'000}) {
        Bytes file(good.begin(), scan);
        for (int i = 0; i < times; ++i) file.insert(file.end(), scan, rest);
        file.insert(file.end(), rest, good.end());
        if (times == 100)
            EXPECT_TRUE(test::LoadBytes(file)) << test::LastReason();
        else
            ExpectRefused(file, "too many scans");
    }
}

TEST(HostileTiff, WhoseDirectoriesLeadInCirclesGivesItsFirstPage) {
    const Image plain = test::LoadBytes(Stored("tiff_gray8_plain", "image.tif"));
    for (const std::uint64_t next : {std::uint64_t{0}, std::uint64_t{8}, std::uint64_t{0xFFFFFFFF}}) {
        Bytes file = Stored("tiff_gray8_plain", "image.tif");
        std::size_t directory = 0;
        for (std::size_t i = 8; i-- > 4;) directory = directory << 8 | file[i];
        const std::size_t entries = file.at(directory) + std::size_t{256} * file.at(directory + 1);
        // The page's own directory, a place inside the pixels, a place outside.
        test::PutAt(file, directory + 2 + 12 * entries, next == 0 ? directory : next);
        const Frugal frugal;
        const Image image = test::LoadBytes(file);
        ASSERT_TRUE(image) << test::LastReason();
        EXPECT_TRUE(test::SameImage(*plain, *image));
    }
}

TEST(HostileTiff, WhoseDirectoryLiesNowhereIsRefused) {
    for (const std::uint64_t place :
         {std::uint64_t{0}, std::uint64_t{4}, std::uint64_t{0x7FFFFFFF}, std::uint64_t{0xFFFFFFFF}}) {
        SCOPED_TRACE(place);
        Bytes file = Stored("tiff_gray8_plain", "image.tif");
        test::PutAt(file, 4, place);
        ExpectRefused(file, "");
        EXPECT_NE(test::LastReason(), "");
    }
}

TEST(HostileTiff, WithTablesLargerThanTheFileIsRefused) {
    for (const auto tag : {std::uint32_t{TIFFTAG_STRIPOFFSETS}, std::uint32_t{TIFFTAG_STRIPBYTECOUNTS}})
        for (const std::uint64_t count :
             {std::uint64_t{100'000'000}, std::uint64_t{0x7FFFFFFF}, std::uint64_t{0xFFFFFFFF}}) {
            SCOPED_TRACE(testing::Message() << "tag " << tag << ", " << count << " entries");
            Bytes file = Stored("tiff_gray8_rows", "image.tif");
            test::PutAt(file, FindTag(file, tag) + 4, count);
            const Frugal frugal;
            if (const Image image = test::LoadBytes(file)) {
                EXPECT_TRUE(test::SameImage(*test::LoadBytes(Stored("tiff_gray8_rows", "image.tif")), *image));
            }
        }
}

/// The stored file with `count` further tags, which all hold the same `bytes` bytes.
Bytes WithSharedTags(std::size_t count, std::size_t bytes) {
    Bytes file = Stored("tiff_gray8_plain", "image.tif");
    std::size_t directory = 0;
    for (std::size_t i = 8; i-- > 4;) directory = directory << 8 | file.at(i);
    const std::size_t entries = file.at(directory) + std::size_t{256} * file.at(directory + 1);
    const auto first = file.begin() + static_cast<std::ptrdiff_t>(directory + 2);
    const Bytes own(first, first + static_cast<std::ptrdiff_t>(12 * entries));
    const std::size_t shared = file.size();
    file.resize(shared + bytes);
    const std::size_t moved = file.size();
    test::PutAt(file, 4, moved);
    file.resize(moved + 2 + 12 * (entries + count) + 4);
    test::PutAt(file, moved, entries + count, 2);
    std::copy(own.begin(), own.end(), file.begin() + static_cast<std::ptrdiff_t>(moved + 2));
    for (std::size_t i = 0; i < count; ++i) {
        const std::size_t at = moved + 2 + 12 * (entries + i);
        test::PutAt(file, at, 60000 + i, 2);
        test::PutAt(file, at + 2, 1, 2); // bytes
        test::PutAt(file, at + 4, bytes);
        test::PutAt(file, at + 8, shared);
    }
    return file;
}

TEST(HostileTiff, WhoseTagsShareTheirBytesIsRefused) {
    EXPECT_TRUE(test::LoadBytes(WithSharedTags(400, 1000))) << test::LastReason();
    EXPECT_TRUE(test::LoadBytes(WithSharedTags(2, 1'000'000))) << test::LastReason();
    ExpectRefused(WithSharedTags(400, 10'000), "tags that share their bytes");
    ExpectRefused(WithSharedTags(500, 1'000'000), "tags that share their bytes");
}

TEST(HostileTiff, WithAHugeStripIsRefusedOrEndsWithTheImage) {
    for (const char* const name : {"tiff_gray8_plain", "tiff_gray8_lzw"})
        for (const std::uint32_t rows : {0x7FFFFFFFU, 0x80000000U, 0xFFFFFFFFU}) {
            SCOPED_TRACE(testing::Message() << name << ", " << rows);
            Bytes file = Stored(name, "image.tif");
            SetTag(file, TIFFTAG_ROWSPERSTRIP, rows);
            const Frugal frugal;
            if (const Image image = test::LoadBytes(file)) {
                EXPECT_TRUE(test::SameImage(*test::LoadBytes(Stored(name, "image.tif")), *image));
            }
        }
}

TEST(HostileTiff, WithHugeTilesIsRefused) {
    for (const std::uint32_t side : {0x7FFFFFF0U, 0x80000000U, 0xFFFFFFF0U})
        for (const auto tag : {std::uint32_t{TIFFTAG_TILELENGTH}, std::uint32_t{TIFFTAG_TILEWIDTH}}) {
            SCOPED_TRACE(testing::Message() << "tag " << tag << ", " << side);
            Bytes file = Stored("tiff_gray8_tiles", "image.tif");
            SetTag(file, tag, side);
            const Frugal frugal;
            EXPECT_FALSE(test::LoadBytes(file));
        }
}

// ---- cut short

class CutFile : public testing::TestWithParam<std::int32_t> {};

TEST_P(CutFile, OfTheLibraryItselfIsRefusedAtEveryByteThatIsMissing) {
    const test::TemporaryFolder folder;
    const Image image = test::RandomImage(5, 4, GetParam(), 1);
    for (const char* const extension : {".bmp", ".png", ".tif"}) {
        const std::filesystem::path path = folder.Path() / ("image" + std::string(extension));
        ASSERT_TRUE(test::SaveFile(path, *image));
        const Bytes whole = test::ReadFile(path);
        test::MemoryFile file;
        file.Set(whole);
        // The words of a TIFF's directory that no reader needs may be missing.
        const std::size_t needed = std::string(extension) == ".tif" ? 20 : whole.size();
        for (std::size_t bytes = whole.size(); bytes-- > 0;) {
            file.Cut(bytes);
            const Image cut = test::LoadFile(file.Path());
            if (bytes < needed) {
                ASSERT_FALSE(cut) << extension << " cut after " << bytes << " of " << whole.size();
            }
            if (cut) {
                ASSERT_EQ(test::ToPlanes(*image), test::ToPlanes(*cut)) << extension << " cut after " << bytes;
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Formats, CutFile, testing::ValuesIn(test::AllFormats().begin(), test::AllFormats().end()));

} // namespace

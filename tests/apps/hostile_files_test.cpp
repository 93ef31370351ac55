/// Runs on files made to do harm: the program names the file and the reason, ends with 1 and leaves no output.
#include <array>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <kyfocus/settings.h>
#include <sys/stat.h>
#include <tiffio.h>

#include "errors.h"
#include "height_files.h"
#include "height_map_file.h"
#include "images.h"
#include "npy_file.h"
#include "parameter_file.h"
#include "parameter_keys.h"
#include "run_program.h"
#include "support/case_files.h"
#include "support/images.h"
#include "tiff_file.h"

namespace {

namespace fs = std::filesystem;
using test::ProgramResult;
using Names = std::vector<std::string>;

constexpr std::int32_t kWidth = 24;
constexpr std::int32_t kHeight = 16;

class HostileFiles : public testing::Test {
  protected:
    void SetUp() override {
        fs::create_directory(m_folder.Path() / "out");
        Save("good.png", 1);
    }

    std::string Path(const std::string& name) const { return m_folder.Path() / name; }
    std::string Out(const std::string& name) const { return m_folder.Path() / "out" / name; }

    void Save(const std::string& name, std::uint32_t seed) const {
        app::SaveImage(Path(name), *test::RandomImage(kWidth, kHeight, KyiFormatBgr24, seed));
    }
    void Write(const std::string& name, const std::string& bytes) const {
        std::ofstream(Path(name), std::ios::binary) << bytes;
    }
    std::string Read(const std::string& name) const {
        std::ifstream stream(Path(name), std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
    }

    /// @param name  What has to stand in the message, with a reason behind it.
    void ExpectRefused(const Names& arguments, const std::string& name) const {
        const ProgramResult result = test::RunProgram(arguments);
        EXPECT_EQ(result.Status, 1) << result.Errors;
        const std::size_t at = result.Errors.find(Path(name) + ": ");
        EXPECT_NE(at, std::string::npos) << result.Errors;
        EXPECT_TRUE(result.Errors.ends_with("\n")) << result.Errors;
        EXPECT_EQ(test::EntryNames(m_folder.Path() / "out"), Names{});
    }

    void ExpectFrameRefused(const std::string& name) const {
        SCOPED_TRACE(name);
        ExpectRefused({"compose", Path("good.png"), Path(name), "-o", Out("sharp.png"), "--json", Out("run.json"),
                       "--step", "1", "--height-map", Out("heights.tif"), "--progress", "none"},
                      name);
        ExpectRefused({"compose", Path(name), Path("good.png"), "--keep-order", "-o", Out("sharp.bmp"), "--mode", "3d",
                       "--step", "1", "--temp", Path(""), "--progress", "none", "--no-gpu"},
                      name);
    }

    test::TemporaryFolder m_folder;
};

TEST_F(HostileFiles, AmongTheFramesEndTheRun) {
    Write("empty.png", "");
    Write("text.tif", "this is no picture\n");
    for (const char* const name : {"cut.png", "cut.tif", "cut.bmp", "cut.jpg"}) {
        Save(name, 2);
        fs::resize_file(Path(name), fs::file_size(Path(name)) * 2 / 3);
    }
    Save("wide.bmp", 3);
    std::string wide = Read("wide.bmp");
    wide.replace(18, 4, "\xFF\xFF\xFF\x7F");
    Write("wide.bmp", wide);
    Write("wide.png", std::string("\x89PNG\r\n\x1A\n\0\0\0\x0DIHDR\x7F\xFF\xFF\xFF\x7F\xFF\xFF\xFF\x08\0\0\0\0", 29));
    for (const char* const name :
         {"empty.png", "text.tif", "cut.png", "cut.tif", "cut.bmp", "cut.jpg", "wide.bmp", "wide.png"})
        ExpectFrameRefused(name);
}

TEST_F(HostileFiles, InThePlaceOfHeightsEndTheRun) {
    Save("second.png", 4);
    const std::string texts[] = {"",
                                 "1\n2\n3\n",
                                 "1\nnan\n",
                                 "1\n1e999\n",
                                 "good.png,1\ngood.png,2\n",
                                 std::string(70000, '#'),
                                 std::string("1\n\0\n", 4),
                                 "\xFF\xFE" + std::string(1000, '\x80')};
    for (const std::string& text : texts) {
        SCOPED_TRACE(text.substr(0, 20));
        Write("heights.txt", text);
        const ProgramResult result =
            test::RunProgram({"compose", Path("good.png"), Path("second.png"), "-o", Out("sharp.png"), "--heights",
                              Path("heights.txt"), "--height-map", Out("z.tif"), "--progress", "none"});
        EXPECT_EQ(result.Status, 1) << result.Errors;
        EXPECT_NE(result.Errors.find(Path("heights.txt") + ":"), std::string::npos) << result.Errors;
        EXPECT_EQ(test::EntryNames(m_folder.Path() / "out"), Names{});
    }
}

TEST_F(HostileFiles, InThePlaceOfHeightMapsEndTheRun) {
    const app::HeightMap map{3, 2, {0, 1, 2, 3, 4, 5}};
    app::SaveHeightMap(Path("good.tif"), map, "unit=um");
    app::SaveNpy(Path("cut.npy"), map);
    fs::resize_file(Path("cut.npy"), fs::file_size(Path("cut.npy")) - 1);
    app::SaveNpy(Path("huge.npy"), map);
    std::string huge = Read("huge.npy");
    huge.replace(huge.find("(2, 3)"), 6, "(9999,");
    huge.replace(huge.find("(9999,") + 6, 8, "999999),");
    Write("huge.npy", huge);
    fs::copy_file(Path("good.tif"), Path("cut.tif"));
    fs::resize_file(Path("cut.tif"), fs::file_size(Path("cut.tif")) / 2);
    Write("junk.npy", "\x93NUMPY\xFF\xFF\xFF\xFF\xFF\xFF");
    for (const char* const name : {"cut.npy", "huge.npy", "cut.tif", "junk.npy", "good.png"}) {
        SCOPED_TRACE(name);
        ExpectRefused({"noisecut", Path(name), Path("good.png"), "-o", Out("cut.tif")}, name);
    }
    for (const char* const name : {"cut.npy", "huge.npy", "junk.npy"}) {
        SCOPED_TRACE(name);
        ExpectRefused({"compare", Path("good.tif"), Path(name)}, name);
    }
}

/// Heights whose directory has `count` further tags, which all hold the same `bytes` bytes.
std::string WithSharedTags(const std::string& map, std::uint32_t count, std::uint32_t bytes) {
    const auto get = [&](std::size_t at, std::size_t size) {
        std::uint32_t value = 0;
        while (size-- > 0) value = value << 8 | static_cast<std::uint8_t>(map.at(at + size));
        return value;
    };
    const auto put = [](std::string& to, std::uint32_t value, int size) {
        for (; size > 0; --size, value >>= 8) to += static_cast<char>(value & 0xFFU);
    };
    const std::uint32_t directory = get(4, 4);
    const std::uint32_t entries = get(directory, 2);
    std::string file = map + std::string(bytes, 'x');
    std::string place;
    put(place, static_cast<std::uint32_t>(file.size()), 4);
    file.replace(4, 4, place);
    put(file, entries + count, 2);
    file += map.substr(directory + 2, 12 * entries);
    for (std::uint32_t tag = 0; tag < count; ++tag) {
        put(file, 60000 + tag, 2);
        put(file, 1, 2); // bytes
        put(file, bytes, 4);
        put(file, static_cast<std::uint32_t>(map.size()), 4);
    }
    return file + std::string(4, '\0');
}

// Each of the tags would be kept as a block of its own.
TEST_F(HostileFiles, OfHeightsWhoseTagsShareTheirBytesEndTheRun) {
    app::SaveHeightMap(Path("good.tif"), {3, 2, {0, 1, 2, 3, 4, 5}}, "unit=um");
    const std::string good = Read("good.tif");
    Write("some.tif", WithSharedTags(good, 400, 1000));
    EXPECT_EQ(app::LoadHeightMap(Path("some.tif")).Values, (std::vector<double>{0, 1, 2, 3, 4, 5}));
    EXPECT_EQ(app::HeightUnit(Path("some.tif")), "um");
    Write("many.tif", WithSharedTags(good, 500, 1'000'000));
    EXPECT_FALSE(app::IsHeightMapFile(Path("many.tif")));
    EXPECT_EQ(app::HeightUnit(Path("many.tif")), "");
    ExpectRefused({"noisecut", Path("many.tif"), Path("good.png"), "-o", Out("cut.tif")}, "many.tif");
    try {
        app::LoadHeightMap(Path("many.tif"));
        FAIL();
    } catch (const app::Failure& failure) {
        EXPECT_TRUE(std::string(failure.what()).ends_with("tags that share their bytes")) << failure.what();
    }
}

// This decoder takes two bytes for each pixel of a strip, before it has seen any.
TEST_F(HostileFiles, OfHeightsGiveDecodersNoMoreThanTheStatedMemory) {
    constexpr std::uint32_t kSide = 1U << 15;
    {
        const std::unique_ptr<TIFF, void (*)(TIFF*)> tiff(TIFFOpen(Path("strip.tif").c_str(), "w"), TIFFClose);
        ASSERT_TRUE(tiff);
        TIFFSetField(tiff.get(), TIFFTAG_IMAGEWIDTH, kSide);
        TIFFSetField(tiff.get(), TIFFTAG_IMAGELENGTH, kSide);
        TIFFSetField(tiff.get(), TIFFTAG_BITSPERSAMPLE, 32);
        TIFFSetField(tiff.get(), TIFFTAG_SAMPLESPERPIXEL, 1);
        TIFFSetField(tiff.get(), TIFFTAG_SAMPLEFORMAT, SAMPLEFORMAT_IEEEFP);
        TIFFSetField(tiff.get(), TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISBLACK);
        TIFFSetField(tiff.get(), TIFFTAG_COMPRESSION, COMPRESSION_PIXARLOG);
        TIFFSetField(tiff.get(), TIFFTAG_ROWSPERSTRIP, kSide);
        std::string bytes(100, '\0');
        ASSERT_EQ(TIFFWriteRawStrip(tiff.get(), 0, bytes.data(), static_cast<tmsize_t>(bytes.size())), 100);
    }
    const app::TiffFile tiff(Path("strip.tif"), app::TiffFile::For::Reading);
    ASSERT_TRUE(tiff.Get()) << tiff.Reason();
    std::vector<float> row(kSide);
    EXPECT_EQ(TIFFReadScanline(tiff.Get(), row.data(), 0, 0), -1);
    EXPECT_NE(tiff.Reason().find("limit"), std::string::npos) << tiff.Reason();
    EXPECT_THROW(app::LoadHeightMap(Path("strip.tif")), app::Failure);
}

// A pipe without a writer would be waited for.
TEST_F(HostileFiles, ThatAreNoFilesInThePlaceOfHeightMapsEndTheRun) {
    ASSERT_EQ(mkfifo(Path("pipe.tif").c_str(), 0600), 0);
    for (const char* const name : {"pipe.tif", "out", "none.tif"}) {
        EXPECT_FALSE(app::IsHeightMapFile(Path(name))) << name;
        EXPECT_FALSE(app::IsNpyFile(Path(name))) << name;
        EXPECT_EQ(app::HeightUnit(Path(name)), "") << name;
        ExpectRefused({"noisecut", Path(name), Path("good.png"), "-o", Out("cut.tif")}, name);
    }
}

// A file that another process cuts while it is read: a page of it that is gone must not end the process.
TEST_F(HostileFiles, OfHeightsAreReadWithoutBeingMapped) {
    app::SaveHeightMap(Path("good.tif"), {300, 200, std::vector<double>(60000, 1.0)}, "");
    const app::TiffFile tiff(Path("good.tif"), app::TiffFile::For::Reading);
    ASSERT_TRUE(tiff.Get());
    fs::resize_file(Path("good.tif"), 4096);
    std::vector<float> row(300);
    int read = 0;
    while (read < 200 && TIFFReadScanline(tiff.Get(), row.data(), static_cast<std::uint32_t>(read), 0) == 1) ++read;
    EXPECT_LT(read, 200);
    EXPECT_NE(tiff.Reason(), "");
}

// ---- heights: sizes, what grows when it is unpacked, what is cut

/// Appends a number in little-endian order.
void Put(std::string& bytes, std::uint64_t value, int count) {
    for (; count > 0; --count, value >>= 8) bytes += static_cast<char>(value & 0xFFU);
}

/// Heights in strips of one row which all lie in the same `packed` bytes.
std::string StripsOf(std::uint32_t width, std::uint32_t height, std::uint32_t compression, const std::string& packed) {
    constexpr std::uint32_t kStart = 8;
    const std::uint64_t offsets = kStart + packed.size();
    const std::uint64_t counts = offsets + 4 * std::uint64_t{height};
    std::string file("II*\0", 4);
    Put(file, counts + 4 * std::uint64_t{height}, 4);
    file += packed;
    for (std::uint32_t i = 0; i < height; ++i) Put(file, kStart, 4);
    for (std::uint32_t i = 0; i < height; ++i) Put(file, packed.size(), 4);
    struct Entry {
        std::uint32_t Tag;
        std::uint64_t Value;
        std::uint32_t Count = 1;
    };
    const std::vector<Entry> entries = {{TIFFTAG_IMAGEWIDTH, width},
                                        {TIFFTAG_IMAGELENGTH, height},
                                        {TIFFTAG_BITSPERSAMPLE, 32},
                                        {TIFFTAG_COMPRESSION, compression},
                                        {TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISBLACK},
                                        {TIFFTAG_STRIPOFFSETS, offsets, height},
                                        {TIFFTAG_SAMPLESPERPIXEL, 1},
                                        {TIFFTAG_ROWSPERSTRIP, 1},
                                        {TIFFTAG_STRIPBYTECOUNTS, counts, height},
                                        {TIFFTAG_SAMPLEFORMAT, SAMPLEFORMAT_IEEEFP}};
    Put(file, entries.size(), 2);
    for (const Entry& entry : entries) {
        Put(file, entry.Tag, 2);
        Put(file, entry.Count == 1 && entry.Value < 65536 ? TIFF_SHORT : TIFF_LONG, 2);
        Put(file, entry.Count, 4);
        Put(file, entry.Value, 4);
    }
    Put(file, 0, 4);
    return file;
}

std::string RefusalOf(const std::string& path) {
    try {
        app::LoadHeightMap(path);
    } catch (const app::Failure& failure) {
        return failure.what();
    }
    return "none";
}

/// Overwrites a number of 16 or 32 bits in the first directory.
void SetTag(std::string& file, std::uint32_t tag, std::uint32_t value) {
    std::size_t directory = 0;
    for (std::size_t i = 8; i-- > 4;) directory = directory << 8 | static_cast<std::uint8_t>(file.at(i));
    std::string start;
    Put(start, tag, 2);
    std::size_t at = directory + 2;
    while (file.compare(at, 2, start) != 0) at += 12;
    std::string entry = start;
    Put(entry, TIFF_LONG, 2);
    Put(entry, 1, 4);
    Put(entry, value, 4);
    file.replace(at, 12, entry);
}

TEST_F(HostileFiles, OfHeightsOfSizesThatCannotBeAreRefused) {
    app::SaveHeightMap(Path("good.tif"), {3, 2, {0, 1, 2, 3, 4, 5}}, "");
    for (const std::uint32_t tag : std::array<std::uint32_t, 2>{TIFFTAG_IMAGEWIDTH, TIFFTAG_IMAGELENGTH})
        for (const std::uint32_t size : {0U, 0x7FFFFFFFU, 0x80000000U, 0xFFFFFFFEU, 0xFFFFFFFFU}) {
            SCOPED_TRACE(testing::Message() << "tag " << tag << ", " << size);
            std::string file = Read("good.tif");
            SetTag(file, TIFFTAG_ROWSPERSTRIP, 0xFFFFFFFFU); // of any height
            SetTag(file, tag, size);
            Write("size.tif", file);
            const std::string refusal = RefusalOf(Path("size.tif"));
            EXPECT_TRUE(refusal.starts_with(Path("size.tif") + ": ")) << refusal;
            if (size != 0) { // on which libtiff has a word of its own
                EXPECT_EQ(refusal, Path("size.tif") + ": size out of range");
            }
            ExpectRefused({"noisecut", Path("size.tif"), Path("good.png"), "-o", Out("cut.tif")}, "size.tif");
        }
}

TEST_F(HostileFiles, OfHeightsFarLargerThanTheFileAreRefused) {
    const std::string claim = "claims far more heights than the file can hold";
    // 8 bytes a height, below 16 MiB or 3072 times the file.
    Write("claim.tif", StripsOf(200'000, 10, COMPRESSION_ADOBE_DEFLATE, "nothing packed"));
    EXPECT_EQ(RefusalOf(Path("claim.tif")).find(claim), std::string::npos) << RefusalOf(Path("claim.tif"));
    Write("claim.tif", StripsOf(210'000, 10, COMPRESSION_ADOBE_DEFLATE, "nothing packed"));
    EXPECT_NE(RefusalOf(Path("claim.tif")).find(claim), std::string::npos) << RefusalOf(Path("claim.tif"));
    ExpectRefused({"compare", Path("claim.tif"), Path("claim.tif")}, "claim.tif");
    Write("claim.tif", StripsOf(4'000'000, 10, COMPRESSION_LZW, std::string(100'000, '\0')));
    EXPECT_NE(RefusalOf(Path("claim.tif")).find(claim), std::string::npos) << RefusalOf(Path("claim.tif"));
    // Each of the strips would be read as a whole.
    for (const std::uint32_t compression : std::array<std::uint32_t, 2>{COMPRESSION_NONE, COMPRESSION_LZW}) {
        Write("shared.tif", StripsOf(1, 10'000, compression, std::string(900'000, '\0')));
        EXPECT_NE(RefusalOf(Path("shared.tif")).find("strips that share their bytes"), std::string::npos)
            << RefusalOf(Path("shared.tif"));
    }
}

TEST_F(HostileFiles, AreNotTakenForFlatHeights) {
    constexpr std::uint32_t kFlatWidth = 4000;
    constexpr std::uint32_t kFlatHeight = 3000;
    for (const int compression : {COMPRESSION_ADOBE_DEFLATE, COMPRESSION_LZW}) {
        {
            const std::unique_ptr<TIFF, void (*)(TIFF*)> tiff(TIFFOpen(Path("flat.tif").c_str(), "w"), TIFFClose);
            ASSERT_TRUE(tiff);
            TIFFSetField(tiff.get(), TIFFTAG_IMAGEWIDTH, kFlatWidth);
            TIFFSetField(tiff.get(), TIFFTAG_IMAGELENGTH, kFlatHeight);
            TIFFSetField(tiff.get(), TIFFTAG_BITSPERSAMPLE, 32);
            TIFFSetField(tiff.get(), TIFFTAG_SAMPLESPERPIXEL, 1);
            TIFFSetField(tiff.get(), TIFFTAG_SAMPLEFORMAT, SAMPLEFORMAT_IEEEFP);
            TIFFSetField(tiff.get(), TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISBLACK);
            TIFFSetField(tiff.get(), TIFFTAG_COMPRESSION, compression);
            TIFFSetField(tiff.get(), TIFFTAG_ROWSPERSTRIP, kFlatHeight);
            std::vector<float> row(kFlatWidth);
            for (std::uint32_t y = 0; y < kFlatHeight; ++y)
                ASSERT_EQ(TIFFWriteScanline(tiff.get(), row.data(), y, 0), 1);
        }
        ASSERT_LT(fs::file_size(Path("flat.tif")), std::size_t{kFlatWidth} * kFlatHeight * sizeof(float) / 900);
        EXPECT_EQ(RefusalOf(Path("flat.tif")), "none") << compression;
    }
}

TEST_F(HostileFiles, OfHeightsAreRefusedAtEveryByteThatIsMissing) {
    const std::vector<double> values = {0, 1, 2, 3, 4, 5};
    app::SaveHeightMap(Path("good.tif"), {3, 2, values}, "unit=um");
    const std::string good = Read("good.tif");
    for (std::size_t bytes = 0; bytes < good.size(); ++bytes) {
        Write("cut.tif", good.substr(0, bytes));
        const std::string refusal = RefusalOf(Path("cut.tif"));
        // The end of the directory, which no reader needs, may be missing.
        if (bytes + 12 >= good.size() && refusal == "none")
            EXPECT_EQ(app::LoadHeightMap(Path("cut.tif")).Values, values) << bytes;
        else
            EXPECT_TRUE(refusal.starts_with(Path("cut.tif") + ": ")) << bytes << " of " << good.size() << refusal;
    }
}

TEST_F(HostileFiles, OfHeightsAreRefusedAtEveryHeightThatIsMissing) {
    app::SaveHeightMap(Path("good.tif"), {3, 2, {0, 1, 2, 3, 4, 5}}, "unit=um");
    const std::string good = Read("good.tif");
    std::string file = good;
    const std::size_t moved = good.size(); // behind the directory
    SetTag(file, TIFFTAG_STRIPOFFSETS, static_cast<std::uint32_t>(moved));
    file.append(good, 8, 6 * sizeof(float));
    Write("moved.tif", file);
    EXPECT_EQ(app::LoadHeightMap(Path("moved.tif")).Values, (std::vector<double>{0, 1, 2, 3, 4, 5}));
    for (std::size_t bytes = moved; bytes < file.size(); ++bytes) {
        Write("cut.tif", file.substr(0, bytes));
        const std::string refusal = RefusalOf(Path("cut.tif"));
        EXPECT_TRUE(refusal.starts_with(Path("cut.tif") + ": ")) << bytes << " of " << file.size() << ' ' << refusal;
    }
}

TEST_F(HostileFiles, OfHeightsAsTextAreRefusedOrEndWhereTheyAreCut) {
    const std::vector<fs::path> frames = {"a.png", "b.png", "c.png"};
    // The last height may lose its last digit, and its line end.
    for (const std::string& text : {std::string("10\n20\n30\n"), std::string("b.png,20\nc.png,30\na.png 10\n")}) {
        for (std::size_t bytes = 0; bytes <= text.size(); ++bytes) {
            SCOPED_TRACE(testing::Message() << bytes << " of " << text);
            Write("z.txt", text.substr(0, bytes));
            try {
                const std::vector<double> heights = app::ReadHeights(Path("z.txt"), frames);
                EXPECT_GE(bytes + 2, text.size());
                EXPECT_EQ(heights[1], 20);
                EXPECT_EQ(heights.size(), 3U);
            } catch (const app::Failure& failure) {
                EXPECT_LT(bytes + 2, text.size());
                EXPECT_TRUE(std::string(failure.what()).starts_with(Path("z.txt") + ":")) << failure.what();
            }
        }
    }
}

TEST_F(HostileFiles, OfParametersTellWhatStandsBeforeTheCut) {
    KyfFocusCompositionParameter settings{};
    KyfLoadFocusCompositionParameter(&settings, app::WidePath(Path("none.ini")).c_str());
    KyfSaveFocusCompositionParameter(&settings, app::WidePath(Path("good.ini")).c_str());
    const std::string good = Read("good.ini");
    const std::size_t section = good.find(']');
    ASSERT_NE(section, std::string::npos);
    for (std::size_t bytes = 0; bytes <= good.size(); ++bytes) {
        SCOPED_TRACE(testing::Message() << bytes << " of " << good.size());
        Write("cut.ini", good.substr(0, bytes));
        if (bytes <= section) {
            EXPECT_THROW(app::ReadParameterFile(Path("cut.ini")), app::Failure);
            continue;
        }
        for (const app::ParameterEntry& entry : app::ReadParameterFile(Path("cut.ini")).Entries) {
            SCOPED_TRACE(entry.Key->Name);
            const std::size_t line = good.find(std::string("\n").append(entry.Key->Name).append("=")) + 1;
            ASSERT_NE(line, 0U);
            if (good.find('\n', line) < bytes) {
                EXPECT_EQ(entry.From, app::ParameterEntry::Source::File);
                EXPECT_EQ(entry.Value, entry.Key->Field(settings));
            } else if (bytes <= good.find('=', line)) {
                EXPECT_EQ(entry.From, app::ParameterEntry::Source::Missing);
            }
        }
    }
}

// A device has no end, and a pipe without a writer would be waited for.
TEST_F(HostileFiles, WithoutEndInThePlaceOfHeightsEndTheRun) {
    Save("second.png", 4);
    const ProgramResult result =
        test::RunProgram({"compose", Path("good.png"), Path("second.png"), "-o", Out("sharp.png"), "--heights",
                          "/dev/zero", "--height-map", Out("z.tif"), "--progress", "none"});
    EXPECT_EQ(result.Status, 1) << result.Errors;
    EXPECT_NE(result.Errors.find("/dev/zero: too large for heights"), std::string::npos) << result.Errors;
    app::SaveHeightMap(Path("good.tif"), {3, 2, {0, 1, 2, 3, 4, 5}}, "");
    for (const char* const name : {"pipe.tif", "pipe.npy"}) {
        ASSERT_EQ(mkfifo(Path(name).c_str(), 0600), 0);
        ExpectRefused({"noisecut", Path(name), Path("good.png"), "-o", Out("cut.tif")}, name);
        const ProgramResult compared = test::RunProgram({"compare", Path("good.tif"), Path(name)});
        EXPECT_EQ(compared.Status, 1) << compared.Errors;
        EXPECT_THROW(app::LoadNpy(Path(name)), app::Failure);
    }
}

} // namespace

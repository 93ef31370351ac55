/// TIFF files made with the library itself: kinds that few programs write, and hostile ones.
#include "imaging/codec_files.h"

#include <array>
#include <functional>
#include <initializer_list>

#include <tiffio.h>

namespace {

using test::Bytes;
using test::Image;

constexpr std::uint32_t kWidth = 19;
constexpr std::uint32_t kHeight = 11;

std::uint8_t Noise(std::size_t i) { return static_cast<std::uint8_t>((i * 2654435761u) >> 13); }

/// The samples of one strip that holds a whole page, row by row.
template <typename T> std::vector<T> NoiseSamples(std::size_t samples) {
    std::vector<T> strip(samples * kWidth * kHeight);
    for (std::size_t i = 0; i < strip.size(); ++i) strip[i] = static_cast<T>(Noise(2 * i) << 8 | Noise(2 * i + 1));
    return strip;
}

struct Page {
    int Bits = 8;
    int Samples = 1;
    int Photometric = PHOTOMETRIC_MINISBLACK;
    int Compression = COMPRESSION_NONE;
    int Planar = PLANARCONFIG_CONTIG;
    int SampleFormat = SAMPLEFORMAT_UINT;
    const char* Mode = "w";
};

/// A page in one strip, or one strip for each plane.
Bytes MakeTiff(const Page& page, const void* samples, std::size_t bytes, const std::function<void(TIFF*)>& more = {}) {
    const test::TemporaryFolder folder;
    const std::string name = (folder.Path() / "a.tif").string();
    TIFF* const tiff = TIFFOpen(name.c_str(), page.Mode);
    TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, kWidth);
    TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, kHeight);
    TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, kHeight);
    TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, page.Bits);
    TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, page.Samples);
    TIFFSetField(tiff, TIFFTAG_COMPRESSION, page.Compression);
    TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, page.Photometric);
    TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, page.Planar);
    TIFFSetField(tiff, TIFFTAG_SAMPLEFORMAT, page.SampleFormat);
    if (more) more(tiff);
    const std::size_t strips = page.Planar == PLANARCONFIG_SEPARATE ? static_cast<std::size_t>(page.Samples) : 1;
    Bytes copy(static_cast<const std::uint8_t*>(samples), static_cast<const std::uint8_t*>(samples) + bytes);
    for (std::size_t s = 0; s < strips; ++s)
        EXPECT_GE(TIFFWriteEncodedStrip(tiff, static_cast<std::uint32_t>(s), copy.data() + s * (bytes / strips),
                                        static_cast<tmsize_t>(bytes / strips)),
                  0);
    TIFFClose(tiff);
    return test::ReadFile(name);
}

template <typename T>
Bytes MakeTiff(const Page& page, const std::vector<T>& samples, const std::function<void(TIFF*)>& more = {}) {
    return MakeTiff(page, samples.data(), samples.size() * sizeof(T), more);
}

/// Planes of the first `channels` of interleaved samples.
template <typename T>
std::vector<std::int32_t> Planes(const std::vector<T>& samples, std::size_t stride, std::size_t channels) {
    std::vector<std::int32_t> planes;
    for (std::size_t c = 0; c < channels; ++c)
        for (std::size_t i = c; i < samples.size(); i += stride) planes.push_back(samples[i]);
    return planes;
}

void ExpectSamples(const Bytes& file, std::int32_t format, const std::vector<std::int32_t>& samples) {
    const Image image = test::LoadBytes(file);
    ASSERT_TRUE(image) << test::LastReason();
    EXPECT_EQ(format, image->Format);
    EXPECT_TRUE(test::SameValues(samples, test::ToPlanes(*image)));
}

void ExpectRefused(const Bytes& file, const std::string& reason) {
    EXPECT_FALSE(test::LoadBytes(file));
    EXPECT_NE(test::LastReason().find(reason), std::string::npos) << "said: " << test::LastReason();
}

template <typename T> void ExpectFurtherSamplesDropped(std::int32_t gray, std::int32_t colour) {
    for (const int compression : {COMPRESSION_NONE, COMPRESSION_LZW}) {
        for (const char* mode : {"w", "wb", "w8"}) {
            Page page{.Bits = sizeof(T) * 8, .Samples = 2, .Compression = compression, .Mode = mode};
            const std::vector<T> two = NoiseSamples<T>(2);
            ExpectSamples(MakeTiff(page, two), gray, Planes(two, 2, 1));
            page.Photometric = PHOTOMETRIC_RGB;
            for (const int count : {4, 5}) {
                page.Samples = count;
                const auto stride = static_cast<std::size_t>(count);
                const std::vector<T> more = NoiseSamples<T>(stride);
                ExpectSamples(MakeTiff(page, more), colour, Planes(more, stride, 3));
            }
        }
    }
}

TEST(TiffCodec, DropsSamplesBehindGrayAndColour) {
    ExpectFurtherSamplesDropped<std::uint8_t>(KyiFormatGray8, KyiFormatBgr24);
    ExpectFurtherSamplesDropped<std::uint16_t>(KyiFormatGray16, KyiFormatBgr48);
}

TEST(TiffCodec, ReadsPlanesOf16Bits) {
    for (const int compression : {COMPRESSION_NONE, COMPRESSION_ADOBE_DEFLATE}) {
        for (const char* mode : {"wl", "wb"}) {
            const Page page{.Bits = 16,
                            .Samples = 4,
                            .Photometric = PHOTOMETRIC_RGB,
                            .Compression = compression,
                            .Planar = PLANARCONFIG_SEPARATE,
                            .Mode = mode};
            const std::vector<std::uint16_t> planes = NoiseSamples<std::uint16_t>(4);
            ExpectSamples(MakeTiff(page, planes), KyiFormatBgr48,
                          {planes.begin(), planes.begin() + 3 * kWidth * kHeight});
        }
    }
}

TEST(TiffCodec, KeepsRowsAsStoredWhateverTheOrientation) {
    const std::vector<std::uint8_t> samples = NoiseSamples<std::uint8_t>(1);
    const Bytes file =
        MakeTiff({}, samples, [](TIFF* tiff) { TIFFSetField(tiff, TIFFTAG_ORIENTATION, ORIENTATION_BOTLEFT); });
    ExpectSamples(file, KyiFormatGray8, Planes(samples, 1, 1));
}

TEST(TiffCodec, TurnsInksIntoLight) {
    std::vector<std::uint8_t> inks(4 * kWidth * kHeight, 0);
    for (std::size_t i = 0; i < kWidth; ++i) inks[4 * i] = 255; // first row cyan, the rest white
    const Image image = test::LoadBytes(MakeTiff({.Samples = 4, .Photometric = PHOTOMETRIC_SEPARATED}, inks));
    ASSERT_TRUE(image) << test::LastReason();
    ASSERT_EQ(KyiFormatBgr24, image->Format);
    std::array<std::int32_t, 3> pixel{};
    KyiGetPixelDataRGB(image.get(), 3, 0, pixel.data());
    EXPECT_EQ((std::array<std::int32_t, 3>{0, 255, 255}), pixel);
    KyiGetPixelDataRGB(image.get(), 3, 1, pixel.data());
    EXPECT_EQ((std::array<std::int32_t, 3>{255, 255, 255}), pixel);
}

TEST(TiffCodec, ReadsJpegDataAsColour) {
    const std::vector<std::uint8_t> green = [] {
        std::vector<std::uint8_t> samples(3 * kWidth * kHeight, 20);
        for (std::size_t i = 1; i < samples.size(); i += 3) samples[i] = 200;
        return samples;
    }();
    const Page page{.Samples = 3, .Photometric = PHOTOMETRIC_YCBCR, .Compression = COMPRESSION_JPEG};
    const Bytes file = MakeTiff(page, green, [](TIFF* tiff) {
        TIFFSetField(tiff, TIFFTAG_JPEGCOLORMODE, JPEGCOLORMODE_RGB);
        TIFFSetField(tiff, TIFFTAG_JPEGQUALITY, 95);
    });
    const Image image = test::LoadBytes(file);
    ASSERT_TRUE(image) << test::LastReason();
    const std::vector<std::int32_t> planes = test::ToPlanes(*image);
    const std::size_t size = kWidth * kHeight;
    for (std::size_t i = 0; i < size; ++i) {
        EXPECT_NEAR(20, planes[i], 3);
        EXPECT_NEAR(200, planes[size + i], 3);
        EXPECT_NEAR(20, planes[2 * size + i], 3);
    }
}

TEST(TiffCodec, RefusesJpegDataWhoseRestWouldHaveToBeGuessed) {
    const std::vector<std::uint8_t> noise = NoiseSamples<std::uint8_t>(1);
    Bytes file = MakeTiff({.Compression = COMPRESSION_JPEG}, noise);
    ASSERT_TRUE(test::LoadBytes(file)) << test::LastReason();
    const std::size_t directory = file[4] + 256u * file[5]; // behind the only strip
    for (std::size_t i = directory / 2; i + 1 < directory; i += 2) {
        file[i] = 0xff; // the mark of the end
        file[i + 1] = 0xd9;
    }
    ExpectRefused(file, "premature end");
}

TEST(TiffCodec, RefusesSamplesThatItDoesNotKnow) {
    const std::vector<std::uint32_t> four = NoiseSamples<std::uint32_t>(1);
    ExpectRefused(MakeTiff({.Bits = 32, .SampleFormat = SAMPLEFORMAT_IEEEFP}, four), "floating-point");
    ExpectRefused(MakeTiff({.Bits = 32}, four), "32 bits");
    ExpectRefused(MakeTiff({.Bits = 16, .SampleFormat = SAMPLEFORMAT_INT}, NoiseSamples<std::uint16_t>(1)), "signed");
    const Bytes packed((12 * kWidth + 7) / 8 * kHeight);
    ExpectRefused(MakeTiff({.Bits = 12}, packed), "12 bits");
}

/// Finds the tag's entry in a little-endian classic file and sets its value.
void SetTag(Bytes& file, int tag, std::uint32_t value) {
    const auto get = [&](std::size_t at, int count) {
        std::uint32_t number = 0;
        for (int i = 0; i < count; ++i)
            number |= static_cast<std::uint32_t>(file.at(at + static_cast<std::size_t>(i))) << (8 * i);
        return number;
    };
    const std::size_t directory = get(4, 4);
    for (std::size_t i = 0; i < get(directory, 2); ++i) {
        const std::size_t entry = directory + 2 + 12 * i;
        if (get(entry, 2) != static_cast<std::uint32_t>(tag)) continue;
        test::PutAt(file, entry + 2, 4, 2); // 32 bits
        test::PutAt(file, entry + 8, value);
        return;
    }
    FAIL() << "no tag " << tag;
}

TEST(TiffCodec, RefusesHeadersThatCannotBe) {
    const std::vector<std::uint8_t> samples = NoiseSamples<std::uint8_t>(1);
    for (const int compression : {COMPRESSION_NONE, COMPRESSION_LZW, COMPRESSION_ADOBE_DEFLATE}) {
        const Bytes good = MakeTiff({.Compression = compression}, samples);
        ASSERT_TRUE(test::LoadBytes(good));
        for (const std::uint32_t size : {0u, 0x7fffffffu, 0x80000000u, 0xffffffffu, 70000u}) {
            for (const int tag : {TIFFTAG_IMAGEWIDTH, TIFFTAG_IMAGELENGTH}) {
                SCOPED_TRACE(testing::Message() << "tag " << tag << ", " << size << ", compression " << compression);
                Bytes file = good;
                SetTag(file, tag, size);
                EXPECT_FALSE(test::LoadBytes(file));
            }
        }
        Bytes square = good;
        SetTag(square, TIFFTAG_IMAGEWIDTH, 65536);
        SetTag(square, TIFFTAG_IMAGELENGTH, 65536);
        SetTag(square, TIFFTAG_ROWSPERSTRIP, 1);
        EXPECT_FALSE(test::LoadBytes(square));
        for (const std::uint32_t value : {0xffffffffu, 1000000u}) {
            Bytes file = good;
            SetTag(file, TIFFTAG_STRIPOFFSETS, value);
            EXPECT_FALSE(test::LoadBytes(file));
        }
    }
}

TEST(TiffCodec, RefusesStripsThatShareTheirBytes) {
    // 4000 rows of 5000 bytes that all lie at one place: a small file, a large image.
    const test::TemporaryFolder folder;
    const std::string name = (folder.Path() / "a.tif").string();
    TIFF* const tiff = TIFFOpen(name.c_str(), "w");
    constexpr std::uint32_t kRows = 4000;
    TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, 5000);
    TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, kRows);
    TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, 1);
    TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, 8);
    TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISBLACK);
    Bytes row(5000, 7);
    TIFFWriteRawStrip(tiff, 0, row.data(), 5000);
    std::uint64_t* offsets = nullptr;
    std::uint64_t* counts = nullptr;
    TIFFGetField(tiff, TIFFTAG_STRIPOFFSETS, &offsets);
    TIFFGetField(tiff, TIFFTAG_STRIPBYTECOUNTS, &counts);
    for (std::uint32_t i = 1; i < kRows; ++i) {
        offsets[i] = offsets[0];
        counts[i] = counts[0];
    }
    TIFFClose(tiff);
    ExpectRefused(test::ReadFile(name), "overlap");
}

} // namespace

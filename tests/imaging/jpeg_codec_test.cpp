/// JPEG files made with the library itself: kinds that few programs write, and hostile ones.
#include "imaging/codec_files.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>

#include <jpeglib.h>

namespace {

using test::Bytes;
using test::Image;

constexpr std::uint32_t kWidth = 19;
constexpr std::uint32_t kHeight = 11;

std::uint8_t Noise(std::size_t i) { return static_cast<std::uint8_t>((i * 2654435761u) >> 13); }

void ExpectRefused(const Bytes& file, const std::string& reason) {
    EXPECT_FALSE(test::LoadBytes(file));
    EXPECT_NE(test::LastReason().find(reason), std::string::npos) << "said: " << test::LastReason();
}

struct JpegOptions {
    J_COLOR_SPACE Colours = JCS_RGB;
    int Components = 3;
    bool Arithmetic = false;
    bool Adobe = false;
    unsigned RestartEvery = 0; ///< blocks of the picture
    Bytes Marker{};            ///< of kind 0xe1
};

Bytes MakeJpeg(const JpegOptions& options, const Bytes& samples) {
    jpeg_compress_struct codec{};
    jpeg_error_mgr errors{};
    codec.err = jpeg_std_error(&errors);
    jpeg_create_compress(&codec);
    unsigned char* memory = nullptr;
    unsigned long size = 0;
    jpeg_mem_dest(&codec, &memory, &size);
    codec.image_width = kWidth;
    codec.image_height = kHeight;
    codec.input_components = options.Components;
    codec.in_color_space = options.Colours;
    jpeg_set_defaults(&codec);
    jpeg_set_quality(&codec, 100, TRUE);
    codec.arith_code = options.Arithmetic ? TRUE : FALSE;
    codec.write_Adobe_marker = options.Adobe ? TRUE : FALSE;
    codec.restart_interval = options.RestartEvery;
    jpeg_start_compress(&codec, TRUE);
    if (!options.Marker.empty())
        jpeg_write_marker(&codec, JPEG_APP0 + 1, options.Marker.data(), static_cast<unsigned>(options.Marker.size()));
    Bytes row(kWidth * static_cast<std::size_t>(options.Components));
    for (std::size_t y = 0; y < kHeight; ++y) {
        std::copy_n(samples.begin() + static_cast<std::ptrdiff_t>(y * row.size()), row.size(), row.begin());
        JSAMPROW pointer = row.data();
        jpeg_write_scanlines(&codec, &pointer, 1);
    }
    jpeg_finish_compress(&codec);
    Bytes file(memory, memory + size);
    jpeg_destroy_compress(&codec);
    std::free(memory);
    return file;
}

Bytes Flat(std::initializer_list<std::uint8_t> pixel) {
    Bytes samples;
    for (std::size_t i = 0; i < kWidth * kHeight; ++i) samples.insert(samples.end(), pixel);
    return samples;
}

void ExpectFlat(const Bytes& file, std::array<int, 3> expected) {
    const Image image = test::LoadBytes(file);
    ASSERT_TRUE(image) << test::LastReason();
    ASSERT_EQ(KyiFormatBgr24, image->Format);
    const std::vector<std::int32_t> planes = test::ToPlanes(*image);
    for (std::size_t i = 0; i < planes.size(); ++i) ASSERT_NEAR(expected[i / (kWidth * kHeight)], planes[i], 2);
}

TEST(JpegCodec, PutsRedGreenAndBlueInTheirPlaces) {
    ExpectFlat(MakeJpeg({}, Flat({200, 100, 30})), {200, 100, 30});
    ExpectFlat(MakeJpeg({.Arithmetic = true}, Flat({200, 100, 30})), {200, 100, 30});
}

TEST(JpegCodec, TurnsInksIntoLight) {
    ExpectFlat(MakeJpeg({.Colours = JCS_CMYK, .Components = 4, .Adobe = true}, Flat({255, 128, 0, 255})),
               {255, 128, 0});
    ExpectFlat(MakeJpeg({.Colours = JCS_CMYK, .Components = 4, .Adobe = true}, Flat({255, 128, 0, 128})), {128, 64, 0});
    ExpectFlat(MakeJpeg({.Colours = JCS_CMYK, .Components = 4}, Flat({0, 127, 255, 0})), {255, 128, 0});
}

TEST(JpegCodec, LeavesTheOrientationOfCamerasAlone) {
    // An EXIF block that tells a quarter turn.
    const Bytes exif{'E', 'x',  'i', 'f', 0, 0, 'M', 'M', 0, 42, 0, 0, 0, 8, 0, 1,
                     1,   0x12, 0,   3,   0, 0, 0,   1,   0, 6,  0, 0, 0, 0, 0, 0};
    const Image image = test::LoadBytes(MakeJpeg({.Marker = exif}, Flat({1, 2, 3})));
    ASSERT_TRUE(image) << test::LastReason();
    EXPECT_EQ(static_cast<std::int32_t>(kWidth), image->Width);
    EXPECT_EQ(static_cast<std::int32_t>(kHeight), image->Height);
}

TEST(JpegCodec, RefusesHeadersThatClaimFarTooMuch) {
    Bytes file = MakeJpeg({}, Flat({1, 2, 3}));
    for (std::size_t i = 0; i + 9 < file.size(); ++i) {
        if (file[i] != 0xff || file[i + 1] != 0xc0) continue;
        file[i + 5] = file[i + 7] = 0xff; // 65000 x 65000
        file[i + 6] = file[i + 8] = 0;
        return ExpectRefused(file, "larger than");
    }
    FAIL() << "no frame header";
}

TEST(JpegCodec, RefusesDamagedData) {
    Bytes samples(3 * kWidth * kHeight);
    for (std::size_t i = 0; i < samples.size(); ++i) samples[i] = Noise(i);
    const Bytes good = MakeJpeg({.RestartEvery = 1}, samples);
    ASSERT_TRUE(test::LoadBytes(good));
    Bytes file = good;
    for (std::size_t i = 0; i + 1 < good.size(); ++i)
        if (file[i] == 0xff && file[i + 1] >= 0xd0 && file[i + 1] <= 0xd7) file[i + 1] = 0xd7; // restarts out of turn
    ASSERT_NE(good, file);
    ExpectRefused(file, "damaged JPEG");
}

} // namespace

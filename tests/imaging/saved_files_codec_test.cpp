/// What is saved loads again.
#include "imaging/codec_files.h"

#include <cmath>
#include <cstring>

#include "imaging/shapes.h"

namespace {

using test::Image;

/// The format that a file of another program has: the plain word of the same samples.
std::int32_t PlainFormat(std::int32_t format) {
    const bool wide = KyiGetMaxVal(format) == 65535;
    if (KyiIsFormatBgr(format)) return wide ? KyiFormatBgr48 : KyiFormatBgr24;
    return wide ? KyiFormatGray16 : KyiFormatGray8;
}

TEST(SavedBitmap, LoadsPixelForPixelWithItsFormat) {
    for (const std::int32_t format : test::AllFormats()) {
        for (const test::Shape& shape : test::kAwkwardShapes) {
            SCOPED_TRACE(test::Describe(shape, format));
            const Image image = test::RandomImage(shape.Width, shape.Height, format, 3);
            const Image loaded = test::SaveAndLoad(*image, ".bmp");
            ASSERT_TRUE(loaded) << test::LastReason();
            ASSERT_TRUE(test::SameImage(*image, *loaded));
            EXPECT_EQ(image->LineBytes, loaded->LineBytes);
            // Unused samples too.
            for (std::int32_t y = 0; y < shape.Height; ++y)
                ASSERT_EQ(0, std::memcmp(KyiGetPixelAddress(image.get(), 0, y), KyiGetPixelAddress(loaded.get(), 0, y),
                                         static_cast<std::size_t>(shape.Width * image->PixelBytes)));
        }
    }
}

TEST(SavedBitmap, LoadsThroughTheBitmapCallToo) {
    const test::TemporaryFolder folder;
    const Image image = test::RandomImage(5, 4, KyiFormatBgr48Second, 1);
    ASSERT_TRUE(test::SaveFile(folder.Path() / "a.bmp", *image));
    KyiImageData* loaded = nullptr;
    ASSERT_TRUE(KyiLoadBitmap32((folder.Path() / "a.bmp").wstring().c_str(), &loaded));
    EXPECT_TRUE(test::SameImage(*image, *Image(loaded)));
}

bool Reload(const std::filesystem::path& file, KyiImageData& image) {
    return KyiReloadBitmap32(file.wstring().c_str(), &image) != 0;
}

TEST(ReloadBitmap32, OverwritesAnImageWithWhatALoadWouldGive) {
    const test::TemporaryFolder folder;
    const std::filesystem::path file = folder.Path() / "a.bmp";
    for (const std::int32_t format : test::AllFormats()) {
        for (const test::Shape& shape : test::kAwkwardShapes) {
            SCOPED_TRACE(test::Describe(shape, format));
            const Image image = test::RandomImage(shape.Width, shape.Height, format, 3);
            const Image kept = test::RandomImage(shape.Width, shape.Height, format, 4);
            ASSERT_TRUE(test::SaveFile(file, *image));
            const void* const pixels = kept->Pixels;
            ASSERT_TRUE(Reload(file, *kept));
            EXPECT_EQ(pixels, kept->Pixels);
            EXPECT_TRUE(test::SameImage(*image, *kept));
        }
    }
}

TEST(ReloadBitmap32, RefusesFilesOfAnotherKindAndSaysNothing) {
    const test::TemporaryFolder folder;
    const std::filesystem::path file = folder.Path() / "a.bmp";
    const Image kept = test::RandomImage(8, 5, KyiFormatBgr24, 1);
    const Image before = test::RandomImage(8, 5, KyiFormatBgr24, 1);
    const auto refused = [&] { return !Reload(file, *kept) && test::SameImage(*before, *kept); };
    const std::string reason = test::LastReason();
    EXPECT_TRUE(refused()) << "no file";
    for (const Image& other :
         {test::RandomImage(7, 5, KyiFormatBgr24, 2), test::RandomImage(8, 6, KyiFormatBgr24, 2),
          test::RandomImage(8, 5, KyiFormatGray8, 2), test::RandomImage(8, 5, KyiFormatBgr24Other, 2),
          test::RandomImage(8, 5, KyiFormatBgr48, 2)}) {
        ASSERT_TRUE(test::SaveFile(file, *other));
        EXPECT_TRUE(refused()) << other->Width << " x " << other->Height << ", format " << other->Format;
    }
    test::WriteFile(file, {});
    EXPECT_TRUE(refused()) << "empty";
    ASSERT_TRUE(test::SaveFile(file, *test::RandomImage(8, 5, KyiFormatBgr24, 2)));
    std::filesystem::resize_file(file, std::filesystem::file_size(file) - 1);
    EXPECT_TRUE(refused()) << "truncated";
    EXPECT_EQ(0, KyiReloadBitmap32(nullptr, kept.get()));
    EXPECT_EQ(0, KyiReloadBitmap32(file.wstring().c_str(), nullptr));
    EXPECT_EQ(reason, test::LastReason());
}

// A palette of grays in another order is turned into samples, which the file does not hold.
TEST(ReloadBitmap32, RefusesAPaletteThatIsNoGrayRamp) {
    const test::TemporaryFolder folder;
    const std::filesystem::path file = folder.Path() / "a.bmp";
    const Image gray = test::RandomImage(8, 5, KyiFormatGray8, 1);
    ASSERT_TRUE(test::SaveFile(file, *gray));
    test::Bytes bytes = test::ReadFile(file);
    test::PutAt(bytes, 54 + 4 * 10, 0x171717); // the headers have 54 bytes
    test::WriteFile(file, bytes);
    EXPECT_FALSE(Reload(file, *gray));
}

class SavedLossless : public testing::TestWithParam<const char*> {};

TEST_P(SavedLossless, LoadsWithTheSameSamples) {
    for (const std::int32_t format : test::AllFormats()) {
        for (const test::Shape& shape : test::kAwkwardShapes) {
            SCOPED_TRACE(test::Describe(shape, format));
            const Image image = test::RandomImage(shape.Width, shape.Height, format, 5);
            const Image loaded = test::SaveAndLoad(*image, GetParam());
            ASSERT_TRUE(loaded) << test::LastReason();
            EXPECT_EQ(PlainFormat(format), loaded->Format);
            ASSERT_TRUE(test::SameValues(test::ToPlanes(*image), test::ToPlanes(*loaded)));
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Kinds, SavedLossless, testing::Values(".tif", ".TIFF", ".png", ".Png"));

TEST(SavedTiff, LoadsAcrossStrips) {
    const Image image = test::RandomImage(1031, 700, KyiFormatBgr48, 6); // 17 strips
    const Image loaded = test::SaveAndLoad(*image, ".tif");
    ASSERT_TRUE(loaded);
    EXPECT_TRUE(test::SameImage(*image, *loaded));
}

TEST(SavedJpeg, LoadsAsNearlyTheSamePicture) {
    for (const std::int32_t format : {KyiFormatGray8, KyiFormatBgr24, KyiFormatBgr32, KyiFormatBgr24Other}) {
        const Image image = test::TexturedImage(61, 47, format, 2);
        const Image loaded = test::SaveAndLoad(*image, ".jpg");
        ASSERT_TRUE(loaded) << test::LastReason();
        EXPECT_EQ(PlainFormat(format), loaded->Format);
        const std::vector<std::int32_t> expected = test::ToPlanes(*image);
        const std::vector<std::int32_t> actual = test::ToPlanes(*loaded);
        ASSERT_EQ(expected.size(), actual.size());
        double sum = 0;
        for (std::size_t i = 0; i < expected.size(); ++i) sum += std::pow(expected[i] - actual[i], 2);
        EXPECT_LT(std::sqrt(sum / static_cast<double>(expected.size())), 4.0) << "format " << format;
    }
}

TEST(SavedJpeg, DoesNotHoldWideSamplesOrLongLines) {
    const test::TemporaryFolder folder;
    EXPECT_FALSE(test::SaveFile(folder.Path() / "a.jpg", *test::RandomImage(3, 3, KyiFormatGray16, 1)));
    EXPECT_NE(test::LastReason().find("16"), std::string::npos);
    EXPECT_FALSE(test::SaveFile(folder.Path() / "a.jpeg", *test::RandomImage(65501, 1, KyiFormatGray8, 1)));
    EXPECT_NE(test::LastReason().find("65500"), std::string::npos);
    EXPECT_TRUE(std::filesystem::is_empty(folder.Path()));
}

TEST(SavedFile, IsOfTheKindThatItsNameTells) {
    const test::TemporaryFolder folder;
    const Image image = test::RandomImage(9, 9, KyiFormatBgr24, 1);
    const auto start = [&](const char* name) {
        EXPECT_TRUE(test::SaveFile(folder.Path() / name, *image));
        const test::Bytes bytes = test::ReadFile(folder.Path() / name);
        return std::string(bytes.begin(), bytes.begin() + 4);
    };
    EXPECT_EQ("BM", start("a.bmp").substr(0, 2));
    EXPECT_EQ("\x89PNG", start("a.png"));
    EXPECT_EQ(std::string("II*\0", 4), start("a.tiff"));
    EXPECT_EQ("\xff\xd8\xff", start("a.jpeg").substr(0, 3));
}

TEST(LoadedFile, IsRecognisedByItsContentWhateverItsName) {
    const test::TemporaryFolder folder;
    const Image image = test::RandomImage(9, 9, KyiFormatBgr24, 1);
    ASSERT_TRUE(test::SaveFile(folder.Path() / "a.png", *image));
    std::filesystem::rename(folder.Path() / "a.png", folder.Path() / "a.jpg");
    const Image loaded = test::LoadFile(folder.Path() / "a.jpg");
    ASSERT_TRUE(loaded);
    EXPECT_TRUE(test::SameImage(*image, *loaded));
}

} // namespace

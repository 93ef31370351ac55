#include "height_image_file.h"

#include <cstdlib>
#include <map>
#include <memory>

#include <gtest/gtest.h>
#include <png.h>

#include "errors.h"
#include "images.h"
#include "support/case_files.h"
#include "support/images.h"

namespace {

/// Text fields of a PNG file.
std::map<std::string, std::string> TextsOf(const std::filesystem::path& path) {
    std::map<std::string, std::string> texts;
    std::FILE* const file = std::fopen(path.c_str(), "rb");
    png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    png_init_io(png, file);
    png_read_info(png, info);
    png_textp fields = nullptr;
    const int count = png_get_text(png, info, &fields, nullptr);
    for (int index = 0; index < count; ++index) texts[fields[index].key] = fields[index].text;
    png_destroy_read_struct(&png, &info, nullptr);
    std::fclose(file);
    return texts;
}

TEST(SaveHeightImage, KeepsEverySample) {
    const test::TemporaryFolder folder;
    const std::filesystem::path file = folder.Path() / "z.png";
    for (const auto& [width, height] : {std::pair(1, 1), {7, 1}, {1, 7}, {65, 33}}) {
        const test::Image image = test::RandomImage(width, height, KyiFormatGray16, 7);
        app::SaveHeightImage(file, *image, {0.5, 1, "um"});
        EXPECT_TRUE(test::SameImage(*image, *app::LoadImage(file)));
    }
}

TEST(SaveHeightImage, TellsStepOffsetAndUnit) {
    const test::TemporaryFolder folder;
    const std::filesystem::path file = folder.Path() / "z.png";
    const double step = 1.0 / 3.0;
    app::SaveHeightImage(file, *test::RandomImage(4, 4, KyiFormatGray16, 1), {step, -12.25, "\xC2\xB5m"});
    std::map<std::string, std::string> texts = TextsOf(file);
    EXPECT_EQ(std::strtod(texts["Height step"].c_str(), nullptr), step);
    EXPECT_EQ(texts["Height offset"], "-12.25");
    EXPECT_EQ(texts["Height unit"], "\xC2\xB5m");
    EXPECT_EQ(texts["Description"], "height = -12.25 + sample * 0.3333333333333333, in \xC2\xB5m");
}

TEST(SaveHeightImage, SaysWhatItCannotWrite) {
    const test::TemporaryFolder folder;
    const test::Image heights = test::RandomImage(4, 4, KyiFormatGray16, 1);
    const test::Image colour = test::RandomImage(4, 4, KyiFormatBgr24, 1);
    EXPECT_THROW(app::SaveHeightImage(folder.Path() / "z.png", *colour, {}), app::Failure);
    EXPECT_THROW(app::SaveHeightImage(folder.Path() / "missing" / "z.png", *heights, {}), app::Failure);
    EXPECT_THROW(app::SaveHeightImage("/dev/full", *heights, {}), app::Failure);
}

} // namespace

#include <cmath>
#include <filesystem>
#include <limits>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "height_map_file.h"
#include "images.h"
#include "npy_file.h"
#include "run_program.h"
#include "support/case_files.h"
#include "support/images.h"

namespace {

using test::ProgramResult;
using test::RunProgram;

class CompareProgram : public testing::Test {
  protected:
    std::string Path(const std::string& name) const { return m_folder.Path() / name; }

    std::string SaveRandom(const std::string& name, int width, int height, int format, std::uint32_t seed = 1) const {
        app::SaveImage(Path(name), *test::RandomImage(width, height, format, seed));
        return Path(name);
    }

    std::string SaveHeights(const std::string& name, int width, int height, std::vector<double> values) const {
        app::SaveHeightMap(Path(name), {width, height, std::move(values)}, "test");
        return Path(name);
    }

    static void ExpectFailure(int status, const std::string& text, const ProgramResult& result) {
        EXPECT_EQ(status, result.Status);
        EXPECT_EQ("", result.Output);
        EXPECT_NE(std::string::npos, result.Errors.find(text)) << result.Errors;
        EXPECT_EQ(1U, test::LineCount(result.Errors)) << result.Errors;
    }

  private:
    test::TemporaryFolder m_folder;
};

TEST_F(CompareProgram, SaysThatEqualImagesAreEqual) {
    const std::string file = SaveRandom("a.png", 20, 15, KyiFormatBgr24);
    const ProgramResult result = RunProgram({"compare", file, file});
    EXPECT_EQ(0, result.Status) << result.Errors;
    EXPECT_NE(std::string::npos, result.Output.find("20 x 15 8-bit colour, equal\n")) << result.Output;
    EXPECT_NE(std::string::npos, result.Output.find("infinite")) << result.Output;
    EXPECT_NE(std::string::npos, result.Output.find("1.00000")) << result.Output;
}

TEST_F(CompareProgram, GivesTheFiguresAsJson) {
    const test::Image image = test::TexturedImage(20, 15, KyiFormatGray8, 3);
    app::SaveImage(Path("a.png"), *image);
    std::int32_t value = 0;
    KyiGetPixelData(image.get(), 4, 5, &value);
    KyiSetPixelData(image.get(), 4, 5, value > 100 ? value - 30 : value + 30);
    app::SaveImage(Path("b.tif"), *image);
    const ProgramResult result = RunProgram({"compare", Path("a.png"), Path("b.tif"), "--json"});
    ASSERT_EQ(0, result.Status) << result.Errors;
    const auto summary = nlohmann::json::parse(result.Output);
    EXPECT_EQ("images", summary.at("kind"));
    EXPECT_EQ(false, summary.at("equal"));
    EXPECT_EQ(30, summary.at("largest_difference"));
    EXPECT_DOUBLE_EQ(0.1, summary.at("mean_absolute_difference"));
    EXPECT_DOUBLE_EQ(value > 100 ? -0.1 : 0.1, summary.at("mean_difference"));
    EXPECT_NEAR(10.0 * std::log10(255.0 * 255.0 / 3.0), summary.at("psnr_db").get<double>(), 1e-12);
    EXPECT_LT(summary.at("ssim").get<double>(), 1.0);
}

TEST_F(CompareProgram, HasNoSignalToNoiseOfEqualAndNoSimilarityOfSmallImagesInJson) {
    const std::string file = SaveRandom("a.png", 10, 15, KyiFormatGray16);
    const ProgramResult result = RunProgram({"compare", file, file, "--json"});
    ASSERT_EQ(0, result.Status) << result.Errors;
    const auto summary = nlohmann::json::parse(result.Output);
    EXPECT_TRUE(summary.at("psnr_db").is_null());
    EXPECT_TRUE(summary.at("ssim").is_null());
    EXPECT_EQ(true, summary.at("equal"));
}

TEST_F(CompareProgram, IgnoresABorder) {
    const test::Image image = test::TexturedImage(30, 25, KyiFormatBgr24, 3);
    app::SaveImage(Path("a.png"), *image);
    const std::int32_t black[3] = {0, 0, 0};
    const std::int32_t white[3] = {255, 255, 255};
    for (int x = 0; x < 30; ++x)
        for (const int y : {0, 1, 23, 24}) KyiSetPixelDataRGB(image.get(), x, y, x % 2 == 0 ? black : white);
    for (int y = 0; y < 25; ++y)
        for (const int x : {0, 1, 28, 29}) KyiSetPixelDataRGB(image.get(), x, y, y % 2 == 0 ? black : white);
    app::SaveImage(Path("b.png"), *image);
    const auto run = [&](const char* crop) {
        return RunProgram({"compare", Path("a.png"), Path("b.png"), "--crop", crop});
    };
    EXPECT_NE(std::string::npos, run("2").Output.find("26 x 21 8-bit colour, equal\n"));
    EXPECT_EQ(std::string::npos, run("1").Output.find("equal"));
    ExpectFailure(1, "nothing is left of 30 x 25 pixels without a border of 13", run("13"));
}

TEST_F(CompareProgram, RefusesMisfitImagesByNamingBoth) {
    const std::string gray = SaveRandom("gray.png", 20, 15, KyiFormatGray8);
    const auto against = [&](const std::string& other) { return RunProgram({"compare", gray, other}); };
    ExpectFailure(1, "20 x 16 8-bit gray", against(SaveRandom("high.png", 20, 16, KyiFormatGray8)));
    ExpectFailure(1, "20 x 15 8-bit colour", against(SaveRandom("colour.png", 20, 15, KyiFormatBgr24)));
    ExpectFailure(1, "20 x 15 16-bit gray", against(SaveRandom("deep.png", 20, 15, KyiFormatGray16)));
    ExpectFailure(1, "is a height map", against(SaveHeights("map.tif", 1, 1, {1.0F})));
    ExpectFailure(1, "missing.png: ", against(Path("missing.png")));
}

TEST_F(CompareProgram, ComparesHeightMaps) {
    const std::string first = SaveHeights("a.tif", 2, 2, {0.0F, 1.0F, std::numeric_limits<double>::quiet_NaN(), 4.0F});
    const std::string second = SaveHeights("b.tif", 2, 2, {2.0F, 0.0F, 0.0F, 6.0F});
    const ProgramResult result = RunProgram({"compare", first, second, "--json"});
    ASSERT_EQ(0, result.Status) << result.Errors;
    const auto summary = nlohmann::json::parse(result.Output);
    EXPECT_EQ("heights", summary.at("kind"));
    EXPECT_DOUBLE_EQ(std::sqrt(3.0), summary.at("rmse").get<double>());
    EXPECT_DOUBLE_EQ(1.0, summary.at("mean_difference").get<double>());
    EXPECT_EQ(2.0, summary.at("largest_difference"));
    EXPECT_EQ(3, summary.at("measured"));
    EXPECT_EQ(1, summary.at("holes"));
    EXPECT_NE(std::string::npos, RunProgram({"compare", first, second}).Output.find("1.73205"));
}

TEST_F(CompareProgram, TellsTheShareOfHeightsWithinOneStep) {
    const std::string first = SaveHeights("a.tif", 5, 1, {0.0, 1.0, 2.0, 3.0, 4.0});
    const std::string second = SaveHeights("b.tif", 5, 1, {0.5, 0.5, 2.5, 4.5, 6.0}); // off by 0.5, -0.5, 0.5, 1.5, 2
    const ProgramResult result = RunProgram({"compare", first, second, "--step", "0.5", "--json"});
    ASSERT_EQ(0, result.Status) << result.Errors;
    const auto summary = nlohmann::json::parse(result.Output);
    EXPECT_DOUBLE_EQ(0.6, summary.at("within_step").get<double>());
    EXPECT_DOUBLE_EQ(std::sqrt(7.0 / 5.0), summary.at("rmse").get<double>());
    EXPECT_DOUBLE_EQ(2.0 * std::sqrt(7.0 / 5.0), summary.at("rmse_steps").get<double>());
    EXPECT_NE(std::string::npos, RunProgram({"compare", first, second, "--step", "0.5"}).Output.find("60.00 percent"));
    EXPECT_FALSE(
        nlohmann::json::parse(RunProgram({"compare", first, second, "--json"}).Output).contains("within_step"));
}

TEST_F(CompareProgram, TakesTheMeanDifferenceAwayBeforeItComparesShapes) {
    const std::string first = SaveHeights("a.tif", 4, 1, {0.0, 1.0, 2.0, 3.0});
    const std::string second = SaveHeights("b.tif", 4, 1, {10.0, 11.0, 14.0, 13.0}); // off by 10, 10, 12, 10
    const ProgramResult result = RunProgram({"compare", first, second, "--fit", "--step", "1", "--json"});
    ASSERT_EQ(0, result.Status) << result.Errors;
    const auto summary = nlohmann::json::parse(result.Output);
    EXPECT_EQ(10.5, summary.at("offset"));
    EXPECT_DOUBLE_EQ(std::sqrt(3.0) / 2.0, summary.at("rmse").get<double>()); // -0.5, -0.5, 1.5, -0.5
    EXPECT_EQ(0.0, summary.at("mean_difference"));
    EXPECT_EQ(1.5, summary.at("largest_difference"));
    EXPECT_EQ(0.75, summary.at("within_step"));
    EXPECT_NE(std::string::npos, RunProgram({"compare", first, second, "--fit"}).Output.find("+10.5, taken from B"));
}

TEST_F(CompareProgram, ReadsHeightMapsInEitherFormat) {
    const std::string tiff = SaveHeights("a.tif", 2, 1, {1.0, 2.0});
    app::SaveNpy(Path("b.npy"), {2, 1, {1.0, 4.0}});
    const auto summary = nlohmann::json::parse(RunProgram({"compare", tiff, Path("b.npy"), "--json"}).Output);
    EXPECT_EQ(2.0, summary.at("largest_difference"));
    const std::string image = SaveRandom("a.png", 2, 1, KyiFormatGray8);
    ExpectFailure(1, "b.npy is a height map", RunProgram({"compare", image, Path("b.npy")}));
    ExpectFailure(2, "--step and --fit are for height maps", RunProgram({"compare", image, image, "--fit"}));
}

TEST_F(CompareProgram, RefusesHeightMapsWithNothingInCommon) {
    constexpr double kHole = std::numeric_limits<double>::quiet_NaN();
    const std::string first = SaveHeights("a.tif", 2, 1, {kHole, 1.0F});
    ExpectFailure(1, "no pixel is measured in both",
                  RunProgram({"compare", first, SaveHeights("b.tif", 2, 1, {1.0F, kHole})}));
    ExpectFailure(1, "expected two of one size",
                  RunProgram({"compare", first, SaveHeights("c.tif", 1, 2, {1.0F, 1.0F})}));
}

TEST_F(CompareProgram, RefusesWrongUsage) {
    const std::string file = SaveRandom("a.png", 12, 12, KyiFormatGray8);
    ExpectFailure(2, "B is required", RunProgram({"compare", file}));
    ExpectFailure(2, "not expected", RunProgram({"compare", file, file, file}));
    ExpectFailure(2, "--crop", RunProgram({"compare", file, file, "--crop", "-1"}));
    ExpectFailure(2, "--crop", RunProgram({"compare", file, file, "--crop", "2.5"}));
    for (const char* const step : {"0", "-1", "nan", "x"})
        ExpectFailure(2, "--step", RunProgram({"compare", file, file, "--step", step}));
    ExpectFailure(2, "--nothing", RunProgram({"compare", file, file, "--nothing"}));
}

} // namespace

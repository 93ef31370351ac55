/// kyfocus noisecut from the outside, on files that compose wrote and on files made by hand.
#include <cmath>
#include <filesystem>
#include <iterator>
#include <limits>
#include <numeric>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "differentiation_map_file.h"
#include "height_map_file.h"
#include "images.h"
#include "npy_file.h"
#include "run_program.h"
#include "support/case_files.h"
#include "support/images.h"

namespace {

namespace fs = std::filesystem;
using test::ProgramResult;
using Names = std::vector<std::string>;

constexpr int kCutWidth = 40;
constexpr int kCutHeight = 30;
constexpr int kWeakX = 20;
constexpr int kWeakY = 10;

class NoisecutProgram : public testing::Test {
  protected:
    void SetUp() override { fs::create_directory(Path("out")); }

    std::string Path(const std::string& name) const { return m_folder.Path() / name; }
    std::string Out(const std::string& name) const { return m_folder.Path() / "out" / name; }

    static ProgramResult Noisecut(Names arguments) {
        arguments.insert(arguments.begin(), "noisecut");
        return test::RunProgram(arguments);
    }

    /// A slope of heights from `least` up by `unit` a column, with one wild height that the map judges to be weak.
    void WriteSlope(double least, double unit, int depth = 256) const {
        app::HeightMap heights{kCutWidth, kCutHeight, {}};
        app::DifferentiationMap map{kCutWidth, kCutHeight, depth, {}};
        for (int y = 0; y < kCutHeight; ++y)
            for (int x = 0; x < kCutWidth; ++x) {
                const bool isWeak = x == kWeakX && y == kWeakY;
                heights.Values.push_back(least + unit * (isWeak ? kCutWidth - 1 : x));
                map.Values.push_back(isWeak ? 3 : depth - 56);
            }
        app::SaveNpy(Path("z.npy"), heights);
        app::SaveHeightMap(Path("z.tif"), heights, "slope");
        app::SaveDifferentiationMap(Path("d.png"), map);
    }
    Names Slope(const Names& more) const {
        Names arguments{Path("z.npy"), Path("d.png")};
        arguments.insert(arguments.end(), more.begin(), more.end());
        return arguments;
    }

    void ExpectRefusal(int status, const std::string& reason, const ProgramResult& result) const {
        EXPECT_EQ(result.Status, status) << result.Errors;
        EXPECT_NE(result.Errors.find(reason), std::string::npos) << result.Errors;
        EXPECT_EQ(test::EntryNames(Path("out")), Names{});
    }

    /// A number as a stream shows it.
    static std::string ShortText(const std::string& number) {
        std::ostringstream text;
        text << std::stod(number);
        return text.str();
    }

    static double At(const app::HeightMap& map, int x, int y) {
        return map.Values[static_cast<std::size_t>(y) * kCutWidth + static_cast<std::size_t>(x)];
    }

  private:
    test::TemporaryFolder m_folder;
};

TEST_F(NoisecutProgram, FillsTheWeakPixelAndLeavesAllOthersToTheBit) {
    for (const double unit : {1.0, 1e-6, 3.7e9})
        for (const double least : {0.0, -500.0 * unit, 1000.0 * unit}) {
            WriteSlope(least, unit);
            ASSERT_EQ(Noisecut(Slope({"-o", Out("cut.npy")})).Status, 0);
            const app::HeightMap before = app::LoadNpy(Path("z.npy"));
            const app::HeightMap after = app::LoadNpy(Out("cut.npy"));
            for (int y = 0; y < kCutHeight; ++y)
                for (int x = 0; x < kCutWidth; ++x) {
                    if (x != kWeakX || y != kWeakY) {
                        ASSERT_EQ(At(after, x, y), At(before, x, y)) << x << ", " << y;
                    }
                }
            // The mean of 80 neighbours and of the pixel itself, which counts as the lowest height.
            EXPECT_NEAR((At(after, kWeakX, kWeakY) - least) / unit, 20.0 * 80.0 / 81.0, 1e-6);
        }
}

TEST_F(NoisecutProgram, FillsInThreeWays) {
    WriteSlope(7.0, 0.5);
    for (const auto& [fill, expected] : {std::pair<std::string, double>{"neighbours", 7.0 + 0.5 * 20.0 * 80.0 / 81.0},
                                         {"smallest", 7.0},
                                         {"largest", 7.0 + 0.5 * (kCutWidth - 1)}}) {
        ASSERT_EQ(Noisecut(Slope({"-o", Out("cut.npy"), "--fill", fill})).Status, 0);
        EXPECT_NEAR(At(app::LoadNpy(Out("cut.npy")), kWeakX, kWeakY), expected, 1e-6) << fill;
    }
}

// A slope is what the smoothing leaves as it is; its own rise is nothing in the unit of the map.
TEST_F(NoisecutProgram, SmoothsWithoutALift) {
    WriteSlope(1000.0, 1e-4);
    ASSERT_EQ(Noisecut(Slope({"-o", Out("cut.npy"), "--smoothing", "5"})).Status, 0);
    const app::HeightMap after = app::LoadNpy(Out("cut.npy"));
    EXPECT_NEAR(At(after, 2, 25), 1000.0 + 2e-4, 1e-7);
    EXPECT_NEAR(At(after, 37, 28), 1000.0 + 37e-4, 1e-7);
}

TEST_F(NoisecutProgram, ShowsInAPreviewWhatWouldBeCut) {
    for (const int depth : {256, 65536}) {
        WriteSlope(-3.0, 2.0, depth);
        const ProgramResult result = Noisecut(Slope({"--preview", Out("p.png"), "--cut-ratio", "0.05"}));
        ASSERT_EQ(result.Status, 0) << result.Errors;
        EXPECT_NE(result.Errors.find("1 of 1200 pixels cut"), std::string::npos) << result.Errors;
        const app::Image picture = app::LoadImage(Out("p.png"));
        ASSERT_EQ(picture->Format, KyiFormatGray16);
        const std::vector<std::int32_t> samples = test::ToPlanes(*picture);
        EXPECT_EQ(samples[kWeakY * kCutWidth + kWeakX], 65535);
        EXPECT_EQ(samples[0], 0);
        EXPECT_EQ(samples[kCutWidth - 1], 0xFE00);
        EXPECT_EQ(test::EntryNames(Path("out")), Names{"p.png"});
    }
}

TEST_F(NoisecutProgram, FillsHolesOfTheMapAsWell) {
    WriteSlope(5.0, 1.0);
    app::HeightMap heights = app::LoadNpy(Path("z.npy"));
    heights.Values[kCutWidth + 1] = std::numeric_limits<double>::quiet_NaN();
    heights.Values[kCutWidth + 9] = std::numeric_limits<double>::infinity();
    app::SaveNpy(Path("z.npy"), heights);
    for (const std::string smoothing : {"0", "4"}) {
        ASSERT_EQ(Noisecut(Slope({"-o", Out("cut.npy"), "--cut-ratio", "0", "--smoothing", smoothing})).Status, 0);
        for (const double height : app::LoadNpy(Out("cut.npy")).Values) ASSERT_TRUE(std::isfinite(height));
    }
}

TEST_F(NoisecutProgram, TakesAndWritesTiffs) {
    WriteSlope(5.0, 1.0);
    ASSERT_EQ(Noisecut({Path("z.tif"), Path("d.png"), "-o", Out("cut.tif"), "--height-picture", Out("cut.png")}).Status,
              0);
    const app::HeightMap after = app::LoadHeightMap(Out("cut.tif"));
    EXPECT_EQ(At(after, 3, 3), 8.0);
    EXPECT_EQ(test::EntryNames(Path("out")), (Names{"cut.png", "cut.tif"}));
}

TEST_F(NoisecutProgram, WorksOnWhatComposeWrites) {
    ASSERT_EQ(test::RunProgram({"synth", "-o", Path("stack"), "--size", "160x120", "--frames", "8", "--glare"}).Status,
              0);
    constexpr double kRatio = 0.75;
    constexpr int kThreshold = 191; // of 255
    for (const bool isModeGiven : {true, false}) {
        Names arguments{"compose",
                        Path("stack"),
                        "--heights",
                        Path("stack/heights.txt"),
                        "-o",
                        Path("o.png"),
                        "--height-map",
                        Path("z.npy"),
                        "--differentiation-map",
                        Path("d.png"),
                        "--json",
                        "-",
                        "--progress",
                        "none"};
        if (isModeGiven) arguments.insert(arguments.end(), {"--mode", "2d"});
        const ProgramResult composed = test::RunProgram(arguments);
        ASSERT_EQ(composed.Status, 0) << composed.Errors;
        EXPECT_EQ(nlohmann::json::parse(composed.Output).at("result").at("differentiation_map").at("file"),
                  Path("d.png"));
        const app::DifferentiationMap map = app::LoadDifferentiationMap(Path("d.png"));
        EXPECT_EQ(map.Depth, 256);
        const ProgramResult result = Noisecut(Slope({"-o", Out("cut.npy"), "--cut-ratio", std::to_string(kRatio)}));
        ASSERT_EQ(result.Status, 0) << result.Errors;
        const app::HeightMap before = app::LoadNpy(Path("z.npy"));
        const app::HeightMap after = app::LoadNpy(Out("cut.npy"));
        std::size_t cut = 0;
        std::size_t changed = 0;
        for (std::size_t i = 0; i < map.Values.size(); ++i) {
            cut += map.Values[i] < kThreshold;
            changed += after.Values[i] != before.Values[i];
            if (map.Values[i] >= kThreshold) {
                ASSERT_EQ(after.Values[i], before.Values[i]) << i;
            }
        }
        EXPECT_GT(cut, 100U);
        EXPECT_LT(cut, map.Values.size() / 2);
        EXPECT_GT(changed, cut / 2);
        EXPECT_TRUE(result.Errors.starts_with(std::to_string(cut) + " of 19200 pixels cut")) << result.Errors;
    }
    fs::remove(Out("cut.npy"));
    ExpectRefusal(2, "--differentiation-map is for --mode 2d, the mode is 3d",
                  test::RunProgram({"compose", Path("stack"), "--step", "2", "--mode", "3d", "-o", Out("o.png"),
                                    "--differentiation-map", Out("d.png")}));
    ExpectRefusal(
        2, "--differentiation-map",
        test::RunProgram({"compose", Path("stack"), "-o", Out("o.png"), "--differentiation-map", Out("d.png")}));
    ExpectRefusal(2, "unknown extension",
                  test::RunProgram({"compose", Path("stack"), "--step", "2", "-o", Out("o.png"),
                                    "--differentiation-map", Out("d.jpg")}));
}

TEST_F(NoisecutProgram, RefusesToFillWhereNothingIsLeft) {
    WriteSlope(5.0, 1.0);
    const std::string greatest = "expected a ratio of at most 0.7862"; // 200 stays from 200.5 / 255 on
    ExpectRefusal(1, greatest, Noisecut(Slope({"-o", Out("x.npy"), "--cut-ratio", "1"})));
    ExpectRefusal(1, greatest, Noisecut(Slope({"-o", Out("x.npy"), "--cut-ratio", "0.7863"})));
    ASSERT_EQ(Noisecut(Slope({"-o", Out("x.npy"), "--cut-ratio", "0.7862"})).Status, 0);
    fs::remove(Out("x.npy"));
    EXPECT_EQ(Noisecut(Slope({"--preview", Out("p.png"), "--cut-ratio", "1"})).Status, 0);
    fs::remove(Out("p.png"));
    app::SaveNpy(Path("z.npy"), {2, 1, {std::nan(""), HUGE_VAL}});
    app::SaveDifferentiationMap(Path("d.png"), {2, 1, 256, {200, 200}});
    ExpectRefusal(1, "z.npy: holds no height, only holes", Noisecut(Slope({"-o", Out("x.npy")})));
}

TEST_F(NoisecutProgram, TellsTheRangeOfTheMapAndFromWhichRatioItCuts) {
    for (const auto& [depth, range, least, below] : {std::tuple{256, "3 to 200 of 255", "0.0138", "0.0137"},
                                                     {65536, "3 to 65480 of 65535", "0.000054", "0.000053"}}) {
        WriteSlope(5.0, 1.0, depth);
        const ProgramResult none = Noisecut(Slope({"-o", Out("x.npy"), "--cut-ratio", below}));
        ASSERT_EQ(none.Status, 0) << none.Errors;
        EXPECT_EQ(none.Errors, std::string("0 of 1200 pixels cut (0.00 percent); the differentiation map runs from ") +
                                   range + "\nkyfocus: warning: nothing lies below --cut-ratio " + ShortText(below) +
                                   ": cutting begins at " + least + "\n");
        const ProgramResult one = Noisecut(Slope({"-o", Out("x.npy"), "--cut-ratio", least}));
        EXPECT_EQ(one.Errors, std::string("1 of 1200 pixels cut (0.08 percent); the differentiation map runs from ") +
                                  range + "\n");
    }
    app::SaveDifferentiationMap(Path("d.png"),
                                {kCutWidth, kCutHeight, 256, std::vector<int>(kCutWidth * kCutHeight, 255)});
    const ProgramResult result = Noisecut(Slope({"-o", Out("x.npy"), "--cut-ratio", "1"}));
    EXPECT_NE(result.Errors.find("--cut-ratio 1: no ratio cuts a map like this"), std::string::npos) << result.Errors;
}

// What is cut must not reach what is put in its place, however low or high it was.
TEST_F(NoisecutProgram, FillsAsIfWildHeightsThatAreCutWereNotThere) {
    constexpr std::size_t kWild = 5 * kCutWidth + 30;
    constexpr std::size_t kOther = 20 * kCutWidth + 10;
    for (const double wild : {-1000.0, 1e9, -1.7e308, 1.7e308}) {
        app::HeightMap heights{kCutWidth, kCutHeight, {}};
        for (int y = 0; y < kCutHeight; ++y)
            for (int x = 0; x < kCutWidth; ++x) heights.Values.push_back(10.0 + x);
        std::vector<std::int32_t> map(heights.Values.size(), 200);
        heights.Values[kWild] = wild;
        map[kWild] = map[kOther] = 2;
        app::SaveNpy(Path("z.npy"), heights);
        app::SaveDifferentiationMap(Path("d.png"), {kCutWidth, kCutHeight, 256, map});
        ASSERT_EQ(Noisecut(Slope({"-o", Out("cut.npy"), "--preview", Out("p.png")})).Status, 0);
        const app::HeightMap after = app::LoadNpy(Out("cut.npy"));
        EXPECT_NEAR(after.Values[kWild], 10.0 + 30.0 * 80.0 / 81.0, 1e-6) << wild;
        EXPECT_NEAR(after.Values[kOther], 10.0 + 10.0 * 80.0 / 81.0, 1e-6) << wild;
        const std::vector<std::int32_t> samples = test::ToPlanes(*app::LoadImage(Out("p.png")));
        EXPECT_EQ(samples[kWild], 65535);
        EXPECT_EQ(samples[0], 0);
        EXPECT_EQ(samples[kCutWidth - 1], 0xFE00);
    }
}

TEST_F(NoisecutProgram, FillsAFlatMapWithItsHeight) {
    std::vector<std::int32_t> map(kCutWidth * kCutHeight, 200);
    map[5] = 0;
    for (const double height : {10.0, 0.0, -3e-300, 2.2250738585072014e-308}) {
        app::HeightMap heights{kCutWidth, kCutHeight, std::vector<double>(map.size(), height)};
        heights.Values[5] = -1000.0;
        app::SaveNpy(Path("z.npy"), heights);
        app::SaveDifferentiationMap(Path("d.png"), {kCutWidth, kCutHeight, 256, map});
        for (const std::string smoothing : {"0", "3"}) {
            ASSERT_EQ(Noisecut(Slope({"-o", Out("cut.npy"), "--smoothing", smoothing})).Status, 0);
            for (const double after : app::LoadNpy(Out("cut.npy")).Values) ASSERT_NEAR(after, height, 1e-306);
        }
    }
}

TEST_F(NoisecutProgram, KeepsTheUnitOfTheHeightsUnlessToldAnother) {
    WriteSlope(5.0, 1.0);
    const auto unitAfter = [&](const std::string& description, const Names& more) {
        app::SaveHeightMap(Path("z.tif"), app::LoadNpy(Path("z.npy")), description);
        Names arguments{Path("z.tif"), Path("d.png"), "-o", Out("cut.tif")};
        arguments.insert(arguments.end(), more.begin(), more.end());
        EXPECT_EQ(Noisecut(arguments).Status, 0);
        return app::HeightUnit(Out("cut.tif"));
    };
    EXPECT_EQ(unitAfter("Heights in mm. unit=mm", {}), "mm");
    EXPECT_EQ(unitAfter("Heights in mm. unit=mm", {"--unit", "nm"}), "nm");
    EXPECT_EQ(unitAfter("heights of no unit", {}), "um");
    ASSERT_EQ(Noisecut(Slope({"-o", Out("cut.tif"), "--unit", "deg"})).Status, 0);
    EXPECT_EQ(app::HeightUnit(Out("cut.tif")), "deg");
    fs::remove(Out("cut.tif"));
    ExpectRefusal(2, "an empty unit", Noisecut(Slope({"-o", Out("cut.tif"), "--unit", ""})));
}

TEST_F(NoisecutProgram, RefusesOutputsThatAreItsInputs) {
    WriteSlope(5.0, 1.0);
    fs::create_symlink(Path("z.tif"), Path("link.tif"));
    const std::string reason = "named as an input and as an output";
    const Names inputs{Path("z.tif"), Path("d.png")};
    for (const Names& outputs :
         {Names{"-o", Path("out/../z.tif")}, Names{"-o", Path("link.tif")}, Names{"--preview", Path("d.png")},
          Names{"--height-picture", Path("d.png")}, Names{"-o", Out("x.tif"), "--preview", Path("z.tif")}}) {
        Names arguments = inputs;
        arguments.insert(arguments.end(), outputs.begin(), outputs.end());
        ExpectRefusal(2, reason, Noisecut(arguments));
    }
    EXPECT_EQ(app::HeightUnit(Path("z.tif")), "");
    EXPECT_EQ(app::LoadHeightMap(Path("z.tif")).Values[0], 5.0);
}

TEST_F(NoisecutProgram, RefusesHeightsWhoseRangeIsTooLarge) {
    app::SaveNpy(Path("z.npy"), {3, 1, {-1.5e308, 0.0, 1.5e308}});
    app::SaveDifferentiationMap(Path("d.png"), {3, 1, 256, {200, 200, 200}});
    ExpectRefusal(1, "z.npy: heights from -1.5e+308 to 1.5e+308, expected a range that a 64-bit float holds",
                  Noisecut(Slope({"-o", Out("x.npy"), "--preview", Out("p.png")})));
}

TEST_F(NoisecutProgram, RefusesFilesThatDoNotFitAndNamesThem) {
    WriteSlope(5.0, 1.0);
    app::SaveDifferentiationMap(Path("small.png"), {2, 2, 256, {1, 2, 3, 4}});
    app::SaveImage(Path("colour.png"), *test::RandomImage(kCutWidth, kCutHeight, KyiFormatBgr24, 1));
    const std::string heights = Path("z.npy");
    ExpectRefusal(1, "small.png: 2 x 2, expected 40 x 30 like",
                  Noisecut({heights, Path("small.png"), "-o", Out("x.npy")}));
    ExpectRefusal(1, "colour.png: is 40 x 30 8-bit colour, expected a gray image",
                  Noisecut({heights, Path("colour.png"), "-o", Out("x.npy")}));
    ExpectRefusal(1, "missing.png: ", Noisecut({heights, Path("missing.png"), "-o", Out("x.npy")}));
    ExpectRefusal(1, "missing.tif: ", Noisecut({Path("missing.tif"), Path("d.png"), "-o", Out("x.npy")}));
    ExpectRefusal(1, "d.png: ", Noisecut({Path("d.png"), Path("d.png"), "-o", Out("x.npy")}));
    ExpectRefusal(1, "nowhere: ", Noisecut(Slope({"-o", Path("nowhere/x.npy")})));
}

TEST_F(NoisecutProgram, RefusesWhatTheLineCannotMean) {
    WriteSlope(5.0, 1.0);
    ExpectRefusal(2, "nothing to write", Noisecut(Slope({})));
    ExpectRefusal(2, "MAP", Noisecut({Path("z.npy"), "-o", Out("x.npy")}));
    ExpectRefusal(2, "unknown extension", Noisecut(Slope({"-o", Out("x.png")})));
    ExpectRefusal(2, "unknown extension", Noisecut(Slope({"--preview", Out("x.jpg")})));
    ExpectRefusal(2, "unknown extension", Noisecut(Slope({"--height-picture", Out("x.tif")})));
    for (const std::string ratio : {"-0.1", "1.5", "nan", "much", ""})
        ExpectRefusal(2, "--cut-ratio", Noisecut(Slope({"-o", Out("x.npy"), "--cut-ratio", ratio})));
    ExpectRefusal(2, "--fill", Noisecut(Slope({"-o", Out("x.npy"), "--fill", "none"})));
    ExpectRefusal(2, "--smoothing", Noisecut(Slope({"-o", Out("x.npy"), "--smoothing", "101"})));
    ExpectRefusal(2, "named for two outputs",
                  Noisecut(Slope({"--preview", Out("x.png"), "--height-picture", Out("x.png")})));
}

TEST_F(NoisecutProgram, TellsItsDefaults) {
    const ProgramResult result = Noisecut({"--help"});
    EXPECT_EQ(result.Status, 0);
    std::istringstream words(result.Output); // lines are broken anywhere
    const std::string text = std::accumulate(std::istream_iterator<std::string>(words), {}, std::string(),
                                             [](const auto& line, const auto& word) { return line + " " + word; });
    for (const std::string expected :
         {"--cut-ratio", "Default 0.1", "--fill", "Default neighbours", "--smoothing", "Default 0.", "--preview",
          "--height-picture", "--unit", "which HEIGHTS tells, or um"})
        EXPECT_NE(text.find(expected), std::string::npos) << expected;
}

} // namespace

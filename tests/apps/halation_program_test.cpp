/// kyfocus halation from the outside, and the exposure series that synth makes for it.
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <numeric>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "images.h"
#include "run_program.h"
#include "support/case_files.h"
#include "support/images.h"

namespace {

namespace fs = std::filesystem;
using test::ProgramResult;
using Names = std::vector<std::string>;

/// A folder "series" of four exposures with glare, and a folder "out".
class HalationProgram : public testing::Test {
  protected:
    void SetUp() override {
        fs::create_directory(Path("out"));
        const ProgramResult result = test::RunProgram({"synth", "-o", Path("stack"), "--size", "300x200", "--frames",
                                                       "1", "--glare", "--exposures", "4", "--seed", "5"});
        ASSERT_EQ(result.Status, 0) << result.Errors;
    }

    std::string Path(const std::string& name) const { return m_folder.Path() / name; }
    std::string Out(const std::string& name) const { return m_folder.Path() / "out" / name; }
    std::string Series() const { return Path("stack/exposures"); }
    std::string Exposure(int index) const { return Series() + "/exposure_00" + std::to_string(index) + ".png"; }

    static ProgramResult Halation(Names arguments) {
        arguments.insert(arguments.begin(), "halation");
        return test::RunProgram(arguments);
    }

    void ExpectRefusal(int status, const std::string& reason, const ProgramResult& result) const {
        EXPECT_EQ(result.Status, status) << result.Errors;
        EXPECT_NE(result.Errors.find(reason), std::string::npos) << result.Errors;
        EXPECT_EQ(test::EntryNames(Path("out")), Names{});
    }

    /// Samples at the largest value, over all channels.
    static std::size_t BlownOut(const fs::path& file) {
        const std::vector<std::int32_t> samples = test::ToPlanes(*app::LoadImage(file));
        return static_cast<std::size_t>(std::count(samples.begin(), samples.end(), 255));
    }

  private:
    test::TemporaryFolder m_folder;
};

TEST_F(HalationProgram, ReplacesBlownOutSpotsByWhatDarkerFramesShow) {
    const ProgramResult result =
        Halation({Series(), "-o", Out("even.png"), "--pre-smoothing", "8", "--mask-smoothing", "30"});
    ASSERT_EQ(result.Status, 0) << result.Errors;
    const std::size_t before = BlownOut(Exposure(0));
    EXPECT_GT(before, 300U);
    EXPECT_LT(BlownOut(Out("even.png")), before / 4);
    EXPECT_EQ(test::EntryNames(Path("out")), Names{"even.png"});
}

TEST_F(HalationProgram, GivesOneFrameAsItIsAndWarns) {
    const ProgramResult result = Halation({Exposure(1), "-o", Out("one.png")});
    ASSERT_EQ(result.Status, 0) << result.Errors;
    EXPECT_NE(result.Errors.find("warning: one frame alone"), std::string::npos) << result.Errors;
    EXPECT_TRUE(test::SameImage(*app::LoadImage(Exposure(1)), *app::LoadImage(Out("one.png"))));
}

TEST_F(HalationProgram, LeavesThePictureAloneUnderAHighThreshold) {
    ASSERT_EQ(Halation({Series(), "-o", Out("same.png"), "--threshold", "255"}).Status, 0);
    EXPECT_TRUE(test::SameImage(*app::LoadImage(Exposure(0)), *app::LoadImage(Out("same.png"))));
}

TEST_F(HalationProgram, TakesTheOrderGivenWhenToldTo) {
    const Names reversed{Exposure(3), Exposure(0), "-o", Out("a.png")};
    ASSERT_EQ(Halation(reversed).Status, 0);
    ASSERT_EQ(Halation({Exposure(3), Exposure(0), "--keep-order", "-o", Out("b.png")}).Status, 0);
    EXPECT_FALSE(test::SameImage(*app::LoadImage(Out("a.png")), *app::LoadImage(Out("b.png"))));
    EXPECT_TRUE(test::SameImage(*app::LoadImage(Exposure(3)), *app::LoadImage(Out("b.png")))) << "nothing is bright";
}

TEST_F(HalationProgram, TakesBothSmoothingsFromTheLine) {
    const auto run = [&](const Names& more) {
        Names arguments{Series(), "-o", Out("x.png")};
        arguments.insert(arguments.end(), more.begin(), more.end());
        EXPECT_EQ(Halation(arguments).Status, 0);
        return app::LoadImage(Out("x.png"));
    };
    const app::Image plain = run({"--pre-smoothing", "8", "--mask-smoothing", "30"});
    const app::Image otherBefore = run({"--pre-smoothing", "14", "--mask-smoothing", "30"});
    const app::Image otherMask = run({"--pre-smoothing", "8", "--mask-smoothing", "60"});
    EXPECT_FALSE(test::SameImage(*plain, *otherBefore));
    EXPECT_FALSE(test::SameImage(*plain, *otherMask));
    EXPECT_FALSE(test::SameImage(*otherBefore, *otherMask));
    EXPECT_TRUE(test::SameImage(*plain, *run({"--pre-smoothing", "8", "--mask-smoothing", "30"})));
}

// Smoothed samples end one below the greatest.
TEST_F(HalationProgram, TellsHowMuchItReplaced) {
    const auto percent = [&](const Names& more) {
        Names arguments{Series(), "-o", Out("x.png")};
        arguments.insert(arguments.end(), more.begin(), more.end());
        const ProgramResult result = Halation(arguments);
        EXPECT_EQ(result.Errors.find("warning: nothing was replaced") != std::string::npos,
                  result.Errors.find(" 0.00 percent of the pixels replaced") != std::string::npos)
            << result.Errors;
        const std::size_t start = result.Errors.find("4 frames, ");
        return start == std::string::npos ? -1.0 : std::stod(result.Errors.substr(start + 10));
    };
    const std::vector<std::int32_t> before = test::ToPlanes(*app::LoadImage(Exposure(0)));
    const double told = percent({"--pre-smoothing", "8", "--mask-smoothing", "30"});
    const std::vector<std::int32_t> after = test::ToPlanes(*app::LoadImage(Out("x.png")));
    const std::size_t pixels = before.size() / 3;
    int changed = 0;
    for (std::size_t i = 0; i < pixels; ++i)
        changed += before[i] != after[i] || before[pixels + i] != after[pixels + i] ||
                   before[2 * pixels + i] != after[2 * pixels + i];
    EXPECT_GT(changed, 1000);
    EXPECT_NEAR(told, 100.0 * changed / static_cast<double>(pixels), 0.006);
    EXPECT_EQ(percent({"--threshold", "254", "--pre-smoothing", "8"}), 0.0);
    EXPECT_GT(percent({"--threshold", "254", "--pre-smoothing", "3"}), 0.0); // 3 / 1024 of 300 pixels are none
    EXPECT_EQ(percent({"--threshold", "255", "--pre-smoothing", "3"}), 0.0);
}

TEST_F(HalationProgram, GivesTheSameWithAnyNumberOfThreads) {
    ASSERT_EQ(Halation({Series(), "-o", Out("one.bmp"), "--no-parallel"}).Status, 0);
    for (const std::string threads : {"1", "2", "5"}) {
        ASSERT_EQ(Halation({Series(), "-o", Out("more.bmp"), "--threads", threads}).Status, 0);
        EXPECT_TRUE(test::SameImage(*app::LoadImage(Out("one.bmp")), *app::LoadImage(Out("more.bmp"))));
    }
}

TEST_F(HalationProgram, WarnsOfDeepFrames) {
    const ProgramResult made = test::RunProgram({"synth", "-o", Path("deep"), "--size", "60x40", "--frames", "1",
                                                 "--exposures", "2", "--bits", "16", "--gray", "--format", "tif"});
    ASSERT_EQ(made.Status, 0) << made.Errors;
    const ProgramResult result = Halation({Path("deep/exposures"), "-o", Out("deep.tif")});
    EXPECT_EQ(result.Status, 0);
    EXPECT_NE(result.Errors.find("16 bits a sample"), std::string::npos) << result.Errors;
    fs::remove(Out("deep.tif"));
    ExpectRefusal(1, "deep.jpg: a JPEG has 8 bits a sample", Halation({Path("deep/exposures"), "-o", Out("deep.jpg")}));
}

TEST_F(HalationProgram, RefusesFramesThatDoNotFitAndNamesThem) {
    test::RunProgram({"synth", "-o", Path("small"), "--size", "64x64", "--frames", "1", "--exposures", "1"});
    ExpectRefusal(1, "small/exposures/exposure_000.png: 64 x 64 8-bit colour, expected 300 x 200 8-bit colour like",
                  Halation({Series(), Path("small/exposures"), "-o", Out("x.png")}));
    ExpectRefusal(1, "missing.png: cannot be read", Halation({Series(), Path("missing.png"), "-o", Out("x.png")}));
    std::ofstream(Path("broken.png")) << "no picture";
    ExpectRefusal(1, "broken.png: ", Halation({Exposure(0), Path("broken.png"), "-o", Out("x.png")}));
    ExpectRefusal(1, "nowhere: ", Halation({Series(), "-o", Path("nowhere/x.png")}));
}

TEST_F(HalationProgram, RefusesWhatTheLineCannotMean) {
    ExpectRefusal(2, "FRAMES", Halation({"-o", Out("x.png")}));
    ExpectRefusal(2, "--output", Halation({Series()}));
    ExpectRefusal(2, "unknown extension", Halation({Series(), "-o", Out("x.gif")}));
    for (const std::string option : {"--threshold", "--pre-smoothing", "--mask-smoothing"})
        for (const std::string value : {"0", "256", "-1", "many", ""})
            ExpectRefusal(2, option, Halation({Series(), "-o", Out("x.png"), option, value}));
    ExpectRefusal(2, "named as a frame and as an output", Halation({Exposure(0), "-o", Exposure(0)}));
}

TEST_F(HalationProgram, TellsItsDefaults) {
    const ProgramResult result = Halation({"--help"});
    EXPECT_EQ(result.Status, 0);
    std::istringstream words(result.Output); // lines are broken anywhere
    const std::string output = std::accumulate(std::istream_iterator<std::string>(words), {}, std::string(),
                                               [](const auto& line, const auto& word) { return line + " " + word; });
    for (const std::string text :
         {"--threshold", "Default 180", "--pre-smoothing", "Default 20", "--mask-smoothing", "Default 50",
          "--keep-order", "--threads", "--no-parallel", "1/1024", "the brightest comes first"})
        EXPECT_NE(output.find(text), std::string::npos) << text;
}

TEST_F(HalationProgram, GetsFromSynthExposuresOfFallingBrightness) {
    const auto sum = [&](int exposure) {
        std::int64_t total = 0;
        for (const std::int32_t sample : test::ToPlanes(*app::LoadImage(Exposure(exposure)))) total += sample;
        return total;
    };
    for (int exposure = 1; exposure < 4; ++exposure) {
        EXPECT_LT(sum(exposure), sum(exposure - 1) * 6 / 10);
        EXPECT_GT(sum(exposure), sum(exposure - 1) * 4 / 10);
    }
    EXPECT_TRUE(test::SameImage(*app::LoadImage(Path("stack/truth/image.png")), *app::LoadImage(Exposure(0))));
    const ProgramResult refused = test::RunProgram({"synth", "-o", Path("no"), "--exposures", "17"});
    EXPECT_EQ(refused.Status, 2);
    EXPECT_FALSE(fs::exists(Path("no")));
}

} // namespace

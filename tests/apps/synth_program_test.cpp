#include <algorithm>
#include <cmath>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <thread>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "height_files.h"
#include "height_map_file.h"
#include "images.h"
#include "run_program.h"
#include "support/case_files.h"
#include "support/file_text.h"
#include "support/images.h"

namespace {

namespace fs = std::filesystem;
using test::ProgramResult;
using Arguments = std::vector<std::string>;

class SynthProgram : public testing::Test {
  protected:
    fs::path Folder(const std::string& name) const { return m_folder.Path() / name; }

    /// Runs `kyfocus synth` on a small stack into a folder.
    ProgramResult Synth(const std::string& folder, const Arguments& more = {}) const {
        Arguments arguments{"synth", "-o", Folder(folder)};
        const auto given = [&](const char* option) {
            return std::find(more.begin(), more.end(), option) != more.end();
        };
        if (!given("--size")) arguments.insert(arguments.end(), {"--size", "61x43"});
        if (!given("--frames")) arguments.insert(arguments.end(), {"--frames", "4"});
        arguments.insert(arguments.end(), more.begin(), more.end());
        return test::RunProgram(arguments);
    }

    void ExpectSameFiles(const std::string& first, const std::string& second) const {
        for (const char* part : {"", "truth"}) {
            const std::vector<std::string> names = test::EntryNames(Folder(first) / part);
            ASSERT_EQ(names, test::EntryNames(Folder(second) / part));
            for (const std::string& name : names) {
                if (name == "truth") continue;
                EXPECT_TRUE(test::ReadText(Folder(first) / part / name) == test::ReadText(Folder(second) / part / name))
                    << name;
            }
        }
    }

  private:
    test::TemporaryFolder m_folder;
};

TEST_F(SynthProgram, WritesTheFramesAndTheTruthIntoANewFolder) {
    const ProgramResult result = Synth("deep/new/stack");
    ASSERT_EQ(0, result.Status) << result.Errors;
    const std::vector<std::string> expected{"frame_000.png", "frame_001.png", "frame_002.png",
                                            "frame_003.png", "heights.txt",   "truth"};
    EXPECT_EQ(expected, test::EntryNames(Folder("deep/new/stack")));
    const std::vector<std::string> truth{"height.tif", "image.png", "stack.json"};
    EXPECT_EQ(truth, test::EntryNames(Folder("deep/new/stack/truth")));
}

TEST_F(SynthProgram, WritesEveryFormat) {
    struct Format {
        const char* Name;
        Arguments More;
        int Word;
        const char* Truth;
    };
    const Format formats[] = {{"png", {"--gray", "--bits", "16"}, KyiFormatGray16, "truth/image.png"},
                              {"tif", {"--bits", "16"}, KyiFormatBgr48, "truth/image.tif"},
                              {"bmp", {"--gray"}, KyiFormatGray8, "truth/image.bmp"},
                              {"jpg", {}, KyiFormatBgr24, "truth/image.png"}};
    for (const Format& format : formats) {
        Arguments more{"--format", format.Name};
        more.insert(more.end(), format.More.begin(), format.More.end());
        const ProgramResult result = Synth(format.Name, more);
        ASSERT_EQ(0, result.Status) << result.Errors;
        const app::Image frame = app::LoadImage(Folder(format.Name) / (std::string("frame_003.") + format.Name));
        const app::Image truth = app::LoadImage(Folder(format.Name) / format.Truth);
        EXPECT_EQ(format.Word, frame->Format);
        EXPECT_EQ(format.Word, truth->Format);
        EXPECT_EQ(61, frame->Width);
        EXPECT_EQ(43, frame->Height);
    }
}

TEST_F(SynthProgram, WritesTheSameBytesForASeedWhateverTheThreads) {
    const Arguments options{"--noise", "3", "--drift", "0.7,-0.3", "--breathing", "0.4", "--glare", "--seed", "9"};
    const auto run = [&](const std::string& threads) {
        Arguments more = options;
        more.insert(more.end(), {"--threads", threads});
        ASSERT_EQ(0, Synth("threads" + threads, more).Status);
    };
    for (const char* threads : {"1", "2", "5", "0"}) run(threads);
    for (const char* threads : {"2", "5", "0"}) ExpectSameFiles("threads1", std::string("threads") + threads);
}

TEST_F(SynthProgram, WritesOtherFramesForAnotherSeed) {
    ASSERT_EQ(0, Synth("one", {"--seed", "1"}).Status);
    ASSERT_EQ(0, Synth("two", {"--seed", "2"}).Status);
    EXPECT_FALSE(test::ReadText(Folder("one") / "frame_000.png") == test::ReadText(Folder("two") / "frame_000.png"));
}

TEST_F(SynthProgram, WritesHeightsThatComposeReads) {
    ASSERT_EQ(0, Synth("stack", {"--start", "-1.5", "--step", "0.7"}).Status);
    std::vector<fs::path> frames;
    for (int frame = 0; frame < 4; ++frame)
        frames.push_back(Folder("stack") / ("frame_00" + std::to_string(frame) + ".png"));
    const std::vector<double> heights = app::ReadHeights(Folder("stack") / "heights.txt", frames);
    for (std::size_t i = 0; i < 4; ++i) EXPECT_EQ(-1.5 + 0.7 * static_cast<double>(i), heights[i]);
}

TEST_F(SynthProgram, WritesTrueHeightsWithinTheRangeItTells) {
    ASSERT_EQ(0, Synth("stack", {"--start", "100", "--step", "-5"}).Status);
    const auto truth = nlohmann::json::parse(test::ReadText(Folder("stack") / "truth/stack.json"));
    const app::HeightMap map = app::LoadHeightMap(Folder("stack") / "truth/height.tif");
    EXPECT_EQ(61, map.Width);
    EXPECT_EQ(43, map.Height);
    const auto [low, high] = std::minmax_element(map.Values.begin(), map.Values.end());
    EXPECT_GE(*low, truth.at("lowest_possible_height").get<float>());
    EXPECT_LE(*high, truth.at("highest_possible_height").get<float>());
    EXPECT_DOUBLE_EQ(86.5, truth.at("lowest_possible_height").get<double>());
    EXPECT_DOUBLE_EQ(98.5, truth.at("highest_possible_height").get<double>());
}

TEST_F(SynthProgram, TellsTheMovementOfEachFrame) {
    ASSERT_EQ(0, Synth("stack", {"--drift", "1.5", "--breathing", "2"}).Status);
    const auto frames = nlohmann::json::parse(test::ReadText(Folder("stack") / "truth/stack.json")).at("frames");
    ASSERT_EQ(4U, frames.size());
    EXPECT_EQ("frame_002.png", frames[2].at("file"));
    EXPECT_EQ(4.0, frames[2].at("focus"));
    EXPECT_EQ(3.0, frames[2].at("drift_px")[0]);
    EXPECT_EQ(0.0, frames[2].at("drift_px")[1]);
    EXPECT_DOUBLE_EQ(1.04, frames[2].at("scale"));
}

TEST_F(SynthProgram, MakesStacksOfAwkwardSizes) {
    for (const char* size : {"1x1", "1x7", "7x1", "2x2", "3x2", "65x5"}) {
        const ProgramResult result = Synth(size, {"--size", size, "--glare", "--drift", "0.1", "--breathing", "1"});
        EXPECT_EQ(0, result.Status) << size << " " << result.Errors;
    }
    EXPECT_EQ(0, Synth("single", {"--frames", "1"}).Status);
}

TEST_F(SynthProgram, ComposesBackToItsTruth) {
    ASSERT_EQ(0, Synth("stack", {"--size", "240x180", "--frames", "10"}).Status);
    const std::string sharp = Folder("sharp.png");
    ASSERT_EQ(0, test::RunProgram({"compose", Folder("stack"), "-o", sharp, "--progress", "none"}).Status);
    const auto ratio = [&](const std::string& file) {
        const ProgramResult result = test::RunProgram({"compare", Folder("stack") / "truth/image.png", file, "--json"});
        return nlohmann::json::parse(result.Output).at("psnr_db").get<double>();
    };
    double best = 0.0;
    for (int frame = 0; frame < 10; ++frame)
        best = std::max(best, ratio(Folder("stack") / ("frame_00" + std::to_string(frame) + ".png")));
    EXPECT_GT(ratio(sharp), best + 5.0);
}

TEST_F(SynthProgram, RefusesWrongUsageAndMakesNothing) {
    const std::vector<Arguments> wrong{{"--size", "3"},
                                       {"--size", "0x5"},
                                       {"--size", "5x30001"},
                                       {"--size", "5x5x5"},
                                       {"--size", "30000x30000"},
                                       {"--bits", "9"},
                                       {"--frames", "0"},
                                       {"--frames", "2.5"},
                                       {"--step", "nan"},
                                       {"--start", "1e7"},
                                       {"--blur", "-1"},
                                       {"--noise", "x"},
                                       {"--drift", "a"},
                                       {"--drift", "1,inf"},
                                       {"--drift", "500"},
                                       {"--breathing", "50", "--frames", "9"},
                                       {"--format", "gif"},
                                       {"--format", "jpg", "--bits", "16"},
                                       {"--shape", "cube"},
                                       {"--seed", "-1"},
                                       {"--threads", "-2"},
                                       {"--nothing"},
                                       {"stray"}};
    for (const Arguments& arguments : wrong) {
        const ProgramResult result = Synth("never", arguments);
        EXPECT_EQ(2, result.Status) << arguments.front() << " " << arguments.back();
        EXPECT_EQ(1U, test::LineCount(result.Errors)) << result.Errors;
        EXPECT_NE(std::string::npos, result.Errors.find(arguments.front())) << result.Errors;
        EXPECT_FALSE(fs::exists(Folder("never"))) << arguments.front();
    }
    const ProgramResult result = test::RunProgram({"synth"});
    EXPECT_EQ(2, result.Status);
    EXPECT_NE(std::string::npos, result.Errors.find("--output is required")) << result.Errors;
}

TEST_F(SynthProgram, FailsWhereItCannotWrite) {
    std::ofstream(Folder("file")) << "no folder";
    const ProgramResult result = Synth("file");
    EXPECT_EQ(1, result.Status);
    EXPECT_NE(std::string::npos, result.Errors.find("file: ")) << result.Errors;
    EXPECT_EQ(1U, test::LineCount(result.Errors)) << result.Errors;
}

TEST_F(SynthProgram, LeavesNoFolderWhenInterrupted) {
    const ProgramResult result = test::RunProgram(
        {"synth", "-o", Folder("new/deep/stack"), "--size", "1500x1000", "--frames", "200"}, [&](pid_t process) {
            for (int wait = 0; wait < 4000 && !fs::exists(Folder("new/deep/stack/truth")); ++wait)
                std::this_thread::sleep_for(std::chrono::milliseconds(5));
            EXPECT_TRUE(fs::exists(Folder("new/deep/stack/truth")));
            kill(process, SIGINT);
        });
    EXPECT_EQ(128 + SIGINT, result.Status) << result.Errors;
    EXPECT_FALSE(fs::exists(Folder("new")));
}

TEST_F(SynthProgram, LeavesNoFolderOfItsOwnWhenItFails) {
    fs::create_directories(Folder("stack") / "frame_000.png"); // a folder in the place of a frame
    EXPECT_EQ(1, Synth("stack").Status);
    EXPECT_EQ((std::vector<std::string>{"frame_000.png"}), test::EntryNames(Folder("stack")));
}

TEST_F(SynthProgram, LeavesNoFolderAboveItsOwnWhenItFails) {
    fs::create_directory(Folder("old"));
    const ProgramResult result = Synth("old/new/deep/" + std::string(300, 'x')); // longer than a name may be
    EXPECT_EQ(1, result.Status) << result.Errors;
    EXPECT_NE(std::string::npos, result.Errors.find("folder cannot be made: File name too long")) << result.Errors;
    EXPECT_EQ(std::vector<std::string>{}, test::EntryNames(Folder("old")));
}

} // namespace

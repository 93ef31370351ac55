#include <csignal>
#include <filesystem>
#include <fstream>
#include <thread>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sys/stat.h>

#include "height_map_file.h"
#include "images.h"
#include "run_program.h"
#include "support/case_files.h"
#include "support/images.h"

namespace {

namespace fs = std::filesystem;
using test::ProgramResult;
using Names = std::vector<std::string>;

constexpr int kFrameWidth = 64;
constexpr int kFrameHeight = 48;

/// A folder "stack" with frames of which each is sharp in one vertical stripe, and a folder "out".
class ComposeProgram : public testing::Test {
  protected:
    void SetUp() override {
        fs::create_directory(Stack());
        fs::create_directory(Out());
    }

    fs::path Stack() const { return m_folder.Path() / "stack"; }
    fs::path Out() const { return m_folder.Path() / "out"; }
    std::string Output(const std::string& name) const { return Out() / name; }
    std::string Frame(const std::string& name) const { return Stack() / name; }

    /// Frames 1 to `count`; frame n is sharp in stripe n and gray elsewhere.
    void MakeStack(int count, const std::string& extension = ".png", int format = KyiFormatBgr24) const {
        for (int frame = 0; frame < count; ++frame) {
            const test::Image image(KyiAllocImageData(kFrameWidth, kFrameHeight, format));
            KyiFill(image.get(), KyiGetDepth(format) / 2, 0, 0);
            for (int y = 0; y < kFrameHeight; ++y)
                for (int x = frame * kFrameWidth / count; x < (frame + 1) * kFrameWidth / count; ++x) Set(*image, x, y);
            app::SaveImage(Stack() / std::to_string(frame + 1).insert(0, 1, 'f').append(extension), *image);
        }
    }

    /// The pattern that a stripe shows where it is sharp.
    static int PatternAt(int x, int y, int most) { return ((x >> 1) + (y >> 1)) % 2 == 0 ? 0 : most; }

    static void Set(KyiImageData& image, int x, int y) {
        const int value = PatternAt(x, y, KyiGetMaxVal(image.Format));
        const std::int32_t values[3] = {value, value, value};
        if (KyiIsFormatBgr(image.Format))
            KyiSetPixelDataRGB(&image, x, y, values);
        else
            KyiSetPixelData(&image, x, y, value);
    }

    /// Runs compose on the folder of frames, silent unless told otherwise.
    ProgramResult Compose(const std::vector<std::string>& options) const {
        std::vector<std::string> arguments = {"compose", Stack(), "--progress", "none"};
        arguments.insert(arguments.end(), options.begin(), options.end());
        return test::RunProgram(arguments);
    }

    /// Nothing was written and one line says why.
    static void ExpectRefusal(const ProgramResult& result, int status, const std::string& reason) {
        EXPECT_EQ(result.Status, status) << result.Errors;
        EXPECT_NE(result.Errors.find(reason), std::string::npos) << result.Errors;
        EXPECT_EQ(result.Output, "");
    }
    /// Waits until the program has begun to write into the folder for outputs.
    bool WaitForOutput(std::size_t otherEntries = 0) const {
        for (int wait = 0; wait < 4000; ++wait) {
            if (test::EntryNames(Out()).size() > otherEntries) return true;
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
        return false;
    }
    void ExpectNothingWritten() const { EXPECT_EQ(test::EntryNames(Out()), Names{}); }

  private:
    test::TemporaryFolder m_folder;
};

TEST_F(ComposeProgram, TakesEveryStripeFromTheFrameThatIsSharpThere) {
    MakeStack(2);
    const ProgramResult result = Compose({"-o", Output("out.png"), "--preset", "coarse"});
    ASSERT_EQ(result.Status, 0) << result.Errors;
    const app::Image image = app::LoadImage(Output("out.png"));
    ASSERT_EQ(image->Width, kFrameWidth);
    ASSERT_EQ(image->Height, kFrameHeight);
    int wrong = 0;
    for (int y = 8; y < kFrameHeight - 8; ++y)
        for (const int x : {12, 13, 14, 15, 16, 48, 49, 50, 51, 52}) {
            std::int32_t values[3] = {};
            KyiGetPixelDataRGB(image.get(), x, y, values);
            wrong += values[1] != PatternAt(x, y, 255);
        }
    EXPECT_EQ(wrong, 0);
    EXPECT_EQ(test::EntryNames(Out()), (Names{"out.png"}));
}

TEST_F(ComposeProgram, SaysHowManyFramesAndInWhichOrder) {
    MakeStack(11);
    const ProgramResult result = Compose({"-o", Output("out.png")});
    EXPECT_EQ(result.Status, 0) << result.Errors;
    EXPECT_TRUE(result.Errors.starts_with("11 frames in natural order: f1.png ... f11.png\n")) << result.Errors;
    EXPECT_NE(result.Errors.find("out.png: 64 x 48 8-bit colour from 11 frames in "), std::string::npos)
        << result.Errors;
    EXPECT_EQ(test::LineCount(result.Errors), 2U) << result.Errors;
    EXPECT_EQ(result.Output, "");
}

TEST_F(ComposeProgram, ReadsAndWritesEveryFileFormat) {
    for (const std::string extension : {".png", ".tif", ".bmp", ".jpg"}) {
        SCOPED_TRACE(extension);
        fs::remove_all(Stack());
        fs::create_directory(Stack());
        MakeStack(3, extension);
        const ProgramResult result = Compose({"-o", Output(std::string("out").append(extension))});
        ASSERT_EQ(result.Status, 0) << result.Errors;
        const app::Image image = app::LoadImage(Output(std::string("out").append(extension)));
        EXPECT_EQ(app::DescribeImage(*image), "64 x 48 8-bit colour");
    }
}

TEST_F(ComposeProgram, KeepsTheFramesFormat) {
    MakeStack(3, ".tif", KyiFormatBgr48);
    ASSERT_EQ(Compose({"-o", Output("out.tif"), "--speed", "half"}).Status, 0);
    EXPECT_EQ(app::LoadImage(Output("out.tif"))->Format, KyiFormatBgr48);
    MakeStack(3, ".tif", KyiFormatGray16);
    ASSERT_EQ(Compose({"-o", Output("out.png"), "--speed", "quarter"}).Status, 0);
    EXPECT_EQ(app::LoadImage(Output("out.png"))->Format, KyiFormatGray16);
}

TEST_F(ComposeProgram, GivesTheSameImageWithAnyNumberOfThreads) {
    MakeStack(4);
    ASSERT_EQ(Compose({"-o", Output("one.png"), "--no-parallel"}).Status, 0);
    for (const std::string threads : {"1", "2", "5"}) {
        ASSERT_EQ(Compose({"-o", Output("more.png"), "--threads", threads}).Status, 0);
        EXPECT_TRUE(test::SameImage(*app::LoadImage(Output("one.png")), *app::LoadImage(Output("more.png"))));
    }
}

TEST_F(ComposeProgram, WritesHeightsInTheGivenUnit) {
    MakeStack(2);
    const ProgramResult result = Compose({"-o", Output("out.png"), "--mode", "2d", "--start", "-5", "--step", "10",
                                          "--unit", "nm", "--smoothing", "0", "--height-map", Output("z.tif"),
                                          "--height-image", Output("z.png"), "--json", Output("run.json")});
    ASSERT_EQ(result.Status, 0) << result.Errors;
    const app::HeightMap map = app::LoadHeightMap(Output("z.tif"));
    ASSERT_EQ(map.Width, kFrameWidth);
    ASSERT_EQ(map.Height, kFrameHeight);
    const std::size_t middle = kFrameHeight / 2 * kFrameWidth;
    EXPECT_EQ(map.Values[middle + 14], -5.0F);
    EXPECT_EQ(map.Values[middle + 50], 5.0F);

    const app::Image image = app::LoadImage(Output("z.png"));
    ASSERT_EQ(image->Format, KyiFormatGray16);
    const nlohmann::json json = nlohmann::json::parse(std::ifstream(Output("run.json")));
    const double step = json["result"]["height_image"]["step"];
    const double offset = json["result"]["height_image"]["offset"];
    std::int32_t sample = 0;
    KyiGetPixelData(image.get(), 50, kFrameHeight / 2, &sample);
    EXPECT_NEAR(offset + sample * step, 5.0, 2 * step);
    KyiGetPixelData(image.get(), 14, kFrameHeight / 2, &sample);
    EXPECT_NEAR(offset + sample * step, -5.0, 2 * step);
}

TEST_F(ComposeProgram, ReadsHeightsFromAFile) {
    MakeStack(2);
    std::ofstream(Output("z.csv")) << "# frame, um\nf2.png, 7\nf1.png, 3\n";
    const ProgramResult result = Compose({"-o", Output("out.png"), "--mode", "2d", "--heights", Output("z.csv"),
                                          "--smoothing", "0", "--height-map", Output("z.tif")});
    ASSERT_EQ(result.Status, 0) << result.Errors;
    const app::HeightMap map = app::LoadHeightMap(Output("z.tif"));
    EXPECT_EQ(map.Values[kFrameHeight / 2 * kFrameWidth + 14], 3.0F);
    EXPECT_EQ(map.Values[kFrameHeight / 2 * kFrameWidth + 50], 7.0F);
}

TEST_F(ComposeProgram, SummarisesTheRunAsJson) {
    MakeStack(3);
    const ProgramResult result = Compose({"-o", Output("out.png"), "--json", "-", "--threads", "2", "--preset", "fine",
                                          "--smoothing", "20", "--speed", "half"});
    ASSERT_EQ(result.Status, 0) << result.Errors;
    const nlohmann::json json = nlohmann::json::parse(result.Output);
    EXPECT_EQ(json["frames"]["count"], 3);
    EXPECT_EQ(json["frames"]["width"], kFrameWidth);
    EXPECT_EQ(json["frames"]["files"], (Names{Frame("f1.png"), Frame("f2.png"), Frame("f3.png")}));
    EXPECT_EQ(json["settings"]["speed"], "half");
    EXPECT_EQ(json["settings"]["comp_size_percent"], 1);
    EXPECT_EQ(json["settings"]["smoothing_percent"], 20);
    EXPECT_EQ(json["settings"]["threads"], 2);
    EXPECT_EQ(json["result"]["file"], Output("out.png"));
    EXPECT_EQ(json["result"]["height"], kFrameHeight);
    for (const char* const stage : {"decode", "wait_for_frames", "add", "make", "save", "wall"})
        EXPECT_GT(json["seconds"][stage].get<double>(), 0.0) << stage;
    EXPECT_GT(json["memory"]["peak_bytes"].get<double>(), 1e6);
    EXPECT_GE(json["memory"]["decoded_ahead_peak_bytes"], kFrameWidth * kFrameHeight * 3);
    EXPECT_LE(json["memory"]["decoded_ahead_peak_bytes"], 2 * kFrameWidth * kFrameHeight * 3);
}

TEST_F(ComposeProgram, APresetYieldsToItsPartsInAnyOrder) {
    MakeStack(1);
    for (const std::vector<std::string>& order : {std::vector<std::string>{"--comp-size", "3", "--preset", "coarse"},
                                                  {"--preset", "coarse", "--comp-size", "3"}}) {
        std::vector<std::string> options = {"-o", Output("out.png"), "--json", "-"};
        options.insert(options.end(), order.begin(), order.end());
        const nlohmann::json json = nlohmann::json::parse(Compose(options).Output);
        EXPECT_EQ(json["settings"]["comp_size_percent"], 3);
        EXPECT_EQ(json["settings"]["smoothing_percent"], 6);
    }
}

TEST_F(ComposeProgram, ShowsProgressAsPlainLinesWhereThereIsNoTerminal) {
    MakeStack(4);
    const ProgramResult result = test::RunProgram({"compose", Stack(), "-o", Output("out.png")});
    EXPECT_EQ(result.Status, 0);
    EXPECT_NE(result.Errors.find("\n100%  4 frames, finishing"), std::string::npos) << result.Errors;
    EXPECT_EQ(result.Errors.find('\r'), std::string::npos) << result.Errors;
}

TEST_F(ComposeProgram, RefusesWrongUsageBeforeAnyWork) {
    MakeStack(2);
    const std::string out = Output("out.png");
    ExpectRefusal(Compose({}), 2, "--output is required");
    ExpectRefusal(Compose({"-o", Output("out.gif")}), 2,
                  "out.gif: unknown extension, expected .png, .tif, .jpg or .bmp");
    ExpectRefusal(Compose({"-o", out, "--speed", "fast"}), 2, "--speed: 'fast' is not one of full, half, quarter");
    ExpectRefusal(Compose({"-o", out, "--scope", "4"}), 2, "--scope: '4' is not a whole number from 0 to 3");
    ExpectRefusal(Compose({"-o", out, "--comp-size", "8.5"}), 2, "--comp-size: '8.5' is not a whole number");
    ExpectRefusal(Compose({"-o", out, "--threads", "0"}), 2, "--threads: '0' is not a whole number from 1");
    ExpectRefusal(Compose({"-o", out, "--step", "nan"}), 2, "--step: 'nan' is not a number");
    ExpectRefusal(Compose({"-o", out, "--step", "0"}), 2, "--step is 0");
    ExpectRefusal(Compose({"-o", out, "--start", "1"}), 2, "--start needs --step");
    ExpectRefusal(Compose({"-o", out, "--height-map", Output("z.tif")}), 2, "need the frames' heights");
    ExpectRefusal(Compose({"-o", out, "--step", "1", "--height-map", Output("z.png")}), 2, "z.png: unknown extension");
    ExpectRefusal(Compose({"-o", out, "--step", "1", "--height-image", Output("z.tif")}), 2,
                  "z.tif: unknown extension");
    ExpectRefusal(Compose({"-o", out, "--step", "1", "--height-image", out}), 2, "out.png: named for two outputs");
    ExpectRefusal(Compose({"-o", out, "--no-such-option"}), 2, "--no-such-option");
    ExpectRefusal(test::RunProgram({"compose", "-o", out}), 2, "FRAMES is required");
    ExpectRefusal(test::RunProgram({}), 2, "no command given");
    ExpectRefusal(test::RunProgram({"compost"}), 2, "unknown command: compost");
    ExpectNothingWritten();
}

TEST_F(ComposeProgram, NamesTheFrameThatDoesNotFit) {
    MakeStack(3);
    const std::vector<std::pair<test::Image, std::string>> misfits = [] {
        std::vector<std::pair<test::Image, std::string>> images;
        images.emplace_back(test::RandomImage(kFrameWidth, 20, KyiFormatBgr24, 1), "64 x 20 8-bit colour");
        images.emplace_back(test::RandomImage(32, kFrameHeight, KyiFormatBgr24, 1), "32 x 48 8-bit colour");
        images.emplace_back(test::RandomImage(kFrameWidth, kFrameHeight, KyiFormatGray8, 1), "64 x 48 8-bit gray");
        images.emplace_back(test::RandomImage(kFrameWidth, kFrameHeight, KyiFormatBgr48, 1), "64 x 48 16-bit colour");
        return images;
    }();
    for (const auto& [image, description] : misfits) {
        app::SaveImage(Frame("f2.png"), *image);
        const ProgramResult result = Compose({"-o", Output("out.png")});
        ExpectRefusal(result, 1,
                      Frame("f2.png") + ": " + description + ", expected 64 x 48 8-bit colour like " + Frame("f1.png") +
                          "\n");
        EXPECT_EQ(test::LineCount(result.Errors), 2U) << result.Errors;
    }
    ExpectNothingWritten();
}

TEST_F(ComposeProgram, NamesTheFrameThatCannotBeRead) {
    MakeStack(3);
    fs::resize_file(Stack() / "f3.png", 40);
    ExpectRefusal(Compose({"-o", Output("out.png")}), 1, Frame("f3.png") + ": cannot be read as an image: ");
    std::ofstream(Frame("f3.png")) << "no image";
    ExpectRefusal(Compose({"-o", Output("out.png")}), 1, Frame("f3.png") + ": cannot be read as an image: ");
    ExpectRefusal(Compose({Frame("f4.png"), "-o", Output("out.png")}), 1,
                  Frame("f4.png") + ": cannot be read: No such file or directory");
    ExpectNothingWritten();
}

TEST_F(ComposeProgram, SaysWhereAnOutputCannotBeWritten) {
    MakeStack(1);
    ExpectRefusal(Compose({"-o", Output("missing/out.png")}), 1,
                  Output("missing/out.png") + ": cannot be written: folder " + Output("missing") +
                      ": No such file or directory");
    ExpectRefusal(Compose({"-o", Output("out.png"), "--json", Out()}), 1, Out().native() + ": is a folder");
    ExpectNothingWritten();
}

TEST_F(ComposeProgram, LeavesAnOldOutputAsItWasWhenItFails) {
    MakeStack(2);
    std::ofstream(Output("out.png")) << "old";
    fs::resize_file(Stack() / "f2.png", 40);
    EXPECT_EQ(Compose({"-o", Output("out.png")}).Status, 1);
    EXPECT_EQ(fs::file_size(Output("out.png")), 3U);
}

TEST_F(ComposeProgram, RemovesItsTemporaryFilesWhenInterrupted) {
    const std::string frame = Frame("f.bmp");
    app::SaveImage(frame, *test::RandomImage(1000, 1000, KyiFormatBgr24, 1));
    std::vector<std::string> arguments(1000, frame); // far more than it can add until the signal comes
    arguments.insert(arguments.begin(), {"compose", "-o", Output("out.png")});
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        SCOPED_TRACE(signal);
        std::chrono::steady_clock::time_point signalled;
        const ProgramResult result = test::RunProgram(arguments, [&](pid_t process) {
            EXPECT_TRUE(WaitForOutput());
            std::this_thread::sleep_for(std::chrono::milliseconds(100)); // into the adds
            signalled = std::chrono::steady_clock::now();
            kill(process, signal);
        });
        EXPECT_LT(std::chrono::steady_clock::now() - signalled, std::chrono::seconds(2));
        EXPECT_EQ(result.Status, 128 + signal) << result.Errors;
        EXPECT_TRUE(result.Errors.ends_with("\nkyfocus: interrupted\n")) << result.Errors;
        ExpectNothingWritten();
    }
}

TEST_F(ComposeProgram, CanBeInterruptedWhileItWaitsForAPipe) {
    MakeStack(2);
    const std::string pipe = Output("heights"); // nobody writes to it
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    const ProgramResult result = test::RunProgram(
        {"compose", Stack(), "-o", Frame("out.png"), "--heights", pipe, "--height-map", Output("z.tif")},
        [&](pid_t process) {
            EXPECT_TRUE(WaitForOutput(/*otherEntries=*/1));
            kill(process, SIGINT);
        });
    EXPECT_EQ(result.Status, 128 + SIGINT) << result.Errors;
    EXPECT_EQ(test::EntryNames(Out()), (Names{"heights"}));
    EXPECT_EQ(test::EntryNames(Stack()), (Names{"f1.png", "f2.png"}));
}

TEST_F(ComposeProgram, TellsEveryOptionItsUnitAndDefault) {
    const ProgramResult result = test::RunProgram({"compose", "--help"});
    EXPECT_EQ(result.Status, 0);
    EXPECT_EQ(result.Errors, "");
    for (const char* const option :
         {"--output",       "--speed",          "--preset",      "--comp-size",    "--smoothing",
          "--scope",        "--align",          "--areas",       "--area-pos",     "--keep-border",
          "--heights",      "--start",          "--step",        "--unit",         "--height-map",
          "--height-image", "--threads",        "--no-parallel", "--json",         "--progress",
          "--keep-order",   "--mode",           "--plane",       "--halation",     "--no-halation",
          "--adopt-top",    "--no-adopt-top",   "--sensitivity", "--noise-remove", "--shape-smoothing",
          "--temp",         "--height-picture", "--mesh",        "--mesh-step",    "--pixel-size"})
        EXPECT_NE(result.Output.find(std::string(option).append(1, ' ')), std::string::npos) << option;
    std::istringstream lines(result.Output);
    for (std::string line; std::getline(lines, line);) EXPECT_LE(line.size(), 100U) << line;
}

TEST_F(ComposeProgram, TellsItsVersion) {
    const ProgramResult result = test::RunProgram({"--version"});
    EXPECT_EQ(result.Status, 0);
    EXPECT_TRUE(result.Output.starts_with("kyfocus ")) << result.Output;
}

} // namespace

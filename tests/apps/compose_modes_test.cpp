/// Compose with the 3D pipeline: its modes, its outputs, and the folder that it keeps frames in.
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <thread>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sys/resource.h>

#include "compare.h"
#include "images.h"
#include "npy_file.h"
#include "run_program.h"
#include "support/case_files.h"
#include "support/file_text.h"
#include "support/images.h"

namespace {

namespace fs = std::filesystem;
using test::ProgramResult;
using Names = std::vector<std::string>;

/// A synthetic stack of 8 frames 2 um apart, folders "out" and "temp".
class ComposeModes : public testing::Test {
  protected:
    static constexpr int kFrames = 8;

    void SetUp() override {
        fs::create_directory(Path("out"));
        fs::create_directory(Path("temp"));
        const ProgramResult result = test::RunProgram(
            {"synth", "-o", Path("stack"), "--size", "160x120", "--frames", "8", "--step", "2", "--format", "bmp"});
        ASSERT_EQ(result.Status, 0) << result.Errors;
    }

    std::string Path(const std::string& name) const { return m_folder.Path() / name; }
    std::string Out(const std::string& name) const { return m_folder.Path() / "out" / name; }
    std::string Frame(int index) const { return Path("stack/frame_00" + std::to_string(index) + ".bmp"); }

    ProgramResult Compose(const Names& options, const std::function<void(pid_t)>& whileRunning = nullptr) const {
        Names arguments = {"compose", Path("stack"), "--progress", "none", "-o", Out("o.png")};
        arguments.insert(arguments.end(), options.begin(), options.end());
        return test::RunProgram(arguments, whileRunning);
    }
    /// The same in one of the 3D modes, with heights and a folder for the frames.
    ProgramResult Compose3d(const Names& options, const std::function<void(pid_t)>& whileRunning = nullptr) const {
        Names all = {"--heights", Path("stack/heights.txt"), "--temp", Path("temp")};
        all.insert(all.end(), options.begin(), options.end());
        return Compose(all, whileRunning);
    }
    nlohmann::json Summary(Names options) const {
        options.insert(options.end(), {"--json", "-"});
        const ProgramResult result = Compose(options);
        EXPECT_EQ(result.Status, 0) << result.Errors;
        return nlohmann::json::parse(result.Output, nullptr, /*allow_exceptions=*/false);
    }

    void ExpectRefusal(int status, const std::string& reason, const ProgramResult& result) const {
        EXPECT_EQ(result.Status, status) << result.Errors;
        EXPECT_NE(result.Errors.find(reason), std::string::npos) << result.Errors;
        EXPECT_EQ(test::EntryNames(Path("out")), Names{});
        EXPECT_EQ(test::EntryNames(Path("temp")), Names{});
    }

    /// Waits until so many frames are kept below a folder. @return the private folder, empty when they never came.
    static fs::path WaitForKeptFrames(const fs::path& parent, std::size_t count) {
        for (int wait = 0; wait < 4000; ++wait) {
            for (const std::string& name : test::EntryNames(parent)) {
                std::error_code error;
                if (fs::is_directory(parent / name, error) && test::EntryNames(parent / name).size() >= count)
                    return parent / name;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
        return {};
    }

    /// Composes 200 frames in mode 3d and halts the program for `meanwhile` when some of them are kept.
    ProgramResult ComposeWithPause(const fs::path& parent, const Names& options,
                                   const std::function<void(const fs::path& kept)>& meanwhile) const {
        Names arguments = {"compose", "-o",      Out("o.png"), "--progress", "none", "--mode",
                           "3d",      "--speed", "quarter",    "--step",     "1"};
        arguments.insert(arguments.end(), options.begin(), options.end());
        arguments.insert(arguments.end(), 200, Frame(0));
        return test::RunProgram(arguments, [&](pid_t process) {
            const fs::path kept = WaitForKeptFrames(parent, 4);
            EXPECT_NE(kept, fs::path());
            kill(process, SIGSTOP);
            meanwhile(kept);
            kill(process, SIGCONT);
        });
    }

  private:
    test::TemporaryFolder m_folder;
};

TEST_F(ComposeModes, GiveHeightsCloseToTheTruth) {
    for (const std::string mode : {"2d", "3d", "complex"}) {
        SCOPED_TRACE(mode);
        const ProgramResult result =
            Compose({"--mode", mode, "--heights", Path("stack/heights.txt"), "--height-map", Out("z.npy")});
        ASSERT_EQ(result.Status, 0) << result.Errors;
        const auto heights = app::CompareHeightFiles(Path("stack/truth/height.tif"), Out("z.npy"), 8, {2.0, false});
        EXPECT_LT(heights.Heights.RootMeanSquare, 2.0);
        EXPECT_GT(heights.Heights.Near, heights.Heights.Measured * 8 / 10);
        const auto image = app::CompareImageFiles(Path("stack/truth/image.bmp"), Out("o.png"), 8);
        EXPECT_GT(image.SignalToNoise, 25.0);
    }
}

TEST_F(ComposeModes, ComplexGivesTheImageOf2dAndTheHeightsOf3d) {
    for (const std::string mode : {"2d", "3d", "complex"})
        ASSERT_EQ(test::RunProgram({"compose", Path("stack"), "-o", Out(mode + ".png"), "--mode", mode, "--step", "2",
                                    "--height-map", Out(mode + ".npy"), "--progress", "none"})
                      .Status,
                  0);
    EXPECT_EQ(test::ReadText(Out("complex.png")), test::ReadText(Out("2d.png")));
    EXPECT_NE(test::ReadText(Out("complex.png")), test::ReadText(Out("3d.png")));
    EXPECT_EQ(test::ReadText(Out("complex.npy")), test::ReadText(Out("3d.npy")));
    EXPECT_NE(test::ReadText(Out("complex.npy")), test::ReadText(Out("2d.npy")));
}

TEST_F(ComposeModes, AreChosenByWhatIsAskedFor) {
    const std::string map = Out("z.tif");
    EXPECT_EQ(Summary({}).at("mode"), "2d");
    EXPECT_EQ(Summary({"--step", "2"}).at("mode"), "2d"); // no output needs them
    EXPECT_EQ(Summary({"--step", "2", "--height-map", map}).at("mode"), "complex");
    EXPECT_EQ(Summary({"--step", "2", "--sensitivity", "5"}).at("mode"), "complex");
    EXPECT_EQ(Summary({"--step", "2", "--height-map", map, "--mode", "2d"}).at("mode"), "2d");
    EXPECT_EQ(Summary({"--step", "2", "--mode", "3d"}).at("mode"), "3d");
}

TEST_F(ComposeModes, TakeTheLibrarysDefaultsAndTellTheirSettings) {
    const nlohmann::json byDefault = Summary({"--step", "2", "--mode", "3d"}).at("settings");
    EXPECT_EQ(byDefault.at("plane"), "top");
    EXPECT_EQ(byDefault.at("halation"), true);
    EXPECT_EQ(byDefault.at("adopt_top"), true);
    for (const char* const degree : {"sensitivity", "noise_remove", "shape_smoothing"})
        EXPECT_EQ(byDefault.at(degree), 5);
    EXPECT_FALSE(byDefault.contains("comp_size_percent"));
    const nlohmann::json chosen =
        Summary({"--step", "2", "--mode", "complex", "--plane", "other", "--no-halation", "--no-adopt-top",
                 "--sensitivity", "0", "--noise-remove", "1", "--shape-smoothing", "10", "--comp-size", "9"})
            .at("settings");
    EXPECT_EQ(chosen.at("plane"), "other");
    EXPECT_EQ(chosen.at("halation"), false);
    EXPECT_EQ(chosen.at("adopt_top"), false);
    EXPECT_EQ(chosen.at("sensitivity"), 0);
    EXPECT_EQ(chosen.at("noise_remove"), 1);
    EXPECT_EQ(chosen.at("shape_smoothing"), 10);
    EXPECT_EQ(chosen.at("comp_size_percent"), 9);
    EXPECT_FALSE(chosen.contains("smoothing_percent"));
}

TEST_F(ComposeModes, HandEverySettingToTheLibrary) {
    const auto heightsWith = [&](const Names& settings) {
        Names options = {"--step", "2", "--mode", "3d", "--height-map", Out("z.npy")};
        options.insert(options.end(), settings.begin(), settings.end());
        const ProgramResult result = Compose(options);
        EXPECT_EQ(result.Status, 0) << result.Errors;
        return test::ReadText(Out("z.npy"));
    };
    const std::string byDefault = heightsWith({});
    EXPECT_EQ(heightsWith({"--halation", "--adopt-top", "--sensitivity", "5", "--plane", "top"}), byDefault);
    for (const Names& settings :
         {Names{"--sensitivity", "10"}, {"--noise-remove", "0"}, {"--shape-smoothing", "9"}, {"--speed", "quarter"}})
        EXPECT_NE(heightsWith(settings), byDefault) << settings[0];
}

TEST_F(ComposeModes, GiveTheSameHeightsWithAnyNumberOfThreads) {
    const auto heightsWith = [&](const Names& threads) {
        Names options = {"--height-map", Out("z.npy"), "--mode", "3d"};
        options.insert(options.end(), threads.begin(), threads.end());
        EXPECT_EQ(Compose3d(options).Status, 0);
        return test::ReadText(Out("z.npy")) + test::ReadText(Out("o.png"));
    };
    const std::string alone = heightsWith({"--no-parallel"});
    for (const std::string threads : {"1", "2", "5"}) EXPECT_EQ(heightsWith({"--threads", threads}), alone) << threads;
}

TEST_F(ComposeModes, WriteAllHeightOutputsTogether) {
    const ProgramResult result =
        Compose3d({"--height-map", Out("z.npy"), "--height-image", Out("z16.png"), "--height-picture", Out("z.png"),
                   "--mesh", Out("z.PLY"), "--mesh-step", "2", "--pixel-size", "0.25", "--json", Out("run.json")});
    ASSERT_EQ(result.Status, 0) << result.Errors;
    EXPECT_EQ(test::EntryNames(Path("out")), (Names{"o.png", "run.json", "z.PLY", "z.npy", "z.png", "z16.png"}));
    const auto json = nlohmann::json::parse(test::ReadText(Out("run.json")));
    EXPECT_EQ(json.at("result").at("mesh").at("file"), Out("z.PLY"));
    EXPECT_EQ(json.at("result").at("height_picture").at("file"), Out("z.png"));
    EXPECT_EQ(json.at("temporary_bytes"), kFrames * 160 * 120 * 3);
    const app::HeightMap map = app::LoadNpy(Out("z.npy"));
    const auto [least, greatest] = std::minmax_element(map.Values.begin(), map.Values.end());
    EXPECT_EQ(json.at("result").at("heights").at("least"), *least);
    EXPECT_EQ(json.at("result").at("heights").at("greatest"), *greatest);
    EXPECT_EQ(app::LoadImage(Out("z.png"))->Format, KyiFormatBgr24);
    EXPECT_NE(test::ReadText(Out("z.PLY")).find("element vertex 4800\n"), std::string::npos); // 80 x 60
}

TEST_F(ComposeModes, RefuseOptionsThatMeanNothingToThem) {
    const auto with = [&](const Names& options) { return Compose(options); };
    ExpectRefusal(2, "--mode: '4d' is not one of 2d, 3d, complex", with({"--mode", "4d"}));
    ExpectRefusal(2, "--mode 3d needs the frames' heights", with({"--mode", "3d"}));
    ExpectRefusal(2, "--mode complex needs the frames' heights", with({"--mode", "complex"}));
    ExpectRefusal(2, "--plane is for --mode 3d and complex, the mode is 2d (no heights are given)",
                  with({"--plane", "top"}));
    for (const std::string option : {"--halation", "--no-halation", "--adopt-top", "--no-adopt-top"})
        ExpectRefusal(2, option + " is for --mode 3d and complex, the mode is 2d\n", with({"--mode", "2d", option}));
    for (const std::string option : {"--sensitivity", "--noise-remove", "--shape-smoothing"}) {
        ExpectRefusal(2, option + " is for --mode 3d and complex", with({option, "5"}));
        ExpectRefusal(2, "'11' is not a whole number from 0 to 10", with({option, "11"}));
        ExpectRefusal(2, "'-1' is not a whole number from 0 to 10", with({option, "-1"}));
    }
    ExpectRefusal(2, "--temp is for --mode 3d and complex", with({"--temp", Path("temp")}));
    ExpectRefusal(2, "--comp-size is for --mode 2d and complex, the mode is 3d\n",
                  with({"--mode", "3d", "--step", "1", "--comp-size", "5"}));
    ExpectRefusal(2, "--smoothing is for --mode 2d and complex, the mode is 3d\n",
                  with({"--mode", "3d", "--step", "1", "--smoothing", "5"}));
    ExpectRefusal(2, "--plane: 'middle' is not one of bottom, other, top", with({"--plane", "middle"}));
}

TEST_F(ComposeModes, WarnOfASmoothingThatTheModeDoesNotUse) {
    const auto run = Compose({"--step", "1", "--smoothing", "5", "--height-map", Out("z.tif")});
    EXPECT_EQ(run.Status, 0) << run.Errors;
    EXPECT_NE(run.Errors.find("\nkyfocus: warning: --smoothing does nothing in --mode complex"), std::string::npos)
        << run.Errors;
    const auto quiet = Compose({"--mode", "2d", "--step", "1", "--smoothing", "5", "--height-map", Out("z.tif")});
    EXPECT_EQ(quiet.Status, 0) << quiet.Errors;
    EXPECT_EQ(quiet.Errors.find("does nothing"), std::string::npos) << quiet.Errors;
}

TEST_F(ComposeModes, WarnOfHeightsThatThePlaneDoesNotFit) {
    const Names small{"--start", "0", "--step", "0.25", "--height-map", Out("z.npy"), "--temp", Path("temp")};
    const ProgramResult top = Compose(small);
    EXPECT_EQ(top.Status, 0) << top.Errors;
    EXPECT_NE(top.Errors.find("kyfocus: warning: --plane top fills"), std::string::npos) << top.Errors;
    Names other = small;
    other.insert(other.end(), {"--plane", "other"});
    EXPECT_EQ(Compose(other).Errors.find("--plane"), std::string::npos);
    EXPECT_EQ(Compose3d({"--height-map", Out("z.npy")}).Errors.find("--plane"), std::string::npos);
}

TEST_F(ComposeModes, RefuseOutputsThatCannotBe) {
    const auto with = [&](Names options) {
        options.insert(options.end(), {"--step", "2", "--temp", Path("temp")});
        return Compose(options);
    };
    ExpectRefusal(2, "z.txt: unknown extension, expected .tif or .tiff or .npy", with({"--height-map", Out("z.txt")}));
    ExpectRefusal(2, "z.tif: unknown extension, expected .png", with({"--height-picture", Out("z.tif")}));
    ExpectRefusal(2, "z.obj: unknown extension, expected .ply or .stl", with({"--mesh", Out("z.obj")}));
    ExpectRefusal(2, "--mesh-step needs --mesh", with({"--mesh-step", "2"}));
    ExpectRefusal(2, "--pixel-size needs --mesh", with({"--pixel-size", "2"}));
    ExpectRefusal(2, "--pixel-size is out of range", with({"--mesh", Out("z.stl"), "--pixel-size", "0"}));
    ExpectRefusal(2, "'0' is not a whole number from 1", with({"--mesh", Out("z.stl"), "--mesh-step", "0"}));
    ExpectRefusal(1, "z.stl: a mesh of 2 x 1 samples has no triangle, see --mesh-step",
                  with({"--mesh", Out("z.stl"), "--mesh-step", "120"}));
    ExpectRefusal(2, "need the frames' heights", Compose({"--mesh", Out("z.stl")}));
}

TEST_F(ComposeModes, RefuseHeightsThatAreAllZeroWhereTheyCountAsNone) {
    std::ofstream(Path("zero.txt")) << "0\n0\n0\n0\n0\n0\n0\n0\n";
    const auto with = [&](const std::string& mode) {
        return Compose({"--heights", Path("zero.txt"), "--mode", mode, "--height-map", Out("z.npy")});
    };
    ExpectRefusal(1, "the heights are all 0, which --mode complex takes for none", with("complex"));
    for (const char* const mode : {"2d", "3d"}) {
        ASSERT_EQ(with(mode).Status, 0);
        for (const double height : app::LoadNpy(Out("z.npy")).Values) ASSERT_NEAR(height, 0.0, 0.05);
    }
}

TEST_F(ComposeModes, KeepFramesPrivatelyAndLeaveTheFilesOfOthersAlone) {
    std::ofstream(Path("temp/MFocusTemp0.bmp")) << "of someone else";
    const ProgramResult result = ComposeWithPause(Path("temp"), {"--temp", Path("temp")}, [](const fs::path& kept) {
        EXPECT_EQ(fs::status(kept).permissions(), fs::perms::owner_all);
    });
    EXPECT_EQ(result.Status, 0) << result.Errors;
    EXPECT_EQ(test::EntryNames(Path("temp")), Names{"MFocusTemp0.bmp"});
    EXPECT_EQ(test::ReadText(Path("temp/MFocusTemp0.bmp")), "of someone else");
}

TEST_F(ComposeModes, KeepFramesInTheSystemsFolderByDefault) {
    const char* const before = std::getenv("TMPDIR");
    const std::string old = before ? before : "";
    setenv("TMPDIR", Path("temp").c_str(), 1);
    const ProgramResult result = ComposeWithPause(Path("temp"), {}, [](const fs::path&) {});
    before ? setenv("TMPDIR", old.c_str(), 1) : unsetenv("TMPDIR");
    EXPECT_EQ(result.Status, 0) << result.Errors;
    EXPECT_EQ(test::EntryNames(Path("temp")), Names{});
}

TEST_F(ComposeModes, SayThatTheSystemsFolderIsMissing) {
    const std::string line = "TMPDIR='" + Path("none") + "' '" KY_PROGRAM "' compose '" + Frame(0) + "' -o '" +
                             Out("o.png") + "' --mode 3d --step 1 2>'" + Path("errors") + "'";
    EXPECT_EQ(WEXITSTATUS(std::system(line.c_str())), 1);
    const std::string errors = test::ReadText(Path("errors"));
    EXPECT_NE(errors.find("the system's temporary folder cannot be used: No such"), std::string::npos) << errors;
    EXPECT_EQ(test::EntryNames(Path("out")), Names{});
}

TEST_F(ComposeModes, LeaveNoKeptFramesBehindAFailure) {
    fs::resize_file(Frame(6), 5000);
    ExpectRefusal(1, Frame(6) + ": cannot be read as an image", Compose3d({"--mode", "3d"}));
    ExpectRefusal(1, Frame(6) + ": cannot be read as an image", Compose3d({"--mode", "complex"}));
}

TEST_F(ComposeModes, LeaveNoKeptFramesWhenInterrupted) {
    for (const int signal : {SIGINT, SIGTERM, SIGHUP})
        for (const std::string mode : {"3d", "complex"}) {
            Names arguments(3000, Frame(0)); // far more than it can add until the signal comes
            arguments.insert(arguments.begin(),
                             {"compose", "-o", Out("o.png"), "--step", "1", "--mode", mode, "--temp", Path("temp")});
            const ProgramResult result = test::RunProgram(arguments, [&](pid_t process) {
                EXPECT_NE(WaitForKeptFrames(Path("temp"), 20), fs::path());
                kill(process, signal);
            });
            ExpectRefusal(128 + signal, "kyfocus: interrupted\n", result);
        }
}

TEST_F(ComposeModes, TellThatAKeptFrameIsLost) {
    for (const bool isRemoved : {true, false}) {
        const auto lose = [&](const fs::path& kept) {
            const fs::path frame = kept / "MFocusTemp1.bmp";
            isRemoved ? fs::remove(frame) : (fs::resize_file(frame, 5000), true);
        };
        ExpectRefusal(1, "frames that were kept here are gone or cut short",
                      ComposeWithPause(Path("temp"), {"--temp", Path("temp")}, lose));
    }
}

// The race checker keeps its own state in files, which the limit would cut too.
#if defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define KY_RACE_CHECKED 1
#endif
#endif
#if !defined(KY_RACE_CHECKED)
TEST_F(ComposeModes, TellThatAFrameCannotBeKept) {
    rlimit before{};
    getrlimit(RLIMIT_FSIZE, &before);
    const rlimit limit{1000, before.rlim_max}; // bytes
    setrlimit(RLIMIT_FSIZE, &limit);
    const ProgramResult result = Compose3d({"--mode", "3d"});
    setrlimit(RLIMIT_FSIZE, &before);
    ExpectRefusal(1,
                  Frame(0) + ": frame not added: it cannot be kept in " + Path("temp") +
                      ": the file cannot be written: File too large",
                  result);
}
#endif

TEST_F(ComposeModes, TellWhyThereIsNoFolderForFrames) {
    const auto with = [&](const std::string& folder) {
        return Compose({"--mode", "3d", "--step", "2", "--temp", folder});
    };
    ExpectRefusal(1, Path("none") + ": temporary folder cannot be made: No such file or directory", with(Path("none")));
    ExpectRefusal(1, Frame(0) + ": temporary folder cannot be made: Not a directory", with(Frame(0)));
    std::string name = Path("temp");
    while (name.size() < 250) name += "/.";
    ExpectRefusal(1, name + ": name too long for a temporary folder", with(name));
}

} // namespace

/// Compose where something is odd around it: file names, links, limits, readers that go away.
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <thread>
#include <tuple>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sys/resource.h>
#include <sys/stat.h>

#include "images.h"
#include "run_program.h"
#include "support/case_files.h"
#include "support/images.h"

namespace {

namespace fs = std::filesystem;
using test::ProgramResult;
using Names = std::vector<std::string>;

/// What programs started meanwhile may write to a file at most.
class FileSizeLimit {
  public:
    explicit FileSizeLimit(rlim_t bytes) {
        getrlimit(RLIMIT_FSIZE, &m_before);
        const rlimit limit{bytes, m_before.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FileSizeLimit() { setrlimit(RLIMIT_FSIZE, &m_before); }
    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;

  private:
    rlimit m_before{};
};

class ComposeOddRuns : public testing::Test {
  protected:
    void SetUp() override {
        fs::create_directory(Path("stack"));
        fs::create_directory(Path("out"));
        MakeStack(KyiFormatBgr24);
    }

    std::string Path(const std::string& name) const { return m_folder.Path() / name; }

    /// Two frames that have nothing in common.
    void MakeStack(int format) const {
        app::SaveImage(Path("stack/f1.png"), *test::RandomImage(64, 48, format, 1));
        app::SaveImage(Path("stack/f2.png"), *test::RandomImage(64, 48, format, 2));
    }

    ProgramResult Compose(const Names& options) const {
        Names arguments = {"compose", Path("stack"), "--progress", "none"};
        arguments.insert(arguments.end(), options.begin(), options.end());
        return test::RunProgram(arguments);
    }

    std::string Out(const char* name) const { return m_folder.Path() / "out" / name; }

    Names Written() const { return test::EntryNames(Path("out")); }

    void ExpectRefusal(const Names& options, int status, const std::string& reason) const {
        const ProgramResult result = Compose(options);
        EXPECT_EQ(result.Status, status) << result.Errors;
        EXPECT_NE(result.Errors.find(reason), std::string::npos) << result.Errors;
        EXPECT_EQ(Written(), Names{});
    }

    /// Lets Shell know the folder and, as $K, the program.
    void EnterFolder() const {
        setenv("F", m_folder.Path().c_str(), 1);
        setenv("K", KY_PROGRAM, 1);
    }
    /// Runs a line of the shell in the folder. @return its exit status.
    static int Shell(const std::string& command) {
        const std::string line = std::string("cd \"$F\" && ").append(command);
        return WEXITSTATUS(std::system(line.c_str()));
    }

  private:
    test::TemporaryFolder m_folder;
};

TEST_F(ComposeOddRuns, WritesAnOutputThatIsNamedLikeTheLibrarysTemporaryFiles) {
    const ProgramResult result = Compose({"-o", Path("out/MFocusTemp.png"), "--json", Path("out/aMFocusTempb.json")});
    EXPECT_EQ(result.Status, 0) << result.Errors;
    EXPECT_EQ(Written(), (Names{"MFocusTemp.png", "aMFocusTempb.json"}));
}

TEST_F(ComposeOddRuns, TakesNamesThatAreNoUtf8AndHaveBlanks) {
    fs::rename(Path("stack/f1.png"), Path("stack/a \xFF\xC3 1.png"));
    const ProgramResult result = Compose({"-o", Path("out/o \xFE.png"), "--json", "-"});
    EXPECT_EQ(result.Status, 0) << result.Errors;
    EXPECT_EQ(Written(), (Names{"o \xFE.png"}));
    EXPECT_EQ(nlohmann::json::parse(result.Output)["frames"]["count"], 2);
}

// The race checker keeps its own state in files, which the limit would cut too.
#if defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define KY_RACE_CHECKED 1
#endif
#endif
#if !defined(KY_RACE_CHECKED)
TEST_F(ComposeOddRuns, LeavesNothingWhenAFileWouldBecomeTooLarge) {
    const FileSizeLimit limit(1000);
    for (const char* const name : {"out.png", "out.tif", "out.bmp", "out.jpg"})
        ExpectRefusal({"-o", Out(name)}, 1, std::string(name).append(": cannot be written: File too large\n"));
    for (const auto& [option, name] :
         {std::pair("--height-map", "z.tif"), std::pair("--height-map", "z.npy"), std::pair("--height-image", "z.png"),
          std::pair("--height-picture", "z.png"), std::pair("--mesh", "z.ply"), std::pair("--mesh", "z.stl")}) {
        const ProgramResult result = Compose({"-o", Out("o.jpg"), "--mode", "2d", "--step", "1", option, Out(name)});
        EXPECT_EQ(result.Status, 1);
        EXPECT_NE(result.Errors.find(std::string(name).append(": cannot be written: ")), std::string::npos)
            << result.Errors;
        EXPECT_TRUE(result.Errors.ends_with("File too large\n")) << result.Errors;
        EXPECT_EQ(Written(), Names{});
    }
}
#endif

TEST_F(ComposeOddRuns, GoesOnWhenNobodyReadsWhatItSays) {
    EnterFolder();
    Shell("(sleep 0.2; exec \"$K\" compose stack --progress plain -o out/o.png 2>&1) | true");
    for (int wait = 0; wait < 1000 && Written() != Names{"o.png"}; ++wait)
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    EXPECT_EQ(Written(), Names{"o.png"});
}

TEST_F(ComposeOddRuns, FailsWhenItsAnswerCannotBeWritten) {
    EnterFolder();
    for (const char* const command : {"--help", "--version", "compose --help", "compare stack/f1.png stack/f2.png"}) {
        SCOPED_TRACE(command);
        const std::string line = std::string("\"$K\" ").append(command).append(" 2>/dev/null >");
        EXPECT_EQ(Shell(line + "/dev/full"), 1);
        EXPECT_EQ(Shell(line + "/dev/null"), 0);
    }
}

// Whoever reads the answer takes a run that failed for one that left nothing.
TEST_F(ComposeOddRuns, LeavesNoOutputWhenItsSummaryCannotBeWritten) {
    EnterFolder();
    const std::string command = "\"$K\" compose stack --progress none -o out/o.png --json - 2>/dev/null >";
    EXPECT_EQ(Shell(command + "/dev/full"), 1);
    EXPECT_EQ(Written(), Names{});
    std::ofstream(Out("o.png")) << "old";
    EXPECT_EQ(Shell(command + "/dev/full"), 1);
    EXPECT_EQ(fs::file_size(Out("o.png")), 3U);
    EXPECT_EQ(Shell(command + "/dev/null"), 0);
    EXPECT_GT(fs::file_size(Out("o.png")), 3U);
    EXPECT_EQ(Written(), Names{"o.png"});
}

TEST_F(ComposeOddRuns, RefusesPipesAsOutputsAndLeavesThemInPlace) {
    // A pipe of its own stands for devices too: a program that went wrong would put a file in the place of a real one.
    const std::string pipe = Path("pipe.png");
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    fs::create_symlink(pipe, Path("link.json"));
    ExpectRefusal({"-o", pipe}, 1, "pipe.png: is a pipe or device, expected the name of a file to write\n");
    ExpectRefusal({"-o", Out("o.png"), "--json", Path("link.json")}, 1, "link.json: is a pipe or device");
    EXPECT_TRUE(fs::is_fifo(pipe));
    EXPECT_TRUE(fs::is_symlink(Path("link.json")));
}

TEST_F(ComposeOddRuns, WritesTheFileThatALinkLeadsTo) {
    std::ofstream(Path("real.png")) << "old";
    fs::create_symlink("../real.png", Path("out/link.png"));
    ASSERT_EQ(Compose({"-o", Path("out/link.png")}).Status, 0);
    EXPECT_TRUE(fs::is_symlink(Path("out/link.png")));
    EXPECT_EQ(app::LoadImage(Path("real.png"))->Width, 64);
}

TEST_F(ComposeOddRuns, MakesTheFileThatALinkNames) {
    fs::create_symlink("../real.png", Path("out/link.png"));
    ASSERT_EQ(Compose({"-o", Path("out/link.png")}).Status, 0);
    EXPECT_TRUE(fs::is_symlink(Path("out/link.png")));
    EXPECT_EQ(app::LoadImage(Path("real.png"))->Width, 64);
}

TEST_F(ComposeOddRuns, RefusesNamesThatAreEmpty) {
    for (const std::string option : {"--output", "--height-map", "--height-image", "--height-picture", "--mesh",
                                     "--json", "--heights", "--temp"}) {
        const ProgramResult result =
            test::RunProgram({"compose", Path("stack"), "-o", Path("out/o.png"), "--step", "1", option, ""});
        EXPECT_EQ(result.Status, 2) << option << ": " << result.Errors;
        EXPECT_EQ(test::LineCount(result.Errors), 1U) << result.Errors;
    }
    EXPECT_EQ(test::RunProgram({"compose", "", "-o", Path("out/o.png")}).Status, 2);
    EXPECT_EQ(Written(), Names{});
}

TEST_F(ComposeOddRuns, TellsBeforeTheWorkWhatAJpegCannotHold) {
    MakeStack(KyiFormatGray16);
    fs::resize_file(Path("stack/f2.png"), 40); // is not reached
    ExpectRefusal({"-o", Path("out/o.jpg")}, 1,
                  "o.jpg: a JPEG has 8 bits a sample and at most 65500 pixels each way, the frames are 64 x 48 16-bit "
                  "gray, expected a .png, .tif or .bmp output\n");
}

TEST_F(ComposeOddRuns, RefusesHeightsThatNoFileOfFloatsHolds) {
    ExpectRefusal({"-o", Path("out/o.png"), "--start", "9e37", "--step", "9e37", "--height-map", Path("out/z.tif")}, 1,
                  "f2.png: height out of range, expected one from -1e38 to 1e38\n");
    ExpectRefusal({"-o", Path("out/o.png"), "--start", "1e308", "--step", "1e308", "--height-map", Path("out/z.tif")},
                  1, "f1.png: height out of range");
}

TEST_F(ComposeOddRuns, SaysWhichFileOfTheFolderIsNoFrame) {
    const ProgramResult result = Compose({"-o", Path("stack/f2.png")});
    EXPECT_EQ(result.Status, 0) << result.Errors;
    EXPECT_NE(result.Errors.find("stack/f2.png: not taken as a frame, it is an output\n1 frame: f1.png\n"),
              std::string::npos)
        << result.Errors;
}

TEST_F(ComposeOddRuns, WarnsOfSettingsThatSpoilTheResultAndGoesOn) {
    MakeStack(KyiFormatGray16);
    const ProgramResult result = Compose({"-o", Path("out/o.png"), "--speed", "half", "--no-parallel"});
    EXPECT_EQ(result.Status, 0) << result.Errors;
    EXPECT_NE(result.Errors.find("\nkyfocus: warning: --speed half "), std::string::npos) << result.Errors;
    EXPECT_EQ(test::LineCount(result.Errors), 3U) << result.Errors;
}

TEST_F(ComposeOddRuns, TellsOfFramesTooFlatOrTooTallForAGrid) {
    for (const auto& [width, height, word] : {std::tuple{600, 1, "flat"}, std::tuple{1, 600, "tall"}}) {
        for (const char* const name : {"stack/f1.png", "stack/f2.png"})
            app::SaveImage(Path(name), *test::RandomImage(width, height, KyiFormatGray8, 1));
        const ProgramResult refused =
            Compose({"-o", Path("out/o.png"), "--mode", "3d", "--step", "1", "--speed", "full"});
        EXPECT_EQ(refused.Status, 1);
        EXPECT_NE(refused.Errors.find(std::string("pixels are too ") + word), std::string::npos) << refused.Errors;
        EXPECT_TRUE(fs::is_empty(Path("out")));
    }
}

} // namespace

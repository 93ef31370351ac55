// The program while memory and threads are refused, one after the other: the results of a good run, or a failure that
// leaves none.
#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <limits>

#include <gtest/gtest.h>

#include "apps/run_program.h"
#include "support/case_files.h"
#include "support/images.h"
#include "trust/program_runs.h"

namespace {

namespace fs = std::filesystem;
using Names = std::vector<std::string>;

/// So many of a command's calls are refused in turn; the long form takes them all.
constexpr int kPoints = 80;
int StrideOver(int calls) { return std::getenv("KY_SOAK") ? 1 : std::max(1, calls / kPoints); }

/// A command, with names of files below the test's folder.
struct Command {
    const char* Name;
    Names Arguments;
};

class ProgramMemory : public testing::TestWithParam<Command> {
  protected:
    ProgramMemory() {
        for (const char* const folder : {"stack", "made", "temp"}) fs::create_directory(Path(folder));
        for (std::uint32_t i = 0; i < 3; ++i) {
            const test::Image frame = test::TexturedImage(64, 48, KyiFormatBgr24, i + 1);
            const fs::path file = Path("stack") / std::to_string(i).append(".bmp");
            KyiSaveImageData(file.wstring().c_str(), frame.get(), 0);
        }
        Run({"compose", "stack", "-o", "made/o.png", "--mode", "2d", "--step", "1", "--height-map", "made/z.tif",
             "--differentiation-map", "made/d.png"});
        setenv("TMPDIR", Path("temp").c_str(), 1);
    }
    ~ProgramMemory() override { unsetenv("TMPDIR"); }

    fs::path Path(const std::string& name) const { return fs::canonical(m_folder.Path()) / name; }

    test::ProgramResult Run(const Names& arguments) const {
        fs::remove_all(Path("out"));
        fs::create_directory(Path("out"));
        Names words;
        for (const std::string& word : arguments) {
            const bool isFile = word.starts_with("stack") || word.starts_with("out/") || word.starts_with("made/");
            words.push_back(isFile ? Path(word).native() : word);
        }
        return test::RunProgram(words, test::EndIfItHangs);
    }

    test::ProgramResult RunWith(const std::string& kind, int at) const {
        const test::Faults faults(KY_MEMORY_FAULT_LIBRARY, kind, at, "", m_report.Path() / "calls");
        return Run(GetParam().Arguments);
    }

    int Report() const {
        std::ifstream stream(m_report.Path() / "calls");
        int calls = -1;
        stream >> calls;
        return calls;
    }

    /// @return whether the run failed.
    bool ExpectTotal(const test::ProgramResult& result, const test::ProgramResult& good, const test::Contents& whole) {
        EXPECT_EQ(test::ContentsOf(Path("temp")), test::Contents{}) << result.Errors;
        if (result.Status == 0) {
            EXPECT_EQ(test::ContentsOf(Path("out")), whole) << result.Errors;
            EXPECT_EQ(result.Output, good.Output);
            return false;
        }
        EXPECT_EQ(result.Status, 1) << result.Errors;
        EXPECT_EQ(test::ContentsOf(Path("out")), test::Contents{}) << result.Errors;
        const std::size_t line = std::min(result.Errors.rfind("kyfocus: "), result.Errors.size());
        EXPECT_EQ(result.Errors.find('\n', line) + 1, result.Errors.size()) << "not one line: " << result.Errors;
        return true;
    }

    void RefuseEach(const std::string& kind) {
        const test::ProgramResult good = RunWith(kind, std::numeric_limits<int>::max());
        ASSERT_EQ(good.Status, 0) << good.Errors;
        const test::Contents whole = test::ContentsOf(Path("out"));
        const int calls = Report();
        ASSERT_GT(calls, 0) << "nothing was seen";
        int failures = 0;
        for (int at = 0; at < calls; at += StrideOver(calls)) {
            SCOPED_TRACE(kind + " at call " + std::to_string(at) + " of " + std::to_string(calls));
            failures += ExpectTotal(RunWith(kind, at), good, whole) ? 1 : 0;
            if (HasFailure()) return;
        }
        EXPECT_GT(failures, 0);
    }

  private:
    test::TemporaryFolder m_folder;
    test::TemporaryFolder m_report;
};

TEST_P(ProgramMemory, IsRefusedOnceAnywhere) { RefuseEach("memory"); }

TEST_P(ProgramMemory, HasNoThread) { RefuseEach("threads"); }

const Command kCommands[] = {
    {"compose_2d",
     {"compose", "stack", "-o", "out/o.png", "--mode", "2d", "--step", "1", "--height-map", "out/z.tif",
      "--height-image", "out/h.png", "--differentiation-map", "out/d.png"}},
    {"compose_3d",
     {"compose", "stack", "-o", "out/o.tif", "--mode", "3d", "--step", "1", "--speed", "quarter", "--height-map",
      "out/z.npy", "--mesh", "out/m.ply"}},
    {"compose_complex",
     {"compose", "stack", "-o", "out/o.bmp", "--mode", "complex", "--step", "1", "--speed", "quarter", "--height-map",
      "out/z.tif", "--mesh", "out/m.stl"}},
    {"compare", {"compare", "stack/0.bmp", "stack/1.bmp"}},
    {"noisecut", {"noisecut", "made/z.tif", "made/d.png", "-o", "out/n.tif", "--preview", "out/v.png"}},
    {"halation", {"halation", "stack", "-o", "out/o.jpg"}},
    {"synth", {"synth", "-o", "out/new", "--size", "400x30", "--frames", "2", "--threads", "2"}}};

INSTANTIATE_TEST_SUITE_P(Commands, ProgramMemory, testing::ValuesIn(kCommands),
                         [](const auto& chosen) { return std::string(chosen.param.Name); });

} // namespace

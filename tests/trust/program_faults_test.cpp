// The program while its files fail, one call after the other: it names the file and the reason, and leaves nothing.
#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <limits>
#include <map>
#include <thread>

#include <gtest/gtest.h>
#include <sys/wait.h>

#include "apps/run_program.h"
#include "support/case_files.h"
#include "support/images.h"

namespace {

namespace fs = std::filesystem;
using Names = std::vector<std::string>;
using Contents = std::map<std::string, std::string>;

/// Every so many calls fail in turn; the long form takes them all.
constexpr int kLeastPoints = 8; // of a short run, however long the stride
int Stride() { return std::getenv("KY_SOAK") ? 1 : KY_FAULT_STRIDE; }

std::string ReadText(const fs::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

/// Ends a program that hangs, so that its status tells of it.
void EndIfItHangs(pid_t process) {
    for (int wait = 0; wait < 12000; ++wait) {
        siginfo_t state{};
        waitid(P_PID, static_cast<id_t>(process), &state, WEXITED | WNOHANG | WNOWAIT);
        if (state.si_pid == process) return;
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    kill(process, SIGKILL);
}

/// Faults for the programs that are started meanwhile.
class Faults {
  public:
    Faults(const std::string& kind, int at, const fs::path& folder, const fs::path& report) {
        setenv("LD_PRELOAD", KY_FAULT_LIBRARY, 1);
        // A program with address checks wants them first in line otherwise.
        setenv("ASAN_OPTIONS", (m_checks + ":verify_asan_link_order=0").c_str(), 1);
        setenv("KY_FAULT_KIND", kind.c_str(), 1);
        setenv("KY_FAULT_AT", std::to_string(at).c_str(), 1);
        setenv("KY_FAULT_FOLDER", folder.c_str(), 1);
        setenv("KY_FAULT_REPORT", report.c_str(), 1);
    }
    ~Faults() {
        setenv("ASAN_OPTIONS", m_checks.c_str(), 1);
        for (const char* const name :
             {"LD_PRELOAD", "KY_FAULT_KIND", "KY_FAULT_AT", "KY_FAULT_FOLDER", "KY_FAULT_REPORT"})
            unsetenv(name);
    }
    Faults(const Faults&) = delete;
    Faults& operator=(const Faults&) = delete;

  private:
    static std::string CheckOptions() {
        const char* const options = std::getenv("ASAN_OPTIONS");
        return options ? options : "";
    }
    const std::string m_checks = CheckOptions();
};

/// A command, with names of files below the test's folder.
struct Command {
    const char* Name;
    Names Arguments;
};

/// Small stacks in files of all kinds, and what the commands make of them.
class ProgramFaults : public testing::TestWithParam<Command> {
  protected:
    ProgramFaults() {
        for (const char* const folder : {"stack", "out", "temp", "made"}) fs::create_directory(Path(folder));
        const char* const names[] = {"f1.png", "f2.tif", "f3.bmp"};
        for (std::uint32_t i = 0; i < 3; ++i) {
            const test::Image frame = test::TexturedImage(32, 24, KyiFormatBgr24, i + 1);
            KyiSaveImageData((Path("stack") / names[i]).wstring().c_str(), frame.get(), 0);
        }
        std::ofstream(Path("out/old.txt")) << "old";
        Run({"compose", "stack", "-o", "made/o.png", "--mode", "2d", "--step", "1", "--height-map", "made/z.tif",
             "--differentiation-map", "made/d.png", "--save-params", "made/p.ini"});
        setenv("TMPDIR", Path("temp").c_str(), 1);
    }
    ~ProgramFaults() override { unsetenv("TMPDIR"); }

    fs::path Path(const std::string& name) const { return fs::canonical(m_folder.Path()) / name; }

    test::ProgramResult Run(const Names& arguments) const {
        Names words;
        for (const std::string& word : arguments) {
            const bool isFile = word.starts_with("stack") || word.starts_with("out") || word.starts_with("made/");
            words.push_back(isFile ? Path(word).native() : word);
        }
        return test::RunProgram(words, EndIfItHangs);
    }

    /// All files below a folder; those whose content differs from run to run are there without it.
    Contents ContentsOf(const std::string& folder) const {
        Contents contents;
        for (const auto& entry : fs::recursive_directory_iterator(Path(folder))) {
            const bool isSteady = entry.is_regular_file() && entry.path().filename() != "s.json";
            contents[fs::relative(entry.path(), Path(folder))] = isSteady ? ReadText(entry.path()) : "";
        }
        return contents;
    }

    void ClearOutputs() const {
        fs::remove_all(Path("out"));
        fs::create_directory(Path("out"));
        std::ofstream(Path("out/old.txt")) << "old";
        fs::remove_all(Path("temp"));
        fs::create_directory(Path("temp"));
    }

    int Report() const {
        std::ifstream stream(m_report.Path() / "calls");
        int calls = -1;
        stream >> calls;
        return calls;
    }

    test::ProgramResult RunWith(const std::string& kind, int at) const {
        const Faults faults(kind, at, fs::canonical(m_folder.Path()), m_report.Path() / "calls");
        return Run(GetParam().Arguments);
    }

    /// One line names a file of this test, and the reason.
    void ExpectReason(const std::string& errors, const std::string& reason) const {
        const std::size_t line = errors.rfind("kyfocus: ");
        ASSERT_NE(line, std::string::npos) << errors;
        EXPECT_NE(errors.find(m_folder.Path().filename().native(), line), std::string::npos) << errors;
        // A save of parameters and the trace tell nothing; the program reads them back.
        const bool isTold = errors.find(reason, line) != std::string::npos ||
                            errors.find("do not read back", line) != std::string::npos ||
                            errors.find("it alone tells whether", line) != std::string::npos;
        EXPECT_TRUE(isTold) << errors;
    }

    /// @param leftovers  Whether what cannot be deleted may stay: folders, files below the program's own, and whole
    /// outputs that could not be taken back.
    void ExpectTotal(const test::ProgramResult& result, const Contents& whole, const std::string& reason,
                     bool leftovers = false) const {
        Contents written = ContentsOf("out");
        if (leftovers)
            std::erase_if(written, [&](const auto& entry) {
                const bool isWhole =
                    entry.first != "old.txt" && whole.contains(entry.first) && whole.at(entry.first) == entry.second;
                return isWhole || entry.first.find(".kyfocus-") != std::string::npos ||
                       fs::is_directory(Path("out") / entry.first);
            });
        if (result.Status == 0 && !leftovers) {
            EXPECT_EQ(written, whole) << result.Errors;
            return;
        }
        if (result.Status == 0) return;
        EXPECT_EQ(result.Status, 1) << result.Errors;
        EXPECT_EQ(written, (Contents{{"old.txt", "old"}})) << result.Errors;
        ExpectReason(result.Errors, reason);
    }

    /// Each call of a kind fails in turn. @param leftovers  Whether what cannot be deleted may stay.
    void FailEachCall(const std::string& kind, int error, bool leftovers = false) const {
        ClearOutputs();
        ASSERT_EQ(RunWith(kind, std::numeric_limits<int>::max()).Status, 0);
        const Contents whole = ContentsOf("out");
        const int calls = Report();
        ASSERT_GT(calls, 3) << "too few calls were seen";
        const int step = std::min(Stride(), std::max(1, calls / kLeastPoints));
        int failures = 0;
        for (int at = 0; at < calls; at += step) {
            SCOPED_TRACE(kind + " at call " + std::to_string(at) + " of " + std::to_string(calls));
            ClearOutputs();
            const test::ProgramResult result = RunWith(kind, at);
            ExpectTotal(result, whole, std::strerror(error), leftovers);
            EXPECT_TRUE(leftovers || ContentsOf("temp").empty()) << result.Errors;
            if (HasFailure()) return;
            failures += result.Status == 0 ? 0 : 1;
        }
        EXPECT_GT(failures, 0);
    }

  private:
    test::TemporaryFolder m_folder;
    test::TemporaryFolder m_report;
};

TEST_P(ProgramFaults, NoSpace) { FailEachCall("nospace", ENOSPC); }

TEST_P(ProgramFaults, AnInputOrOutputError) { FailEachCall("ioerror", EIO); }

TEST_P(ProgramFaults, NoPermission) { FailEachCall("nopermission", EACCES, /*leftovers=*/true); }

TEST_P(ProgramFaults, ShortTransfersChangeNothing) {
    ClearOutputs();
    ASSERT_EQ(Run(GetParam().Arguments).Status, 0);
    const Contents whole = ContentsOf("out");
    ClearOutputs();
    const test::ProgramResult result = RunWith("short", 0);
    EXPECT_EQ(result.Status, 0) << result.Errors;
    EXPECT_EQ(ContentsOf("out"), whole);
}

TEST_P(ProgramFaults, InterruptedCallsAreMadeAgainOrToldOf) {
    ClearOutputs();
    ASSERT_EQ(Run(GetParam().Arguments).Status, 0);
    const Contents whole = ContentsOf("out");
    ClearOutputs();
    ExpectTotal(RunWith("interrupted", 0), whole, std::strerror(EINTR));
    EXPECT_EQ(ContentsOf("temp"), Contents{});
}

const Command kCommands[] = {
    {"compose_2d",
     {"compose", "stack", "-o", "out/o.png", "--mode", "2d", "--step", "1", "--height-map", "out/z.tif",
      "--height-image", "out/h.png", "--json", "out/s.json", "--save-params", "out/p.ini"}},
    {"compose_3d",
     {"compose", "stack", "-o", "out/o.tif", "--mode", "3d", "--step", "1", "--speed", "quarter", "--height-map",
      "out/z.npy", "--mesh", "out/m.ply"}},
    {"compose_complex",
     {"compose", "stack", "-o", "out/o.bmp", "--mode", "complex", "--step", "1", "--speed", "quarter", "--mesh",
      "out/m.stl"}},
    {"halation", {"halation", "stack", "-o", "out/o.jpg"}},
    {"noisecut", {"noisecut", "made/z.tif", "made/d.png", "-o", "out/n.tif", "--preview", "out/v.png"}},
    {"synth", {"synth", "-o", "out/new", "--size", "40x30", "--frames", "2", "--threads", "1"}}};

INSTANTIATE_TEST_SUITE_P(Commands, ProgramFaults, testing::ValuesIn(kCommands),
                         [](const auto& chosen) { return std::string(chosen.param.Name); });

} // namespace

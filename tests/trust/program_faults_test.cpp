// The program while its files fail, one call after the other: it names the file and the reason, and leaves nothing.
#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <limits>

#include <gtest/gtest.h>

#include "trust/program_runs.h"

namespace {

namespace fs = std::filesystem;
using test::Contents;

/// Every so many calls fail in turn; the long form takes them all.
constexpr int kLeastPoints = 8; // of a short run, however long the stride
constexpr int kFewCalls = 20;   // that fail one and all
int Stride() { return std::getenv("KY_SOAK") ? 1 : KY_FAULT_STRIDE; }

/// The commands on small stacks in files of all kinds.
class ProgramFaults : public testing::TestWithParam<test::Command> {
  protected:
    /// All below `out`; what differs from run to run is left out.
    Contents Outputs() const {
        Contents contents = test::ContentsOf(m_place.Path("out"));
        if (contents.contains("s.json") && contents["s.json"].starts_with("{")) contents["s.json"] = "a summary";
        return contents;
    }
    bool IsFolder(const std::string& output) const { return fs::is_directory(m_place.Path("out") / output); }
    Contents Temporary() const { return test::ContentsOf(m_place.Path("temp")); }

    int Report() const {
        std::ifstream stream(m_place.Path("calls"));
        int calls = -1;
        stream >> calls;
        return calls;
    }

    test::ProgramResult Run() const { return m_place.Run(GetParam().Arguments); }
    test::ProgramResult RunWith(const std::string& kind, int at) const {
        const test::Faults faults(KY_FAULT_LIBRARY, kind, at, m_place.Folder(), m_place.Path("calls"));
        return Run();
    }

    /// What a run without faults writes, over files that are there.
    Contents WholeOver(const Contents& old) const {
        m_place.Clear(old);
        EXPECT_EQ(Run().Status, 0);
        return Outputs();
    }

    /// Old files under the names of all outputs.
    Contents OldOutputs() const {
        Contents old = kBeside;
        for (const auto& [name, content] : WholeOver(kBeside))
            if (!IsFolder(name)) old.emplace(name, "[FocusCompositionSetting]\nSpeed=1\n; old " + name + "\n");
        return old;
    }

    /// One line names a file of this test, and the reason.
    void ExpectReason(const std::string& errors, const std::string& reason) const {
        const std::size_t line = errors.rfind("kyfocus: ");
        ASSERT_NE(line, std::string::npos) << errors;
        if (reason.empty()) return;
        EXPECT_NE(errors.find(m_place.Folder().filename().native(), line), std::string::npos) << errors;
        // A save of parameters and the trace tell nothing; the program reads them back.
        const bool isTold = errors.find(reason, line) != std::string::npos ||
                            errors.find("do not read the same twice", line) != std::string::npos ||
                            errors.find("do not read back", line) != std::string::npos ||
                            errors.find("it alone tells whether", line) != std::string::npos;
        EXPECT_TRUE(isTold) << errors;
    }

    struct Expectation {
        Contents Old;       // ahead of a run
        Contents Whole;     // after a good one
        std::string Reason; // of a failure; empty: any
        bool Leftovers;     // folders, files below the program's own and whole outputs may stay
    };

    /// Takes folders out, and what is in the program's own.
    void DropLeftovers(Contents& contents) const {
        std::erase_if(contents, [this](const auto& entry) {
            return entry.first.find(".kyfocus-") != std::string::npos || IsFolder(entry.first);
        });
    }

    /// Whole outputs, or the old ones and a reason.
    void ExpectTotal(const test::ProgramResult& result, const Expectation& expected) const {
        Contents written = Outputs();
        Contents old = expected.Old;
        if (result.Status == 0) {
            Contents whole = expected.Whole;
            if (expected.Leftovers)
                for (Contents* const contents : {&written, &whole}) DropLeftovers(*contents);
            EXPECT_EQ(written, whole) << result.Errors;
            return;
        }
        EXPECT_EQ(result.Status, 1) << result.Errors;
        // Folders that were there with the old files.
        std::erase_if(written, [&](const auto& entry) { return IsFolder(entry.first) && HasFileIn(old, entry.first); });
        if (expected.Leftovers) {
            DropLeftovers(written);
            for (auto& [name, content] : written)
                if (!kBeside.contains(name) && expected.Whole.contains(name) && content == expected.Whole.at(name))
                    old[name] = content; // could not be taken back
        }
        EXPECT_EQ(written, old) << result.Errors;
        ExpectReason(result.Errors, expected.Reason);
    }

    static bool HasFileIn(const Contents& files, const std::string& folder) {
        return std::any_of(files.begin(), files.end(),
                           [&](const auto& file) { return file.first.starts_with(folder + "/"); });
    }

    /// Each call of a kind fails in turn, by turns where nothing is and where old outputs are.
    /// @param leftovers  Whether what cannot be deleted may stay.
    void FailEachCall(const std::string& kind, const std::string& reason, bool leftovers = false) const {
        const Contents olds[] = {OldOutputs(), kBeside};
        const Contents wholes[] = {WholeOver(olds[0]), WholeOver(olds[1])};
        int failures = 0;
        for (const bool isOver : {true, false}) {
            const Contents& old = isOver ? olds[0] : olds[1];
            const Expectation expected{old, isOver ? wholes[0] : wholes[1], reason, leftovers};
            m_place.Clear(old);
            ASSERT_EQ(RunWith(kind, std::numeric_limits<int>::max()).Status, 0);
            const int calls = Report();
            ASSERT_GT(calls, 0) << "no call was seen";
            const int step = calls <= kFewCalls ? 1 : std::min(2 * Stride(), 2 * calls / kLeastPoints);
            for (int at = isOver ? 0 : step / 2; at < calls; at += step) {
                SCOPED_TRACE(kind + " at call " + std::to_string(at) + " of " + std::to_string(calls) +
                             (isOver ? ", over old outputs" : ""));
                m_place.Clear(old);
                const test::ProgramResult result = RunWith(kind, at);
                ExpectTotal(result, expected);
                EXPECT_TRUE(leftovers || Temporary().empty()) << result.Errors;
                EXPECT_EQ(test::LostFolders(m_place.Folder()), std::vector<std::string>{}) << result.Errors;
                if (HasFailure()) return;
                failures += result.Status == 0 ? 0 : 1;
            }
        }
        EXPECT_GT(failures, 0);
    }

    static inline const Contents kBeside = {{"old.txt", "old"}};

    test::Workplace m_place;
};

TEST_P(ProgramFaults, NoSpace) { FailEachCall("nospace", std::strerror(ENOSPC)); }

TEST_P(ProgramFaults, AnInputOrOutputError) { FailEachCall("ioerror", std::strerror(EIO)); }

TEST_P(ProgramFaults, NoPermission) { FailEachCall("nopermission", std::strerror(EACCES), /*leftovers=*/true); }

TEST_P(ProgramFaults, ARenameThatFailsTakesTheOthersBack) { FailEachCall("norename", std::strerror(EIO)); }

/// Those that keep frames in the temporary folder.
class ProgramTemporaryFolder : public ProgramFaults {};

TEST_P(ProgramTemporaryFolder, IsGoneUnderTheRun) {
    setenv("KY_FAULT_GONE", m_place.Path("temp").c_str(), 1);
    FailEachCall("removed", "");
    unsetenv("KY_FAULT_GONE");
}

TEST_P(ProgramFaults, ShortTransfersChangeNothing) {
    const Contents whole = WholeOver(kBeside);
    m_place.Clear(kBeside);
    const test::ProgramResult result = RunWith("short", 0);
    EXPECT_EQ(result.Status, 0) << result.Errors;
    EXPECT_EQ(Outputs(), whole);
}

TEST_P(ProgramFaults, InterruptedCallsAreMadeAgainOrToldOf) {
    const Contents whole = WholeOver(kBeside);
    m_place.Clear(kBeside);
    ExpectTotal(RunWith("interrupted", 0), {kBeside, whole, std::strerror(EINTR), false});
    EXPECT_EQ(Temporary(), Contents{});
}

const test::Command kCommands[] = {
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
    {"params", {"params", "--dialog", "out/p.ini"}},
    {"synth", {"synth", "-o", "out/new", "--size", "40x30", "--frames", "2", "--threads", "1"}}};

std::string NameOf(const testing::TestParamInfo<test::Command>& chosen) { return chosen.param.Name; }

INSTANTIATE_TEST_SUITE_P(Commands, ProgramFaults, testing::ValuesIn(kCommands), NameOf);
INSTANTIATE_TEST_SUITE_P(Commands, ProgramTemporaryFolder, testing::Values(kCommands[1], kCommands[2]), NameOf);

} // namespace

// The program while memory and threads are refused, one after the other: the results of a good run, or a failure that
// leaves none.
#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <limits>

#include <gtest/gtest.h>

#include "apps/run_program.h"
#include "support/case_files.h"
#include "trust/program_runs.h"

namespace {

/// So many of a command's calls are refused in turn; the long form takes them all.
constexpr int kPoints = 80;
int StrideOver(int calls) { return std::getenv("KY_SOAK") ? 1 : std::max(1, calls / kPoints); }

class ProgramMemory : public testing::TestWithParam<test::Command> {
  protected:
    test::ProgramResult RunWith(const std::string& kind, int at) const {
        const test::Faults faults(KY_MEMORY_FAULT_LIBRARY, kind, at, "", m_place.Path("calls"));
        m_place.Clear({});
        return m_place.Run(GetParam().Arguments);
    }

    int Report() const {
        std::ifstream stream(m_place.Path("calls"));
        int calls = -1;
        stream >> calls;
        return calls;
    }

    /// @return whether the run failed.
    bool ExpectTotal(const test::ProgramResult& result, const test::ProgramResult& good, const test::Contents& whole) {
        EXPECT_EQ(test::ContentsOf(m_place.Path("temp")), test::Contents{}) << result.Errors;
        if (result.Status == 0) {
            EXPECT_EQ(test::ContentsOf(m_place.Path("out")), whole) << result.Errors;
            EXPECT_EQ(result.Output, good.Output);
            return false;
        }
        EXPECT_EQ(result.Status, 1) << result.Errors;
        EXPECT_EQ(test::ContentsOf(m_place.Path("out")), test::Contents{}) << result.Errors;
        const std::size_t line = std::min(result.Errors.rfind("kyfocus: "), result.Errors.size());
        EXPECT_EQ(result.Errors.find('\n', line) + 1, result.Errors.size()) << "not one line: " << result.Errors;
        return true;
    }

    void RefuseEach(const std::string& kind) {
        const test::ProgramResult good = RunWith(kind, std::numeric_limits<int>::max());
        ASSERT_EQ(good.Status, 0) << good.Errors;
        const test::Contents whole = test::ContentsOf(m_place.Path("out"));
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
    test::Workplace m_place;
};

TEST_P(ProgramMemory, IsRefusedOnceAnywhere) { RefuseEach("memory"); }

TEST_P(ProgramMemory, HasNoThread) { RefuseEach("threads"); }

const test::Command kCommands[] = {
    {"compose_2d",
     {"compose", "stack", "-o", "out/o.png", "--mode", "2d", "--step", "1", "--height-map", "out/z.tif",
      "--height-image", "out/h.png", "--differentiation-map", "out/d.png"}},
    {"compose_3d",
     {"compose", "stack", "-o", "out/o.tif", "--mode", "3d", "--step", "1", "--speed", "quarter", "--height-map",
      "out/z.npy", "--mesh", "out/m.ply"}},
    {"compose_complex",
     {"compose", "stack", "-o", "out/o.bmp", "--mode", "complex", "--step", "1", "--speed", "quarter", "--height-map",
      "out/z.tif", "--mesh", "out/m.stl"}},
    {"compare", {"compare", "made/w1.bmp", "made/w2.bmp"}},
    {"noisecut", {"noisecut", "made/z.tif", "made/d.png", "-o", "out/n.tif", "--preview", "out/v.png"}},
    {"halation", {"halation", "made/w1.bmp", "made/w2.bmp", "-o", "out/o.jpg"}},
    {"synth", {"synth", "-o", "out/new", "--size", "400x30", "--frames", "2", "--threads", "2"}}};

INSTANTIATE_TEST_SUITE_P(Commands, ProgramMemory, testing::ValuesIn(kCommands),
                         [](const auto& chosen) { return std::string(chosen.param.Name); });

} // namespace

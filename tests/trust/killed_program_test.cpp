// The program killed: outputs are the old or the new ones, whole, and the next run removes what is left.
#include <algorithm>
#include <array>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <limits>
#include <random>
#include <string_view>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <unistd.h>

#include "trust/program_runs.h"

namespace {

namespace fs = std::filesystem;
using Names = std::vector<std::string>;
using test::Contents;

constexpr const char* kOwnName = ".kyfocus-";

/// A command, and whether its outputs are there before.
using Killing = std::tuple<test::Command, bool>;

class KilledProgram : public testing::TestWithParam<Killing> {
  protected:
    KilledProgram() {
        m_place.Clear({});
        EXPECT_EQ(m_place.Run(Arguments()).Status, 0);
        if (!std::get<1>(GetParam())) return;
        for (const auto& [name, content] : Outputs()) m_old[name] = "[FocusCompositionSetting]\nSpeed=1\n";
    }

    const Names& Arguments() const { return std::get<0>(GetParam()).Arguments; }

    /// The files under final names.
    Contents Outputs() const {
        Contents outputs = test::ContentsOf(m_place.Path("out"));
        std::erase_if(outputs, [this](const auto& entry) {
            return entry.first.find(kOwnName) != std::string::npos ||
                   fs::is_directory(m_place.Path("out") / entry.first);
        });
        return outputs;
    }

    /// Entries of folders that dead runs have left.
    std::size_t Left() const {
        const Contents out = test::ContentsOf(m_place.Path("out"));
        const auto isOwn = [](const auto& entry) { return entry.first.find(kOwnName) != std::string::npos; };
        return test::ContentsOf(m_place.Path("temp")).size() +
               static_cast<std::size_t>(std::count_if(out.begin(), out.end(), isOwn));
    }

    /// The old files in the place of the outputs, and what is left of dead runs as it is.
    void PutOldOutputsBack() const {
        for (const auto& [name, content] : Outputs()) fs::remove(m_place.Path("out") / name);
        for (const auto& [name, content] : m_old) {
            fs::create_directories((m_place.Path("out") / name).parent_path());
            std::ofstream(m_place.Path("out") / name, std::ios::binary) << content;
        }
    }

    /// @param at  The file call at which the program is killed. @return its status.
    int RunKilled(int at) const {
        const test::Faults faults(KY_FAULT_LIBRARY, "killed", at, m_place.Folder(), m_place.Path("calls"));
        return m_place.Run(Arguments()).Status;
    }

    int Report() const {
        std::ifstream stream(m_place.Path("calls"));
        int calls = -1;
        stream >> calls;
        return calls;
    }

    void ExpectOldOrNew(const Contents& whole) const {
        const Contents outputs = Outputs();
        for (const auto& [name, content] : outputs) {
            const bool isOld = m_old.contains(name) && m_old.at(name) == content;
            EXPECT_TRUE(isOld || (whole.contains(name) && whole.at(name) == content)) << name;
        }
        for (const auto& [name, content] : m_old) EXPECT_TRUE(outputs.contains(name)) << name << " is gone";
    }

    test::Workplace m_place;
    Contents m_old;
};

TEST_P(KilledProgram, LeavesOldOrNewOutputsWholeAndTheNextRunRemovesTheRest) {
    m_place.Clear(m_old);
    ASSERT_EQ(RunKilled(std::numeric_limits<int>::max()), 0);
    const int calls = Report();
    ASSERT_GT(calls, 10) << "too few calls were seen";
    const Contents whole = Outputs();
    ASSERT_FALSE(whole.empty());
    std::mt19937 random(1);
    const int kills = std::getenv("KY_SOAK") ? 10 * KY_KILLS : KY_KILLS;
    std::size_t left = 0;
    for (int turn = 0; turn < kills; ++turn) {
        const int at = turn == 0 ? calls / 2 : static_cast<int>(random() % static_cast<unsigned>(calls));
        SCOPED_TRACE("killed at call " + std::to_string(at) + " of " + std::to_string(calls));
        PutOldOutputsBack();
        const int status = RunKilled(at);
        // The order of calls in several threads is not the same in all runs, nor then is their number.
        EXPECT_TRUE(status == 128 + SIGKILL || (status == 0 && turn != 0)) << status;
        left += Left();
        ExpectOldOrNew(whole);
        if (HasFailure()) return;
    }
    EXPECT_GT(left, 0U) << "nothing was ever left: the next run has nothing to show";
    PutOldOutputsBack();
    ASSERT_EQ(m_place.Run(Arguments()).Status, 0);
    EXPECT_EQ(Left(), 0U);
    EXPECT_EQ(Outputs(), whole);
}

// Between calls on files too.
TEST_P(KilledProgram, LeavesOldOrNewOutputsWholeAtAnyTime) {
    m_place.Clear(m_old);
    ASSERT_EQ(m_place.Run(Arguments()).Status, 0);
    const Contents whole = Outputs();
    std::mt19937 random(2);
    for (int turn = 0; turn < (KY_KILLS + 3) / 4; ++turn) {
        PutOldOutputsBack();
        m_place.Run(Arguments(), [&](pid_t process) {
            constexpr unsigned kMostMicroseconds = 60000;
            usleep(static_cast<useconds_t>(random() % kMostMicroseconds));
            kill(process, SIGKILL);
        });
        ExpectOldOrNew(whole);
        if (HasFailure()) return;
    }
}

const test::Command kCommands[] = {
    {"compose",
     {"compose", "stack", "-o", "out/o.png", "--mode", "3d", "--step", "1", "--speed", "quarter", "--height-map",
      "out/z.tif"}},
    {"halation", {"halation", "stack", "-o", "out/o.jpg"}},
    {"noisecut", {"noisecut", "made/z.tif", "made/d.png", "-o", "out/n.tif", "--preview", "out/v.png"}},
    {"params", {"params", "--dialog", "out/p.ini"}},
    {"synth", {"synth", "-o", "out/new", "--size", "40x30", "--frames", "2"}}};

INSTANTIATE_TEST_SUITE_P(Commands, KilledProgram, testing::Combine(testing::ValuesIn(kCommands), testing::Bool()),
                         [](const auto& chosen) {
                             return std::string(std::get<0>(chosen.param).Name) +
                                    (std::get<1>(chosen.param) ? "_over_old_outputs" : "");
                         });

// What looks like a dead run's folder and is none.
TEST(DeadRuns, AreNotTakenForWhatLooksLikeThem) {
    const test::Workplace place;
    const auto make = [&place](const char* name, fs::perms permissions, bool hasLock) {
        const fs::path folder = fs::path(place.Path("temp")) / name;
        fs::create_directory(folder);
        std::ofstream(folder / "file") << "kept";
        if (hasLock) std::ofstream(folder / "kyfocus.lock").flush();
        fs::permissions(folder, permissions);
    };
    make("kyfocus-backup", fs::perms::owner_all, /*hasLock=*/false);
    make("kyfocus-longer-name", fs::perms::owner_all, true);
    make("kyfocus-open00", fs::perms::owner_all | fs::perms::others_all, true);
    make("elsewhere", fs::perms::owner_all, true);
    fs::create_directory_symlink(place.Path("temp/elsewhere"), place.Path("temp/kyfocus-linked"));
    make("kyfocus-inuse0", fs::perms::owner_all, true);
    make("kyfocus-dead00", fs::perms::owner_all, true);
    make("kyfocus-afar00", fs::perms::owner_all, true);
    std::ofstream(place.Path("temp/kyfocus-afar00/kyfocus.lock")) << "another host"; // whose lock is not seen here
    std::array<char, 256> host{};
    ASSERT_EQ(gethostname(host.data(), host.size() - 1), 0);
    ASSERT_NE(host[0], '\0');
    make("kyfocus-half00", fs::perms::owner_all, true);
    std::ofstream(place.Path("temp/kyfocus-half00/kyfocus.lock")) << host[0]; // killed while it wrote its host's name
    make("kyfocus-like00", fs::perms::owner_all, true);
    const std::string shorter(host.data(), std::string_view(host.data()).size() - 1);
    std::ofstream(place.Path("temp/kyfocus-like00/kyfocus.lock")) << shorter << '\n'; // another host's whole name
    fs::create_symlink(place.Path("temp/elsewhere/file"), place.Path("temp/kyfocus-dead00/link"));
    const int lock = open(place.Path("temp/kyfocus-inuse0/kyfocus.lock").c_str(), O_RDONLY | O_CLOEXEC);
    ASSERT_EQ(flock(lock, LOCK_EX), 0);

    const Names arguments = {"compose", "stack",  "-o", "out/o.png", "--mode",
                             "3d",      "--step", "1",  "--speed",   "quarter"};
    EXPECT_EQ(place.Run(arguments).Status, 0);
    EXPECT_EQ(test::EntryNames(place.Path("temp")),
              (Names{"elsewhere", "kyfocus-afar00", "kyfocus-backup", "kyfocus-inuse0", "kyfocus-like00",
                     "kyfocus-linked", "kyfocus-longer-name", "kyfocus-open00"}));
    EXPECT_EQ(test::ReadText(place.Path("temp/elsewhere/file")), "kept");
    close(lock);
}

} // namespace

// The program killed: outputs are the old or the new ones, whole, and the next run removes what is left.
#include <algorithm>
#include <array>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <limits>
#include <random>
#include <string_view>
#include <thread>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include "support/file_text.h"
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

    /// @param at  The file call at which the program is killed or held. @return its status.
    int RunWith(const char* kind, int at, const std::function<void(pid_t)>& whileRunning = test::EndIfItHangs) const {
        const test::Faults faults(KY_FAULT_LIBRARY, kind, at, m_place.Folder(), m_place.Path("calls"));
        return m_place.Run(Arguments(), whileRunning).Status;
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
    ASSERT_EQ(RunWith("killed", std::numeric_limits<int>::max()), 0);
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
        const int status = RunWith("killed", at);
        // The order of calls in several threads is not the same in all runs, nor then is their number.
        EXPECT_TRUE(status == 128 + SIGKILL || (status == 0 && turn != 0)) << status;
        left += Left();
        EXPECT_EQ(test::LostFolders(m_place.Folder()), Names{});
        ExpectOldOrNew(whole);
        if (HasFailure()) return;
    }
    EXPECT_GT(left, 0U) << "nothing was ever left: the next run has nothing to show";
    PutOldOutputsBack();
    ASSERT_EQ(m_place.Run(Arguments()).Status, 0);
    EXPECT_EQ(Left(), 0U);
    EXPECT_EQ(Outputs(), whole);
}

// Between calls on files too. A run whose thread is held in one of its calls cannot end before it is killed.
TEST_P(KilledProgram, LeavesOldOrNewOutputsWholeAtAnyTime) {
    m_place.Clear(m_old);
    ASSERT_EQ(RunWith("held", std::numeric_limits<int>::max()), 0);
    const int calls = Report();
    ASSERT_GT(calls, 10) << "too few calls were seen";
    const Contents whole = Outputs();
    std::mt19937 random(2);
    for (int turn = 0; turn < (KY_KILLS + 3) / 4; ++turn) {
        const int at = turn == 0 ? calls / 2 : static_cast<int>(random() % static_cast<unsigned>(calls));
        SCOPED_TRACE("held at call " + std::to_string(at) + " of " + std::to_string(calls));
        PutOldOutputsBack();
        const int status = RunWith("held", at, [&](pid_t process) {
            constexpr unsigned kMostMicroseconds = 60000;
            usleep(static_cast<useconds_t>(random() % kMostMicroseconds));
            kill(process, SIGKILL);
        });
        EXPECT_TRUE(status == 128 + SIGKILL || (status == 0 && turn != 0)) << status;
        EXPECT_EQ(test::LostFolders(m_place.Folder()), Names{});
        ExpectOldOrNew(whole);
        if (HasFailure()) return;
    }
    PutOldOutputsBack();
    ASSERT_EQ(m_place.Run(Arguments()).Status, 0);
    EXPECT_EQ(Left(), 0U);
    EXPECT_EQ(Outputs(), whole);
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

/// What killed runs leave, and the run that comes upon it.
class DeadRuns : public testing::Test {
  protected:
    DeadRuns() { EXPECT_EQ(mkfifo(m_place.Path("made/heights").c_str(), 0600), 0); }

    /// A folder in `temp` with a file, and with a lock that nobody holds.
    void MakeFolder(const char* name, fs::perms permissions = fs::perms::owner_all, bool hasLock = true) const {
        const fs::path folder = m_place.Path("temp") / name;
        fs::create_directory(folder);
        std::ofstream(folder / "file") << "kept";
        if (hasLock) std::ofstream(folder / "kyfocus.lock").flush();
        fs::permissions(folder, permissions);
    }

    /// A run with a private folder in `temp`. @return its status.
    int Run3d() const {
        return m_place.Run({"compose", "stack", "-o", "out/o.png", "--mode", "3d", "--step", "1", "--speed", "quarter"})
            .Status;
    }

    /// Starts a run that waits for its heights for ever, and ends it when it has its private folder in `out`.
    /// @param meanwhile  Called with the folder ahead of the signal. @return its status.
    int RunUntil(int signal, const std::function<void(const fs::path& folder)>& meanwhile) const {
        const auto interrupt = [&](pid_t process) {
            const fs::path folder = WaitForFolder();
            EXPECT_NE(folder, fs::path());
            if (!folder.empty()) meanwhile(folder);
            kill(process, signal);
            test::EndIfItHangs(process);
        };
        return m_place
            .Run({"compose", "stack", "-o", "out/o.png", "--heights", "made/heights", "--height-map", "out/z.tif"},
                 interrupt)
            .Status;
    }

    /// The next run in `out` removes what is there of others.
    void ExpectTheNextRunSweeps() const {
        EXPECT_EQ(m_place.Run({"compose", "stack", "-o", "out/o.png"}).Status, 0);
        EXPECT_EQ(test::EntryNames(m_place.Path("out")), Names{"o.png"});
    }

    test::Workplace m_place;

  private:
    /// The private folder in `out` once its lock is complete; empty when it never is.
    fs::path WaitForFolder() const {
        constexpr std::chrono::milliseconds kPause{2};
        constexpr int kPauses = 20000;
        for (int wait = 0; wait < kPauses; ++wait) {
            for (const std::string& name : test::EntryNames(m_place.Path("out"))) {
                std::error_code error;
                const std::uintmax_t bytes = fs::file_size(m_place.Path("out") / name / "kyfocus.lock", error);
                if (!error && bytes > 0) return m_place.Path("out") / name;
            }
            std::this_thread::sleep_for(kPause);
        }
        return {};
    }
};

// What looks like a dead run's folder and is none.
TEST_F(DeadRuns, AreNotTakenForWhatLooksLikeThem) {
    MakeFolder("kyfocus-backup", fs::perms::owner_all, /*hasLock=*/false);
    MakeFolder("kyfocus-longer-name");
    MakeFolder("kyfocus-open00", fs::perms::owner_all | fs::perms::others_all);
    MakeFolder("elsewhere");
    fs::create_directory_symlink(m_place.Path("temp/elsewhere"), m_place.Path("temp/kyfocus-linked"));
    MakeFolder("kyfocus-inuse0");
    MakeFolder("kyfocus-dead00");
    MakeFolder("kyfocus-afar00");
    std::ofstream(m_place.Path("temp/kyfocus-afar00/kyfocus.lock")) << "another host"; // whose lock is not seen here
    std::array<char, 256> host{};
    ASSERT_EQ(gethostname(host.data(), host.size() - 1), 0);
    ASSERT_NE(host[0], '\0');
    MakeFolder("kyfocus-half00");
    std::ofstream(m_place.Path("temp/kyfocus-half00/kyfocus.lock")) << host[0]; // killed while it wrote its host's name
    MakeFolder("kyfocus-like00");
    const std::string shorter(host.data(), std::string_view(host.data()).size() - 1);
    std::ofstream(m_place.Path("temp/kyfocus-like00/kyfocus.lock")) << shorter << '\n'; // another host's whole name
    fs::create_symlink(m_place.Path("temp/elsewhere/file"), m_place.Path("temp/kyfocus-dead00/link"));
    const int lock = open(m_place.Path("temp/kyfocus-inuse0/kyfocus.lock").c_str(), O_RDONLY | O_CLOEXEC);
    ASSERT_EQ(flock(lock, LOCK_EX), 0);

    EXPECT_EQ(Run3d(), 0);
    EXPECT_EQ(test::EntryNames(m_place.Path("temp")),
              (Names{"elsewhere", "kyfocus-afar00", "kyfocus-backup", "kyfocus-inuse0", "kyfocus-like00",
                     "kyfocus-linked", "kyfocus-longer-name", "kyfocus-open00"}));
    EXPECT_EQ(test::ReadText(m_place.Path("temp/elsewhere/file")), "kept");
    close(lock);
}

TEST_F(DeadRuns, AreSweptFromAFolderThatPassesItsGroupOn) {
    fs::permissions(m_place.Path("out"), fs::perms::set_gid, fs::perm_options::add);
    fs::perms permissions{};
    EXPECT_EQ(RunUntil(SIGKILL, [&](const fs::path& folder) { permissions = fs::status(folder).permissions(); }),
              128 + SIGKILL);
    ASSERT_EQ(permissions, fs::perms::owner_all | fs::perms::set_gid) << "nothing to show here";
    ExpectTheNextRunSweeps();
}

// As file systems do that leave locks to a server.
TEST_F(DeadRuns, AreToldFromLivingOnesWhereALockNeedsAFileOpenForWriting) {
    MakeFolder("kyfocus-inuse0");
    MakeFolder("kyfocus-dead00");
    const int lock = open(m_place.Path("temp/kyfocus-inuse0/kyfocus.lock").c_str(), O_RDWR | O_CLOEXEC);
    ASSERT_EQ(flock(lock, LOCK_EX), 0);
    const test::Faults faults(KY_FAULT_LIBRARY, "serverlocks", 0, m_place.Folder(), m_place.Path("calls"));
    EXPECT_EQ(Run3d(), 0);
    EXPECT_EQ(test::EntryNames(m_place.Path("temp")), Names{"kyfocus-inuse0"});
    close(lock);
}

TEST_F(DeadRuns, KeepTheirLockAsLongAsAnythingElseIsLeft) {
    // Some file systems list the older entry first, some the newer, some by the name.
    std::vector<Names> left;
    for (int number = 10; number < 22; ++number) {
        left.push_back({"kyfocus.lock", "undeletable" + std::to_string(number)});
        Names names = left.back();
        if (number % 2 == 0) std::swap(names.front(), names.back());
        const fs::path folder = m_place.Path("temp/kyfocus-dead" + std::to_string(number));
        fs::create_directory(folder);
        for (const std::string& name : names) std::ofstream(folder / name).flush();
        std::ofstream(folder / "file") << "goes";
        fs::permissions(folder, fs::perms::owner_all);
    }
    {
        const test::Faults faults(KY_FAULT_LIBRARY, "undeletable", 0, m_place.Folder(), m_place.Path("calls"));
        EXPECT_EQ(Run3d(), 0);
    }
    const Names folders = test::EntryNames(m_place.Path("temp"));
    ASSERT_EQ(folders.size(), left.size());
    for (std::size_t i = 0; i < left.size(); ++i)
        EXPECT_EQ(test::EntryNames(m_place.Path("temp") / folders[i]), left[i]) << folders[i];
    EXPECT_EQ(Run3d(), 0);
    EXPECT_EQ(test::EntryNames(m_place.Path("temp")), Names{});
}

// Told to end, and killed at one deletion after the other.
TEST_F(DeadRuns, KeepTheirLockToTheLastWhenKilledWhileTheyCleanUp) {
    constexpr int kMostKills = 100;
    const Names before = {"a", "b", "c", "d"};
    const Names after = {"e", "f", "g", "h"};
    int status = -1;
    int kills = 0;
    for (; kills < kMostKills; ++kills) {
        SCOPED_TRACE("killed at deletion " + std::to_string(kills));
        m_place.Clear({});
        // Whatever a file system lists first, some files come after the lock: some are older, some newer than its name.
        const auto putFiles = [&](const fs::path& folder) {
            for (const std::string& name : before) std::ofstream(folder / (name + std::to_string(kills))) << name;
            fs::rename(folder / "kyfocus.lock", m_place.Path("lock"));
            fs::rename(m_place.Path("lock"), folder / "kyfocus.lock");
            for (const std::string& name : after) std::ofstream(folder / (name + std::to_string(kills))) << name;
        };
        {
            const test::Faults faults(KY_FAULT_LIBRARY, "killedending", kills, m_place.Folder(), m_place.Path("calls"));
            status = RunUntil(SIGTERM, putFiles);
        }
        EXPECT_EQ(test::LostFolders(m_place.Path("out")), Names{});
        if (status != 128 + SIGKILL) break;
        ExpectTheNextRunSweeps();
        if (HasFailure()) return;
    }
    EXPECT_EQ(status, 128 + SIGTERM);
    EXPECT_GT(static_cast<std::size_t>(kills), before.size() + after.size());
    EXPECT_EQ(test::EntryNames(m_place.Path("out")), Names{});
}

} // namespace

// The program killed at moments by chance: outputs are whole or not there, and the next run removes what is left.
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <unistd.h>

#include "apps/run_program.h"
#include "support/case_files.h"
#include "support/images.h"

namespace {

namespace fs = std::filesystem;
using Names = std::vector<std::string>;

std::string ReadText(const fs::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

class KilledProgram : public testing::Test {
  protected:
    KilledProgram() {
        for (const char* const folder : {"stack", "out", "temp"}) fs::create_directory(m_folder.Path() / folder);
        for (std::uint32_t i = 0; i < 4; ++i) {
            const fs::path file = m_folder.Path() / "stack" / std::to_string(i).append(".bmp");
            const test::Image frame = test::TexturedImage(64, 48, KyiFormatBgr24, i + 1);
            KyiSaveImageData(file.wstring().c_str(), frame.get(), 0);
        }
    }

    std::string Path(const std::string& name) const { return m_folder.Path() / name; }

    /// @param microseconds  When the program is killed; negative: it is not.
    int Compose(int microseconds) const {
        const Names arguments = {"compose",      Path("stack"),     "-o",     Path("out/o.png"), "--mode",
                                 "3d",           "--step",          "1",      "--speed",         "quarter",
                                 "--height-map", Path("out/z.tif"), "--temp", Path("temp")};
        const auto kills = [microseconds](pid_t process) {
            if (microseconds < 0) return;
            usleep(static_cast<useconds_t>(microseconds));
            kill(process, SIGKILL);
        };
        return test::RunProgram(arguments, kills).Status;
    }

    std::size_t LeftFolders() const {
        return test::EntryNames(Path("temp")).size() + test::EntryNames(Path("out")).size() - OutputNames().size();
    }

    Names OutputNames() const {
        Names names;
        for (const std::string& name : test::EntryNames(Path("out")))
            if (!name.starts_with(".kyfocus-")) names.push_back(name);
        return names;
    }

  private:
    test::TemporaryFolder m_folder;
};

TEST_F(KilledProgram, LeavesNoHalfOutputAndTheNextRunRemovesTheRest) {
    const auto start = std::chrono::steady_clock::now();
    ASSERT_EQ(Compose(-1), 0);
    const auto duration = std::chrono::steady_clock::now() - start;
    const auto most = std::chrono::duration_cast<std::chrono::microseconds>(duration).count();
    const std::string image = ReadText(Path("out/o.png"));
    const std::string heights = ReadText(Path("out/z.tif"));
    std::mt19937 random(1);
    const int kills = std::getenv("KY_SOAK") ? 1000 : KY_KILLS;
    int killed = 0;
    std::size_t left = 0;
    for (int turn = 0; turn < kills; ++turn) {
        for (const std::string& name : OutputNames()) fs::remove(fs::path(Path("out")) / name);
        killed += Compose(static_cast<int>(random() % static_cast<unsigned>(most))) == 128 + SIGKILL ? 1 : 0;
        left += LeftFolders();
        for (const std::string& name : OutputNames())
            ASSERT_EQ(ReadText(fs::path(Path("out")) / name), name == "o.png" ? image : heights) << name;
    }
    EXPECT_GT(killed, kills / 4);
    EXPECT_GT(left, 0U) << "nothing was ever left: the next run has nothing to show";
    ASSERT_EQ(Compose(-1), 0);
    EXPECT_EQ(LeftFolders(), 0U);
    EXPECT_EQ(OutputNames(), (Names{"o.png", "z.tif"}));
}

// What looks like a dead run's folder and is none.
TEST_F(KilledProgram, SparesWhatIsNotItsOwn) {
    const auto make = [this](const char* name, fs::perms permissions, bool hasLock) {
        const fs::path folder = fs::path(Path("temp")) / name;
        fs::create_directory(folder);
        std::ofstream(folder / "file") << "kept";
        if (hasLock) std::ofstream(folder / "kyfocus.lock").flush();
        fs::permissions(folder, permissions);
    };
    make("kyfocus-backup", fs::perms::owner_all, /*hasLock=*/false);
    make("kyfocus-longer-name", fs::perms::owner_all, true);
    make("kyfocus-open00", fs::perms::owner_all | fs::perms::others_all, true);
    make("elsewhere", fs::perms::owner_all, true);
    fs::create_directory_symlink(Path("temp/elsewhere"), Path("temp/kyfocus-linked"));
    make("kyfocus-inuse0", fs::perms::owner_all, true);
    make("kyfocus-dead00", fs::perms::owner_all, true);
    fs::create_symlink(Path("temp/elsewhere/file"), Path("temp/kyfocus-dead00/link"));
    const int lock = open(Path("temp/kyfocus-inuse0/kyfocus.lock").c_str(), O_RDONLY | O_CLOEXEC);
    ASSERT_EQ(flock(lock, LOCK_EX), 0);

    EXPECT_EQ(Compose(-1), 0);
    EXPECT_EQ(test::EntryNames(Path("temp")), (Names{"elsewhere", "kyfocus-backup", "kyfocus-inuse0", "kyfocus-linked",
                                                     "kyfocus-longer-name", "kyfocus-open00"}));
    EXPECT_EQ(ReadText(Path("temp/elsewhere/file")), "kept");
    close(lock);
}

} // namespace

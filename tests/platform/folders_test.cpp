#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>

#include <fcntl.h>
#include <stdlib.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "platform/folders.h"
#include "support/case_files.h"

namespace {

namespace fs = std::filesystem;

using platform::DeleteFilesContaining;

/// Puts the variables of the folders back as they were.
class Folders : public testing::Test {
  protected:
    ~Folders() override {
        for (const auto& [name, value] : m_before) Set(name, value);
    }

    static void Set(const char* name, const std::optional<std::string>& value) {
        if (value)
            setenv(name, value->c_str(), 1);
        else
            unsetenv(name);
    }

    static std::optional<std::string> Get(const char* name) {
        const char* const value = std::getenv(name);
        return value ? std::optional<std::string>(value) : std::nullopt;
    }

  private:
    std::vector<std::pair<const char*, std::optional<std::string>>> m_before{
        {"HOME", Get("HOME")}, {"XDG_CONFIG_HOME", Get("XDG_CONFIG_HOME")}, {"XDG_CACHE_HOME", Get("XDG_CACHE_HOME")}};
};

TEST_F(Folders, FollowTheDirectoryVariables) {
    Set("HOME", "/home/someone");
    Set("XDG_CONFIG_HOME", "/etc/own");
    Set("XDG_CACHE_HOME", "/var/own/");
    EXPECT_EQ(platform::PerUserFolder(), L"/etc/own/Tessly Corporation/KYFoucs");
    EXPECT_EQ(platform::IntermediateCodeFolder(), L"/var/own/Tessly Corporation/KYFocus");
}

TEST_F(Folders, LieInTheHomeFolderOtherwise) {
    Set("HOME", "/home/someone");
    Set("XDG_CONFIG_HOME", "");
    Set("XDG_CACHE_HOME", std::nullopt);
    EXPECT_EQ(platform::PerUserFolder(), L"/home/someone/.config/Tessly Corporation/KYFoucs");
    EXPECT_EQ(platform::IntermediateCodeFolder(), L"/home/someone/.cache/Tessly Corporation/KYFocus");
}

TEST_F(Folders, AreEmptyWithoutAnyVariable) {
    for (const char* const name : {"HOME", "XDG_CONFIG_HOME", "XDG_CACHE_HOME"}) Set(name, std::nullopt);
    EXPECT_EQ(platform::PerUserFolder(), L"");
    EXPECT_EQ(platform::IntermediateCodeFolder(), L"");
}

class DeleteFiles : public testing::Test {
  protected:
    void Make(const std::string& name) const { std::ofstream(m_folder.Path() / name) << name; }
    bool Exists(const std::string& name) const { return fs::exists(fs::symlink_status(m_folder.Path() / name)); }
    void Delete(const wchar_t* part) const { DeleteFilesContaining(m_folder.Path().wstring().c_str(), part); }

    test::TemporaryFolder m_folder;
};

TEST_F(DeleteFiles, TakesThePartAnywhereInTheName) {
    for (const char* const name :
         {"MFocusTemp0.bmp", "xMFocusTemp", "MFocusTemp", ".MFocusTemp", "MFocus", "mfocustemp"})
        Make(name);
    Delete(L"MFocusTemp");
    for (const char* const name : {"MFocusTemp0.bmp", "xMFocusTemp", "MFocusTemp", ".MFocusTemp"})
        EXPECT_FALSE(Exists(name)) << name;
    EXPECT_TRUE(Exists("MFocus"));
    EXPECT_TRUE(Exists("mfocustemp"));
}

TEST_F(DeleteFiles, GoesOnBeyondTheEntriesOfOneSearch) {
    for (int i = 0; i < 700; ++i) Make("MFocusTemp" + std::to_string(i) + ".bmp");
    Make("kept");
    Delete(L"MFocusTemp");
    EXPECT_EQ(std::distance(fs::directory_iterator(m_folder.Path()), fs::directory_iterator()), 1);
}

TEST_F(DeleteFiles, SparesFolders) {
    fs::create_directory(m_folder.Path() / "MFocusTempFolder");
    Make("MFocusTempFolder/MFocusTemp1.bmp");
    Delete(L"MFocusTemp");
    EXPECT_TRUE(Exists("MFocusTempFolder/MFocusTemp1.bmp"));
}

TEST_F(DeleteFiles, DeletesLinksAndNotWhatTheyPointTo) {
    const test::TemporaryFolder elsewhere;
    std::ofstream(elsewhere.Path() / "file") << "kept";
    fs::create_symlink(elsewhere.Path() / "file", m_folder.Path() / "MFocusTempFile");
    fs::create_symlink(elsewhere.Path(), m_folder.Path() / "MFocusTempFolder");
    fs::create_symlink("nowhere", m_folder.Path() / "MFocusTempDangling");
    Delete(L"MFocusTemp");
    EXPECT_TRUE(fs::is_empty(m_folder.Path()));
    EXPECT_TRUE(fs::exists(elsewhere.Path() / "file"));
}

TEST_F(DeleteFiles, HandlesNamesThatAreNoUtf8) {
    Make("MFocusTemp\xFF\xC3.bmp");
    Delete(L"MFocusTemp");
    EXPECT_TRUE(fs::is_empty(m_folder.Path()));
}

TEST_F(DeleteFiles, EndsAtOnceWithoutAFolderOrAName) {
    Make("MFocusTemp");
    DeleteFilesContaining((m_folder.Path() / "missing").wstring().c_str(), L"MFocusTemp");
    DeleteFilesContaining((m_folder.Path() / "MFocusTemp").wstring().c_str(), L"MFocusTemp");
    DeleteFilesContaining(L"", L"MFocusTemp");
    DeleteFilesContaining(nullptr, L"MFocusTemp");
    Delete(nullptr);
    Delete(L"");
    EXPECT_TRUE(Exists("MFocusTemp"));
}

#ifdef __linux__
// The list of open descriptors is a folder whose entries nobody can delete, root neither; closing one takes it away.
TEST_F(DeleteFiles, GoesOnWhileAFileCannotBeDeleted) {
    const int descriptor = fcntl(STDIN_FILENO, F_DUPFD, 777);
    if (descriptor != 777) GTEST_SKIP() << "no descriptor of that number to be had";
    std::atomic<bool> isDone{false};
    std::thread sweep([&] {
        DeleteFilesContaining(L"/proc/self/fd", L"777");
        isDone = true;
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(60));
    EXPECT_FALSE(isDone);
    close(descriptor);
    sweep.join();
}
#endif

} // namespace

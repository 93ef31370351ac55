// Profile files on disk: what permissions and failures leave behind.
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/profile.h"
#include "support/case_files.h"

namespace {

namespace fs = std::filesystem;

/// Permissions count for nothing where the tests run as the superuser: another user for a while.
class OrdinaryUser {
  public:
    OrdinaryUser() : m_before(geteuid()) {
        if (m_before == 0 && seteuid(kNobody) != 0) throw std::runtime_error("the user cannot be changed");
    }
    ~OrdinaryUser() {
        if (m_before == 0 && seteuid(0) != 0) std::abort();
    }
    OrdinaryUser(const OrdinaryUser&) = delete;
    OrdinaryUser& operator=(const OrdinaryUser&) = delete;

  private:
    static constexpr uid_t kNobody = 65534;
    uid_t m_before;
};

class ProfileWrite : public testing::Test {
  protected:
    ProfileWrite() { fs::permissions(m_folder.Path(), fs::perms::all); }

    fs::path File() const { return m_folder.Path() / "profile.ini"; }
    void Create(const std::string& text, mode_t mode) const {
        std::ofstream(File(), std::ios::binary) << text;
        ASSERT_EQ(chmod(File().c_str(), mode), 0);
    }
    bool Write() const {
        return platform::WriteProfileTexts(File().wstring().c_str(), L"S",
                                           std::vector{platform::ProfileEntry{L"A", L"2"}});
    }
    std::string Text() const {
        std::ifstream stream(File(), std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
    }
    std::ptrdiff_t FileCount() const {
        return std::distance(fs::directory_iterator(m_folder.Path()), fs::directory_iterator());
    }

    test::TemporaryFolder m_folder;
};

TEST_F(ProfileWrite, LeavesAFileThatIsProtectedFromWriting) {
    const OrdinaryUser user;
    Create("[S]\nA=1\n", 0400);
    EXPECT_FALSE(Write());
    EXPECT_EQ(Text(), "[S]\nA=1\n");
    EXPECT_EQ(FileCount(), 1);
}

TEST_F(ProfileWrite, LeavesAFileThatCannotBeRead) {
    {
        const OrdinaryUser user;
        Create("[S]\nA=1\n", 0200);
        EXPECT_FALSE(Write());
        EXPECT_EQ(platform::ReadProfileText(File().wstring().c_str(), L"S", L"A", L"(none)", 10), L"(none)");
    }
    ASSERT_EQ(chmod(File().c_str(), 0600), 0);
    EXPECT_EQ(Text(), "[S]\nA=1\n");
}

TEST_F(ProfileWrite, LeavesAFileInAFolderThatMayNotBeWritten) {
    Create("[S]\nA=1\n", 0666);
    fs::permissions(m_folder.Path(), fs::perms(0555));
    {
        const OrdinaryUser user;
        EXPECT_FALSE(Write());
    }
    fs::permissions(m_folder.Path(), fs::perms(0777));
    EXPECT_EQ(Text(), "[S]\nA=1\n");
    EXPECT_EQ(FileCount(), 1);
}

TEST_F(ProfileWrite, MakesAFileForItsUserAloneAndKeepsPermissions) {
    const mode_t mask = umask(0);
    EXPECT_TRUE(Write());
    umask(mask);
    EXPECT_EQ(fs::status(File()).permissions(), fs::perms(0600));
    EXPECT_EQ(Text(), "[S]\nA=2\n");
    fs::permissions(File(), fs::perms(0604));
    EXPECT_TRUE(Write());
    EXPECT_EQ(fs::status(File()).permissions(), fs::perms(0604));
    EXPECT_EQ(FileCount(), 1);
}

TEST_F(ProfileWrite, FollowsAChainOfLinks) {
    Create("[S]\nA=1\n", 0600);
    fs::create_symlink("profile.ini", m_folder.Path() / "first");
    fs::create_symlink(m_folder.Path() / "first", m_folder.Path() / "second");
    EXPECT_TRUE(platform::WriteProfileTexts((m_folder.Path() / "second").wstring().c_str(), L"S",
                                            std::vector{platform::ProfileEntry{L"A", L"3"}}));
    EXPECT_EQ(Text(), "[S]\nA=3\n");
    EXPECT_TRUE(fs::is_symlink(m_folder.Path() / "first") && fs::is_symlink(m_folder.Path() / "second"));
}

TEST_F(ProfileWrite, MakesTheFileThatALinkNames) {
    fs::create_directory(m_folder.Path() / "sub");
    fs::create_symlink("sub/next", m_folder.Path() / "link");
    fs::create_symlink("../profile.ini", m_folder.Path() / "sub" / "next");
    const std::vector<platform::ProfileEntry> entries{{L"A", L"2"}};
    EXPECT_TRUE(platform::WriteProfileTexts((m_folder.Path() / "link").wstring().c_str(), L"S", entries));
    EXPECT_EQ(Text(), "[S]\nA=2\n");
    EXPECT_TRUE(fs::is_symlink(m_folder.Path() / "link") && fs::is_symlink(m_folder.Path() / "sub" / "next"));
    fs::create_symlink("none/profile.ini", m_folder.Path() / "lost");
    fs::create_symlink("circle", m_folder.Path() / "circle");
    for (const char* name : {"lost", "circle"}) {
        EXPECT_FALSE(platform::WriteProfileTexts((m_folder.Path() / name).wstring().c_str(), L"S", entries));
        EXPECT_TRUE(fs::is_symlink(m_folder.Path() / name));
    }
    EXPECT_EQ(FileCount(), 5);
}

TEST_F(ProfileWrite, KeepsTheOwnerWhereItMay) {
    constexpr uid_t kSomebody = 12345;
    Create("[S]\nA=1\n", 0640);
    const bool mayGive = chown(File().c_str(), kSomebody, kSomebody + 1) == 0;
    EXPECT_TRUE(Write());
    struct stat status {};
    ASSERT_EQ(stat(File().c_str(), &status), 0);
    EXPECT_EQ(status.st_uid, mayGive ? kSomebody : geteuid());
    EXPECT_EQ(status.st_gid, mayGive ? kSomebody + 1 : getegid());
    EXPECT_EQ(status.st_mode & 07777u, 0640u);
}

TEST_F(ProfileWrite, TakesAFileOfSomebodyElseOverWhereItMayNotBeGivenBack) {
    if (geteuid() != 0) GTEST_SKIP() << "only the superuser can give a file away";
    Create("[S]\nA=1\n", 0666);
    constexpr uid_t kSomebody = 12345;
    ASSERT_EQ(chown(File().c_str(), kSomebody, kSomebody), 0);
    {
        const OrdinaryUser user;
        EXPECT_TRUE(Write());
    }
    EXPECT_EQ(Text(), "[S]\nA=2\n");
    EXPECT_EQ(fs::status(File()).permissions(), fs::perms(0666));
}

TEST_F(ProfileWrite, RefusesNullPipesFoldersAndFilesThatAreNoProfile) {
    const std::vector<platform::ProfileEntry> entries{{L"A", L"1"}};
    EXPECT_FALSE(platform::WriteProfileTexts(nullptr, L"S", entries));
    EXPECT_FALSE(platform::WriteProfileTexts(L"", L"S", entries));
    EXPECT_FALSE(platform::WriteProfileTexts(File().wstring().c_str(), nullptr, entries));
    EXPECT_FALSE(platform::WriteProfileTexts(m_folder.Path().wstring().c_str(), L"S", entries));
    EXPECT_FALSE(platform::WriteProfileTexts(L"/dev/null", L"S", entries));
    EXPECT_EQ(FileCount(), 0);
    ASSERT_EQ(mkfifo(File().c_str(), 0600), 0);
    EXPECT_FALSE(Write());
    fs::remove(File());
    std::ofstream(File()) << 'x';
    fs::resize_file(File(), std::uintmax_t{65} << 20);
    EXPECT_FALSE(Write());
    EXPECT_EQ(fs::file_size(File()), std::uintmax_t{65} << 20);
}

TEST(ProfileNumber, FillsTheWholeText) {
    for (const wchar_t* text : {L"", L" ", L"x1", L"12abc", L"1 2", L"12 ", L"- 1", L"+-1", L"-", L"0x10", L"1.5"})
        EXPECT_EQ(platform::ParseProfileNumber(text), std::nullopt) << testing::PrintToString(std::wstring(text));
    EXPECT_EQ(platform::ParseProfileNumber(std::wstring(L"1\0", 2)), std::nullopt);
    EXPECT_EQ(platform::ParseProfileNumber(L" +12"), 12);
    EXPECT_EQ(platform::ParseProfileNumber(L"-007"), -7);
    EXPECT_EQ(platform::ParseProfileNumber(L"99999999999999999999"), 9223372036854775807);
    EXPECT_EQ(platform::ParseProfileNumber(L"-99999999999999999999"), -9223372036854775807 - 1);
}

} // namespace

#include "platform/own_file.h"

#include <fstream>
#include <numeric>
#include <string>

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "support/case_files.h"

namespace {

namespace fs = std::filesystem;

using Bytes = std::vector<std::uint8_t>;

constexpr std::size_t kMost = 1000;

Bytes SomeBytes() {
    Bytes bytes(300);
    std::iota(bytes.begin(), bytes.end(), std::uint8_t{1});
    return bytes;
}

bool Write(const fs::path& path, const Bytes& bytes) {
    return platform::WriteOwnFile(path.wstring().c_str(), bytes.data(), bytes.size());
}

std::optional<Bytes> Read(const fs::path& path) { return platform::ReadOwnFile(path.wstring().c_str(), kMost); }

TEST(OwnFile, ReadsBackWhatWasWrittenForItsOwnerAlone) {
    const test::TemporaryFolder folder;
    const fs::path path = folder.Path() / "own.bin";
    for (const Bytes& bytes : {SomeBytes(), Bytes{7}, Bytes{}}) {
        ASSERT_TRUE(Write(path, bytes));
        EXPECT_EQ(fs::status(path).permissions(), fs::perms::owner_read | fs::perms::owner_write);
        EXPECT_EQ(Read(path), bytes);
    }
}

TEST(OwnFile, ReplacesAFileThatOthersMayReadAndLeavesNothingBesideIt) {
    const test::TemporaryFolder folder;
    const fs::path path = folder.Path() / "own.bin";
    std::ofstream(path) << "old";
    fs::permissions(path, fs::perms(0644));
    ASSERT_TRUE(Write(path, SomeBytes()));
    EXPECT_EQ(fs::status(path).permissions(), fs::perms(0600));
    EXPECT_EQ(Read(path), SomeBytes());
    EXPECT_EQ(std::distance(fs::directory_iterator(folder.Path()), {}), 1);
}

TEST(OwnFile, ReplacesALinkAndLeavesItsTarget) {
    const test::TemporaryFolder folder;
    const fs::path target = folder.Path() / "target";
    const fs::path link = folder.Path() / "own.bin";
    std::ofstream(target) << "target";
    fs::create_symlink(target, link);
    EXPECT_EQ(Read(link), std::nullopt);
    ASSERT_TRUE(Write(link, SomeBytes()));
    EXPECT_FALSE(fs::is_symlink(link));
    EXPECT_EQ(fs::file_size(target), 6u);
}

TEST(OwnFile, IsNotReadWhenOthersMayWriteIt) {
    const test::TemporaryFolder folder;
    const fs::path path = folder.Path() / "own.bin";
    ASSERT_TRUE(Write(path, SomeBytes()));
    for (const unsigned mode : {0620u, 0602u, 0666u}) {
        fs::permissions(path, fs::perms(mode));
        EXPECT_EQ(Read(path), std::nullopt) << mode;
    }
    fs::permissions(path, fs::perms(0644));
    EXPECT_EQ(Read(path), SomeBytes());
}

TEST(OwnFile, IsNotReadWhenItBelongsToSomebodyElse) {
    const test::TemporaryFolder folder;
    const fs::path path = folder.Path() / "own.bin";
    ASSERT_TRUE(Write(path, SomeBytes()));
    constexpr uid_t kSomebody = 12345;
    if (chown(path.c_str(), kSomebody, kSomebody) == 0)
        EXPECT_EQ(Read(path), std::nullopt);
    else // only root may give files away; a file of root's is as good as one's own
        EXPECT_TRUE(platform::ReadOwnFile(L"/etc/hostname", kMost) || !fs::exists("/etc/hostname"));
}

TEST(OwnFile, IsNotReadWhenItIsNoFileOrTooLarge) {
    const test::TemporaryFolder folder;
    const fs::path pipe = folder.Path() / "pipe";
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    EXPECT_EQ(Read(pipe), std::nullopt);
    EXPECT_EQ(Read(folder.Path()), std::nullopt);
    EXPECT_EQ(Read(folder.Path() / "none"), std::nullopt);
    EXPECT_EQ(platform::ReadOwnFile(nullptr, kMost), std::nullopt);
    EXPECT_EQ(platform::ReadOwnFile(L"", kMost), std::nullopt);
    const fs::path path = folder.Path() / "own.bin";
    ASSERT_TRUE(Write(path, Bytes(kMost)));
    EXPECT_EQ(Read(path), Bytes(kMost));
    ASSERT_TRUE(Write(path, Bytes(kMost + 1)));
    EXPECT_EQ(Read(path), std::nullopt);
}

TEST(OwnFile, CannotBeWrittenWhereThereIsNoFolderOrAFolderHasTheName) {
    const test::TemporaryFolder folder;
    EXPECT_FALSE(Write(folder.Path() / "none" / "own.bin", SomeBytes()));
    EXPECT_FALSE(Write(folder.Path(), SomeBytes()));
    EXPECT_FALSE(platform::WriteOwnFile(L"", "x", 1));
    EXPECT_FALSE(platform::WriteOwnFile(nullptr, "x", 1));
}

} // namespace

#include "output_files.h"

#include <cerrno>
#include <cstdio>
#include <fstream>

#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "errors.h"
#include "run_program.h"
#include "support/case_files.h"
#include "support/file_text.h"

namespace {

/// The exchange of names that fails, counted from 0, and with what.
struct ExchangeFault {
    int At = -1;
    int Error = 0;
};
ExchangeFault g_exchangeFault;

} // namespace

// Stands before the system's call.
extern "C" int renameat2(int fromFolder, const char* from, int toFolder, const char* to, unsigned flags) noexcept {
    if ((flags & RENAME_EXCHANGE) != 0 && g_exchangeFault.At-- == 0) {
        errno = g_exchangeFault.Error;
        return -1;
    }
    return static_cast<int>(syscall(SYS_renameat2, fromFolder, from, toFolder, to, flags));
}

namespace {

namespace fs = std::filesystem;
using Names = std::vector<std::string>;

void WriteText(const fs::path& file, const std::string& text) { std::ofstream(file) << text; }

TEST(OutputFiles, AppearTogetherOnCommit) {
    const test::TemporaryFolder folder;
    const fs::path first = folder.Path() / "a.txt";
    const fs::path second = folder.Path() / "sub" / "b.txt";
    fs::create_directory(second.parent_path());
    WriteText(first, "old");
    {
        app::OutputFiles outputs;
        outputs.Add(first);
        outputs.Add(second);
        outputs.Write(first, [](const fs::path& path) { WriteText(path, "new a"); });
        EXPECT_EQ(test::ReadText(first), "old");
        outputs.Write(second, [](const fs::path& path) { WriteText(path, "new b"); });
        outputs.Commit();
    }
    EXPECT_EQ(test::ReadText(first), "new a");
    EXPECT_EQ(test::ReadText(second), "new b");
    EXPECT_EQ(test::EntryNames(folder.Path()), (Names{"a.txt", "sub"}));
    EXPECT_EQ(test::EntryNames(second.parent_path()), (Names{"b.txt"}));
}

TEST(OutputFiles, LeaveNothingWithoutACommit) {
    const test::TemporaryFolder folder;
    {
        app::OutputFiles outputs;
        outputs.Add(folder.Path() / "a.txt");
        outputs.Write(folder.Path() / "a.txt", [](const fs::path& path) { WriteText(path, "text"); });
        EXPECT_FALSE(test::EntryNames(folder.Path()).empty());
    }
    EXPECT_EQ(test::EntryNames(folder.Path()), Names{});
}

TEST(OutputFiles, NameTheTargetWhenAWriteFails) {
    const test::TemporaryFolder folder;
    const fs::path target = folder.Path() / "a.txt";
    app::OutputFiles outputs;
    outputs.Add(target);
    try {
        outputs.Write(target, [](const fs::path& path) { throw app::Failure(path.native() + ": disk full"); });
        ADD_FAILURE() << "the failure was lost";
    } catch (const app::Failure& failure) {
        EXPECT_EQ(failure.what(), target.native() + ": disk full");
    }
}

/// Commits new files a.txt and b.txt over old ones, with one exchange failing.
void CommitBoth(const fs::path& folder, ExchangeFault fault) {
    const Names names = {"a.txt", "b.txt"};
    for (const std::string& name : names) WriteText(folder / name, "old " + name);
    app::OutputFiles outputs;
    for (const std::string& name : names) outputs.Add(folder / name);
    for (const std::string& name : names)
        outputs.Write(folder / name, [&](const fs::path& path) { WriteText(path, "new " + name); });
    g_exchangeFault = fault;
    outputs.Commit();
}

// It may be the only whole copy of what is there.
TEST(OutputFiles, SpareWhatIsThereWhenAnExchangeFails) {
    for (const int error : {EIO, EACCES, EPERM, EROFS, ENOSPC})
        for (const int at : {0, 1}) {
            SCOPED_TRACE(std::to_string(error) + " at " + std::to_string(at));
            const test::TemporaryFolder folder;
            EXPECT_THROW(CommitBoth(folder.Path(), {at, error}), app::Failure);
            EXPECT_EQ(test::ReadText(folder.Path() / "a.txt"), "old a.txt");
            EXPECT_EQ(test::ReadText(folder.Path() / "b.txt"), "old b.txt");
            EXPECT_EQ(test::EntryNames(folder.Path()), (Names{"a.txt", "b.txt"}));
        }
}

TEST(OutputFiles, ReplaceWhatIsThereWhereNamesCannotBeExchanged) {
    for (const int error : {EINVAL, ENOSYS, EOPNOTSUPP}) {
        SCOPED_TRACE(error);
        const test::TemporaryFolder folder;
        CommitBoth(folder.Path(), {1, error});
        EXPECT_EQ(test::ReadText(folder.Path() / "a.txt"), "new a.txt");
        EXPECT_EQ(test::ReadText(folder.Path() / "b.txt"), "new b.txt");
    }
}

TEST(OutputFiles, TakeOverThePermissionsOfWhatTheyReplace) {
    const test::TemporaryFolder folder;
    for (const fs::perms permissions :
         {fs::perms::owner_read | fs::perms::owner_write, fs::perms::owner_read, fs::perms::all}) {
        const fs::path file = folder.Path() / "a.txt";
        fs::remove(file);
        WriteText(file, "old");
        fs::permissions(file, permissions);
        fs::create_symlink(file, folder.Path() / "link");
        app::OutputFiles outputs;
        outputs.Add(folder.Path() / "link");
        outputs.Write(folder.Path() / "link", [](const fs::path& path) { WriteText(path, "new"); });
        outputs.Commit();
        EXPECT_EQ(test::ReadText(file), "new");
        EXPECT_EQ(fs::status(file).permissions(), permissions);
        fs::remove(folder.Path() / "link");
    }
}

TEST(OutputFiles, RefuseTargetsThatCannotBeWritten) {
    const test::TemporaryFolder folder;
    app::OutputFiles outputs;
    EXPECT_THROW(outputs.Add(folder.Path() / "missing" / "a.txt"), app::Failure);
    EXPECT_THROW(outputs.Add(folder.Path()), app::Failure);
    outputs.Add(folder.Path() / "a.txt");
    EXPECT_THROW(outputs.Add(folder.Path() / "." / "a.txt"), app::UsageError);
}

} // namespace

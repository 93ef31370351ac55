#include "output_files.h"

#include <cerrno>
#include <cstdio>
#include <fstream>
#include <functional>
#include <utility>

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "errors.h"
#include "run_program.h"
#include "support/case_files.h"
#include "support/file_text.h"

namespace {

namespace fs = std::filesystem;

void WriteText(const fs::path& file, const std::string& text) { std::ofstream(file) << text; }

void MakeFilledFolder(const fs::path& folder) {
    fs::create_directory(folder);
    WriteText(folder / "kept.txt", "kept");
}

/// The exchange of names that fails, counted from 0, and with what.
struct ExchangeFault {
    int At = -1;
    int Error = 0;
};
ExchangeFault g_exchangeFault;

/// The name that somebody else gives to a folder just ahead of its exchange; empty: none.
std::string g_folderJustAhead;

} // namespace

// Stands before the system's call.
extern "C" int renameat2(int fromFolder, const char* from, int toFolder, const char* to, unsigned flags) noexcept {
    if ((flags & RENAME_EXCHANGE) != 0 && g_exchangeFault.At-- == 0) {
        errno = g_exchangeFault.Error;
        return -1;
    }
    if ((flags & RENAME_EXCHANGE) != 0 && g_folderJustAhead == to)
        MakeFilledFolder(std::exchange(g_folderJustAhead, {}));
    return static_cast<int>(syscall(SYS_renameat2, fromFolder, from, toFolder, to, flags));
}

namespace {

using Names = std::vector<std::string>;

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

/// Commits new files a.txt, b.txt and c.txt, of which the first replaces an old one. @param meanwhile  Comes when all
/// are written. @return what the failure says.
std::string CommitAfter(const fs::path& folder, const std::function<void()>& meanwhile) {
    const Names names = {"a.txt", "b.txt", "c.txt"};
    WriteText(folder / "a.txt", "old a.txt");
    app::OutputFiles outputs;
    for (const std::string& name : names) outputs.Add(folder / name);
    for (const std::string& name : names)
        outputs.Write(folder / name, [&](const fs::path& path) { WriteText(path, "new " + name); });
    meanwhile();
    try {
        outputs.Commit();
    } catch (const app::Failure& failure) {
        return failure.what();
    }
    return "no failure";
}

void ExpectFolderAndOldOutput(const fs::path& folder) {
    EXPECT_EQ(test::EntryNames(folder), (Names{"a.txt", "b.txt"}));
    EXPECT_EQ(test::ReadText(folder / "a.txt"), "old a.txt");
    EXPECT_EQ(test::ReadText(folder / "b.txt" / "kept.txt"), "kept");
}

TEST(OutputFiles, SpareAFolderThatHasComeUnderATargetsName) {
    const test::TemporaryFolder folder;
    const fs::path target = folder.Path() / "b.txt";
    EXPECT_EQ(CommitAfter(folder.Path(), [&] { MakeFilledFolder(target); }),
              target.native() + ": cannot be written: Is a directory");
    ExpectFolderAndOldOutput(folder.Path());
}

TEST(OutputFiles, GiveAFolderBackThatComesAtTheLastMoment) {
    const test::TemporaryFolder folder;
    const fs::path target = folder.Path() / "b.txt";
    EXPECT_EQ(CommitAfter(folder.Path(), [&] { g_folderJustAhead = target.native(); }),
              target.native() + ": cannot be written: Is a directory");
    ExpectFolderAndOldOutput(folder.Path());
}

TEST(OutputFiles, KeepAFolderThatCannotBeGivenBack) {
    const test::TemporaryFolder folder;
    const fs::path target = folder.Path() / "b.txt";
    const std::string failure = CommitAfter(folder.Path(), [&] {
        g_folderJustAhead = target.native();
        g_exchangeFault = {2, EIO}; // after those of a.txt and b.txt
    });
    g_exchangeFault = {};
    EXPECT_EQ(failure, target.native() + ": cannot be written: Is a directory");
    int kept = 0;
    for (const auto& entry : fs::recursive_directory_iterator(folder.Path()))
        kept += entry.path().filename() == "kept.txt" && test::ReadText(entry.path()) == "kept" ? 1 : 0;
    EXPECT_EQ(kept, 1);
}

TEST(OutputFiles, SparePipesAndLinksThatHaveComeUnderATargetsName) {
    for (const fs::file_type type : {fs::file_type::fifo, fs::file_type::symlink}) {
        const test::TemporaryFolder folder;
        const fs::path target = folder.Path() / "b.txt";
        {
            app::OutputFiles outputs;
            outputs.Add(target);
            outputs.Write(target, [](const fs::path& path) { WriteText(path, "new"); });
            if (type == fs::file_type::symlink)
                fs::create_symlink("elsewhere", target);
            else
                ASSERT_EQ(mkfifo(target.c_str(), 0600), 0);
            g_exchangeFault = {0, EINVAL}; // names cannot be exchanged: a plain renaming would replace it
            EXPECT_THROW(outputs.Commit(), app::Failure);
            g_exchangeFault = {};
        }
        EXPECT_TRUE(fs::symlink_status(target).type() == type);
        EXPECT_EQ(test::EntryNames(folder.Path()), Names{"b.txt"});
    }
}

TEST(OutputFiles, MakeTheFileThatALinkNames) {
    const test::TemporaryFolder folder;
    const fs::path store = folder.Path() / "store";
    fs::create_directory(store);
    fs::create_symlink(store / "absolute.txt", folder.Path() / "absolute");
    fs::create_symlink("store/relative.txt", folder.Path() / "relative");
    fs::create_symlink("store/next", folder.Path() / "chain");
    fs::create_symlink("chained.txt", store / "next");
    for (const std::string name : {"absolute", "relative", "chain"}) {
        const fs::path link = folder.Path() / name;
        app::OutputFiles outputs;
        outputs.Add(link);
        outputs.Write(link, [&](const fs::path& path) { WriteText(path, "new " + name); });
        outputs.Commit();
        EXPECT_TRUE(fs::is_symlink(link)) << name;
        EXPECT_EQ(test::ReadText(link), "new " + name);
    }
    EXPECT_TRUE(fs::is_symlink(store / "next"));
    EXPECT_EQ(test::EntryNames(store), (Names{"absolute.txt", "chained.txt", "next", "relative.txt"}));
    EXPECT_EQ(test::EntryNames(folder.Path()), (Names{"absolute", "chain", "relative", "store"}));
}

TEST(OutputFiles, TakeALinkAndTheFileThatItNamesForOneTarget) {
    const test::TemporaryFolder folder;
    fs::create_symlink("a.txt", folder.Path() / "link");
    app::OutputFiles outputs;
    outputs.Add(folder.Path() / "link");
    EXPECT_THROW(outputs.Add(folder.Path() / "a.txt"), app::UsageError);
}

TEST(OutputFiles, RefuseLinksThatLeadInACircleOrIntoAMissingFolder) {
    const test::TemporaryFolder folder;
    fs::create_symlink("there", folder.Path() / "back");
    fs::create_symlink("back", folder.Path() / "there");
    fs::create_symlink("missing/a.txt", folder.Path() / "lost");
    const std::pair<std::string, std::string> links[] = {{"back", "Too many levels of symbolic links"},
                                                         {"lost", "missing: No such file or directory"}};
    for (const auto& [name, reason] : links) {
        const fs::path link = folder.Path() / name;
        app::OutputFiles outputs;
        try {
            outputs.Add(link);
            ADD_FAILURE() << name << " was taken";
        } catch (const app::Failure& failure) {
            const std::string message = failure.what();
            EXPECT_TRUE(message.starts_with(link.native() + ": cannot be written: ")) << message;
            EXPECT_TRUE(message.ends_with(reason)) << message;
        }
        EXPECT_TRUE(fs::is_symlink(link)) << name;
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

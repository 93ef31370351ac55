#include "output_files.h"

#include <fstream>
#include <iterator>

#include <gtest/gtest.h>

#include "errors.h"
#include "run_program.h"
#include "support/case_files.h"

namespace {

namespace fs = std::filesystem;
using Names = std::vector<std::string>;

void WriteText(const fs::path& file, const std::string& text) { std::ofstream(file) << text; }

std::string ReadText(const fs::path& file) {
    std::ifstream stream(file);
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

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
        EXPECT_EQ(ReadText(first), "old");
        outputs.Write(second, [](const fs::path& path) { WriteText(path, "new b"); });
        outputs.Commit();
    }
    EXPECT_EQ(ReadText(first), "new a");
    EXPECT_EQ(ReadText(second), "new b");
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

TEST(OutputFiles, RefuseTargetsThatCannotBeWritten) {
    const test::TemporaryFolder folder;
    app::OutputFiles outputs;
    EXPECT_THROW(outputs.Add(folder.Path() / "missing" / "a.txt"), app::Failure);
    EXPECT_THROW(outputs.Add(folder.Path()), app::Failure);
    outputs.Add(folder.Path() / "a.txt");
    EXPECT_THROW(outputs.Add(folder.Path() / "." / "a.txt"), app::UsageError);
}

} // namespace

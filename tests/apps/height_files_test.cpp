#include "height_files.h"

#include <fstream>

#include <gtest/gtest.h>

#include "errors.h"
#include "support/case_files.h"

namespace {

using Heights = std::vector<double>;
const std::vector<std::filesystem::path> kFrameFiles = {"stack/f_1.png", "stack/f_2.png", "stack/f 10.png"};

std::string MessageOf(const std::string& text) {
    try {
        app::ParseHeights(text, "z.txt", kFrameFiles);
    } catch (const app::Failure& failure) {
        return failure.what();
    }
    return "no failure";
}

TEST(ParseHeights, TakesOneNumberALineInFrameOrder) {
    EXPECT_EQ(app::ParseHeights("0\n-2.5\n+1e3\n", "z.txt", kFrameFiles), (Heights{0, -2.5, 1000}));
}

TEST(ParseHeights, SkipsCommentsEmptyLinesAndWindowsLineEnds) {
    EXPECT_EQ(app::ParseHeights("# z in um\r\n\r\n1 # first\r\n  2\t\r\n3", "z.txt", kFrameFiles), (Heights{1, 2, 3}));
}

TEST(ParseHeights, SkipsTheByteOrderMarkOfSpreadsheets) {
    EXPECT_EQ(app::ParseHeights("\xEF\xBB\xBF"
                                "1\n2\n3\n",
                                "z.txt", kFrameFiles),
              (Heights{1, 2, 3}));
}

TEST(ParseHeights, FindsFramesByNameInAnyOrder) {
    EXPECT_EQ(app::ParseHeights("f_2.png 2\nf 10.png   3\nf_1.png\t1\n", "z.txt", kFrameFiles), (Heights{1, 2, 3}));
    EXPECT_EQ(app::ParseHeights("stack/f_2.png 2\nstack/f 10.png 3\nstack/f_1.png 1\n", "z.txt", kFrameFiles),
              (Heights{1, 2, 3}));
}

TEST(ParseHeights, TakesACommaBetweenNameAndNumber) {
    EXPECT_EQ(app::ParseHeights("f_1.png,1\nf_2.png , 2.5\nf 10.png,-3\n", "z.csv", kFrameFiles),
              (Heights{1, 2.5, -3}));
}

TEST(ParseHeights, SaysWhichLineIsNoHeight) {
    EXPECT_EQ(MessageOf("1\n\nzwei\n"),
              "z.txt:3: 'zwei' where a height is expected: a number, or a frame's name and a number");
    EXPECT_NE(MessageOf("1\nnan\n3\n").find("z.txt:2: 'nan'"), std::string::npos);
    EXPECT_NE(MessageOf("1\n2\ninf\n").find("z.txt:3: 'inf'"), std::string::npos);
    EXPECT_NE(MessageOf("1 um\n2 um\n3 um\n").find("z.txt:1: 'um'"), std::string::npos);
    EXPECT_NE(MessageOf("f_1.png,\n").find("z.txt:1: nothing where"), std::string::npos);
    EXPECT_EQ(MessageOf(",5\n"), "z.txt:1: no name before the comma");
}

TEST(ParseHeights, WantsOneHeightAFrame) {
    EXPECT_EQ(MessageOf("1\n2\n"), "z.txt: 2 heights, expected 3, one a frame");
    EXPECT_EQ(MessageOf("1\n2\n3\n4\n"), "z.txt: 4 heights, expected 3, one a frame");
    EXPECT_EQ(MessageOf("# nothing\n"), "z.txt: 0 heights, expected 3, one a frame");
    EXPECT_EQ(MessageOf("f_1.png 1\nf_2.png 2\n"), "z.txt: no height for frame f 10.png");
    EXPECT_EQ(MessageOf("f_1.png 1\nf_1.png 2\n"), "z.txt:2: second height for f_1.png");
    EXPECT_EQ(MessageOf("f_1.png 1\nf_3.png 2\n"), "z.txt:2: no frame is named f_3.png");
}

TEST(ParseHeights, RefusesLinesWithAndWithoutNames) {
    EXPECT_EQ(MessageOf("f_1.png 1\n2\n"), "z.txt:2: lines with and without a frame's name are mixed");
}

TEST(ParseHeights, ShowsOfAWrongTextSoMuchAsOneLineTakes) {
    EXPECT_EQ(MessageOf("\x1B[31m" + std::string(100000, 'x')),
              "z.txt:1: '?[31m" + std::string(35, 'x') +
                  "...' where a height is expected: a number, or a frame's name and a number");
    EXPECT_EQ(MessageOf(std::string(100000, 'x') + " 1"), "z.txt:1: no frame is named " + std::string(40, 'x') + "...");
}

TEST(ParseHeights, CountsAllLines) {
    std::string text;
    for (int i = 0; i < 100000; ++i) text += "1\n";
    EXPECT_EQ(MessageOf(text), "z.txt: 100000 heights, expected 3, one a frame");
    EXPECT_EQ(MessageOf(text + "f_1.png 1\n"), "z.txt:100001: lines with and without a frame's name are mixed");
}

TEST(ReadHeights, ReadsNoTextWithoutEnd) {
    const test::TemporaryFolder folder;
    const std::filesystem::path file = folder.Path() / "z.txt";
    const auto messageOf = [](const std::filesystem::path& path) -> std::string {
        try {
            app::ReadHeights(path, kFrameFiles);
        } catch (const app::Failure& failure) {
            return failure.what();
        }
        return "no failure";
    };
    constexpr std::uintmax_t kMost = std::uintmax_t{64} << 20;
    std::ofstream(file) << "1\n2\n3\n#";
    std::filesystem::resize_file(file, kMost);
    EXPECT_EQ(app::ReadHeights(file, kFrameFiles), (Heights{1, 2, 3}));
    std::filesystem::resize_file(file, kMost + 1);
    EXPECT_EQ(messageOf(file), file.native() + ": too large for heights, expected at most 64 MiB");
    EXPECT_EQ(messageOf("/dev/zero"), "/dev/zero: too large for heights, expected at most 64 MiB");
}

TEST(ReadHeights, ReadsAFileAndNamesItWhenItCannot) {
    const test::TemporaryFolder folder;
    const std::filesystem::path file = folder.Path() / "z.txt";
    std::ofstream(file) << "1\n2\n3\n";
    EXPECT_EQ(app::ReadHeights(file, kFrameFiles), (Heights{1, 2, 3}));
    for (const std::filesystem::path& bad : {folder.Path() / "missing.txt", folder.Path()}) {
        try {
            app::ReadHeights(bad, kFrameFiles);
            ADD_FAILURE() << bad << " was read";
        } catch (const app::Failure& failure) {
            EXPECT_TRUE(std::string(failure.what()).starts_with(bad.native() + ": ")) << failure.what();
        }
    }
}

TEST(EvenHeights, GoesFromTheStartInSteps) { EXPECT_EQ(app::EvenHeights(10, -2.5, 4), (Heights{10, 7.5, 5, 2.5})); }

} // namespace

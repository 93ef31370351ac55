#include "frame_list.h"

#include <fstream>

#include <gtest/gtest.h>

#include "errors.h"
#include "support/case_files.h"

namespace {

namespace fs = std::filesystem;
using Names = std::vector<std::string>;

class ListFrames : public testing::Test {
  protected:
    void Make(const Names& names) const {
        for (const std::string& name : names) {
            fs::create_directories((m_folder.Path() / name).parent_path());
            std::ofstream(m_folder.Path() / name) << "x";
        }
    }
    std::string Path(const std::string& name) const { return m_folder.Path() / name; }

    /// Frames relative to the folder.
    Names List(const Names& arguments, bool keepOrder = false, const Names& outputs = {}) const {
        Names paths;
        for (const std::string& argument : arguments) paths.push_back(Path(argument));
        std::vector<fs::path> outputPaths;
        for (const std::string& output : outputs) outputPaths.push_back(Path(output));
        Names names;
        for (const fs::path& frame : app::ListFrames(paths, keepOrder, outputPaths))
            names.push_back(frame.lexically_relative(m_folder.Path()));
        return names;
    }

    /// The message of a failing listing, without the folder.
    std::string MessageOf(const Names& arguments) const {
        try {
            List(arguments);
        } catch (const app::Failure& failure) {
            const std::string message = failure.what();
            const std::string folder = m_folder.Path().native() + "/";
            return message.starts_with(folder) ? message.substr(folder.size()) : message;
        }
        return "no failure";
    }

  private:
    test::TemporaryFolder m_folder;
};

TEST_F(ListFrames, TakesTheImagesOfAFolderInNaturalOrder) {
    Make({"s/f10.png", "s/f9.TIF", "s/f1.jpeg", "s/f2.Jpg", "s/f3.bmp", "s/f4.tiff", "s/README.md", "s/.f0.png",
          "s/sub.png/f.png"});
    EXPECT_EQ(List({"s"}), (Names{"s/f1.jpeg", "s/f2.Jpg", "s/f3.bmp", "s/f4.tiff", "s/f9.TIF", "s/f10.png"}));
    EXPECT_EQ(List({"s/"}).size(), 6U);
}

TEST_F(ListFrames, ExpandsAPattern) {
    Make({"s/f10.png", "s/f9.png", "s/g1.png", "s/f1.txt", "t/f2.png"});
    EXPECT_EQ(List({"s/f*"}), (Names{"s/f9.png", "s/f10.png"}));
    EXPECT_EQ(List({"?/f?.png"}), (Names{"s/f9.png", "t/f2.png"}));
    EXPECT_EQ(List({"s/[g-z]*.png"}), (Names{"s/g1.png"}));
}

TEST_F(ListFrames, PrefersAFileToThePatternOfItsName) {
    Make({"f[1].png", "f1.png"});
    EXPECT_EQ(List({"f[1].png"}), (Names{"f[1].png"}));
}

TEST_F(ListFrames, OrdersNamedFilesAsAPatternThatTheShellExpanded) {
    Make({"f1.png", "f10.png", "f2.png"});
    EXPECT_EQ(List({"f1.png", "f10.png", "f2.png"}), (Names{"f1.png", "f2.png", "f10.png"}));
    EXPECT_EQ(List({"f2.png", "f10.png", "f1.png"}, /*keepOrder=*/true), (Names{"f2.png", "f10.png", "f1.png"}));
}

TEST_F(ListFrames, KeepsTheOrderOfFoldersAndPatterns) {
    Make({"b/f2.png", "b/f1.png", "a/f3.png", "9.png", "8.png", "c1.png"});
    EXPECT_EQ(List({"9.png", "8.png", "b", "c*", "a"}),
              (Names{"8.png", "9.png", "b/f1.png", "b/f2.png", "c1.png", "a/f3.png"}));
}

TEST_F(ListFrames, TakesANamedFileWhateverItsExtension) {
    Make({"frame.dat"});
    EXPECT_EQ(List({"frame.dat"}), (Names{"frame.dat"}));
}

TEST_F(ListFrames, LeavesTheOutputsOutOfFoldersAndPatterns) {
    Make({"s/f1.png", "s/f2.png", "s/out.png"});
    EXPECT_EQ(List({"s"}, false, {"s/out.png"}), (Names{"s/f1.png", "s/f2.png"}));
    EXPECT_EQ(List({"s/*.png"}, false, {"s/../s/out.png"}), (Names{"s/f1.png", "s/f2.png"}));
    EXPECT_THROW(List({"s/out.png"}, false, {"s/out.png"}), app::UsageError);
}

TEST_F(ListFrames, SaysWhatNamesNoFrame) {
    Make({"s/README.md", "f.png"});
    EXPECT_EQ(MessageOf({"f.png", "missing.png"}), "missing.png: cannot be read: No such file or directory");
    EXPECT_EQ(MessageOf({"f.png", "x*.png"}), "x*.png: no image file matches this pattern");
    EXPECT_EQ(MessageOf({"s"}), "s: no image files in this folder, expected .tif .tiff .png .jpg .jpeg or .bmp");
}

TEST(DescribeFrames, SaysHowManyAndInWhichOrder) {
    EXPECT_EQ(app::DescribeFrames({"s/a.png", "s/b.png", "s/c.png"}, false),
              "3 frames in natural order: a.png ... c.png");
    EXPECT_EQ(app::DescribeFrames({"s/c.png", "s/b.png"}, true), "2 frames in the order given: c.png ... b.png");
    EXPECT_EQ(app::DescribeFrames({"s/c.png"}, false), "1 frame: c.png");
}

} // namespace

/// Compose with frames that have drifted: what --align and its companions do, refuse and tell.
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "alignment/drifting_stack.h"
#include "images.h"
#include "run_program.h"
#include "support/case_files.h"
#include "support/images.h"

namespace {

namespace fs = std::filesystem;
using test::ProgramResult;
using Names = std::vector<std::string>;

constexpr int kStackWidth = 240;
constexpr int kStackHeight = 180;

class ComposeAlign : public testing::Test {
  protected:
    void SetUp() override {
        fs::create_directory(Path("stack"));
        fs::create_directory(Path("out"));
    }
    /// Writes a stack of one scene; its first frame is the truth.
    void WriteStack(const std::vector<test::Step>& steps, std::int32_t format = KyiFormatBgr24,
                    test::Content content = test::Content::CrossedLines) {
        const std::vector<test::Image> frames =
            test::DriftingStack(kStackWidth, kStackHeight, format, content, steps, 11);
        for (std::size_t i = 0; i < frames.size(); ++i)
            ASSERT_TRUE(KyiSaveImageData(app::WidePath(Path("stack/" + std::to_string(i) + ".png")).c_str(),
                                         frames[i].get(), 0));
    }
    std::string Path(const std::string& name) const { return m_folder.Path() / name; }
    std::string Out(const std::string& name) const { return m_folder.Path() / "out" / name; }

    ProgramResult Compose(const Names& options) const {
        Names arguments = {"compose", Path("stack"), "--progress", "none", "-o", Out("o.png")};
        arguments.insert(arguments.end(), options.begin(), options.end());
        return test::RunProgram(arguments);
    }
    nlohmann::json Summary(Names options) const {
        options.insert(options.end(), {"--json", "-"});
        const ProgramResult result = Compose(options);
        EXPECT_EQ(result.Status, 0) << result.Errors;
        return nlohmann::json::parse(result.Output, nullptr, /*allow_exceptions=*/false);
    }
    void ExpectRefusal(const Names& parts, const Names& options) const {
        const ProgramResult result = Compose(options);
        EXPECT_EQ(result.Status, 2) << result.Errors;
        for (const std::string& part : parts) EXPECT_NE(result.Errors.find(part), std::string::npos) << result.Errors;
        EXPECT_EQ(test::EntryNames(Path("out")), Names{});
    }
    static std::vector<int> Shifts(const nlohmann::json& side, const char* key) {
        std::vector<int> shifts;
        for (const nlohmann::json& frame : side.at("frames")) shifts.push_back(frame.at(key).get<int>());
        return shifts;
    }

  private:
    test::TemporaryFolder m_folder;
};

TEST_F(ComposeAlign, TellsHowFarLinesHaveMovedEachFrame) {
    WriteStack({{6, 0}, {-10, 0}, {1, 0}});
    for (const std::string method : {"lines", "lines-multi"}) {
        const nlohmann::json summary = Summary({"--align", method});
        const nlohmann::json side = summary.at("alignment").at("2d");
        EXPECT_EQ(side.at("method"), method);
        EXPECT_EQ(Shifts(side, "shift_x"), (std::vector<int>{0, 6, -4, -3}));
        EXPECT_EQ(Shifts(side, "shift_y"), (std::vector<int>{0, 0, 0, 0}));
        EXPECT_EQ(side.at("frames")[1].at("scale_x"), 1.0);
        EXPECT_FALSE(summary.at("alignment").contains("3d"));
        EXPECT_EQ(summary.at("settings").at("scope"), 1);
        EXPECT_EQ(summary.at("result").at("width"), kStackWidth - 6 - 4);
        EXPECT_EQ(summary.at("result").at("height"), kStackHeight);
    }
}

TEST_F(ComposeAlign, KeepsTheBorderOnRequest) {
    WriteStack({{6, 0}, {-10, 0}});
    const nlohmann::json summary = Summary({"--align", "lines", "--keep-border"});
    EXPECT_EQ(summary.at("result").at("width"), kStackWidth);
    EXPECT_EQ(summary.at("alignment").at("keep_border"), true);
}

TEST_F(ComposeAlign, FollowsShiftsOfBothAxesInMode3d) {
    WriteStack({{5, -3}, {-9, 4}});
    const nlohmann::json summary = Summary({"--align", "auto", "--mode", "3d", "--step", "1"});
    const nlohmann::json side = summary.at("alignment").at("3d");
    EXPECT_EQ(side.at("method"), "projection");
    EXPECT_EQ(Shifts(side, "shift_x"), (std::vector<int>{0, 5, -4}));
    EXPECT_EQ(Shifts(side, "shift_y"), (std::vector<int>{0, -3, 1}));
    EXPECT_FALSE(summary.at("alignment").contains("2d"));
    EXPECT_EQ(summary.at("result").at("width"), kStackWidth - 64 - 5 - 4);
    EXPECT_EQ(summary.at("result").at("height"), kStackHeight - 64 - 3 - 1);
}

TEST_F(ComposeAlign, TellsOfBothSidesInModeComplex) {
    WriteStack({{2, 1}, {-3, 0}});
    const nlohmann::json areas = Summary({"--align", "auto", "--areas", "4", "--mode", "complex", "--step", "1"});
    EXPECT_EQ(areas.at("alignment").at("2d").at("method"), "areas");
    EXPECT_EQ(areas.at("alignment").at("2d").at("frames").size(), 3u);
    EXPECT_EQ(areas.at("alignment").at("3d").at("method"), "projection");
    const nlohmann::json lines = Summary({"--align", "lines", "--mode", "complex", "--step", "1"});
    EXPECT_EQ(Shifts(lines.at("alignment").at("2d"), "shift_x"), (std::vector<int>{0, 2, -1}));
    EXPECT_EQ(Shifts(lines.at("alignment").at("3d"), "shift_x"), (std::vector<int>{0, 2, -1}));
}

// Where an area is found depends on where it lies: that tells which ones were taken.
TEST_F(ComposeAlign, TakesAsManyTemplateAreasAsThereArePlaces) {
    WriteStack({{3, -2}, {1, 4}});
    const auto shifts = [&](Names options) {
        options.insert(options.end(), {"--align", "auto"});
        const nlohmann::json side = Summary(options).at("alignment").at("2d");
        EXPECT_EQ(side.at("method"), "areas");
        EXPECT_EQ(side.at("frames").size(), 3u);
        EXPECT_EQ(side.at("frames")[0].at("scale_x"), 1.0);
        return Shifts(side, "shift_x");
    };
    const std::vector<int> ofDefault = shifts({});
    EXPECT_EQ(shifts({"--areas", "2"}), ofDefault);
    EXPECT_EQ(shifts({"--area-pos", "50,25;75,50"}), ofDefault);
    EXPECT_NE(shifts({"--areas", "3"}), ofDefault);
    const std::vector<int> ofPlaces = shifts({"--area-pos", "30,30;70,70"});
    EXPECT_NE(ofPlaces, ofDefault);
    EXPECT_EQ(shifts({"--areas", "2", "--area-pos", "30,30;70,70"}), ofPlaces);
}

TEST_F(ComposeAlign, SaysNothingOfAlignmentWhereFramesStay) {
    WriteStack({{3, 0}});
    EXPECT_FALSE(Summary({}).contains("alignment"));
    EXPECT_FALSE(Summary({"--align", "none"}).contains("alignment"));
    EXPECT_FALSE(Summary({"--align", "none", "--scope", "2"}).contains("alignment"));
}

TEST_F(ComposeAlign, TakesTheScopeForAMethodAndAMethodForTheScope) {
    WriteStack({{3, 0}}, KyiFormatGray8);
    EXPECT_EQ(Summary({"--scope", "1"}).at("alignment").at("2d").at("method"), "lines-multi");
    EXPECT_EQ(Summary({"--scope", "3", "--align", "lines"}).at("alignment").at("2d").at("method"), "lines");
    EXPECT_EQ(Summary({"--scope", "0", "--align", "auto"}).at("alignment").at("2d").at("method"), "areas");
}

TEST_F(ComposeAlign, RefusesOptionsThatContradictEachOtherAndNamesBoth) {
    WriteStack({{3, 0}});
    ExpectRefusal({"--align auto", "--scope 1"}, {"--align", "auto", "--scope", "1"});
    ExpectRefusal({"--align auto", "--scope 2"}, {"--align", "auto", "--scope", "2"});
    ExpectRefusal({"--align none", "--scope 3"}, {"--align", "none", "--scope", "3"});
    ExpectRefusal({"--align lines", "--scope 0"}, {"--align", "lines", "--scope", "0"});
    ExpectRefusal({"--align lines-multi", "--scope 2"}, {"--align", "lines-multi", "--scope", "2"});
    ExpectRefusal({"--areas", "--align lines"}, {"--areas", "3", "--align", "lines"});
    ExpectRefusal({"--areas", "--align auto"}, {"--areas", "3"});
    ExpectRefusal({"--area-pos", "--align none"}, {"--area-pos", "1,2;3,4", "--align", "none"});
    ExpectRefusal({"--areas 3", "--area-pos"}, {"--align", "auto", "--areas", "3", "--area-pos", "1,2;3,4"});
    ExpectRefusal({"--areas", "--mode"}, {"--align", "auto", "--areas", "3", "--mode", "3d", "--step", "1"});
    ExpectRefusal({"--keep-border", "--align none"}, {"--keep-border", "--align", "none"});
    ExpectRefusal({"--keep-border", "--align"}, {"--keep-border"});
}

// A file's scope gives way to the line's method as long as sharpness is judged as before.
TEST_F(ComposeAlign, JoinsTheScopeOfAParameterFileWithAMethodOfTheLine) {
    WriteStack({{3, 0}}, KyiFormatGray8);
    struct Join {
        int ScopeOfFile;
        const char* Method;
        int Scope; // negative: refused
    };
    for (const Join& join :
         {Join{1, "auto", 0}, Join{1, "none", 0}, Join{1, "lines", 1}, Join{2, "auto", -1}, Join{2, "none", 2},
          Join{2, "lines-multi", 3}, Join{3, "auto", -1}, Join{3, "none", 2}, Join{3, "lines", 3}}) {
        SCOPED_TRACE(std::to_string(join.ScopeOfFile) + " with " + join.Method);
        std::ofstream(Path("p.ini")) << "[FocusCompositionSetting]\nAlgType=0\nScopeType=" << join.ScopeOfFile << "\n";
        const Names options{"--params", Path("p.ini"), "--align", join.Method};
        if (join.Scope >= 0) {
            EXPECT_EQ(Summary(options).at("settings").at("scope"), join.Scope);
            fs::remove(Out("o.png"));
        } else {
            ExpectRefusal({"--align auto", "ScopeType " + std::to_string(join.ScopeOfFile) + " of --params",
                           "expected --scope 0"},
                          options);
        }
    }
    EXPECT_EQ(Summary({"--params", Path("p.ini"), "--align", "auto", "--scope", "0"}).at("settings").at("scope"), 0);
}

TEST_F(ComposeAlign, RefusesAreasThatAllLieInOnePlace) {
    WriteStack({{3, 0}});
    ExpectRefusal({"--area-pos", "all 2", "50,50"}, {"--align", "auto", "--area-pos", "50,50;50,50"});
    ExpectRefusal({"all 3", "0,100"}, {"--align", "auto", "--area-pos", "0,100;0,100;0,100"});
    std::ofstream(Path("p.ini")) << "[FocusCompositionSetting]\nAutoPos=1\nAlgType=0\nAreaPosX0=0\nAreaPosY0=0\n"
                                    "AreaPosX1=0\nAreaPosY1=0\n";
    ExpectRefusal({"all 2", "0,0"}, {"--params", Path("p.ini")});
    EXPECT_EQ(Compose({"--params", Path("p.ini"), "--areas", "3"}).Status, 0);
    EXPECT_EQ(Compose({"--params", Path("p.ini"), "--align", "lines"}).Status, 0);
    EXPECT_EQ(Compose({"--params", Path("p.ini"), "--mode", "3d", "--step", "1", "--keep-border"}).Status, 0);
    EXPECT_EQ(Compose({"--align", "auto", "--area-pos", "50,50;50,50;50,51"}).Status, 0);
}

TEST_F(ComposeAlign, WarnsWhereAFrameHasMovedAsFarAsAreasReach) {
    WriteStack({{-6, 0}}, KyiFormatBgr24, test::Content::Blobs);
    EXPECT_EQ(Compose({"--align", "auto"}).Errors.find("warning"), std::string::npos);
    fs::remove_all(Path("stack"));
    fs::create_directory(Path("stack"));
    WriteStack({{-17, 0}}, KyiFormatBgr24, test::Content::Blobs);
    const ProgramResult result = Compose({"--align", "auto"});
    EXPECT_EQ(result.Status, 0);
    const std::string expected = "warning: " + Path("stack/1.png") + ": --align auto has moved it by -17, 0 pixels";
    EXPECT_NE(result.Errors.find(expected), std::string::npos) << result.Errors;
}

TEST_F(ComposeAlign, RefusesPlacesThatAreNone) {
    WriteStack({{3, 0}});
    for (const std::string places : {"", "5", "5,6", "5,6;", "5,6;7", "5,6;7,101", "-1,6;7,8", "1.5,6;7,8", "a,b;c,d",
                                     "1,1;2,2;3,3;4,4;5,5", "1,1;;2,2", "1,1,1;2,2"})
        ExpectRefusal({"--area-pos"}, {"--align", "auto", "--area-pos", places});
    for (const std::string count : {"1", "5", "x"}) ExpectRefusal({"--areas"}, {"--align", "auto", "--areas", count});
    ExpectRefusal({"--align", "lines-multi"}, {"--align", "columns"});
}

TEST_F(ComposeAlign, SaysSoWhereTheCutLeavesNothing) {
    for (const int i : {0, 1}) {
        const test::Image small = test::TexturedImage(60, 60, KyiFormatGray8, 3);
        ASSERT_TRUE(
            KyiSaveImageData(app::WidePath(Path("stack/" + std::to_string(i) + ".png")).c_str(), small.get(), 0));
    }
    const ProgramResult result = Compose({"--align", "auto", "--mode", "3d", "--step", "1"});
    EXPECT_EQ(result.Status, 1) << result.Errors;
    EXPECT_NE(result.Errors.find("--keep-border"), std::string::npos) << result.Errors;
    EXPECT_EQ(Compose({"--align", "auto", "--mode", "3d", "--step", "1", "--keep-border"}).Status, 0);
}

} // namespace

/// Parameter files from the outside: compose --params and --save-params, and params.
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <kyfocus/composition_setting.h>
#include <kyfocus/kyfocus.h>
#include <nlohmann/json.hpp>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "images.h"
#include "run_program.h"
#include "support/case_files.h"
#include "support/file_text.h"
#include "support/images.h"

namespace {

namespace fs = std::filesystem;
using test::ProgramResult;
using Names = std::vector<std::string>;

/// A synthetic stack of 6 frames with heights, and a parameter file.
class ParamsProgram : public testing::Test {
  protected:
    void SetUp() override {
        const ProgramResult result = test::RunProgram(
            {"synth", "-o", Path("stack"), "--size", "96x72", "--frames", "6", "--step", "2", "--format", "bmp"});
        ASSERT_EQ(result.Status, 0) << result.Errors;
    }

    std::string Path(const std::string& name) const { return m_folder.Path() / name; }
    std::string File() const { return Path("p.ini"); }

    void Write(const std::string& keys) const {
        std::ofstream(File(), std::ios::binary) << "[FocusCompositionSetting]\n" << keys;
    }
    ProgramResult Compose(const Names& options) const {
        Names arguments = {"compose", Path("stack"), "--progress", "none", "-o", Path("o.png"), "--json", "-"};
        arguments.insert(arguments.end(), options.begin(), options.end());
        return test::RunProgram(arguments);
    }
    ProgramResult ComposeWithHeights(Names options) const {
        options.insert(options.end(), {"--heights", Path("stack/heights.txt"), "--height-map", Path("h.npy")});
        return Compose(options);
    }
    ProgramResult Show() const { return test::RunProgram({"params", File()}); }
    KyfFocusCompositionParameter Load() const {
        KyfFocusCompositionParameter parameter{};
        KyfLoadFocusCompositionParameter(&parameter, fs::path(File()).wstring().c_str());
        return parameter;
    }

    test::TemporaryFolder m_folder;
};

nlohmann::json Settings(const ProgramResult& result) {
    EXPECT_EQ(result.Status, 0) << result.Errors;
    nlohmann::json json = nlohmann::json::parse(result.Output);
    json["settings"]["mode"] = json.at("mode");
    return json.at("settings");
}

/// The line of a table that begins with a key; empty without one.
std::string LineOf(const std::string& table, const std::string& key) {
    const std::size_t start = ("\n" + table).find("\n" + key + " ");
    return start == std::string::npos ? "" : table.substr(start, table.find('\n', start) - start);
}

TEST_F(ParamsProgram, ASavedRunIsRunAgainFromItsFile) {
    const Names options = {"--mode",        "3d",    "--speed",           "half",
                           "--plane",       "other", "--no-halation",     "--no-adopt-top",
                           "--sensitivity", "7",     "--shape-smoothing", "2"};
    Names saving = options;
    saving.insert(saving.end(), {"--save-params", File()});
    const nlohmann::json saved = Settings(ComposeWithHeights(saving));
    const std::string image = test::ReadText(Path("o.png"));
    const std::string heights = test::ReadText(Path("h.npy"));
    EXPECT_EQ(saved, Settings(ComposeWithHeights({"--params", File()})));
    EXPECT_EQ(image, test::ReadText(Path("o.png")));
    EXPECT_EQ(heights, test::ReadText(Path("h.npy")));
    EXPECT_EQ(Load().AlgType, KyfAlgorithmType3DSafe);
    EXPECT_EQ(Load().FocusingValueDetectionSensitivity, 7);
    EXPECT_EQ(test::LineCount(test::ReadText(File())), 26U);
}

TEST_F(ParamsProgram, OptionsOnTheLineWinWhereverTheyStand) {
    Write("AlgType=1\nSpeed=2\nCompositionSize=9\nSmoothing=3\n");
    EXPECT_EQ(Settings(Compose({"--mode", "2d", "--params", File()})).at("speed"), "quarter");
    const nlohmann::json before = Settings(Compose({"--speed", "half", "--mode", "2d", "--params", File()}));
    const nlohmann::json behind = Settings(Compose({"--params", File(), "--speed", "half", "--mode", "2d"}));
    EXPECT_EQ(before, behind);
    EXPECT_EQ(behind.at("speed"), "half");
    EXPECT_EQ(behind.at("mode"), "2d");
    EXPECT_EQ(behind.at("comp_size_percent"), 9);
    const nlohmann::json preset = Settings(Compose({"--preset", "fine", "--mode", "2d", "--params", File()}));
    EXPECT_EQ(preset.at("comp_size_percent"), 1);
    EXPECT_EQ(preset.at("smoothing_percent"), 8);
}

TEST_F(ParamsProgram, WhatTheFileLeavesOpenIsAsWithoutIt) {
    Write("Smoothing=3\n");
    nlohmann::json expected = Settings(Compose({}));
    expected["smoothing_percent"] = 3;
    EXPECT_EQ(expected, Settings(Compose({"--params", File()})));
    EXPECT_EQ(Settings(ComposeWithHeights({"--params", File()})).at("mode"), "complex");
    Write("AlgType=0\n");
    EXPECT_EQ(Settings(ComposeWithHeights({"--params", File()})).at("mode"), "2d");
}

TEST_F(ParamsProgram, TheModeOfAFileMakesItsDemands) {
    Write("AlgType=1\n");
    const ProgramResult withoutHeights = Compose({"--params", File()});
    EXPECT_EQ(withoutHeights.Status, 2);
    EXPECT_NE(withoutHeights.Errors.find("needs the frames' heights"), std::string::npos) << withoutHeights.Errors;
    Write("AlgType=0\n");
    const ProgramResult misfit = Compose({"--params", File(), "--plane", "top"});
    EXPECT_EQ(misfit.Status, 2);
    EXPECT_NE(misfit.Errors.find("the mode is 2d (by the file of --params)"), std::string::npos) << misfit.Errors;
}

TEST_F(ParamsProgram, NumbersThatComposeCannotTakeAreRefusedByTheirKey) {
    for (const char* line :
         {"AlgType=7", "ScopeType=4", "ScopeType=-1", "CompositionSize=101", "Smoothing=-2147483648", "Speed=3",
          "Speed=31", "AreaNo=37", "AreaPosX0=101", "AreaPosY3=-1", "MatchingDetect=2",
          "FocusingValueDetectionSensitivity=11", "D3ShapeSmoothing=-1", "ProjectionNoiseRemove=2147483647"}) {
        Write(std::string("AlgType=0\n") + line + "\n");
        if (std::string(line).starts_with("AlgType")) Write(std::string(line) + "\n");
        const std::string key = std::string(line).substr(0, std::string(line).find('='));
        const ProgramResult result = ComposeWithHeights({"--params", File()});
        EXPECT_EQ(result.Status, 2) << line;
        EXPECT_NE(result.Errors.find(File() + ": " + key + " is "), std::string::npos) << result.Errors;
        EXPECT_FALSE(fs::exists(Path("o.png")));
    }
    Write("AlgType=7\nSpeed=9\n");
    EXPECT_EQ(Settings(Compose({"--params", File(), "--mode", "2d", "--speed", "full"})).at("speed"), "full");
}

TEST_F(ParamsProgram, UnreadableKeysAreToldAndLeftOut) {
    Write("AlgType=zwei\nSpeed=2x\nSmoothing=\nCompositionSize=4\n");
    const ProgramResult result = Compose({"--params", File()});
    const nlohmann::json settings = Settings(result);
    EXPECT_EQ(settings.at("speed"), "full");
    EXPECT_EQ(settings.at("mode"), "2d");
    EXPECT_EQ(settings.at("comp_size_percent"), 4);
    for (const char* key : {"AlgType", "Speed"})
        EXPECT_NE(result.Errors.find("warning: " + File() + ": " + key + " is no whole number"), std::string::npos)
            << result.Errors;
}

TEST_F(ParamsProgram, AKeyWithoutAValueIsAsOneThatIsAbsent) {
    for (const char* line : {"Smoothing=\n", "Smoothing=\"\"\n", "Smoothing = '' \n"}) {
        Write(line);
        const ProgramResult result = Compose({"--params", File()});
        EXPECT_EQ(Settings(result).at("smoothing_percent"), 6);
        EXPECT_EQ(result.Errors.find("warning"), std::string::npos) << result.Errors;
        EXPECT_NE(LineOf(Show().Output, "Smoothing").find(" 6  missing"), std::string::npos) << Show().Output;
    }
}

TEST_F(ParamsProgram, KeysWithoutAMeaningAreTold) {
    Write("Smothing=3\n[Stage]\nHeight=1\n");
    const ProgramResult result = Compose({"--params", File()});
    EXPECT_EQ(Settings(result).at("smoothing_percent"), 6);
    EXPECT_NE(result.Errors.find("warning: " + File() + ": Smothing is no parameter"), std::string::npos)
        << result.Errors;
    EXPECT_EQ(result.Errors.find("Height"), std::string::npos) << result.Errors;
}

TEST_F(ParamsProgram, NumbersBeyondTheNamedOnesStandForTheLastWhereTheLibraryTakesThemSo) {
    Write("AlgType=1\nPlaneType=2\nAdoptionPeakPos=2\n");
    const nlohmann::json expected = Settings(ComposeWithHeights({"--params", File()}));
    EXPECT_EQ(expected.at("adopt_top"), false);
    EXPECT_EQ(expected.at("plane"), "other");
    const std::string heights = test::ReadText(Path("h.npy"));
    Write("AlgType=1\nPlaneType=3\nAdoptionPeakPos=-5\n");
    EXPECT_EQ(expected, Settings(ComposeWithHeights({"--params", File()})));
    EXPECT_EQ(heights, test::ReadText(Path("h.npy")));
    EXPECT_NE(LineOf(Show().Output, "PlaneType").find("other"), std::string::npos) << Show().Output;
}

TEST_F(ParamsProgram, ASecondFileIsRefused) {
    Write("Speed=1\n");
    const ProgramResult result = Compose({"--params", File(), "--params", File()});
    EXPECT_EQ(result.Status, 2);
    EXPECT_TRUE(result.Errors.starts_with("kyfocus: --params: ")) << result.Errors;
    EXPECT_FALSE(fs::exists(Path("o.png")));
}

TEST_F(ParamsProgram, HelpIsShownWhateverTheFile) {
    const ProgramResult result = test::RunProgram({"compose", "--params", Path("none.ini"), "--help"});
    EXPECT_EQ(result.Status, 0) << result.Errors;
    EXPECT_NE(result.Output.find("--save-params"), std::string::npos);
}

/// Ends a program that has not ended by itself after ten seconds.
void EndWhenItHangs(pid_t process) {
    for (int i = 0; i < 200; ++i) {
        siginfo_t info{};
        waitid(P_PID, static_cast<id_t>(process), &info, WEXITED | WNOHANG | WNOWAIT);
        if (info.si_pid == process) return;
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    kill(process, SIGKILL);
}

TEST_F(ParamsProgram, APipeIsRefusedAndNotWaitedFor) {
    ASSERT_EQ(mkfifo(File().c_str(), 0600), 0);
    for (const Names& arguments :
         {Names{"params", File()}, Names{"compose", Path("stack"), "-o", Path("o.png"), "--params", File()},
          Names{"compose", Path("stack"), "-o", Path("o.png"), "--save-params", File()}}) {
        const ProgramResult result = test::RunProgram(arguments, EndWhenItHangs);
        EXPECT_EQ(result.Status, 1) << arguments.back();
        EXPECT_TRUE(result.Errors.starts_with("kyfocus: " + File() + ": is ")) << result.Errors;
    }
}

/// What a run saves, and that its file makes the same run again.
class SavedRuns : public ParamsProgram, public testing::WithParamInterface<Names> {};

TEST_P(SavedRuns, AreRunAgainFromTheirFile) {
    Names saving = GetParam();
    saving.insert(saving.end(), {"--keep-border", "--save-params", File()});
    const ProgramResult saved = ComposeWithHeights(saving);
    ASSERT_EQ(saved.Status, 0) << saved.Errors;
    const std::string image = test::ReadText(Path("o.png"));
    const std::string heights = test::ReadText(Path("h.npy"));
    const ProgramResult again =
        ComposeWithHeights({"--keep-border", "--params", File(), "--save-params", Path("q.ini")});
    EXPECT_EQ(Settings(saved), Settings(again));
    EXPECT_EQ(nlohmann::json::parse(saved.Output).at("alignment"), nlohmann::json::parse(again.Output).at("alignment"));
    EXPECT_EQ(image, test::ReadText(Path("o.png")));
    EXPECT_EQ(heights, test::ReadText(Path("h.npy")));
    EXPECT_EQ(test::ReadText(File()), test::ReadText(Path("q.ini")));
}

INSTANTIATE_TEST_SUITE_P(Alignments, SavedRuns,
                         testing::Values(Names{"--mode", "2d", "--align", "auto", "--areas", "3", "--area-pos",
                                               "40,30;60,50;50,80"},
                                         Names{"--mode", "2d", "--align", "lines"},
                                         Names{"--mode", "2d", "--align", "lines-multi", "--scope", "1"},
                                         Names{"--mode", "complex", "--align", "lines", "--no-gpu"}));

TEST_F(ParamsProgram, SavesAlignmentAndProcessor) {
    ASSERT_EQ(
        Compose({"--align", "auto", "--areas", "3", "--area-pos", "40,30;60,50;51,80", "--save-params", File()}).Status,
        0);
    EXPECT_EQ(Load().AutoPos, 1);
    EXPECT_EQ(Load().ScopeType, 0);
    EXPECT_EQ(Load().AreaNo, 1);
    EXPECT_EQ(Load().AreaPos[2].x, 51);
    EXPECT_EQ(Load().AreaPos[2].y, 80);
    EXPECT_EQ(Load().DisableGPU, 0);
    ASSERT_EQ(Compose({"--align", "lines", "--no-gpu", "--save-params", File()}).Status, 0);
    EXPECT_EQ(Load().AutoPos, 0);
    EXPECT_EQ(Load().ScopeType, 1);
    EXPECT_EQ(Load().MatchingDetectType, 1);
    EXPECT_EQ(Load().DisableGPU, 1);
    ASSERT_EQ(Compose({"--params", File(), "--save-params", File()}).Status, 0);
    EXPECT_EQ(Load().DisableGPU, 1);
    ASSERT_EQ(Compose({"--params", File(), "--gpu", "auto", "--save-params", File()}).Status, 0);
    EXPECT_EQ(Load().DisableGPU, 0);
}

TEST_F(ParamsProgram, AFileThatCannotBeSavedIsToldBeforeTheFramesAreRead) {
    std::ofstream(Path("stack/frame_003.bmp")) << "no image";
    Write("");
    fs::resize_file(File(), (std::uintmax_t{64} << 20) + 1);
    const ProgramResult large = Compose({"--save-params", File()});
    EXPECT_EQ(large.Status, 1);
    EXPECT_NE(large.Errors.find(File() + ": too large"), std::string::npos) << large.Errors;
    EXPECT_EQ(fs::file_size(File()), (std::uintmax_t{64} << 20) + 1);
    if (geteuid() == 0) return; // the superuser may write to all files
    Write("Speed=1\n");
    ASSERT_EQ(chmod(File().c_str(), 0400), 0);
    const ProgramResult locked = Compose({"--save-params", File()});
    EXPECT_EQ(locked.Status, 1);
    EXPECT_NE(locked.Errors.find(File() + ": parameters cannot be written: Permission denied"), std::string::npos)
        << locked.Errors;
}

TEST_F(ParamsProgram, SavingKeepsWhatElseAFileHolds) {
    Write("; of the stage\r\nSpeed = 2 \r\n[Stage]\r\nSpeed=9");
    ASSERT_EQ(chmod(File().c_str(), 0640), 0);
    ASSERT_EQ(Compose({"--params", File(), "--speed", "half", "--save-params", File()}).Status, 0);
    const std::string text = test::ReadText(File());
    EXPECT_TRUE(text.starts_with("[FocusCompositionSetting]\n; of the stage\r\nSpeed = 1\r\nAlgType=0\n")) << text;
    EXPECT_TRUE(text.ends_with("DisableGPU=0\n[Stage]\r\nSpeed=9")) << text;
    EXPECT_EQ(fs::status(File()).permissions(), fs::perms(0640));
}

TEST_F(ParamsProgram, SavingMakesTheFileThatALinkNames) {
    fs::create_directory(Path("store"));
    fs::create_symlink("store/real.ini", File());
    ASSERT_EQ(Compose({"--speed", "quarter", "--save-params", File()}).Status, 0);
    EXPECT_TRUE(fs::is_symlink(File()));
    EXPECT_EQ(Load().Speed, 2);
    EXPECT_EQ(fs::status(Path("store/real.ini")).permissions(), fs::perms(0600));
}

/// With an installation of its own that has a dialog in which somebody presses OK.
class ParamsDialogSaves : public ParamsProgram {
  protected:
    void SetUp() override {
        ParamsProgram::SetUp();
        fs::create_directory(Path("lib"));
        for (const char* const library : {KY_FOCUS_LIBRARY, KY_IMAGING_LIBRARY}) fs::copy(library, Path("lib"));
        fs::copy(KY_DIALOG_STAND_IN, Path("lib/libkyfocus_ui.so.0"));
    }

    /// @return the status of a run that has its standard output there.
    int Edit(const std::string& output) const {
        const std::string line = "LD_LIBRARY_PATH='" + Path("lib") + "' KY_USER='presses OK' '" + KY_PROGRAM +
                                 "' params --dialog '" + File() + "' 2>/dev/null >" + output;
        return WEXITSTATUS(std::system(line.c_str()));
    }
};

TEST_F(ParamsDialogSaves, NothingWhenItsAnswerCannotBeWritten) {
    Write("Speed=1\n");
    const std::string before = test::ReadText(File());
    EXPECT_EQ(Edit("/dev/full"), 1);
    EXPECT_EQ(test::ReadText(File()), before);
    EXPECT_EQ(Edit("/dev/null"), 0);
    EXPECT_EQ(Load().Speed, 2);
}

TEST_F(ParamsDialogSaves, TheFileThatALinkNames) {
    fs::create_directory(Path("store"));
    fs::create_symlink("store/real.ini", File());
    EXPECT_EQ(Edit("/dev/null"), 0);
    EXPECT_TRUE(fs::is_symlink(File()));
    EXPECT_TRUE(fs::is_regular_file(Path("store/real.ini")));
    EXPECT_EQ(Load().Speed, 2);
}

TEST_F(ParamsProgram, SavesThePresetThatTheSettingsAre) {
    const std::vector<std::pair<Names, std::int32_t>> runs = {{{"--preset", "fine"}, 0},
                                                              {{}, 1},
                                                              {{"--comp-size", "15"}, 2},
                                                              {{"--comp-size", "14"}, 3},
                                                              {{"--preset", "fine", "--smoothing", "9"}, 3}};
    for (const auto& [options, preset] : runs) {
        Names all = options;
        all.insert(all.end(), {"--save-params", File()});
        ASSERT_EQ(Compose(all).Status, 0);
        EXPECT_EQ(Load().CompParamSetType, preset);
    }
}

TEST_F(ParamsProgram, AFailedRunSavesNothing) {
    EXPECT_EQ(Compose({"--save-params", File(), "--plane", "top"}).Status, 2);
    EXPECT_EQ(Compose({"--save-params", Path("none/p.ini")}).Status, 1);
    EXPECT_EQ(Compose({"--save-params", Path("stack")}).Status, 1);
    EXPECT_EQ(Compose({"--save-params", Path("o.png")}).Status, 2); // two outputs in one place
    std::ofstream(Path("stack/frame_003.bmp")) << "no image";
    EXPECT_EQ(Compose({"--save-params", File()}).Status, 1);
    EXPECT_FALSE(fs::exists(File()));
    EXPECT_FALSE(fs::exists(Path("o.png")));
}

TEST_F(ParamsProgram, FilesWithoutParametersAreRefused) {
    std::ofstream(Path("other.ini")) << "[Other]\nSpeed=1\n";
    for (const std::string& file : {Path("none.ini"), Path("stack"), Path("other.ini"), Path("stack/frame_000.bmp")})
        for (const Names& arguments :
             {Names{"params", file}, Names{"compose", Path("stack"), "-o", Path("o.png"), "--params", file}}) {
            const ProgramResult result = test::RunProgram(arguments);
            EXPECT_EQ(result.Status, 1);
            EXPECT_TRUE(result.Errors.starts_with("kyfocus: " + file)) << result.Errors;
            EXPECT_EQ(test::LineCount(result.Errors), 1U);
            EXPECT_EQ(result.Output, "");
        }
    EXPECT_EQ(test::RunProgram({"params"}).Status, 2);
    EXPECT_EQ(test::RunProgram({"params", ""}).Status, 2);
}

TEST_F(ParamsProgram, ShowsEveryKeyOfASavedFileWithItsMeaning) {
    ASSERT_EQ(ComposeWithHeights({"--save-params", File(), "--speed", "quarter"}).Status, 0);
    const ProgramResult result = Show();
    EXPECT_EQ(result.Status, 0) << result.Errors;
    EXPECT_EQ(test::LineCount(result.Output), 26U) << result.Output;
    EXPECT_EQ(result.Output.find("missing"), std::string::npos);
    EXPECT_NE(LineOf(result.Output, "AlgType").find(" 2  file        mode: complex"), std::string::npos);
    EXPECT_NE(LineOf(result.Output, "Speed").find("quarter"), std::string::npos);
    EXPECT_NE(LineOf(result.Output, "DisableGPU").find(" 0  file "), std::string::npos);
}

TEST_F(ParamsProgram, ShowsWhichKeysAreMissingUnreadableOrUnknown) {
    Write(
        "speed = "
        "2x\x1B[1m\nCompSize=5\nAlgType='0'\nAlgType=1\nSmoothing=\nMatchingDetect=9\nAreaPosX2=-10\n[A]\nAreaNo=1\n");
    const ProgramResult result = Show();
    EXPECT_EQ(result.Status, 0) << result.Errors;
    EXPECT_NE(LineOf(result.Output, "AlgType").find(" 0  file"), std::string::npos) << result.Output;
    EXPECT_NE(LineOf(result.Output, "Speed").find(" 1  unreadable"), std::string::npos);
    EXPECT_NE(LineOf(result.Output, "Speed").find("the file has '2x?[1m'"), std::string::npos);
    EXPECT_NE(LineOf(result.Output, "Smoothing").find(" 6  missing"), std::string::npos);
    EXPECT_NE(LineOf(result.Output, "MatchingDetect").find("no such value, expected 0 to 1"), std::string::npos);
    EXPECT_NE(LineOf(result.Output, "AreaPosX2").find(" -10  file"), std::string::npos);
    EXPECT_NE(LineOf(result.Output, "AreaNo").find(" 0  missing"), std::string::npos);
    EXPECT_NE(result.Output.find("Keys without a meaning: CompSize\n"), std::string::npos);
}

TEST_F(ParamsProgram, ShowsFilesOfOtherEncodings) {
    std::ofstream(File(), std::ios::binary) << "\xEF\xBB\xBF[focuscompositionsetting]\r\nSpeed=2";
    EXPECT_NE(LineOf(Show().Output, "Speed").find(" 2  file"), std::string::npos);
    std::string bytes = "\xFF\xFE";
    for (const char letter : std::string("[FocusCompositionSetting]\r\nSpeed=0\r\nAreaNo=x\r\n"))
        bytes.append({letter, '\0'});
    std::ofstream(File(), std::ios::binary) << bytes;
    const std::string table = Show().Output;
    EXPECT_NE(LineOf(table, "Speed").find(" 0  file"), std::string::npos) << table;
    EXPECT_NE(LineOf(table, "AreaNo").find("the file has 'x'"), std::string::npos) << table;
}

/// What the program composes is what one call of the library composes from the same parameter file.
TEST_F(ParamsProgram, ComposesWhatTheFileDriverComposes) {
    for (const char* keys :
         {"AlgType=0\nSpeed=1\nCompositionSize=8\n", "AlgType=1\nSpeed=1\n", "AlgType=2\nSpeed=0\n"}) {
        SCOPED_TRACE(keys);
        Write(keys);
        ASSERT_EQ(ComposeWithHeights({"--params", File()}).Status, 0);
        const KyfFocusCompositionParameter settings = Load();
        const CKyfFocusCompositionSetting setting(settings);
        const fs::path temporary = m_folder.Path() / "temporary";
        fs::create_directory(temporary);
        const std::wstring folder = temporary.wstring();
        KyfFileFocusCompositionParameter parameter{};
        parameter.Init.TempFolder = folder.c_str();
        parameter.AlgType = settings.AlgType;
        setting.TakeOut(parameter.Param2D);
        setting.TakeOut(parameter.Param3D);
        std::vector<std::wstring> paths;
        for (int i = 0; i < 6; ++i)
            paths.push_back(fs::path(Path("stack/frame_00" + std::to_string(i) + ".bmp")).wstring());
        std::vector<KyfFocusCompositionFile> files;
        for (std::size_t i = 0; i < paths.size(); ++i)
            files.push_back({paths[i].c_str(), 2.0 * static_cast<double>(i)});
        parameter.Files = files.data();
        parameter.FileCount = static_cast<std::int32_t>(files.size());
        KyfFileFocusCompositionResult result{};
        ASSERT_EQ(KyfExecuteFileFocusComposition(&parameter, &result, 1, nullptr), KyfResultOk);
        const app::Image image = app::LoadImage(Path("o.png"));
        EXPECT_TRUE(test::SameImage(*result.Image, *image));
        KyfFreeFileFocusCompositionResult(&result);
    }
}

} // namespace

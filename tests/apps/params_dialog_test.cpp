// kyfocus params --dialog, with and without the dialogs' library beside the other ones.
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <kyfocus/kyfocus.h>
#include <unistd.h>

#include "parameter_dialog.h"
#include "run_program.h"
#include "support/case_files.h"

namespace {

namespace fs = std::filesystem;
using test::ProgramResult;

/// An installation of its own: copies of the libraries, found by the program in the place of those it was linked to.
class ParamsDialog : public testing::Test {
  protected:
    ParamsDialog() {
        for (const char* library : {KY_FOCUS_LIBRARY, KY_IMAGING_LIBRARY}) fs::copy(library, Libraries());
        setenv("LD_LIBRARY_PATH", Libraries().c_str(), 1);
        setenv("LC_ALL", "ko_KR.UTF-8", 1);
    }
    ~ParamsDialog() override {
        for (const char* name : {"LD_LIBRARY_PATH", "LC_ALL", "KY_USER"}) unsetenv(name);
    }
    fs::path Libraries() const { return m_folder.Path(); }
    fs::path File() const { return m_folder.Path() / "p.ini"; }

    void InstallDialog(const char* user) const {
        fs::copy(KY_DIALOG_STAND_IN, Libraries() / "libkyfocus_ui.so.0", fs::copy_options::skip_existing);
        setenv("KY_USER", user, 1);
    }
    void Write(const std::string& text) const { std::ofstream(File(), std::ios::binary) << text; }
    std::string Read() const {
        std::ifstream stream(File(), std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
    }
    ProgramResult Run(const std::vector<std::string>& options = {}) const {
        std::vector<std::string> arguments = {"params", "--dialog", File()};
        arguments.insert(arguments.end(), options.begin(), options.end());
        return test::RunProgram(arguments);
    }

  private:
    test::TemporaryFolder m_folder;
};

const std::string kSpeed = "; kept\n[FocusCompositionSetting]\nSpeed=1\n[Stage]\nHeight=3\n";

TEST_F(ParamsDialog, NeedsItsLibraryBesideTheOthers) {
    Write(kSpeed);
    const ProgramResult result = Run();
    EXPECT_EQ(result.Status, 1);
    EXPECT_NE(result.Errors.find("libkyfocus_ui.so.0 is not installed"), std::string::npos) << result.Errors;
    EXPECT_EQ(test::LineCount(result.Errors), 1U);
    EXPECT_EQ(Read(), kSpeed);
}

TEST_F(ParamsDialog, TakesNoLibraryFromTheWorkingFolder) {
    const test::TemporaryFolder elsewhere;
    fs::copy(KY_DIALOG_STAND_IN, elsewhere.Path() / "libkyfocus_ui.so.0");
    setenv("KY_USER", "presses OK", 1);
    setenv("LD_LIBRARY_PATH", (Libraries().string() + ":" + elsewhere.Path().string()).c_str(), 1);
    const fs::path before = fs::current_path();
    fs::current_path(elsewhere.Path());
    const ProgramResult result = Run();
    fs::current_path(before);
    EXPECT_EQ(result.Status, 1);
    EXPECT_NE(result.Errors.find("is not installed"), std::string::npos) << result.Errors;
}

TEST_F(ParamsDialog, TellsWhyTheLibraryCannotBeLoaded) {
    std::ofstream(Libraries() / "libkyfocus_ui.so.0") << "no library";
    const ProgramResult result = Run();
    EXPECT_EQ(result.Status, 1);
    EXPECT_NE(result.Errors.find("kyfocus: no parameter dialog: "), std::string::npos) << result.Errors;
    EXPECT_FALSE(fs::exists(File()));
}

TEST_F(ParamsDialog, TellsThatThereIsNoDisplay) {
    InstallDialog("without a display");
    Write(kSpeed);
    const ProgramResult result = Run();
    EXPECT_EQ(result.Status, 1);
    EXPECT_NE(result.Errors.find("no display can be opened"), std::string::npos) << result.Errors;
    EXPECT_EQ(Read(), kSpeed);
}

TEST_F(ParamsDialog, SavesOnOkAndKeepsAllElse) {
    InstallDialog("presses OK");
    Write(kSpeed);
    const ProgramResult result = Run();
    EXPECT_EQ(result.Status, 0) << result.Errors;
    EXPECT_EQ(result.Output, File().string() + ": saved\n");
    KyfFocusCompositionParameter saved{};
    KyfLoadFocusCompositionParameter(&saved, File().wstring().c_str());
    EXPECT_EQ(saved.Speed, 2);
    EXPECT_EQ(saved.CompSize, 17);
    EXPECT_EQ(Read().find("; kept\n[FocusCompositionSetting]\nSpeed=2\n"), 0U) << Read();
    EXPECT_TRUE(Read().ends_with("[Stage]\nHeight=3\n")) << Read();
}

TEST_F(ParamsDialog, LeavesTheFileOnCancel) {
    InstallDialog("presses Cancel");
    Write(kSpeed);
    const ProgramResult result = Run();
    EXPECT_EQ(result.Status, 3);
    EXPECT_EQ(result.Errors,
              "module KYFResourceKOR.dll\nkyfocus: " + File().string() + ": cancelled, nothing has been saved\n");
    EXPECT_EQ(Read(), kSpeed);
    fs::remove(File());
    EXPECT_EQ(Run().Status, 3);
    EXPECT_FALSE(fs::exists(File()));
}

TEST_F(ParamsDialog, BeginsAFileThatIsNotThereWithTheDefaults) {
    InstallDialog("presses OK");
    EXPECT_EQ(Run().Status, 0);
    KyfFocusCompositionParameter saved{};
    KyfLoadFocusCompositionParameter(&saved, File().wstring().c_str());
    EXPECT_EQ(saved.Speed, 2);
    EXPECT_EQ(saved.AreaPos[1].x, 75);
    EXPECT_EQ(saved.DisableGPU, 0);
}

TEST_F(ParamsDialog, RefusesFilesBeforeItIsShown) {
    InstallDialog("presses OK");
    Write("no parameters\n");
    EXPECT_EQ(Run().Status, 1);
    EXPECT_EQ(Read(), "no parameters\n");
    for (const fs::path& file : {Libraries(), Libraries() / "missing" / "p.ini"}) {
        const ProgramResult result = test::RunProgram({"params", "--dialog", file});
        EXPECT_EQ(result.Status, 1);
        EXPECT_EQ(result.Errors.find("module"), std::string::npos) << result.Errors;
    }
}

TEST_F(ParamsDialog, WarnsOfWhatIsNoNumber) {
    InstallDialog("presses Cancel");
    Write("[FocusCompositionSetting]\nSpeed=fast\n");
    const ProgramResult result = Run();
    EXPECT_NE(result.Errors.find("Speed is no whole number and shows as 1"), std::string::npos) << result.Errors;
}

TEST_F(ParamsDialog, SpeaksTheLanguageOfTheOptionElseOfTheLocale) {
    InstallDialog("presses Cancel");
    const std::map<std::string, std::string> modules = {
        {"eng", "Eng"}, {"jpn", "JPN"}, {"kor", "KOR"}, {"zh-hant", "ZhHant"}, {"zh-hans", "ZhHans"}};
    for (const auto& [language, module] : modules)
        EXPECT_NE(Run({"--language", language}).Errors.find("module KYFResource" + module + ".dll\n"),
                  std::string::npos);
    setenv("LC_ALL", "C", 1);
    EXPECT_NE(Run().Errors.find("module KYFResourceEng.dll\n"), std::string::npos);
}

TEST_F(ParamsDialog, AsksForALanguageWithTheDialogAlone) {
    Write(kSpeed);
    EXPECT_EQ(test::RunProgram({"params", "--language", "jpn", File()}).Status, 2);
    EXPECT_EQ(Run({"--language", "deu"}).Status, 2);
}

TEST(DialogLanguage, IsThatOfTheLocale) {
    const std::map<std::string, int> languages = {{"ja_JP.UTF-8", 1},
                                                  {"ja", 1},
                                                  {"ko_KR", 2},
                                                  {"zh_TW.UTF-8", 3},
                                                  {"zh_HK", 3},
                                                  {"zh_MO", 3},
                                                  {"zh_CN.UTF-8", 4},
                                                  {"zh_SG@x", 4},
                                                  {"zh", 4},
                                                  {"zh-Hant-TW", 3},
                                                  {"zh-Hans", 4},
                                                  {"zh_Hans_HK", 4},
                                                  {"en_US.UTF-8", 0},
                                                  {"de_DE.UTF-8", 0},
                                                  {"jam", 0},
                                                  {"", 0},
                                                  {"C", 0}};
    for (const auto& [locale, language] : languages) EXPECT_EQ(app::LanguageOfLocale(locale), language) << locale;
}

} // namespace

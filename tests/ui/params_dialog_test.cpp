// kyfocus params --dialog from the outside, with the real dialog and a plugin as its user.
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <thread>

#include <gtest/gtest.h>
#include <kyfocus/kyfocus.h>

#include "apps/run_program.h"
#include "support/case_files.h"

namespace {

namespace fs = std::filesystem;
using test::ProgramResult;

const std::string kSettings = "[FocusCompositionSetting]\nSpeed=1\nCompositionSize=11\nDisableGPU=1\n";

class ParamsDialog : public testing::Test {
  protected:
    ParamsDialog() {
        setenv("QT_QPA_PLATFORM", "offscreen", 1);
        setenv("QT_PLUGIN_PATH", KY_PLUGINS, 1);
        std::ofstream(File(), std::ios::binary) << kSettings;
    }
    fs::path File() const { return m_folder.Path() / "p.ini"; }
    std::string Read() const {
        std::ifstream stream(File(), std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
    }
    ProgramResult Run(const char* user) const {
        setenv("QT_QPA_GENERIC_PLUGINS", user, 1);
        return test::RunProgram({"params", "--dialog", "--language", "jpn", File()});
    }

  private:
    test::TemporaryFolder m_folder;
};

TEST_F(ParamsDialog, SavesWhatTheUserChose) {
    const ProgramResult result = Run("kyuser:ok");
    EXPECT_EQ(result.Status, 0) << result.Errors;
    KyfFocusCompositionParameter saved{};
    KyfLoadFocusCompositionParameter(&saved, File().wstring().c_str());
    EXPECT_EQ(saved.Speed, 2);
    EXPECT_EQ(saved.CompSize, 8) << "the preset, written with the first change";
    EXPECT_EQ(saved.DisableGPU, 1);
}

TEST_F(ParamsDialog, LeavesTheFileOnEscape) {
    const ProgramResult result = Run("kyuser:cancel");
    EXPECT_EQ(result.Status, 3) << result.Errors;
    EXPECT_EQ(Read(), kSettings);
}

TEST_F(ParamsDialog, LeavesTheFileWhenItIsInterrupted) {
    setenv("QT_QPA_GENERIC_PLUGINS", "kyuser:stay", 1);
    const ProgramResult result = test::RunProgram({"params", "--dialog", File()}, [](pid_t program) {
        std::this_thread::sleep_for(std::chrono::milliseconds(500)); // the dialog is there, or nearly
        kill(program, SIGINT);
    });
    EXPECT_EQ(result.Status, 128 + SIGINT) << result.Errors;
    EXPECT_EQ(Read(), kSettings);
}

TEST_F(ParamsDialog, EndsWithAMessageWithoutADisplay) {
    for (const char* platform : {"xcb", "nowhere"}) {
        setenv("QT_QPA_PLATFORM", platform, 1);
        setenv("DISPLAY", ":4711", 1);
        const ProgramResult result = Run("kyuser:ok");
        EXPECT_EQ(result.Status, 1) << result.Errors;
        EXPECT_NE(result.Errors.find("no display can be opened (QT_QPA_PLATFORM is "), std::string::npos)
            << result.Errors;
        EXPECT_EQ(Read(), kSettings);
    }
}

} // namespace

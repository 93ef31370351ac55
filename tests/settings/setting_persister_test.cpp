// Parameter files: what a round trip keeps, what concurrent readers see, what a failure leaves behind.
#include <atomic>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <thread>
#include <type_traits>

#include <gtest/gtest.h>
#include <kyfocus/setting_persister.h>
#include <sys/stat.h>

#include "support/case_files.h"

namespace {

namespace fs = std::filesystem;
using Parameter = KyfFocusCompositionParameter;
using Persister = CKyfFocusCompositionSettingPersister;

static_assert(!std::is_default_constructible_v<Persister> && !std::is_destructible_v<Persister>);
static_assert(std::is_polymorphic_v<Persister>);

bool SameRecord(const Parameter& left, const Parameter& right) {
    return std::memcmp(&left, &right, sizeof left) == 0; // all members are 32 bits wide: no padding
}

/// Numbers over all bits, the two switches 0 or 1.
Parameter RandomParameter(std::uint32_t seed) {
    std::mt19937 random(seed);
    std::uint32_t numbers[sizeof(Parameter) / 4];
    for (std::uint32_t& number : numbers) number = static_cast<std::uint32_t>(random());
    Parameter parameter;
    std::memcpy(&parameter, numbers, sizeof parameter);
    parameter.HalationMeasures &= 1;
    parameter.DisableGPU &= 1;
    return parameter;
}

class ParameterFile : public testing::Test {
  protected:
    fs::path File() const { return m_folder.Path() / "parameters.ini"; }
    void Write(const std::string& text) const { std::ofstream(File(), std::ios::binary) << text; }
    std::string Text() const {
        std::ifstream stream(File(), std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
    }
    void Save(const Parameter& parameter) const {
        KyfSaveFocusCompositionParameter(&parameter, File().wstring().c_str());
    }
    Parameter Load() const {
        Parameter parameter = RandomParameter(99);
        KyfLoadFocusCompositionParameter(&parameter, File().wstring().c_str());
        return parameter;
    }

    test::TemporaryFolder m_folder;
};

TEST_F(ParameterFile, ReadsBackWhatWasWritten) {
    for (std::uint32_t seed = 0; seed < 200; ++seed) {
        SCOPED_TRACE(seed);
        const Parameter parameter = RandomParameter(seed);
        Save(parameter);
        EXPECT_TRUE(SameRecord(parameter, Load()));
    }
}

TEST_F(ParameterFile, SavingTwiceChangesNothing) {
    Save(RandomParameter(1));
    const std::string first = Text();
    Save(RandomParameter(1));
    EXPECT_EQ(first, Text());
}

TEST_F(ParameterFile, SwitchesBecomeOneOnTheWayOutAndOnTheWayIn) {
    Parameter parameter = RandomParameter(2);
    parameter.HalationMeasures = 7;
    parameter.DisableGPU = -1;
    Save(parameter);
    EXPECT_NE(Text().find("\nHalationMeasures=1\n"), std::string::npos);
    EXPECT_NE(Text().find("\nDisableGPU=1\n"), std::string::npos);
    CKyfFocusCompositionSetting setting(parameter);
    Persister::Load((m_folder.Path() / "missing.ini").wstring(), setting);
    EXPECT_EQ(setting.IsHalationMeasures(), 1);
    EXPECT_EQ(setting.GetDisableGPU(), 1);
}

TEST_F(ParameterFile, EveryOtherByteOfTheFileStays) {
    const std::string before =
        "\xEF\xBB\xBF; mine\r\n[ focuscompositionSETTING ]\r\n  speed = 0 \r\n;Speed=1\r\n\r\n[Mine]\r\n"
        "Speed=\xFF\x01\r\nlast";
    Write(before);
    Parameter parameter = Load();
    EXPECT_EQ(parameter.Speed, 0);
    parameter.Speed = 2;
    Save(parameter);
    const std::string after = Text();
    EXPECT_TRUE(after.starts_with("\xEF\xBB\xBF; mine\r\n[ focuscompositionSETTING ]\r\n  speed = 2\r\n;Speed=1\r\n"
                                  "AlgType=1\r\nScopeType=0\r\n"))
        << after;
    EXPECT_TRUE(after.ends_with("DisableGPU=0\r\n\r\n[Mine]\r\nSpeed=\xFF\x01\r\nlast")) << after;
    EXPECT_TRUE(SameRecord(parameter, Load()));
}

TEST_F(ParameterFile, IsFoundBehindAMegabyteOfJunk) {
    std::mt19937 random(3);
    std::string junk(1 << 20, '\0');
    for (char& byte : junk) byte = static_cast<char>(random() | 0x80); // no line of it begins a section
    Write(junk + "\n[FocusCompositionSetting]\nSpeed=2");
    Parameter parameter = Load();
    EXPECT_EQ(parameter.Speed, 2);
    parameter.Speed = 0;
    Save(parameter);
    EXPECT_TRUE(Text().starts_with(junk + "\n[FocusCompositionSetting]\nSpeed=0\nAlgType=1\n"));
    EXPECT_TRUE(SameRecord(parameter, Load()));
}

TEST_F(ParameterFile, ADamagedFileIsAMixtureOfItsGoodKeysAndTheDefaults) {
    Write("[FocusCompositionSetting]\nSpeed=2x\nAlgType=2\nSmoothing\nCompositionSize=\nAreaPosX2=-10\n[FocusComp");
    const Parameter parameter = Load();
    CKyfFocusCompositionSetting expected;
    expected.SetAlgType(2);
    expected.SetAreaPos(2, {-10, 75});
    EXPECT_TRUE(SameRecord(parameter, expected.Get()));
}

TEST_F(ParameterFile, ReadersSeeTheOldRecordOrTheNewOneWhole) {
    const Parameter records[] = {RandomParameter(4), RandomParameter(5)};
    Save(records[0]);
    std::atomic<bool> isDone = false;
    std::thread writer([&] {
        for (int i = 1; i < 400; ++i) Save(records[i % 2]);
        isDone = true;
    });
    int seen[2] = {};
    int mixed = 0;
    while (!isDone) {
        const Parameter parameter = Load();
        for (int i = 0; i < 2; ++i) seen[i] += SameRecord(parameter, records[i]) ? 1 : 0;
        mixed += SameRecord(parameter, records[0]) || SameRecord(parameter, records[1]) ? 0 : 1;
    }
    writer.join();
    EXPECT_EQ(mixed, 0);
    EXPECT_GT(seen[0] + seen[1], 0);
    EXPECT_EQ(std::distance(fs::directory_iterator(m_folder.Path()), fs::directory_iterator()), 1);
}

TEST_F(ParameterFile, KeepsPermissionsAndLinks) {
    Write("[Mine]\n");
    ASSERT_EQ(chmod(File().c_str(), 0640), 0);
    const fs::path link = m_folder.Path() / "link.ini";
    fs::create_symlink("parameters.ini", link);
    const Parameter parameter = RandomParameter(6);
    KyfSaveFocusCompositionParameter(&parameter, link.wstring().c_str());
    EXPECT_TRUE(fs::is_symlink(link));
    EXPECT_TRUE(SameRecord(parameter, Load()));
    EXPECT_EQ(fs::status(File()).permissions(), fs::perms(0640));
}

TEST_F(ParameterFile, NullAndPathsThatHoldNoFilePassSilently) {
    const CKyfFocusCompositionSetting defaults;
    const Parameter parameter = RandomParameter(7);
    KyfSaveFocusCompositionParameter(&parameter, nullptr);
    KyfSaveFocusCompositionParameter(nullptr, File().wstring().c_str());
    EXPECT_FALSE(fs::exists(File()));
    KyfLoadFocusCompositionParameter(nullptr, File().wstring().c_str());
    const fs::path folder = m_folder.Path() / "folder";
    fs::create_directory(folder);
    for (const std::wstring& path : {std::wstring(), folder.wstring(), (folder / "none" / "x.ini").wstring(),
                                     std::wstring(5000, L'x'), std::wstring(L"/dev/null/x.ini")}) {
        KyfSaveFocusCompositionParameter(&parameter, path.c_str());
        Parameter loaded = parameter;
        KyfLoadFocusCompositionParameter(&loaded, path.c_str());
        EXPECT_TRUE(SameRecord(loaded, defaults.Get()));
    }
    Parameter loaded = parameter;
    KyfLoadFocusCompositionParameter(&loaded, nullptr);
    EXPECT_TRUE(SameRecord(loaded, defaults.Get()));
    EXPECT_TRUE(fs::is_empty(folder));
}

} // namespace

#include <filesystem>
#include <fstream>
#include <random>
#include <string>

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "platform/profile.h"
#include "support/case_files.h"

namespace {

class Profile : public testing::Test {
  protected:
    void Write(const std::string& content) const { std::ofstream(File(), std::ios::binary) << content; }

    std::filesystem::path File() const { return m_folder.Path() / "KYFocus.ini"; }

    std::wstring Read(const wchar_t* section, const wchar_t* key, const wchar_t* fallback = L"(none)",
                      std::size_t capacity = 1024) const {
        return platform::ReadProfileText(File().wstring().c_str(), section, key, fallback, capacity);
    }

    /// The value of key "Log" of section "Debug" in a file of this content.
    std::wstring LogOf(const std::string& content) const {
        Write(content);
        return Read(L"Debug", L"Log");
    }

    test::TemporaryFolder m_folder;
};

TEST_F(Profile, GivesTheValueOfAKey) { EXPECT_EQ(LogOf("[Debug]\nLog=1\n"), L"1"); }

TEST_F(Profile, GivesTheFallbackForWhatIsMissing) {
    EXPECT_EQ(Read(L"Debug", L"Log", L"7"), L"7"); // no file yet
    Write("Log=1\n[Other]\nLog=2\n[Debug]\nLogs=3\nLo=4\nLog\n[Last]\nLog=5\n");
    EXPECT_EQ(Read(L"Debug", L"Log", L"7"), L"7");
    EXPECT_EQ(Read(L"Debugs", L"Logs", L"7"), L"7");
    EXPECT_EQ(Read(L"Debug", L"Log", nullptr), L"");
}

TEST_F(Profile, AcceptsNullAndFilesThatAreNoProfile) {
    Write("[Debug]\nLog=1\n");
    EXPECT_EQ(Read(nullptr, L"Log"), L"(none)");
    EXPECT_EQ(Read(L"Debug", nullptr), L"(none)");
    EXPECT_EQ(platform::ReadProfileText(nullptr, L"Debug", L"Log", L"7", 10), L"7");
    EXPECT_EQ(platform::ReadProfileText(L"", L"Debug", L"Log", L"7", 10), L"7");
    EXPECT_EQ(platform::ReadProfileText(m_folder.Path().wstring().c_str(), L"Debug", L"Log", L"7", 10), L"7");
    const std::filesystem::path pipe = m_folder.Path() / "pipe";
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    EXPECT_EQ(platform::ReadProfileText(pipe.wstring().c_str(), L"Debug", L"Log", L"7", 10), L"7");
    EXPECT_EQ(platform::ReadProfileText(L"/dev/zero", L"Debug", L"Log", L"7", 10), L"7");
}

TEST_F(Profile, ComparesNamesWithoutCase) {
    EXPECT_EQ(LogOf("[dEBUG]\nlOG=1\n"), L"1");
    EXPECT_EQ(LogOf("[\xC3\x84]\nx=1\n[Debug]\nLOG=2\n"), L"2");
    EXPECT_EQ(Read(L"\u00C4", L"X"), L"1");
}

TEST_F(Profile, TakesTheFirstOfSeveral) {
    EXPECT_EQ(LogOf("[Debug]\nLog=1\nLog=2\n[Debug]\nLog=3\n"), L"1");
    EXPECT_EQ(LogOf("[Debug]\nOther=1\n[Debug]\nLog=3\n"), L"(none)");
}

TEST_F(Profile, AnEmptyValueIsAValue) {
    EXPECT_EQ(LogOf("[Debug]\nLog=\n"), L"");
    EXPECT_EQ(LogOf("[Debug]\nLog=   \n"), L"");
    EXPECT_EQ(LogOf("[Debug]\nLog=\"\"\n"), L"");
}

TEST_F(Profile, TakesBlanksAndThenOnePairOfQuotesOffAValue) {
    EXPECT_EQ(LogOf("[Debug]\nLog= \t 12 \t\n"), L"12");
    EXPECT_EQ(LogOf("[Debug]\nLog = \"12\" \n"), L"12");
    EXPECT_EQ(LogOf("[Debug]\nLog='12'\n"), L"12");
    EXPECT_EQ(LogOf("[Debug]\nLog=\" 12 \"\n"), L" 12 ");
    EXPECT_EQ(LogOf("[Debug]\nLog=\"\"12\"\"\n"), L"\"12\"");
    EXPECT_EQ(LogOf("[Debug]\nLog=\"12'\n"), L"\"12'");
    EXPECT_EQ(LogOf("[Debug]\nLog=\"\n"), L"\"");
    EXPECT_EQ(LogOf("[Debug]\nLog=1 2=3;4\n"), L"1 2=3;4");
}

TEST_F(Profile, AllowsBlanksAroundNamesAndLines) {
    EXPECT_EQ(LogOf("  [ Debug ]  \n\n\t Log\t=1\n"), L"1");
    EXPECT_EQ(LogOf("[Debug] ; switches\nLog=1\n"), L"1");
}

TEST_F(Profile, PassesOverCommentsAndJunk) {
    EXPECT_EQ(LogOf("; [Debug]\n;Log=9\n[Debug]\n;Log=8\n ; Log=7\nnonsense\n=\n=3\n[open\nLog=1\n"), L"1");
    EXPECT_EQ(Read(L"Debug", L";Log"), L"(none)");
}

TEST_F(Profile, ReadsEveryKindOfLineEnd) {
    EXPECT_EQ(LogOf("[Debug]\r\nOther=2\r\nLog=1\r\n"), L"1");
    EXPECT_EQ(LogOf("[Debug]\rOther=2\rLog=1\r"), L"1");
    EXPECT_EQ(LogOf("[Debug]\nLog=1"), L"1");
    EXPECT_EQ(LogOf("[Debug]\r\nLog="), L"");
}

TEST_F(Profile, ReadsTheMarksOfUtf8AndUtf16) {
    EXPECT_EQ(LogOf("\xEF\xBB\xBF[Debug]\nLog=\xC3\xBC\n"), L"\u00FC");
    std::string utf16 = "\xFF\xFE";
    for (const char16_t unit : u"[Debug]\r\nLog=\u00FC\U0001F600\r\n"
                               u"Half=\xD800x\r\n")
        if (unit != 0) {
            utf16 += static_cast<char>(unit & 0xFF);
            utf16 += static_cast<char>(unit >> 8);
        }
    EXPECT_EQ(LogOf(utf16), L"\u00FC\U0001F600");
    EXPECT_EQ(Read(L"Debug", L"Half"), L"\uFFFDx");
    EXPECT_EQ(LogOf(utf16 + "x"), L"\u00FC\U0001F600"); // half a unit at the end
    EXPECT_EQ(LogOf("\xFF\xFE"), L"(none)");
}

TEST_F(Profile, KeepsBytesThatAreNoUtf8) {
    EXPECT_EQ(LogOf("[Debug]\nLog=a\xFF\n"), (std::wstring{L'a', static_cast<wchar_t>(0xDCFF)}));
}

TEST_F(Profile, CutsValuesAndFallbacksToTheBuffer) {
    Write("[Debug]\nLog=12345\n");
    EXPECT_EQ(Read(L"Debug", L"Log", L"", 6), L"12345");
    EXPECT_EQ(Read(L"Debug", L"Log", L"", 5), L"1234");
    EXPECT_EQ(Read(L"Debug", L"Log", L"", 1), L"");
    EXPECT_EQ(Read(L"Debug", L"Log", L"", 0), L"");
    EXPECT_EQ(Read(L"Debug", L"None", L"abc", 3), L"ab");
}

TEST_F(Profile, EndsAValueAtANulCharacter) { EXPECT_EQ(LogOf(std::string("[Debug]\nLog=12\0abc\n", 19)), L"12"); }

TEST_F(Profile, FindsAKeyBehindMegabytesOfJunk) {
    std::mt19937 random(1);
    std::string junk(3 << 20, '\0');
    for (char& byte : junk) byte = static_cast<char>(random());
    for (char& byte : junk)
        if (byte == '[') byte = 'x';
    const std::string longLine(2 << 20, 'a');
    EXPECT_EQ(LogOf(junk + "\n" + longLine + "\n[Debug]\n" + longLine + "=" + longLine + "\nLog=1\n" + junk), L"1");
    EXPECT_EQ(LogOf("[Debug]\nLog=" + longLine), std::wstring(1023, L'a'));
}

} // namespace

#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <kyimaging/functracelog.h>
#include <kyimaging/kyimaging.h>

#include <sys/stat.h>

#include "support/case_files.h"

namespace {

namespace fs = std::filesystem;

/// The line behind "2024-05-31 14:03:12.345 1234/1240 ", or a text that tells what is wrong with it.
std::string WithoutStamp(const std::string& line) {
    const std::string pattern = "0000-00-00 00:00:00.000 ";
    const auto isDigit = [](char c) { return c >= '0' && c <= '9'; };
    std::size_t at = 0;
    for (; at < pattern.size(); ++at)
        if (at >= line.size() || (pattern[at] == '0' ? !isDigit(line[at]) : line[at] != pattern[at]))
            return "no time: " + line;
    for (const char end : {'/', ' '}) { // process, thread
        const std::size_t first = at;
        while (at < line.size() && isDigit(line[at])) ++at;
        if (at == first || at == line.size() || line[at++] != end) return "no process and thread: " + line;
    }
    return line.substr(at);
}

/// Traces into a folder of its own while it lives.
class TraceLog : public testing::Test {
  protected:
    TraceLog() {
        KyiSetTraceLogFolder(m_folder.Path().wstring().c_str());
        KyiSetPuttingTraceLog(1);
    }
    ~TraceLog() override {
        KyiSetPuttingTraceLog(0);
        KyiSetTraceLogFolder(L"");
    }

    fs::path LogFile() const { return m_folder.Path() / "kyimaging.log"; }

    std::vector<std::string> Lines() const {
        std::vector<std::string> lines;
        std::ifstream in(LogFile());
        for (std::string line; std::getline(in, line);) lines.push_back(line);
        return lines;
    }

    /// What follows the stamp of the lines.
    std::vector<std::string> Texts() const {
        std::vector<std::string> texts = Lines();
        for (std::string& text : texts) text = WithoutStamp(text);
        return texts;
    }

    test::TemporaryFolder m_folder;
};

TEST_F(TraceLog, PutsOneLineACallWithTheLastPartOfTheSourceFile) {
    KyiPutTraceLog("/home/someone/src/session.cpp", 42, L"frame 3", 0);
    KyiPutTraceLog("C:\\src\\other.cpp", 7, L"gr\u00FC\u00DFe", 0);
    EXPECT_EQ(Texts(), (std::vector<std::string>{"session.cpp(42) frame 3", "other.cpp(7) gr\xC3\xBC\xC3\x9F"
                                                                            "e"}));
}

TEST_F(TraceLog, TellsMethodsAndTheirResults) {
    KyiPutBeginMethodLog("a.cpp", 1, L"KyfFocusStart(...)", 0);
    KyiPutEndMethodLog("a.cpp", 2, L"KyfFocusStart(...)", L"KyfResultInvalidParameter");
    KyiPutEndMethodLog("a.cpp", 3, L"KyfFocusStart(...)", nullptr);
    EXPECT_EQ(Texts(), (std::vector<std::string>{"a.cpp(1) Begin KyfFocusStart(...)",
                                                 "a.cpp(2) End KyfFocusStart(...): KyfResultInvalidParameter",
                                                 "a.cpp(3) End KyfFocusStart(...)"}));
}

TEST_F(TraceLog, GuardPutsEntryLinesAndExit) {
    {
        const CFuncTraceLog whole("a.cpp", 1, L"CKyfThing", L"Do()", 0);
        const CFuncTraceLog plain("a.cpp", 2, L"Help()", 0);
        plain.Trace("a.cpp", 3, L"one");
        plain.Trace("a.cpp", 4, L"one", L", two", L", three");
        plain.Trace("a.cpp", 5, nullptr, nullptr, L"three");
    }
    EXPECT_EQ(Texts(), (std::vector<std::string>{"a.cpp(1) Begin CKyfThing::Do()", "a.cpp(2) Begin Help()",
                                                 "a.cpp(3) one", "a.cpp(4) one, two, three", "a.cpp(5) three",
                                                 "a.cpp(2) End Help()", "a.cpp(1) End CKyfThing::Do()"}));
}

TEST_F(TraceLog, GuardStaysSilentWhenItWasMadeWhileOff) {
    KyiSetPuttingTraceLog(0);
    {
        const CFuncTraceLog guard("a.cpp", 1, L"Do()", 0);
        KyiSetPuttingTraceLog(1);
    }
    EXPECT_TRUE(Lines().empty());
}

TEST_F(TraceLog, PutsNothingWhileOff) {
    KyiSetPuttingTraceLog(0);
    EXPECT_FALSE(KyiIsPuttingTraceLog());
    KyiPutTraceLog("a.cpp", 1, L"text", 0);
    KyiPutBeginMethodLog("a.cpp", 1, L"Do()", 0);
    KyiPutEndMethodLog("a.cpp", 1, L"Do()", nullptr);
    const CFuncTraceLog guard("a.cpp", 1, L"Do()", 0);
    guard.Trace("a.cpp", 1, L"text");
    EXPECT_FALSE(fs::exists(LogFile()));
    KyiSetPuttingTraceLog(-5);
    EXPECT_TRUE(KyiIsPuttingTraceLog());
}

TEST_F(TraceLog, AppendsToWhatIsThere) {
    std::ofstream(LogFile()) << "older\n";
    KyiPutTraceLog("a.cpp", 1, L"newer", 0);
    ASSERT_EQ(Lines().size(), 2u);
    EXPECT_EQ(Lines().front(), "older");
}

TEST_F(TraceLog, KeepsATextOnItsOwnLine) {
    KyiPutTraceLog("a.cpp", 1, L"one\r\n2024-01-01 forged\tline\x7F", 0);
    EXPECT_EQ(Texts(), std::vector<std::string>{"a.cpp(1) one  2024-01-01 forged line "});
}

TEST_F(TraceLog, AcceptsNullTexts) {
    KyiPutTraceLog(nullptr, 1, nullptr, 0);
    KyiPutBeginMethodLog(nullptr, 1, nullptr, 0);
    KyiPutEndMethodLog(nullptr, 1, nullptr, nullptr);
    { const CFuncTraceLog guard(nullptr, 1, nullptr, nullptr, 0); }
    EXPECT_EQ(Lines().size(), 5u);
    KyiSetTraceLogFolder(nullptr);
    KyiPutTraceLog("a.cpp", 1, L"nowhere", 0);
    EXPECT_EQ(Lines().size(), 5u);
}

TEST_F(TraceLog, NeitherMakesItsFolderNorFailsWithoutIt) {
    const fs::path missing = m_folder.Path() / "missing";
    KyiSetTraceLogFolder(missing.wstring().c_str());
    KyiPutTraceLog("a.cpp", 1, L"text", 0);
    EXPECT_FALSE(fs::exists(missing));
}

TEST_F(TraceLog, IsForTheUserAlone) {
    KyiPutTraceLog("a.cpp", 1, L"text", 0);
    struct stat state {};
    ASSERT_EQ(stat(LogFile().c_str(), &state), 0);
    EXPECT_EQ(state.st_mode & 0777, 0600u);
}

TEST_F(TraceLog, FollowsNoLinkAndWaitsForNoPipe) {
    const fs::path target = m_folder.Path() / "target";
    std::ofstream(target) << "precious\n";
    fs::create_symlink(target, LogFile());
    KyiPutTraceLog("a.cpp", 1, L"text", 0);
    EXPECT_EQ(fs::file_size(target), 9u);
    fs::remove(LogFile());
    ASSERT_EQ(mkfifo(LogFile().c_str(), 0600), 0);
    KyiPutTraceLog("a.cpp", 1, L"text", 0); // returns
    fs::remove(LogFile());
    fs::create_directory(LogFile());
    KyiPutTraceLog("a.cpp", 1, L"text", 0);
}

TEST_F(TraceLog, KeepsTheLinesOfThreadsWhole) {
    constexpr std::size_t kThreads = 6;
    constexpr std::size_t kLines = 150;
    std::vector<std::thread> threads;
    for (std::size_t t = 0; t < kThreads; ++t)
        threads.emplace_back([t] {
            const std::wstring text(40 + 20 * t, static_cast<wchar_t>(L'a' + t));
            for (std::size_t i = 0; i < kLines; ++i) KyiPutTraceLog("a.cpp", 1, text.c_str(), 0);
        });
    for (std::thread& thread : threads) thread.join();
    std::vector<std::size_t> seen(kThreads);
    for (const std::string& text : Texts())
        for (std::size_t t = 0; t < kThreads; ++t)
            if (text == "a.cpp(1) " + std::string(40 + 20 * t, static_cast<char>('a' + t))) ++seen[t];
    EXPECT_EQ(seen, std::vector<std::size_t>(kThreads, kLines));
}

} // namespace

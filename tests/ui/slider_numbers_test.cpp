// Numbers in edit fields, read and written.
#include <clocale>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <random>
#include <string>

#include <gtest/gtest.h>

#include "support/case_files.h"
#include "ui/rules/number_text.h"

namespace {

using kyfui::FormatDouble;
using kyfui::FormatInt;
using kyfui::LeadingDouble;
using kyfui::LeadingInt;
using kyfui::WholeDouble;
using kyfui::WholeInt;

constexpr std::int32_t kLeast = std::numeric_limits<std::int32_t>::min();
constexpr std::int32_t kMost = std::numeric_limits<std::int32_t>::max();

TEST(NumberText, ReadsTheIntegerAtTheHead) {
    EXPECT_EQ(LeadingInt(L"12"), 12);
    EXPECT_EQ(LeadingInt(L" \t-12x"), -12);
    EXPECT_EQ(LeadingInt(L"+7.9"), 7);
    for (const wchar_t* none : {L"", L"-", L"x1", L"- 1", L"--1", L".5"}) EXPECT_EQ(LeadingInt(none), 0) << none;
}

TEST(NumberText, CutsIntegersToThirtyTwoBits) {
    EXPECT_EQ(LeadingInt(L"2147483647"), kMost);
    EXPECT_EQ(LeadingInt(L"2147483648"), kMost);
    EXPECT_EQ(LeadingInt(L"-2147483648"), kLeast);
    EXPECT_EQ(LeadingInt(L"-2147483649"), kLeast);
    EXPECT_EQ(LeadingInt(std::wstring(600, L'9')), kMost);
    EXPECT_EQ(WholeInt(L"99999999999"), kMost);
}

TEST(NumberText, AWholeNumberLeavesNothingOver) {
    EXPECT_EQ(WholeInt(L" 5"), 5);
    EXPECT_EQ(WholeDouble(L" -5.25e1"), -52.5);
    for (const wchar_t* text : {L"", L" ", L"5 ", L"5x", L"-", L"1-2", L"\x0661"}) {
        EXPECT_EQ(WholeInt(text), std::nullopt) << text;
        EXPECT_EQ(WholeDouble(text), std::nullopt) << text;
    }
    EXPECT_EQ(WholeInt(std::wstring(L"5\0", 2)), std::nullopt);
    EXPECT_EQ(WholeDouble(std::wstring(L"5\0", 2)), std::nullopt);
    EXPECT_EQ(WholeDouble(L"1.2.3"), std::nullopt);
    EXPECT_EQ(WholeDouble(L"1,5"), std::nullopt);
}

TEST(NumberText, ReadsTheRealAtTheHead) {
    EXPECT_EQ(LeadingDouble(L"2.5mm"), 2.5);
    EXPECT_EQ(LeadingDouble(L".5"), 0.5);
    EXPECT_EQ(LeadingDouble(L"5."), 5.0);
    EXPECT_EQ(LeadingDouble(L"1e"), 1.0);
    EXPECT_EQ(LeadingDouble(L"1,5"), 1.0);
    EXPECT_EQ(LeadingDouble(L"1e999"), std::numeric_limits<double>::infinity());
    EXPECT_EQ(LeadingDouble(L"-1e999"), -std::numeric_limits<double>::infinity());
    EXPECT_EQ(LeadingDouble(L"1e-999"), 0.0);
    for (const wchar_t* none : {L"", L"-", L".", L"e5", L"x1"}) EXPECT_EQ(LeadingDouble(none), 0.0) << none;
}

std::wstring ByPrintf(const char* format, auto value) {
    char text[1500];
    std::snprintf(text, sizeof text, format, value);
    const std::string narrow = text;
    return std::wstring(narrow.begin(), narrow.end()).substr(0, kyfui::kMostFormatted);
}

TEST(NumberFormat, EqualsPrintfForIntegers) {
    for (const char* format : {"%d", "%5d", "%-5d|", "%05d", "%+d", "% d", "%.3d", "%8.3d", "%08.3d", "%u", "%x", "%X",
                               "%o", "%.0d", "%i", "a%db%%", "%600d", "%-600d"})
        for (const std::int32_t value : {0, 1, -1, 42, -12345, kLeast, kMost}) {
            const std::string narrow = format;
            EXPECT_EQ(FormatInt(std::wstring(narrow.begin(), narrow.end()), value), ByPrintf(format, value))
                << format << " " << value;
        }
}

TEST(NumberFormat, EqualsPrintfForReals) {
    std::mt19937_64 random(11);
    for (const char* format : {"%f", "%.0f", "%.2f", "%8.3f", "%-9.1f|", "%09.2f", "%+.1f", "% g", "%g", "%G", "%e",
                               "%.3E", "%.17g", "%.500f", "%.g", "%F"})
        for (int i = 0; i < 40; ++i) {
            const double value =
                i == 0   ? 0.0
                : i == 1 ? -0.0
                : i == 2 ? 1e308
                : i == 3 ? 5e-324
                : i == 4 ? std::numeric_limits<double>::infinity()
                : i == 5 ? 0.125
                         : std::ldexp(static_cast<double>(random()), static_cast<int>(random() % 200) - 150);
            const std::string narrow = format;
            EXPECT_EQ(FormatDouble(std::wstring(narrow.begin(), narrow.end()), value), ByPrintf(format, value))
                << format << " " << value;
        }
}

TEST(NumberFormat, GivesAConversionTheNumberThatItAsksFor) {
    EXPECT_EQ(FormatDouble(L"%d", 3.9), L"3");
    EXPECT_EQ(FormatDouble(L"%d", std::nan("")), L"-2147483648");
    EXPECT_EQ(FormatDouble(L"%ld mm", -3.9), L"-3 mm");
    EXPECT_EQ(FormatInt(L"%.1f", 7), L"7.0");
    EXPECT_EQ(FormatDouble(L"%Lf", 0.5), L"0.500000");
}

TEST(NumberFormat, LeavesAloneWhatShowsNoNumber) {
    for (const wchar_t* format :
         {L"%s", L"%n", L"%p", L"%c", L"%*d", L"%.*f", L"%", L"100%", L"%5", L"%.", L"", L"\x03BCm"}) {
        EXPECT_EQ(FormatInt(format, 7), format);
        EXPECT_EQ(FormatDouble(format, 7.0), format);
    }
    EXPECT_EQ(FormatInt(L"%d of %d", 7), L"7 of %d");
    EXPECT_EQ(FormatInt(L"%d\x2009%%", 7), L"7\x2009%");
}

TEST(NumberFormat, CutsLongTexts) {
    const std::wstring long_text(3000, L'x');
    EXPECT_EQ(FormatInt(long_text + L"%d", 7), long_text.substr(0, 511));
    EXPECT_EQ(FormatInt(L"%2000000000d", 7).size(), 511U);
    EXPECT_EQ(FormatDouble(L"%.2000000000f", 0.5).size(), 511U);
    EXPECT_EQ(FormatDouble(L"%99999999999999999999.99999999999999999999e", 0.5).size(), 511U);
}

TEST(NumberFormat, ShowsWhatIsNoNumberWithoutASign) {
    EXPECT_EQ(FormatDouble(L"%f", std::nan("")), L"nan");
    EXPECT_EQ(FormatDouble(L"%06f", -std::nan("")), L"   nan");
    EXPECT_EQ(FormatDouble(L"%F", -std::nan("")), L"NAN");
}

/// A locale with a decimal comma: an installed one, or one made in a folder of its own.
class DecimalComma {
  public:
    DecimalComma() : m_before(std::setlocale(LC_ALL, nullptr)) {
        if (std::setlocale(LC_ALL, "de_DE.UTF-8") != nullptr) return;
        const std::string command = "localedef -i de_DE -f UTF-8 '" + (m_folder.Path() / "de_DE.UTF-8").string() + "'";
        if (std::system(command.c_str()) != 0) return;
        setenv("LOCPATH", m_folder.Path().c_str(), 1);
        std::setlocale(LC_ALL, "de_DE.UTF-8");
    }
    ~DecimalComma() {
        unsetenv("LOCPATH");
        std::setlocale(LC_ALL, m_before.c_str());
    }
    bool IsOn() const { return std::localeconv()->decimal_point == std::string(","); }

  private:
    std::string m_before;
    test::TemporaryFolder m_folder;
};

/// QApplication takes the user's locale over, and half of Europe writes a comma.
TEST(NumberText, KnowsNoLocale) {
    const DecimalComma comma;
    if (!comma.IsOn()) GTEST_SKIP() << "no locale with a decimal comma, and none can be made";
    EXPECT_EQ(WholeDouble(L"0.25"), 0.25);
    EXPECT_EQ(WholeDouble(L"-1.5e2"), -150.0);
    EXPECT_EQ(WholeDouble(L"0,25"), std::nullopt);
    EXPECT_EQ(LeadingDouble(L"0,25"), 0.0);
    EXPECT_EQ(FormatDouble(L"%.2f", 0.25), L"0.25");
}

} // namespace

#include <array>
#include <random>
#include <span>
#include <string>

#include <gtest/gtest.h>

#include "platform/text.h"

namespace {

using platform::ToUtf8;
using platform::ToWide;

TEST(Text, TurnsCharactersOfEveryLengthIntoUtf8AndBack) {
    const std::wstring wide = L"a\u007F\u0080\u07FF\u0800\uD7FF\uE000\uFFFF\U00010000\U0010FFFF";
    const std::string utf8 = "a\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80\xED\x9F\xBF\xEE\x80\x80\xEF\xBF\xBF\xF0\x90\x80\x80"
                             "\xF4\x8F\xBF\xBF";
    EXPECT_EQ(ToUtf8(wide), utf8);
    EXPECT_EQ(ToWide(utf8), wide);
}

TEST(Text, GoesIntoABufferWhereItFitsWithItsTerminator) {
    const std::wstring text = L"a\u00e9\u20ac\U0001F600\xDCFF";
    const std::string expected = platform::ToUtf8(text);
    ASSERT_EQ(expected.size(), 11U);
    std::array<char, 20> buffer{};
    for (std::size_t size = 1; size <= buffer.size(); ++size) {
        buffer.fill('#');
        ASSERT_EQ(platform::ToUtf8(text, std::span(buffer).first(size)), size > expected.size()) << size;
        EXPECT_TRUE(size == buffer.size() || buffer[size] == '#') << size;
        if (size > expected.size()) {
            EXPECT_STREQ(buffer.data(), expected.c_str());
        }
    }
}

TEST(Text, KeepsNulCharacters) {
    EXPECT_EQ(ToUtf8(std::wstring_view(L"a\0b", 3)), std::string("a\0b", 3));
    EXPECT_EQ(ToWide(std::string_view("a\0b", 3)), std::wstring(L"a\0b", 3));
}

TEST(Text, ReplacesWhatIsNoCharacter) {
    const std::wstring bad{static_cast<wchar_t>(0xD800), static_cast<wchar_t>(0xDBFF), static_cast<wchar_t>(0xDC7F),
                           static_cast<wchar_t>(0xDD00), static_cast<wchar_t>(0xDFFF), static_cast<wchar_t>(0x110000),
                           static_cast<wchar_t>(-1)};
    std::string expected;
    for (std::size_t i = 0; i < bad.size(); ++i) expected += "\xEF\xBF\xBD";
    EXPECT_EQ(ToUtf8(bad), expected);
}

TEST(Text, StandsInForBytesThatAreNoUtf8) {
    const auto standIn = [](unsigned char byte) { return static_cast<wchar_t>(0xDC00 + byte); };
    EXPECT_EQ(ToWide("a\xFF"), (std::wstring{L'a', standIn(0xFF)}));
    EXPECT_EQ(ToWide("\xC3"), (std::wstring{standIn(0xC3)}));
    EXPECT_EQ(ToWide("\xC3z"), (std::wstring{standIn(0xC3), L'z'}));
    EXPECT_EQ(ToWide("\xC0\x80"), (std::wstring{standIn(0xC0), standIn(0x80)}));                    // overlong
    EXPECT_EQ(ToWide("\xE0\x9F\xBF"), (std::wstring{standIn(0xE0), standIn(0x9F), standIn(0xBF)})); // overlong
    EXPECT_EQ(ToWide("\xED\xA0\x80"), (std::wstring{standIn(0xED), standIn(0xA0), standIn(0x80)})); // surrogate
    EXPECT_EQ(ToWide("\xF4\x90\x80\x80").size(), 4u);                                               // too large
    EXPECT_EQ(ToWide("\xE2\x82"), (std::wstring{standIn(0xE2), standIn(0x82)}));                    // cut off
}

TEST(Text, BringsAnyTwoBytesBack) {
    for (int first = 0; first < 256; ++first)
        for (int second = 0; second < 256; ++second) {
            const std::string bytes{static_cast<char>(first), static_cast<char>(second)};
            ASSERT_EQ(ToUtf8(ToWide(bytes)), bytes);
        }
}

TEST(Text, BringsAnyBytesBack) {
    std::mt19937 random(3);
    const std::string pool = "a\xC2\x80\xBF\xE0\xA0\xED\x9F\xF0\x90\xF4\x8F\xFF/";
    for (int turn = 0; turn < 3000; ++turn) {
        std::string bytes(random() % 12, '\0');
        for (char& byte : bytes) byte = turn % 2 == 0 ? static_cast<char>(random()) : pool[random() % pool.size()];
        ASSERT_EQ(ToUtf8(ToWide(bytes)), bytes);
    }
}

} // namespace

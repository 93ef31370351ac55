// New values in a profile's bytes.
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "platform/profile_change.h"
#include "platform/profile_text.h"

namespace {

using Changes = std::vector<platform::ProfileChange>;

/// The bytes after the changes to section "S"; "(refused)" where there are none.
std::string Change(const std::string& before, const Changes& changes) {
    return platform::ChangeProfile(before, "S", changes).value_or("(refused)");
}

std::string Utf16(const std::string& ascii) {
    std::string bytes = "\xFF\xFE";
    for (const char c : ascii) bytes.append({c, '\0'});
    return bytes;
}

TEST(ProfileChange, ReplacesTheValueAndNothingElseOfTheLine) {
    EXPECT_EQ(Change("[S]\nA=1\n", {{"A", "2"}}), "[S]\nA=2\n");
    EXPECT_EQ(Change("[S]\n \tA\t= \t1 ; x \n", {{"a", "2"}}), "[S]\n \tA\t= \t2\n");
    EXPECT_EQ(Change("[S]\nA=\"1\"\n", {{"A", "2"}}), "[S]\nA=2\n");
    EXPECT_EQ(Change("[S]\nA=1=2\n", {{"A", "3"}}), "[S]\nA=3\n");
    EXPECT_EQ(Change("[S]\nA=\n", {{"A", "3"}}), "[S]\nA=3\n");
    EXPECT_EQ(Change("[S]\nA=1", {{"A", ""}}), "[S]\nA=");
}

TEST(ProfileChange, ReachesTheFirstKeyOfTheFirstSectionOfThatName) {
    EXPECT_EQ(Change("A=0\n[T]\nA=1\n[s]\nA=2\nA=3\n[S]\nA=4\n", {{"A", "x"}}),
              "A=0\n[T]\nA=1\n[s]\nA=x\nA=3\n[S]\nA=4\n");
}

TEST(ProfileChange, PutsNewKeysBehindTheLastLineThatIsNotBlank) {
    EXPECT_EQ(Change("[S]\nA=1\n;c\n\n \n[T]\n\n", {{"B", "2"}, {"C", "3"}}), "[S]\nA=1\n;c\nB=2\nC=3\n\n \n[T]\n\n");
    EXPECT_EQ(Change("[S]\n\n\n", {{"B", "2"}}), "[S]\nB=2\n\n\n");
    EXPECT_EQ(Change("[S]", {{"B", "2"}}), "[S]\nB=2\n");
    EXPECT_EQ(Change("[S]\nA=1", {{"B", "2"}, {"A", "3"}}), "[S]\nA=3\nB=2\n");
    EXPECT_EQ(Change("[S]\n[S]\n", {{"B", "2"}}), "[S]\nB=2\n[S]\n");
}

TEST(ProfileChange, PutsANewSectionAtTheEnd) {
    EXPECT_EQ(Change("", {{"A", "1"}}), "[S]\nA=1\n");
    EXPECT_EQ(Change("[T]\nA=0", {{"A", "1"}}), "[T]\nA=0\n[S]\nA=1\n");
    EXPECT_EQ(Change("\n\n", {{"A", "1"}}), "\n\n[S]\nA=1\n");
    EXPECT_EQ(Change("[S\nA=0\n", {{"A", "1"}}), "[S\nA=0\n[S]\nA=1\n"); // not a section's head
}

TEST(ProfileChange, NewLinesEndAsTheFirstLineDoes) {
    EXPECT_EQ(Change("[S]\r\nA=1\nB=2", {{"A", "3"}, {"C", "4"}}), "[S]\r\nA=3\nB=2\r\nC=4\r\n");
    EXPECT_EQ(Change("[S]\rA=1\r", {{"C", "4"}}), "[S]\rA=1\rC=4\r");
}

TEST(ProfileChange, KeepsMarksAndBytesThatAreNoText) {
    EXPECT_EQ(Change("\xEF\xBB\xBF[S]\nA=1\n", {{"A", "2"}}), "\xEF\xBB\xBF[S]\nA=2\n");
    EXPECT_EQ(Change("\xEF\xBB\xBF", {{"A", "2"}}), "\xEF\xBB\xBF[S]\nA=2\n");
    const std::string junk("\xFF\x00\xC0\n[S]\n\x80=\x81\n", 12);
    EXPECT_EQ(Change(junk, {{"A", "2"}}), junk + "A=2\n");
}

TEST(ProfileChange, StaysInUtf16) {
    EXPECT_EQ(Change(Utf16("[S]\r\nA= 1\r\n\r\n[T]\r\n"), {{"A", "2"}, {"B", "3"}}),
              Utf16("[S]\r\nA= 2\r\nB=3\r\n\r\n[T]\r\n"));
    EXPECT_EQ(Change(Utf16(""), {{"A", "2"}}), Utf16("[S]\nA=2\n"));
    EXPECT_EQ(Change(Utf16("[S]\nA=1") + "x", {{"A", "2"}}), Utf16("[S]\nA=2") + "x"); // half a unit
    const std::string halfPair = Utf16("[S]\n") + std::string("\x00\xD8=\x00\n\x00", 6);
    EXPECT_EQ(Change(halfPair, {{"A", "2"}}), halfPair + Utf16("A=2\n").substr(2));
    const std::string smile = "\xF0\x9F\x98\x80";
    EXPECT_EQ(Change(Utf16("[S]\n"), {{"A", smile}}), Utf16("[S]\nA=") + std::string("\x3D\xD8\x00\xDE\n\x00", 6));
}

TEST(ProfileChange, RefusesWhatCouldNotBeFoundAgain) {
    for (const char* key : {" A", "A ", "A=B", ";A", "[A]", "A\nB", "A\rB"})
        EXPECT_EQ(Change("[S]\n", {{key, "1"}}), "(refused)") << key;
    for (const char* value : {"1\n2", "1\r2", "\n"}) EXPECT_EQ(Change("[S]\n", {{"A", value}}), "(refused)") << value;
    EXPECT_EQ(Change("[S]\n", {{"A", std::string("1\0", 2)}}), "(refused)");
    for (const char* section : {" S", "S]", "S\n"})
        EXPECT_EQ(platform::ChangeProfile("", section, Changes{{"A", "1"}}), std::nullopt) << section;
    EXPECT_EQ(Change("\xFE\xFF", {{"A", "1"}}), "(refused)");
    EXPECT_EQ(Change(Utf16(""), {{"A", "\xFF"}}), "(refused)"); // no unit stands for the byte
}

} // namespace

#include "help_format.h"

#include <gtest/gtest.h>

namespace {

TEST(BreakLines, BreaksAtBlanks) {
    EXPECT_EQ(app::BreakLines("one two three four", 9), "one two\nthree\nfour");
    EXPECT_EQ(app::BreakLines("one two", 7), "one two");
    EXPECT_EQ(app::BreakLines("one two", 6), "one\ntwo");
}

TEST(BreakLines, GivesALongWordALineOfItsOwn) {
    EXPECT_EQ(app::BreakLines("a considerable word", 5), "a\nconsiderable\nword");
    EXPECT_EQ(app::BreakLines("considerable", 5), "considerable");
}

TEST(BreakLines, LeavesNothingOfNothing) { EXPECT_EQ(app::BreakLines("  ", 5), ""); }

} // namespace

#include "natural_order.h"

#include <algorithm>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace {

std::vector<std::string> Sorted(std::vector<std::string> names) {
    std::sort(names.begin(), names.end(),
              [](const std::string& first, const std::string& second) { return app::NaturalLess(first, second); });
    return names;
}

using Names = std::vector<std::string>;

TEST(NaturalOrder, CountsNumbersInsteadOfDigits) {
    EXPECT_EQ(Sorted({"frame_10.png", "frame_9.png", "frame_2.png", "frame_1.png"}),
              (Names{"frame_1.png", "frame_2.png", "frame_9.png", "frame_10.png"}));
}

TEST(NaturalOrder, ComparesEveryNumberOfAName) {
    EXPECT_EQ(Sorted({"z10_f2", "z2_f10", "z2_f9", "z10_f1"}), (Names{"z2_f9", "z2_f10", "z10_f1", "z10_f2"}));
}

TEST(NaturalOrder, PutsNumbersOfAnyLengthInOrder) {
    EXPECT_EQ(Sorted({"a100000000000000000000000000000001", "a99999999999999999999999999999999", "a3"}),
              (Names{"a3", "a99999999999999999999999999999999", "a100000000000000000000000000000001"}));
}

TEST(NaturalOrder, IgnoresLeadingZerosUntilNothingElseDiffers) {
    EXPECT_EQ(Sorted({"a010", "a9", "a1", "a01", "a001"}), (Names{"a001", "a01", "a1", "a9", "a010"}));
    EXPECT_EQ(Sorted({"a0", "a00b", "a1"}), (Names{"a0", "a00b", "a1"}));
}

TEST(NaturalOrder, IgnoresCaseUntilNothingElseDiffers) {
    EXPECT_EQ(Sorted({"b1", "A2", "a1", "B2"}), (Names{"a1", "A2", "b1", "B2"}));
    EXPECT_TRUE(app::NaturalLess("A", "a"));
    EXPECT_FALSE(app::NaturalLess("a", "A"));
}

TEST(NaturalOrder, PutsAShorterNameBeforeItsContinuation) {
    EXPECT_EQ(Sorted({"frame2b", "frame2", "frame", ""}), (Names{"", "frame", "frame2", "frame2b"}));
}

TEST(NaturalOrder, IsAStrictOrder) {
    const Names names = {"",   "0",   "00",  "a",  "A",    "a0", "a00", "A0",
                         "a1", "a01", "a10", "ab", "\xff", "1a", "01a", "10"};
    for (const std::string& first : names)
        for (const std::string& second : names) {
            EXPECT_EQ(app::NaturalLess(first, second) + app::NaturalLess(second, first), first != second)
                << first << " and " << second;
            for (const std::string& third : names)
                if (app::NaturalLess(first, second) && app::NaturalLess(second, third)) {
                    EXPECT_TRUE(app::NaturalLess(first, third)) << first << ", " << second << ", " << third;
                }
        }
}

} // namespace

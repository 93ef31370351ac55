// Squares of the template areas: patterns, geometry, dragging, steps by keyboard, and frames and places from a bad
// file.
#include <cstdint>
#include <limits>
#include <random>

#include <gtest/gtest.h>

#include "ui/rules/area_rules.h"

namespace {

using namespace kyfui;

constexpr std::int32_t kMin = std::numeric_limits<std::int32_t>::min();
constexpr std::int32_t kMax = std::numeric_limits<std::int32_t>::max();
constexpr PictureFrame kFrame = {0, 0, 200, 100};
constexpr std::int32_t kHalf = 13;

Areas TwoAreas(KyPoint first, KyPoint second) {
    Areas areas;
    areas.AreaPos = {first, second, KyPoint{5, 6}, KyPoint{7, 8}};
    return areas;
}

bool SamePlace(const KyPoint& a, const KyPoint& b) { return a.x == b.x && a.y == b.y; }

TEST(AreaRules, PatternsLeaveUnusedPointsAlone) {
    Areas areas = TwoAreas({1, 2}, {3, 4});
    SetAreaPattern(0, areas);
    EXPECT_TRUE(SamePlace(areas.AreaPos[0], {25, 50}) && SamePlace(areas.AreaPos[1], {75, 50}));
    EXPECT_TRUE(SamePlace(areas.AreaPos[2], {5, 6}) && SamePlace(areas.AreaPos[3], {7, 8}));
    SetAreaPattern(1, areas);
    EXPECT_TRUE(SamePlace(areas.AreaPos[2], {25, 75}) && SamePlace(areas.AreaPos[3], {7, 8}));
    SetAreaPattern(2, areas);
    EXPECT_TRUE(SamePlace(areas.AreaPos[3], {25, 50}));
}

TEST(AreaRules, ANumberWithoutAPatternMovesNothing) {
    for (const std::int32_t number : {kMin, -1, 3, kMax}) {
        Areas areas = TwoAreas({1, 2}, {3, 4});
        SetAreaPattern(number, areas);
        EXPECT_EQ(areas.AreaNo, number);
        EXPECT_TRUE(SamePlace(areas.AreaPos[0], {1, 2}) && SamePlace(areas.AreaPos[3], {7, 8}));
    }
}

TEST(AreaRules, NoMoreThanFourAreasAreInUse) {
    EXPECT_EQ(AreaCount(kMin), 0);
    EXPECT_EQ(AreaCount(-1), 1);
    EXPECT_EQ(AreaCount(0), 2);
    EXPECT_EQ(AreaCount(2), 4);
    EXPECT_EQ(AreaCount(kMax), 4);
}

TEST(AreaRules, SquaresFollowTheDisplayScale) {
    EXPECT_EQ(AreaHalfSize(1.0), 13);
    EXPECT_EQ(AreaHalfSize(1.55), 20);
    EXPECT_EQ(AreaHalfSize(0.01), 0);
    EXPECT_EQ(AreaHalfSize(std::numeric_limits<double>::quiet_NaN()), kMin);
    EXPECT_EQ(AreaHalfSize(std::numeric_limits<double>::infinity()), kMin);
}

TEST(AreaRules, TheEarlierOfTwoEquallyNearSquaresIsTaken) {
    const Areas areas = TwoAreas({45, 50}, {55, 50}); // pixels 90 and 110
    EXPECT_EQ(AreaAt(kFrame, areas, kHalf, {100, 50}), 0);
    EXPECT_EQ(AreaAt(kFrame, areas, kHalf, {101, 50}), 1);
}

TEST(AreaRules, ASquareIsHitAsFarAsItsHalfSizeAsACircle) {
    const Areas areas = TwoAreas({50, 50}, {0, 0}); // pixel 100, 50
    EXPECT_EQ(AreaAt(kFrame, areas, kHalf, {113, 50}), 0);
    EXPECT_EQ(AreaAt(kFrame, areas, kHalf, {114, 50}), -1);
    EXPECT_EQ(AreaAt(kFrame, areas, kHalf, {112, 62}), -1);
}

TEST(AreaRules, NothingTenThousandPixelsAwayIsFound) {
    const PictureFrame wide = {0, 0, 40000, 100};
    const Areas areas = TwoAreas({50, 50}, {50, 50});
    EXPECT_EQ(AreaAt(wide, areas, kMax, {29999, 50}), 0);
    EXPECT_EQ(AreaAt(wide, areas, kMax, {30000, 50}), -1);
}

TEST(AreaRules, ADragStartsWithinTheFrameOnly) {
    AreaPicture picture(TwoAreas({25, 50}, {75, 50}), kFrame, kHalf);
    EXPECT_FALSE(picture.ButtonDown(200, 50));
    EXPECT_FALSE(picture.ButtonDown(-1, 50));
    EXPECT_FALSE(picture.ButtonDown(50, 100));
    EXPECT_FALSE(picture.IsDragging());
    EXPECT_TRUE(picture.ButtonDown(199, 99));
    EXPECT_TRUE(picture.IsDragging());
    picture.ButtonUp();
    EXPECT_FALSE(picture.IsDragging());
}

TEST(AreaRules, ASquareGoesToFivePixelsBesideThePointer) {
    AreaPicture picture(TwoAreas({25, 50}, {75, 50}), kFrame, kHalf);
    picture.ButtonDown(50, 50);
    const AreaPicture::Moved moved = picture.MouseMove(51, 50);
    EXPECT_TRUE(moved.Cursor && moved.Repaint);
    EXPECT_TRUE(SamePlace(picture.Get().AreaPos[0], {28, 55})) << picture.Get().AreaPos[0].x;
}

TEST(AreaRules, WithoutAButtonNothingMoves) {
    AreaPicture picture(TwoAreas({25, 50}, {75, 50}), kFrame, kHalf);
    const AreaPicture::Moved moved = picture.MouseMove(45, 45);
    EXPECT_TRUE(moved.Cursor);
    EXPECT_FALSE(moved.Repaint);
}

TEST(AreaRules, ASquareNeverTouchesTheFrame) {
    AreaPicture picture(TwoAreas({8, 50}, {75, 50}), kFrame, kHalf);
    picture.ButtonDown(16, 50);
    EXPECT_FALSE(picture.MouseMove(8, 45).Repaint); // test point 13: left edge 0
    EXPECT_TRUE(picture.MouseMove(9, 45).Repaint);  // 14: left edge 1
    EXPECT_FALSE(picture.MouseMove(9, 100 - 13 - 5).Repaint);
}

TEST(AreaRules, StepsGoByOnePercentAndStopInsideTheFrame) {
    AreaPicture picture(TwoAreas({50, 50}, {75, 50}), kFrame, kHalf);
    EXPECT_TRUE(picture.StepX(0, 1));
    EXPECT_TRUE(picture.StepY(0, -1));
    EXPECT_TRUE(SamePlace(picture.Get().AreaPos[0], {51, 49}));
    while (picture.StepX(0, -1)) {
    }
    while (picture.StepY(0, 1)) {
    }
    EXPECT_TRUE(SamePlace(picture.Get().AreaPos[0], {7, 86}));
    const AreaSquare square = picture.Square(0);
    EXPECT_GT(square.Left, 0);
    EXPECT_LT(square.Bottom, 100);
}

TEST(AreaRules, AStepBringsASquareBackFromOutside) {
    for (const std::int32_t far : {101, 5000, kMax}) {
        AreaPicture picture(TwoAreas({far, -far}, {75, 50}), kFrame, kHalf);
        EXPECT_FALSE(picture.StepX(0, 1));
        EXPECT_TRUE(picture.StepX(0, -1));
        EXPECT_TRUE(picture.StepY(0, 1));
        EXPECT_TRUE(SamePlace(picture.Get().AreaPos[0], {93, 14}));
    }
}

TEST(AreaRules, AnEmptyFrameHoldsNothing) {
    for (const PictureFrame frame : {PictureFrame{0, 0, 0, 0}, PictureFrame{5, 5, 0, 20}, PictureFrame{0, 0, -7, 10},
                                     PictureFrame{kMax, kMax, kMin, kMin}}) {
        AreaPicture picture(TwoAreas({50, 50}, {kMin, kMax}), frame, kHalf);
        EXPECT_FALSE(picture.ButtonDown(frame.Left, frame.Top));
        const AreaPicture::Moved moved = picture.MouseMove(frame.Left, frame.Top);
        EXPECT_FALSE(moved.Cursor || moved.Repaint);
        EXPECT_FALSE(picture.StepX(0, 1) || picture.StepY(0, -1));
    }
}

TEST(AreaRules, AnyNumbersGiveAnAnswer) {
    std::mt19937 random(20261120);
    const auto number = [&random]() -> std::int32_t {
        constexpr std::int32_t kChosen[] = {kMin, kMin + 5, -101, -1, 0, 1, 13, 50, 100, 4000, kMax - 5, kMax};
        return random() % 3 == 0 ? static_cast<std::int32_t>(random()) : kChosen[random() % std::size(kChosen)];
    };
    for (int i = 0; i < 20000; ++i) {
        Areas areas = TwoAreas({number(), number()}, {number(), number()});
        areas.AreaNo = number();
        AreaPicture picture(areas, {number(), number(), number(), number()}, number());
        picture.ButtonDown(number(), number());
        const AreaPicture::Moved moved = picture.MouseMove(number(), number());
        EXPECT_TRUE(moved.Cursor || !moved.Repaint);
        picture.StepX(number(), number());
        picture.StepY(number() % 4, -1);
        for (int square = 0; square < 4; ++square) (void)picture.Square(square);
    }
}

} // namespace

// The pair's rules one by one.
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "ui/slider_pair.h"

namespace {

using kyfui::kLineBack;
using kyfui::kLineForward;
using kyfui::kNothingShown;
using kyfui::kPageBack;
using kyfui::kPageForward;
using kyfui::kThumbPosition;
using kyfui::kThumbTrack;
using test::SliderPair;

const std::vector<double> kTable = {1.0, 2.0, 5.0, 10.0};

SliderPair& WithIntegers(SliderPair& pair, std::int32_t min, std::int32_t max, std::int32_t per) {
    pair.Edit.Rules.SetParams(min, max, 5);
    pair.Edit.Rules.SetPer(per);
    return pair;
}

TEST(SliderRules, EveryIntegerCanBeReachedWithTheThumb) {
    SliderPair pair;
    WithIntegers(pair, 0, 20, 1);
    for (std::int32_t value = 0; value <= 20; ++value) {
        pair.Scroll(kThumbTrack, value);
        EXPECT_EQ(pair.Edit.Text(), std::to_wstring(value));
        EXPECT_EQ(pair.Slider.Rules.Pos(), value);
    }
}

TEST(SliderRules, ThumbGoesToTheNextStopInTheDirectionOfTheMove) {
    SliderPair pair;
    WithIntegers(pair, 0, 20, 5);
    pair.Scroll(kThumbTrack, 10);
    pair.Scroll(kThumbTrack, 12);
    EXPECT_EQ(pair.Slider.Rules.Pos(), 15);
    pair.Scroll(kThumbTrack, 12);
    EXPECT_EQ(pair.Slider.Rules.Pos(), 10);
    EXPECT_EQ(pair.Slider.Control, 10);
}

TEST(SliderRules, StopsOfAnOddRangeLieOneLower) {
    SliderPair pair;
    WithIntegers(pair, 1, 21, 5);
    pair.Scroll(kThumbTrack, 9);
    pair.Scroll(kLineForward, 10);
    EXPECT_EQ(pair.Edit.Text(), L"14");
}

TEST(SliderRules, PageTakesItsDirectionFromTheNotification) {
    SliderPair pair;
    WithIntegers(pair, 0, 20, 5);
    pair.Scroll(kThumbTrack, 10);
    pair.Scroll(kPageForward, /*control=*/14, /*position=*/0);
    EXPECT_EQ(pair.Slider.Rules.Pos(), 10);
    pair.Scroll(kPageForward, /*control=*/14, /*position=*/14);
    EXPECT_EQ(pair.Slider.Rules.Pos(), 15);
}

/// Toolkits differ in whether control and notification agree: one tells whether it is a stop, the other is rounded.
TEST(SliderRules, ThumbIsTestedByTheNotificationAndPagesByTheControl) {
    const auto after = [](std::int32_t code, std::int32_t control, std::int32_t position) {
        SliderPair pair;
        WithIntegers(pair, 0, 20, 5);
        pair.Scroll(kThumbTrack, 10);
        pair.Scroll(code, control, position);
        EXPECT_EQ(pair.Slider.Rules.LastPos(), pair.Slider.Rules.Pos());
        return pair.Slider.Rules.Pos();
    };
    EXPECT_EQ(after(kThumbTrack, /*control=*/17, /*position=*/15), 17) << "a stop: no rounding";
    EXPECT_EQ(after(kThumbTrack, /*control=*/15, /*position=*/12), 20) << "no stop: rounded up from the control";
    EXPECT_EQ(after(kThumbTrack, /*control=*/13, /*position=*/8), 10) << "no stop: rounded down from the control";
    EXPECT_EQ(after(kPageForward, /*control=*/17, /*position=*/15), 20);
    EXPECT_EQ(after(kPageForward, /*control=*/15, /*position=*/12), 15);
    EXPECT_EQ(after(kLineForward, /*control=*/11, /*position=*/15), 15);
}

TEST(SliderRules, VerticalThumbAndLinesGoByTheNotificationAndPagesByTheControl) {
    for (const std::int32_t code : {kLineBack, kLineForward, kThumbTrack, kPageBack, kPageForward, kThumbPosition}) {
        SliderPair pair(/*vertical=*/true);
        WithIntegers(pair, 0, 20, 5);
        pair.Edit.SetText(L"1");
        pair.Scroll(code, /*control=*/3, /*position=*/9);
        const bool page = code == kPageBack || code == kPageForward;
        EXPECT_EQ(pair.Edit.Text(), code == kThumbPosition ? L"1" : page ? L"17" : L"11") << code;
        EXPECT_EQ(pair.Slider.Rules.LastPos(), -1);
    }
}

TEST(SliderRules, ASliderWithoutAFieldKeepsItsPositionAndThePreviousOne) {
    test::PlainSlider slider(/*vertical=*/false);
    slider.Rules.SetSlideRange(0, 20);
    slider.Rules.SetPer(1);
    slider.Rules.SetSlidePos(7);
    for (const std::int32_t code : {kLineBack, kLineForward, kPageBack, kPageForward, kThumbPosition, kThumbTrack}) {
        slider.Control = 12;
        slider.Rules.HScroll(code, 12);
        EXPECT_EQ(slider.Rules.Pos(), 7) << code;
        EXPECT_EQ(slider.Rules.LastPos(), -1) << code;
    }
}

TEST(SliderRules, EndOfAMoveOnlyRemembersThePosition) {
    SliderPair pair;
    WithIntegers(pair, 0, 20, 1);
    pair.Edit.SetText(L"7");
    pair.Scroll(kThumbPosition, 9);
    EXPECT_EQ(pair.Edit.Text(), L"7");
    EXPECT_EQ(pair.Slider.Rules.LastPos(), 7);
}

TEST(SliderRules, AStepOfZeroMakesEveryPositionAStop) {
    for (const std::int32_t per : {0, -1, 1}) {
        SliderPair pair;
        WithIntegers(pair, 0, 20, per);
        pair.Scroll(kThumbTrack, 13);
        EXPECT_EQ(pair.Edit.Text(), L"13") << per;
    }
}

TEST(SliderRules, TypingBeyondTheRangeBeepsAndIsPutBack) {
    SliderPair pair;
    WithIntegers(pair, 0, 20, 1);
    pair.Edit.SetText(L"25");
    EXPECT_EQ(pair.Edit.Text(), L"20");
    EXPECT_EQ(pair.Slider.Control, 20);
    EXPECT_EQ(pair.Edit.Beeps, 1);
}

/// A host that asks in its handler sees the field as it was typed and the thumb where it was.
TEST(SliderRules, RefusalIsToldBeforeTheSliderMovesAndTheTextIsPutBack) {
    class Asking : public test::PlainEdit {
      public:
        void OnBadInput() override {
            PlainEdit::OnBadInput();
            Thumb = Rules.SlideLink()->Pos();
            Typed = Text();
        }
        std::int32_t Thumb = -1;
        std::wstring Typed;
    } edit;
    test::PlainSlider slider(/*vertical=*/false);
    edit.Rules.SetSlideLink(&slider.Rules);
    edit.Rules.SetParams(0, 20, 5);
    edit.SetText(L"7");
    edit.SetText(L"25");
    EXPECT_EQ(edit.Beeps, 1);
    EXPECT_EQ(edit.Thumb, 7);
    EXPECT_EQ(edit.Typed, L"25");
    EXPECT_EQ(slider.Rules.Pos(), 20);
}

TEST(SliderRules, ReadsTheFirst512CharactersOfAText) {
    SliderPair pair;
    WithIntegers(pair, 0, 20, 1);
    pair.Edit.SetText(std::wstring(511, L' ') + L"7");
    EXPECT_EQ(pair.Slider.Rules.Pos(), 7);
    pair.Edit.SetText(std::wstring(512, L' ') + L"7");
    EXPECT_EQ(pair.Slider.Rules.Pos(), 0);
    EXPECT_EQ(pair.Edit.Beeps, 0);
    pair.Edit.Rules.SetParams(0.0, 1.0, 10, L"%.2f", 2);
    pair.Edit.SetText(std::wstring(510, L' ') + L"0.5");
    EXPECT_EQ(pair.Slider.Rules.Pos(), 0) << "the 5 is the 513th";
}

TEST(SliderRules, AStepIsGivenToTheSliderThatIsLinked) {
    test::PlainEdit edit;
    test::PlainSlider slider(/*vertical=*/false);
    edit.Rules.SetPer(5);
    edit.Rules.SetSlideLink(&slider.Rules);
    edit.Rules.SetParams(0, 20, 5);
    edit.SetText(L"10");
    slider.Control = 12;
    slider.Rules.HScroll(kThumbTrack, 12);
    EXPECT_EQ(edit.Text(), L"12") << "linked later: it has not heard of the step";
    edit.Rules.SetPer(5);
    slider.Control = 13;
    slider.Rules.HScroll(kThumbTrack, 13);
    EXPECT_EQ(edit.Text(), L"15");
}

TEST(SliderRules, TypingWithinTheRangeNeverChangesTheText) {
    SliderPair pair;
    WithIntegers(pair, 0, 20, 5);
    for (const std::wstring text : {L"7", L"07", L"+7", L" 7", L"7x", L""}) {
        pair.Edit.SetText(text);
        EXPECT_EQ(pair.Edit.Text(), text);
    }
    EXPECT_EQ(pair.Edit.Beeps, 0);
}

TEST(SliderRules, AnEmptyFieldIsRewrittenWhenItIsLeft) {
    SliderPair pair;
    WithIntegers(pair, 5, 20, 1);
    pair.Edit.SetText(L"");
    EXPECT_EQ(pair.Edit.Text(), L"5") << "0 is below the range";
    WithIntegers(pair, 0, 20, 1);
    pair.Edit.SetText(L"");
    EXPECT_EQ(pair.Edit.Text(), L"");
    pair.Edit.Rules.OnKillFocus();
    EXPECT_EQ(pair.Edit.Text(), L"0");
}

TEST(SliderRules, AFractionStaysInAnIntegerFieldThatIsLeft) {
    SliderPair pair;
    WithIntegers(pair, 0, 20, 1);
    pair.Edit.SetText(L"1.5");
    pair.Edit.Rules.OnKillFocus();
    EXPECT_EQ(pair.Edit.Text(), L"1.5");
    EXPECT_EQ(pair.Edit.Rules.GetIntValue(), std::nullopt);
}

TEST(SliderRules, PositionsOfARealRangeFollowItsDecimals) {
    struct Row {
        double Max;
        std::int32_t Decimals, MaxPos;
    };
    for (const Row& row : {Row{1.0, 2, 100}, Row{5000.0, 2, 1000}, Row{10.0, 3, 1000}, Row{0.5, 3, 500},
                           Row{20.0, 0, 20}, Row{1000.0, 0, 1000}, Row{0.004, 2, 0}, Row{300.0, -1, 30}}) {
        SliderPair pair;
        pair.Edit.Rules.SetParams(0.0, row.Max, 10, L"%g", row.Decimals);
        EXPECT_EQ(pair.Edit.Rules.MaxPos(), row.MaxPos) << row.Max << " " << row.Decimals;
    }
}

TEST(SliderRules, WideRealRangesGoInStepsOfAThousandth) {
    SliderPair pair;
    pair.Edit.Rules.SetParams(0.0, 5000.0, 10, L"%.1f", 1);
    pair.Edit.Rules.SetPer(1);
    pair.Edit.Rules.UpdateEdit(1);
    EXPECT_EQ(pair.Edit.Text(), L"5.0");
    pair.Edit.Rules.UpdateEdit(1000);
    EXPECT_EQ(pair.Edit.Text(), L"5000.0");
}

TEST(SliderRules, ParseTypeFollowsDecimalsAndSign) {
    SliderPair pair;
    kyfui::SliderEditRules& edit = pair.Edit.Rules;
    edit.SetParams(0.0, 10.0, 10, L"%g", 0);
    EXPECT_EQ(edit.ParseType(), 0x01);
    edit.SetParams(-1.0, 10.0, 10, L"%g", 0);
    EXPECT_EQ(edit.ParseType(), 0x11);
    edit.SetParams(-1.0, 10.0, 10, L"%g", 1);
    EXPECT_EQ(edit.ParseType(), 0x04);
    edit.SetParams(1.0, 10.0, kTable, 3, L"%g");
    EXPECT_EQ(edit.ParseType(), 0x04);
}

TEST(SliderRules, TypedValuesGoToTheNearerEntryOfATableAndToTheUpperOnATie) {
    SliderPair pair;
    pair.Edit.Rules.SetParams(1.0, 10.0, kTable, 3, L"%g");
    const auto positionOf = [&](const wchar_t* text) {
        pair.Edit.SetText(text);
        return pair.Edit.Rules.SlidePos();
    };
    EXPECT_EQ(positionOf(L"3"), 1);
    EXPECT_EQ(positionOf(L"3.5"), 2);
    EXPECT_EQ(positionOf(L"5"), 2);
    EXPECT_EQ(pair.Edit.Beeps, 0);
    EXPECT_EQ(positionOf(L"20"), 3);
    EXPECT_EQ(pair.Edit.Text(), L"10");
    EXPECT_EQ(pair.Edit.Beeps, 1);
}

TEST(SliderRules, AnEmptyTableChangesNothing) {
    SliderPair pair;
    WithIntegers(pair, 0, 20, 1);
    EXPECT_FALSE(pair.Edit.Rules.SetParams(1.0, 10.0, std::vector<double>(), 3, L"%g"));
    EXPECT_EQ(pair.Edit.Rules.MaxPos(), 20);
    EXPECT_TRUE(pair.Edit.Rules.SetValue(20));
}

TEST(SliderRules, ARangeAfterATableIsContinuous) {
    SliderPair pair;
    pair.Edit.Rules.SetParams(1.0, 10.0, kTable, 3, L"%g");
    pair.Edit.Rules.SetParams(0.0, 1.0, 10, L"%.2f", 2);
    pair.Edit.Rules.UpdateEdit(37);
    EXPECT_EQ(pair.Edit.Text(), L"0.37");
}

TEST(SliderRules, TheSamePositionIsWrittenOnce) {
    SliderPair pair;
    WithIntegers(pair, 0, 20, 1);
    EXPECT_TRUE(pair.Edit.Rules.UpdateEdit(4));
    const std::int32_t writes = pair.Edit.Writes;
    EXPECT_FALSE(pair.Edit.Rules.UpdateEdit(4));
    EXPECT_EQ(pair.Edit.Writes, writes);
}

TEST(SliderRules, PositionsAreShownWithoutTheFormatOfValues) {
    SliderPair pair;
    WithIntegers(pair, 0, 20, 1);
    pair.Edit.Rules.SetFormatString(L"%03d");
    EXPECT_TRUE(pair.Edit.Rules.SetValue(7));
    EXPECT_EQ(pair.Edit.Text(), L"007");
    pair.Edit.Rules.UpdateEdit(8);
    EXPECT_EQ(pair.Edit.Text(), L"8");
}

TEST(SliderRules, ReversedSlidersMirrorWhatIsTyped) {
    SliderPair pair(/*vertical=*/true);
    WithIntegers(pair, -4, 20, 1);
    pair.Edit.SetText(L"20");
    EXPECT_EQ(pair.Slider.Control, -4) << "the top";
    pair.Scroll(kThumbTrack, 20);
    EXPECT_EQ(pair.Edit.Text(), L"-4");
}

TEST(SliderRules, AFieldWithoutASliderShowsAndReadsValues) {
    test::PlainEdit edit;
    EXPECT_TRUE(edit.Rules.SetParams(0.0, 1.0, 10, L"%.2f", 2));
    EXPECT_FALSE(edit.Rules.InitSlider());
    EXPECT_TRUE(edit.Rules.UpdateEdit(50));
    EXPECT_EQ(edit.Text(), L"0.50");
    edit.SetText(L"7");
    EXPECT_EQ(edit.Text(), L"7") << "nothing limits a field without a slider";
    edit.SetText(L"x");
    edit.Rules.OnKillFocus();
    EXPECT_EQ(edit.Text(), L"0.50");
}

TEST(SliderRules, NothingShownYetLeavesAnUnreadableFieldAlone) {
    test::PlainEdit edit;
    edit.Rules.SetParams(0, 20, 5);
    edit.SetText(L"x");
    edit.Rules.OnKillFocus();
    EXPECT_EQ(edit.Text(), L"x");
    EXPECT_EQ(edit.Rules.SlidePos(), kNothingShown);
}

} // namespace

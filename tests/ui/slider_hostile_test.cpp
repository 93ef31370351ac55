// Numbers and calls that no dialog makes: every one has a result, and none is undefined.
#include <cstdint>
#include <limits>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "ui/slider_pair.h"

namespace {

using test::SliderPair;

constexpr std::int32_t kLeast = std::numeric_limits<std::int32_t>::min();
constexpr std::int32_t kMost = std::numeric_limits<std::int32_t>::max();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInf = std::numeric_limits<double>::infinity();

const std::vector<std::int32_t> kIntegers = {kLeast, kLeast + 1, -1000, -1, 0, 1, 2, 1000, kMost - 1, kMost};
const std::vector<double> kReals = {kNaN, -kInf, -1e308, -1.0, 0.0, 1e-320, 1.0, 1000.5, 1e308, kInf};
const std::vector<std::wstring> kTexts = {L"",
                                          L"-",
                                          L"nan",
                                          L"-inf",
                                          L"1e999",
                                          L"99999999999999",
                                          L"-99999999999999",
                                          std::wstring(2000, L'9'),
                                          std::wstring(1, L'\0'),
                                          L"0x10",
                                          L"\xFF11"};

void PlayEverything(SliderPair& pair) {
    for (const std::wstring& text : kTexts) {
        pair.Edit.SetText(text);
        pair.Edit.Rules.OnKillFocus();
    }
    for (const std::int32_t position : kIntegers) {
        pair.Edit.Rules.UpdateEdit(position);
        pair.Slider.Rules.SetSlidePos(position);
        pair.Edit.Rules.SetValue(position);
        for (const std::int32_t code : {kLeast, -1, 0, 2, 5, 8, kMost})
            for (const std::int32_t control : kIntegers) pair.Scroll(code, control, position);
    }
    for (const double value : kReals) pair.Edit.Rules.SetValue(value);
}

TEST(HostileSlider, IntegerRangesOfAnyKind) {
    for (const std::int32_t min : kIntegers)
        for (const std::int32_t max : kIntegers)
            for (const std::int32_t per : {kLeast, -3, -1, 0, 1, 7, kMost}) {
                SliderPair pair((per & 1) != 0);
                EXPECT_TRUE(pair.Edit.Rules.SetParams(min, max, per));
                pair.Edit.Rules.SetPer(per);
                PlayEverything(pair);
            }
}

TEST(HostileSlider, RealRangesOfAnyKind) {
    for (const double min : kReals)
        for (const double max : kReals)
            for (const std::int32_t decimals : {kLeast, -1, 0, 1, 2, 400, kMost}) {
                SliderPair pair(decimals > 1);
                EXPECT_TRUE(pair.Edit.Rules.SetParams(min, max, decimals, L"%f", decimals));
                PlayEverything(pair);
            }
}

TEST(HostileSlider, TablesOfAnyKind) {
    const std::vector<std::vector<double>> tables = {{kNaN}, {5.0, 1.0, 3.0}, {-kInf, kNaN, kInf}, {0.0, 0.0, 0.0}};
    for (const std::vector<double>& table : tables)
        for (const double min : kReals)
            for (const double max : kReals) {
                SliderPair pair;
                EXPECT_TRUE(pair.Edit.Rules.SetParams(min, max, table, 0, L"%g"));
                PlayEverything(pair);
            }
}

TEST(HostileSlider, APositionBeyondATableShowsItsNearestEnd) {
    SliderPair pair;
    pair.Edit.Rules.SetParams(1.0, 2.0, std::vector<double>{1.0, 2.0}, 1, L"%g");
    pair.Edit.Rules.UpdateEdit(kMost);
    EXPECT_EQ(pair.Edit.Text(), L"2");
    pair.Edit.Rules.UpdateEdit(-1);
    EXPECT_EQ(pair.Edit.Text(), L"1");
}

TEST(HostileSlider, NoRangeAtAllShowsThatThereIsNoNumber) {
    SliderPair pair;
    pair.Edit.Rules.SetParams(3.0, 3.0, 1, L"%.2f", 2);
    pair.Edit.Rules.UpdateEdit(0);
    EXPECT_EQ(pair.Edit.Text(), L"nan");
    EXPECT_FALSE(pair.Edit.Rules.SetValue(kNaN));
    EXPECT_TRUE(pair.Edit.Rules.SetValue(3.0));
    EXPECT_EQ(pair.Edit.Text(), L"3.00");
}

/// A host's handler that writes the text while the rules are at work.
TEST(HostileSlider, ARefusalMayChangeTheField) {
    class Meddling : public test::PlainEdit {
      public:
        void OnBadInput() override {
            ++Beeps;
            Rules.SetParams(0.0, 1.0, std::vector<double>{0.5}, 1, L"%g");
            SetText(L"9999");
        }
    } edit;
    test::PlainSlider slider(false);
    edit.Rules.SetSlideLink(&slider.Rules);
    edit.Rules.SetParams(0, 20, 1);
    edit.SetText(L"21");
    EXPECT_EQ(edit.Beeps, 1);
    EXPECT_EQ(edit.Text(), L"0.5");
}

TEST(HostileSlider, EitherHalfMayGoFirst) {
    auto edit = std::make_unique<test::PlainEdit>();
    auto slider = std::make_unique<test::PlainSlider>(false);
    edit->Rules.SetSlideLink(&slider->Rules);
    edit->Rules.SetParams(0, 20, 1);
    slider.reset();
    EXPECT_EQ(edit->Rules.SlideLink(), nullptr);
    edit->SetText(L"21");
    EXPECT_EQ(edit->Beeps, 0);

    slider = std::make_unique<test::PlainSlider>(false);
    edit->Rules.SetSlideLink(&slider->Rules);
    edit.reset();
    EXPECT_EQ(slider->Rules.EditLink(), nullptr);
    slider->Rules.HScroll(kyfui::kThumbTrack, 3);
    slider->Rules.VScroll(kyfui::kThumbTrack, 3);
}

/// Whatever is done, a continuous integer pair that has read a text in range shows the same number on both sides.
TEST(HostileSlider, TextAndThumbAgreeAfterAnyScroll) {
    std::mt19937 random(7);
    SliderPair pair;
    pair.Edit.Rules.SetParams(0, 50, 5);
    pair.Edit.Rules.SetPer(1);
    for (int i = 0; i < 2000; ++i) {
        const auto position = static_cast<std::int32_t>(random() % 51);
        pair.Scroll(random() % 2 == 0 ? kyfui::kThumbTrack : kyfui::kLineForward, position);
        ASSERT_EQ(pair.Edit.Rules.GetIntValue(), pair.Slider.Control);
        ASSERT_EQ(pair.Slider.Control, pair.Slider.Rules.Pos());
    }
}

} // namespace

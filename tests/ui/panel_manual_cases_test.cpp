// Recorded courses of the manual dialog, driven through the rules of the dialog and of its two pairs without a window.
#include <limits>
#include <string>
#include <vector>

#include "ui/panel_json.h"
#include "ui/rules/manual_rules.h"
#include "ui/slider_pair.h"

namespace {

using namespace kyfui;

/// The dialog: two pairs, and a selection that follows the sliders.
class ManualCourse {
  public:
    explicit ManualCourse(const Preset& values) {
        Start(kCompSizeRange, values.CompSize, Pairs[0]);
        Start(kSmoothingRange, values.Smoothing, Pairs[1]);
    }
    Preset Values() const { return {Pairs[0].Slider.Rules.Pos(), Pairs[1].Slider.Rules.Pos()}; }
    std::int32_t Selection() const { return ManualSelection(Values()); }
    void Select(std::int32_t index) {
        const auto preset = PresetOf(index);
        ASSERT_TRUE(preset.has_value());
        Pairs[0].Edit.Rules.SetValue(preset->CompSize);
        Pairs[1].Edit.Rules.SetValue(preset->Smoothing);
    }

    test::SliderPair Pairs[2];

  private:
    static void Start(const ManualRange& range, std::int32_t value, test::SliderPair& pair) {
        pair.Edit.Rules.SetParams(range.Min, range.Max, range.Ticks);
        pair.Edit.Rules.SetPer(range.Per);
        ASSERT_TRUE(pair.Edit.Rules.SetValue(value));
    }
};

void Play(const std::string& event, const nlohmann::json& arguments, ManualCourse& dialog) {
    if (event == "select") {
        dialog.Select(arguments.at(0));
        return;
    }
    test::SliderPair& pair = dialog.Pairs[arguments.at(0).get<std::size_t>()];
    if (event == "type_text") {
        const std::string text = arguments.at(1);
        pair.Edit.SetText(std::wstring(text.begin(), text.end()));
    } else if (event == "track") {
        pair.Scroll(kThumbTrack, arguments.at(1));
    } else if (event == "kill_focus") {
        pair.Edit.Rules.OnKillFocus();
    } else {
        FAIL() << "unknown event " << event;
    }
}

void ExpectState(const nlohmann::json& state, const ManualCourse& dialog) {
    EXPECT_EQ(dialog.Values(), (Preset{state.at("CompSize"), state.at("Smoothing")}));
    EXPECT_EQ(dialog.Selection(), state.at("selection").get<int>());
    for (std::size_t i = 0; i < 2; ++i) {
        const std::string text = state.at("texts").at(i);
        EXPECT_EQ(dialog.Pairs[i].Edit.Text(), std::wstring(text.begin(), text.end())) << i;
    }
    EXPECT_EQ(dialog.Pairs[0].Edit.Beeps + dialog.Pairs[1].Edit.Beeps, state.at("beeps").get<int>());
}

class RecordedManualDialogs : public testing::TestWithParam<std::string> {};

TEST_P(RecordedManualDialogs, GoThroughTheSameStates) {
    const nlohmann::json json = test::LoadCase("panel", GetParam()).Json;
    CKyfFocusCompositionSetting setting;
    setting.SetCompSize(json.at("CompSize"));
    setting.SetSmoothing(json.at("Smoothing"));
    ManualCourse dialog(ManualFromSetting(setting));
    ExpectState(json.at("start"), dialog);
    for (const nlohmann::json& step : json.at("events")) {
        SCOPED_TRACE(step.at("event").get<std::string>() + " " + step.at("arguments").dump());
        Play(step.at("event"), step.at("arguments"), dialog);
        ExpectState(step.at("state"), dialog);
    }
}

INSTANTIATE_TEST_SUITE_P(Recorded, RecordedManualDialogs, testing::ValuesIn(test::PanelCaseNames("manual_dialog")),
                         test::CaseName);

TEST(ManualRules, ValuesOutsideTheirRangesOpenAtTheNearestOne) {
    CKyfFocusCompositionSetting setting;
    setting.SetCompSize(std::numeric_limits<std::int32_t>::max());
    setting.SetSmoothing(std::numeric_limits<std::int32_t>::min());
    EXPECT_EQ(ManualFromSetting(setting), (Preset{20, 0}));
}

TEST(ManualRules, OnlyTheThreePairsOfValuesAreAPreset) {
    for (std::int32_t size = 0; size <= 20; ++size)
        for (std::int32_t smoothing = 0; smoothing <= 10; ++smoothing) {
            const std::int32_t expected = size == 1 && smoothing == 8    ? 0
                                          : size == 8 && smoothing == 6  ? 1
                                          : size == 15 && smoothing == 6 ? 2
                                                                         : -1;
            EXPECT_EQ(ManualSelection({size, smoothing}), expected) << size << " " << smoothing;
        }
}

} // namespace

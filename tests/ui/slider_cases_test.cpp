// Pairs played step by step against recorded states.
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "platform/text.h"
#include "support/case_files.h"
#include "ui/slider_pair.h"

namespace {

using nlohmann::json;
using test::SliderPair;

std::wstring Wide(const json& text) { return platform::ToWide(text.get<std::string>()); }

json StateOf(const SliderPair& pair) {
    const kyfui::LinkSliderRules& slider = pair.Slider.Rules;
    return {{"text", platform::ToUtf8(pair.Edit.Text())},
            {"SlidePos", pair.Edit.Rules.SlidePos()},
            {"Pos", slider.Pos()},
            {"control", pair.Slider.Control},
            {"LastPos", slider.LastPos()},
            {"beeps", pair.Edit.Beeps}};
}

bool SetParams(const json& setup, kyfui::SliderEditRules& edit) {
    const std::string mode = setup.at("mode");
    const std::int32_t ticks = setup.at("ticks");
    if (mode == "integer")
        return edit.SetParams(setup.at("min").get<std::int32_t>(), setup.at("max").get<std::int32_t>(), ticks);
    const double min = setup.at("min");
    const double max = setup.at("max");
    const std::wstring format = Wide(setup.at("format"));
    if (mode == "real") return edit.SetParams(min, max, ticks, format, setup.at("decimals").get<std::int32_t>());
    return edit.SetParams(min, max, setup.at("table").get<std::vector<double>>(), ticks, format);
}

void PreparePair(const json& setup, SliderPair& pair) {
    kyfui::SliderEditRules& edit = pair.Edit.Rules;
    const bool result = SetParams(setup, edit);
    edit.SetPer(setup.at("per"));
    const json after = {{"result", result ? 1 : 0},        {"MinPos", edit.MinPos()},
                        {"MaxPos", edit.MaxPos()},         {"ParseType", edit.ParseType()},
                        {"SlideRange", edit.SlideRange()}, {"tick_frequency", pair.Slider.TickFrequency}};
    EXPECT_EQ(after, setup.at("after_setup"));
    EXPECT_EQ(pair.Slider.Min, edit.MinPos());
    EXPECT_EQ(pair.Slider.Max, edit.MaxPos());
}

template <class T> json OrNull(const std::optional<T>& value) { return value ? json(*value) : json(nullptr); }

/// The operation's result; null when it has none.
json Play(const json& step, SliderPair& pair) {
    const std::string op = step.at("op");
    kyfui::SliderEditRules& edit = pair.Edit.Rules;
    if (op == "type_char") return pair.Edit.Type(static_cast<char32_t>(Wide(step.at("char")).at(0))) ? 1 : 0;
    if (op == "update_edit") return edit.UpdateEdit(step.at("pos")) ? 1 : 0;
    if (op == "set_value_int") return edit.SetValue(step.at("value").get<std::int32_t>()) ? 1 : 0;
    if (op == "set_value_double") return edit.SetValue(step.at("value").get<double>()) ? 1 : 0;
    if (op == "get_value_int") return OrNull(edit.GetIntValue());
    if (op == "get_value_double") return OrNull(edit.GetDoubleValue());
    if (op == "type_text")
        pair.Edit.SetText(Wide(step.at("text")));
    else if (op == "kill_focus")
        edit.OnKillFocus();
    else if (op == "set_slide_pos")
        pair.Slider.Rules.SetSlidePos(step.at("pos"));
    else if (op == "h_scroll" || op == "v_scroll")
        pair.Scroll(step.at("code"), step.at("control"), step.at("pos"));
    else
        ADD_FAILURE() << "unknown operation " << op;
    return nullptr;
}

void PlayAll(const json& recorded) {
    SliderPair pair(recorded.at("setup").value("vertical", 0) != 0);
    PreparePair(recorded.at("setup"), pair);
    EXPECT_EQ(StateOf(pair), recorded.at("start"));
    for (const json& step : recorded.at("steps")) {
        const json result = Play(step, pair);
        ASSERT_EQ(StateOf(pair), step.at("state")) << step;
        if (step.contains("returns")) {
            ASSERT_EQ(result, step.at("returns")) << step;
        }
    }
}

std::wstring Accepted(std::uint16_t parseType, const std::wstring& characters) {
    std::wstring accepted;
    for (const wchar_t c : characters) {
        const auto character = static_cast<char32_t>(c);
        if (kyfui::IsAccepted(parseType, character, kyfui::KindOfAscii(character))) accepted += c;
    }
    return accepted;
}

void CompareClasses(const json& recorded) {
    for (const json& line : recorded.at("classes")) {
        const auto character = static_cast<char32_t>(Wide(line.at(0)).at(0));
        EXPECT_EQ(kyfui::CharacterClass(character, kyfui::KindOfAscii(character)), line.at(1)) << line;
    }
    for (const auto& [type, accepted] : recorded.at("accepted").items()) {
        const auto bits = static_cast<std::uint16_t>(std::stoi(type, nullptr, 16));
        EXPECT_EQ(Accepted(bits, Wide(recorded.at("characters"))), Wide(accepted)) << type;
    }
}

class SliderCases : public testing::TestWithParam<std::string> {};

TEST_P(SliderCases, GoAsRecorded) {
    const json recorded = test::LoadCase("slider", GetParam()).Json;
    if (recorded.contains("classes"))
        CompareClasses(recorded);
    else
        PlayAll(recorded);
}

INSTANTIATE_TEST_SUITE_P(Data, SliderCases, testing::ValuesIn(test::CaseNames("slider")),
                         [](const auto& parameter) { return parameter.param; });

} // namespace

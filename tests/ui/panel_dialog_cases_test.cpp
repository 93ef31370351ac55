// Recorded courses of the dialogs behind the panel, driven through the rules without a window.
#include <optional>
#include <string>

#include "ui/panel_json.h"

namespace {

using namespace kyfui;

class RecordedDetailDialogs : public testing::TestWithParam<std::string> {};

/// The field that the focus went back to, if it did.
std::optional<std::string> Play(const std::string& event, const nlohmann::json& arguments, DetailModel& dialog) {
    if (event == "move_slider") {
        dialog.MoveSlider(test::ReadDetailField(arguments.at(0)), arguments.at(1));
    } else if (event == "type_text") {
        const std::string name = arguments.at(0);
        if (!dialog.TypeText(test::ReadDetailField(name), arguments.at(1).get<std::string>())) return name;
    } else if (event == "click_check" && arguments.at(0) == "HalationMeasures") {
        dialog.ClickHalation(arguments.at(1).get<int>() != 0);
    } else if (event == "click_check") {
        dialog.ClickPeakPosition(arguments.at(1).get<int>() != 0);
    } else if (event == "default_button") {
        dialog.ClickDefaults();
    } else {
        ADD_FAILURE() << "unknown event " << event;
    }
    return std::nullopt;
}

void ExpectState(const nlohmann::json& state, const DetailModel& dialog, const std::optional<std::string>& returned) {
    EXPECT_EQ(dialog.Values(), test::ReadDetailValues(state.at("values")));
    for (const DetailField field : kDetailFields) {
        const char* const name = test::kDetailNames[static_cast<std::size_t>(field)];
        EXPECT_EQ(dialog.Values()[field], state.at("sliders").at(name).get<int>()) << name;
        EXPECT_EQ(dialog.TextOf(field), state.at("texts").at(name).get<std::string>()) << name;
    }
    const nlohmann::json& focus = state.at("focus_returned");
    EXPECT_EQ(returned, focus.is_null() ? std::nullopt : std::optional(focus.get<std::string>()));
}

TEST_P(RecordedDetailDialogs, GoThroughTheSameStates) {
    const nlohmann::json json = test::LoadCase("panel", GetParam()).Json;
    DetailModel dialog(DetailFromSetting(test::DetailSetting(json.at("values"))));
    ExpectState(json.at("start"), dialog, std::nullopt);
    for (const nlohmann::json& step : json.at("events")) {
        SCOPED_TRACE(step.at("event").get<std::string>() + " " + step.at("arguments").dump());
        const auto returned = Play(step.at("event"), step.at("arguments"), dialog);
        ExpectState(step.at("state"), dialog, returned);
    }
}

INSTANTIATE_TEST_SUITE_P(Recorded, RecordedDetailDialogs, testing::ValuesIn(test::PanelCaseNames("detail_dialog")),
                         test::CaseName);

/// The picture and what is counted beside it.
struct PictureCourse {
    AreaPicture Picture;
    bool CursorSet = false;
    int Repaints = 0;
};

void Play(const std::string& event, const nlohmann::json& arguments, PictureCourse& course) {
    if (event == "button_down") {
        course.CursorSet |= course.Picture.ButtonDown(arguments.at(0), arguments.at(1));
    } else if (event == "mouse_move") {
        const AreaPicture::Moved moved = course.Picture.MouseMove(arguments.at(0), arguments.at(1));
        course.CursorSet = moved.Cursor; // each move chooses anew
        course.Repaints += moved.Repaint ? 1 : 0;
    } else if (event == "button_up") {
        course.Picture.ButtonUp();
    } else if (event == "pattern") {
        course.Picture.SetPattern(arguments.at(0));
    } else {
        FAIL() << "unknown event " << event;
    }
}

void ExpectState(const nlohmann::json& state, const PictureCourse& course) {
    const Areas& areas = course.Picture.Get();
    test::ExpectDialogAreas(state, areas);
    ASSERT_EQ(static_cast<std::size_t>(AreaCount(areas.AreaNo)), state.at("squares").size());
    for (int i = 0; i < AreaCount(areas.AreaNo); ++i) {
        const nlohmann::json& square = state.at("squares").at(static_cast<std::size_t>(i));
        EXPECT_EQ(course.Picture.Square(i), (AreaSquare{square.at(0), square.at(1), square.at(2), square.at(3)})) << i;
    }
    EXPECT_EQ(course.Picture.IsDragging(), state.at("dragging").get<bool>());
    EXPECT_EQ(course.CursorSet, state.at("cursor_set").get<bool>());
    EXPECT_EQ(course.Repaints, state.at("repaints").get<int>());
}

class RecordedPictures : public testing::TestWithParam<std::string> {};

TEST_P(RecordedPictures, GoThroughTheSameStates) {
    const nlohmann::json json = test::LoadCase("panel", GetParam()).Json;
    PictureCourse course{AreaPicture(test::ReadDialogAreas(json), test::ReadFrame(json.at("frame")),
                                     AreaHalfSize(json.at("magnification")))};
    ExpectState(json.at("start"), course);
    for (const nlohmann::json& step : json.at("events")) {
        SCOPED_TRACE(step.at("event").get<std::string>() + " " + step.at("arguments").dump());
        Play(step.at("event"), step.at("arguments"), course);
        ExpectState(step.at("state"), course);
    }
}

INSTANTIATE_TEST_SUITE_P(Recorded, RecordedPictures, testing::ValuesIn(test::PanelCaseNames("auto_positioning_dialog")),
                         test::CaseName);

} // namespace

// Recorded courses of the three small dialogs, played on real ones with keys, sliders and the mouse.
#include <optional>
#include <string>

#include <QMouseEvent>

#include "ui/dialog_driver.h"
#include "ui/dialogs/dlg_set_2d_selection_param.h"
#include "ui/dialogs/dlg_set_auto_positioning_param.h"
#include "ui/dialogs/dlg_set_detail_param.h"
#include "ui/panel_json.h"

namespace {

using namespace kyfui;

// Manual dialog

constexpr int kManualSliders[] = {kIdCompSizeSlider, kIdSmoothingSlider};
constexpr int kManualEdits[] = {kIdCompSizeEdit, kIdSmoothingEdit};

void PlayManual(const std::string& event, const nlohmann::json& arguments, const QDialog& dialog) {
    const auto index = arguments.at(0).get<std::size_t>();
    if (event == "select") {
        test::Choose(dialog, kIdPreset, static_cast<int>(index));
    } else if (event == "type_text") {
        const QString text = QString::fromStdString(arguments.at(1));
        auto& field = test::Find<QLineEdit>(dialog, kManualEdits[index]);
        field.setFocus();
        field.setText(text); // in one step, as it is pasted: on the way to 99 lies a 9
    } else if (event == "track") {
        auto& slider = test::Find<QSlider>(dialog, kManualSliders[index]);
        slider.setSliderDown(true);
        slider.setSliderPosition(arguments.at(1));
        slider.setSliderDown(false);
    } else if (event == "kill_focus") {
        auto& field = test::Find<QLineEdit>(dialog, kManualEdits[index]);
        field.setFocus();
        QTest::keyClick(&field, Qt::Key_Tab);
        EXPECT_FALSE(field.hasFocus());
    } else {
        FAIL() << "unknown event " << event;
    }
}

void ExpectManual(const nlohmann::json& state, const CDlgSet2DSelectionParam& dialog) {
    EXPECT_EQ(dialog.Values(), (Preset{state.at("CompSize"), state.at("Smoothing")}));
    EXPECT_EQ(test::Find<QComboBox>(dialog, kIdPreset).currentIndex(), state.at("selection").get<int>());
    for (std::size_t i = 0; i < 2; ++i)
        EXPECT_EQ(test::Find<QLineEdit>(dialog, kManualEdits[i]).text().toStdString(),
                  state.at("texts").at(i).get<std::string>());
    EXPECT_EQ(test::Find<QSlider>(dialog, kIdCompSizeSlider).value(), state.at("CompSize").get<int>());
    EXPECT_EQ(test::Find<QSlider>(dialog, kIdSmoothingSlider).value(), state.at("Smoothing").get<int>());
}

class PlayedManualDialogs : public testing::TestWithParam<std::string> {};

TEST_P(PlayedManualDialogs, GoThroughTheSameStates) {
    const nlohmann::json json = test::LoadCase("panel", GetParam()).Json;
    CDlgSet2DSelectionParam dialog(Preset{json.at("CompSize"), json.at("Smoothing")}, nullptr);
    test::Open(dialog);
    ExpectManual(json.at("start"), dialog);
    for (const nlohmann::json& step : json.at("events")) {
        SCOPED_TRACE(step.at("event").get<std::string>() + " " + step.at("arguments").dump());
        PlayManual(step.at("event"), step.at("arguments"), dialog);
        ExpectManual(step.at("state"), dialog);
    }
}

INSTANTIATE_TEST_SUITE_P(Recorded, PlayedManualDialogs, testing::ValuesIn(test::PanelCaseNames("manual_dialog")),
                         test::CaseName);

// Detail dialog

constexpr int kDetailSliders[] = {kIdSensitivitySlider, kIdNoiseSlider, kIdShapeSlider};
constexpr int kDetailEdits[] = {kIdSensitivityEdit, kIdNoiseEdit, kIdShapeEdit};

std::size_t IndexOf(const nlohmann::json& name) { return static_cast<std::size_t>(test::ReadDetailField(name)); }

/// The field that the focus went back to, if it did.
std::optional<std::string> PlayDetail(const std::string& event, const nlohmann::json& arguments,
                                      const QDialog& dialog) {
    if (event == "move_slider") {
        test::Find<QSlider>(dialog, kDetailSliders[IndexOf(arguments.at(0))]).setValue(arguments.at(1));
    } else if (event == "type_text") {
        auto& field = test::Find<QLineEdit>(dialog, kDetailEdits[IndexOf(arguments.at(0))]);
        test::Find(dialog, kIdOk).setFocus();
        field.setText(QString::fromStdString(arguments.at(1)));
        if (!field.hasFocus()) return std::nullopt;
        EXPECT_EQ(field.selectedText(), field.text());
        return arguments.at(0).get<std::string>();
    } else if (event == "click_check") {
        const bool halation = arguments.at(0) == "HalationMeasures";
        test::ClickCheck(dialog, halation ? kIdHalation : kIdPeakPosition, arguments.at(1).get<int>() != 0);
    } else if (event == "default_button") {
        test::Click(dialog, kIdDetailDefaults);
    } else {
        ADD_FAILURE() << "unknown event " << event;
    }
    return std::nullopt;
}

void ExpectDetail(const nlohmann::json& state, const CDlgSetDetailParam& dialog,
                  const std::optional<std::string>& returned) {
    const DetailValues expected = test::ReadDetailValues(state.at("values"));
    EXPECT_EQ(dialog.Values(), expected);
    EXPECT_EQ(test::Find<QCheckBox>(dialog, kIdHalation).isChecked(), expected.HalationMeasures != 0);
    EXPECT_EQ(test::Find<QCheckBox>(dialog, kIdPeakPosition).isChecked(), expected.AdoptionPeakPosition != 0);
    for (const DetailField field : kDetailFields) {
        const auto i = static_cast<std::size_t>(field);
        const char* const name = test::kDetailNames[i];
        EXPECT_EQ(test::Find<QSlider>(dialog, kDetailSliders[i]).value(), state.at("sliders").at(name).get<int>());
        EXPECT_EQ(test::Find<QLineEdit>(dialog, kDetailEdits[i]).text().toStdString(),
                  state.at("texts").at(name).get<std::string>());
    }
    const nlohmann::json& focus = state.at("focus_returned");
    EXPECT_EQ(returned, focus.is_null() ? std::nullopt : std::optional(focus.get<std::string>()));
}

class PlayedDetailDialogs : public testing::TestWithParam<std::string> {};

TEST_P(PlayedDetailDialogs, GoThroughTheSameStates) {
    const nlohmann::json json = test::LoadCase("panel", GetParam()).Json;
    CDlgSetDetailParam dialog(DetailFromSetting(test::DetailSetting(json.at("values"))), nullptr);
    test::Open(dialog);
    ExpectDetail(json.at("start"), dialog, std::nullopt);
    for (const nlohmann::json& step : json.at("events")) {
        SCOPED_TRACE(step.at("event").get<std::string>() + " " + step.at("arguments").dump());
        const auto returned = PlayDetail(step.at("event"), step.at("arguments"), dialog);
        ExpectDetail(step.at("state"), dialog, returned);
    }
}

INSTANTIATE_TEST_SUITE_P(Recorded, PlayedDetailDialogs, testing::ValuesIn(test::PanelCaseNames("detail_dialog")),
                         test::CaseName);

// Automatic positioning dialog

/// The pointer in the picture's own coordinates: a case has its frame anywhere.
QPoint PointOf(const nlohmann::json& arguments, const PictureFrame& frame) {
    return {arguments.at(0).get<int>() - frame.Left, arguments.at(1).get<int>() - frame.Top};
}

/// Sent straight to the picture, so that places outside of it reach it as they do while the mouse is grabbed.
void SendMouse(QWidget& picture, QEvent::Type type, const QPoint& place) {
    const bool move = type == QEvent::MouseMove;
    QMouseEvent event(type, place, picture.mapToGlobal(place), move ? Qt::NoButton : Qt::LeftButton,
                      type == QEvent::MouseButtonRelease ? Qt::NoButton : Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(&picture, &event);
}

void PlayAreas(const std::string& event, const nlohmann::json& arguments, const PictureFrame& frame, QDialog& dialog) {
    QWidget& picture = test::Find(dialog, kIdAreaPicture);
    if (event == "button_down") {
        // The system sends a press outside to another window.
        if (picture.rect().contains(PointOf(arguments, frame)))
            SendMouse(picture, QEvent::MouseButtonPress, PointOf(arguments, frame));
    } else if (event == "mouse_move") {
        SendMouse(picture, QEvent::MouseMove, PointOf(arguments, frame));
    } else if (event == "button_up") {
        SendMouse(picture, QEvent::MouseButtonRelease, picture.rect().center());
    } else if (event == "pattern") {
        test::Choose(dialog, kIdAreaCount, arguments.at(0));
    } else {
        FAIL() << "unknown event " << event;
    }
}

void ExpectAreas(const nlohmann::json& state, const PictureFrame& frame, const CDlgSetAutoPositioningParam& dialog) {
    test::ExpectDialogAreas(state, dialog.Values());
    QWidget& picture = test::Find(dialog, kIdAreaPicture);
    EXPECT_EQ(picture.testAttribute(Qt::WA_SetCursor), state.at("cursor_set").get<bool>());
    const QImage image = picture.grab().toImage();
    for (const nlohmann::json& square : state.at("squares")) {
        const QRect outline(QPoint(square.at(0).get<int>() - frame.Left, square.at(1).get<int>() - frame.Top),
                            QPoint(square.at(2).get<int>() - frame.Left - 1, square.at(3).get<int>() - frame.Top - 1));
        for (const QPoint corner : {outline.topLeft(), outline.bottomRight()}) {
            if (!image.rect().contains(corner)) continue;
            EXPECT_EQ(image.pixelColor(corner), QColor(Qt::red)) << square.dump();
        }
    }
}

class PlayedPictures : public testing::TestWithParam<std::string> {};

TEST_P(PlayedPictures, GoThroughTheSameStates) {
    const nlohmann::json json = test::LoadCase("panel", GetParam()).Json;
    const PictureFrame frame = test::ReadFrame(json.at("frame"));
    qputenv("KYI_DISPLAY_SCALE", QByteArray::number(json.at("magnification").get<double>()));
    CDlgSetAutoPositioningParam dialog(test::ReadDialogAreas(json), nullptr);
    qunsetenv("KYI_DISPLAY_SCALE");
    QWidget& picture = test::Find(dialog, kIdAreaPicture);
    picture.setFixedSize(frame.Width, frame.Height);
    test::Open(dialog);
    ASSERT_EQ(picture.size(), QSize(frame.Width, frame.Height));
    ExpectAreas(json.at("start"), frame, dialog);
    for (const nlohmann::json& step : json.at("events")) {
        SCOPED_TRACE(step.at("event").get<std::string>() + " " + step.at("arguments").dump());
        PlayAreas(step.at("event"), step.at("arguments"), frame, dialog);
        ExpectAreas(step.at("state"), frame, dialog);
    }
}

INSTANTIATE_TEST_SUITE_P(Recorded, PlayedPictures, testing::ValuesIn(test::PanelCaseNames("auto_positioning_dialog")),
                         test::CaseName);

} // namespace

// Recorded courses of the panel, played on the real dialog with clicks and choices.
#include <string>
#include <vector>

#include <kyfocus/ui/param_control.h>

#include "ui/dialog_driver.h"
#include "ui/dialogs/dlg_set_focus_composition_param.h"
#include "ui/panel_json.h"
#include "ui/resources/resources.h"

namespace {

using namespace kyfui;

/// Listens where the dialog does, and hands on.
class Watcher : public IChangedFCSettingDelegate {
  public:
    explicit Watcher(CDlgSetFocusCompositionParam& dialog) : m_dialog(dialog) {}
    void OnChangedAlgType(KyfAlgorithmType type) override {
        Calls.push_back(type);
        m_dialog.OnChangedAlgType(type);
    }
    std::vector<KyfAlgorithmType> Calls;

  private:
    CDlgSetFocusCompositionParam& m_dialog;
};

FocusCompositionDialogStart ReadStart(const nlohmann::json& json) {
    return {test::ReadParameter(json.at("parameter")), test::AutoPositioningDisabled(json),
            GpuPanelFor(json.at("cuda").get<int>() != 0, json.at("opencl").get<int>() != 0)};
}

class DialogOnScreen {
  public:
    explicit DialogOnScreen(const nlohmann::json& json)
        : Dialog(ReadStart(json), nullptr), Panel(*Dialog.findChild<CKyfFocusCompParamControl*>()), Heard(Dialog) {
        Panel.SetChangedFCDelegate(&Heard);
        test::Open(Dialog);
    }
    CDlgSetFocusCompositionParam Dialog;
    CKyfFocusCompParamControl& Panel;
    Watcher Heard;
};

/// Types the two values and leaves with OK. Where no user could open the dialog, the host sets them.
void PlayManual(const nlohmann::json& value, const QWidget& window, CKyfFocusCompParamControl& panel) {
    if (!test::Find(window, kIdManualButton).isEnabled()) {
        CKyfFocusCompositionSetting setting = panel.GetData();
        setting.SetCompSize(value.at(0));
        setting.SetSmoothing(value.at(1));
        panel.SetData(setting);
        return;
    }
    const test::InNextDialog manual([&](QDialog& dialog) {
        test::Type(dialog, kIdCompSizeEdit, QString::number(value.at(0).get<int>()));
        test::Type(dialog, kIdSmoothingEdit, QString::number(value.at(1).get<int>()));
        test::Click(dialog, kIdOk);
    });
    test::Click(window, kIdManualButton);
}

void PlayDetail(const nlohmann::json& value, const QWidget& window) {
    const test::InNextDialog detail([&](QDialog& dialog) {
        const DetailValues values = test::ReadDetailValues(value);
        test::ClickCheck(dialog, kIdHalation, values.HalationMeasures != 0);
        test::ClickCheck(dialog, kIdPeakPosition, values.AdoptionPeakPosition != 0);
        test::Type(dialog, kIdSensitivityEdit, QString::number(values[DetailField::Sensitivity]));
        test::Type(dialog, kIdNoiseEdit, QString::number(values[DetailField::NoiseRemove]));
        test::Type(dialog, kIdShapeEdit, QString::number(values[DetailField::ShapeSmoothing]));
        test::Click(dialog, kIdOk);
    });
    test::Click(window, kIdDetailButton);
}

/// Squares cannot be dragged to every place of a case: the host sets them.
void PlayAreas(const nlohmann::json& value, CKyfFocusCompParamControl& panel) {
    CKyfFocusCompositionSetting setting = panel.GetData();
    WriteAreas(test::ReadDialogAreas(value), setting);
    panel.SetData(setting);
}

void Play(const std::string& event, const nlohmann::json& value, DialogOnScreen& screen) {
    const QWidget& window = screen.Dialog;
    if (event == "click_algorithm") {
        test::Click(window, value.get<int>() == 0 ? kIdAlgorithm2D : kIdAlgorithm3D);
    } else if (event == "click_complex") {
        test::ClickCheck(window, kIdComplex, value.get<int>() != 0);
    } else if (event == "click_parameter_set") {
        test::Click(window, kIdSetFine + value.get<int>());
    } else if (event == "click_plane") {
        test::Click(window, kIdPlaneBottomButton + value.get<int>());
    } else if (event == "click_auto_position") {
        test::ClickCheck(window, kIdAutoPosition, value.get<int>() != 0);
    } else if (event == "select_speed") {
        test::Choose(window, kIdSpeed, value);
    } else if (event == "set_microscope_type") {
        screen.Panel.SetMicroscopeType(value);
    } else if (event == "manual_done") {
        PlayManual(value, window, screen.Panel);
    } else if (event == "detail_done") {
        PlayDetail(value, window);
    } else if (event == "auto_positioning_done") {
        PlayAreas(value, screen.Panel);
    } else if (event == "click_gpu_check") {
        test::ClickCheck(window, kIdDisableGpu, value.get<int>() != 0);
    } else {
        FAIL() << "unknown event " << event;
    }
}

int CheckedOf(const QWidget& window, std::initializer_list<int> radios) {
    int index = 0;
    for (const int id : radios) {
        if (test::Find<QRadioButton>(window, id).isChecked()) return index;
        ++index;
    }
    return -1;
}

PanelControls ReadControls(const QWidget& window) {
    return {.SpeedIndex = test::Find<QComboBox>(window, kIdSpeed).currentIndex(),
            .AlgorithmRadio = CheckedOf(window, {kIdAlgorithm2D, kIdAlgorithm3D}),
            .ComplexCheck = test::Find<QCheckBox>(window, kIdComplex).isChecked(),
            .ParameterSetRadio = CheckedOf(window, {kIdSetFine, kIdSetMedium, kIdSetCoarse, kIdSetManual}),
            .PlaneRadio = CheckedOf(window, {kIdPlaneBottom, kIdPlaneTop, kIdPlaneOther}),
            .AutoPositionCheck = test::Find<QCheckBox>(window, kIdAutoPosition).isChecked()};
}

void ExpectState(const nlohmann::json& state, const DialogOnScreen& screen) {
    const QWidget& window = screen.Dialog;
    test::ExpectRecord(state.at("setting"), screen.Panel.GetData().Get());
    EXPECT_EQ(ReadControls(window), test::ReadPanelControls(state.at("controls")));
    for (const auto& [id, expected] : state.at("states").items()) {
        const QWidget& control = test::Find(window, test::ReadId(id));
        EXPECT_EQ((ControlState{control.isVisible(), control.isEnabled()}), test::ReadControlState(expected)) << id;
    }
    const nlohmann::json& gpu = state.at("gpu");
    EXPECT_EQ(test::Find<QCheckBox>(window, kIdDisableGpu).isChecked(), gpu.at("check").get<int>() != 0);
    EXPECT_EQ(test::Find(window, kIdDisableGpu).isEnabled(), gpu.at("check_enabled").get<int>() != 0);
    EXPECT_EQ(test::Find<QLabel>(window, kIdProcessorText).text(), Text(test::ReadId(gpu.at("text_id"))));
    EXPECT_EQ(screen.Heard.Calls, state.at("delegate_calls").get<std::vector<KyfAlgorithmType>>());
}

class PlayedPanels : public testing::TestWithParam<std::string> {};

TEST_P(PlayedPanels, GoThroughTheSameStates) {
    const nlohmann::json json = test::LoadCase("panel", GetParam()).Json;
    DialogOnScreen screen(json);
    ExpectState(json.at("start"), screen);
    for (const nlohmann::json& step : json.at("events")) {
        SCOPED_TRACE(step.at("event").get<std::string>() + " " + step.at("value").dump());
        Play(step.at("event"), step.at("value"), screen);
        ExpectState(step.at("state"), screen);
    }
    test::ExpectRecord(json.at("ok"), screen.Dialog.Values());
}

INSTANTIATE_TEST_SUITE_P(Recorded, PlayedPanels, testing::ValuesIn(test::PanelCaseNames("panel")), test::CaseName);

} // namespace

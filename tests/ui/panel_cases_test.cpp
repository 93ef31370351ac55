// Recorded courses of the panel and its dialogs, driven through the rules without a window.
#include <string>
#include <vector>

#include "ui/panel_json.h"
#include "ui/rules/gpu_rules.h"
#include "ui/rules/panel_model.h"

namespace {

using namespace kyfui;

/// What the dialog puts together: the panel, the processor's panel, and the talk between them.
class DialogRules : public IChangedFCSettingDelegate {
  public:
    explicit DialogRules(const nlohmann::json& json)
        : Gpu(GpuPanelFor(json.at("cuda").get<int>() != 0, json.at("opencl").get<int>() != 0)) {
        const KyfFocusCompositionParameter parameter = test::ReadParameter(json.at("parameter"));
        Gpu.DisableCheck = parameter.DisableGPU;
        Gpu.AlgType = parameter.AlgType;
        Panel.SetData(CKyfFocusCompositionSetting(parameter));
        Panel.SetAutoPositioningDisabled(test::AutoPositioningDisabled(json));
        Panel.Show();
        InitGpuPanel(Gpu);
        Shown = SetEnableControls(Gpu);
        Panel.SetDelegate(this);
    }
    void OnChangedAlgType(KyfAlgorithmType type) override {
        Calls.push_back(type);
        Gpu.AlgType = type;
        Shown = SetEnableControls(Gpu);
    }
    KyfFocusCompositionParameter Result() const {
        KyfFocusCompositionParameter parameter = Panel.GetData().Get();
        parameter.DisableGPU = Gpu.DisableCheck;
        return parameter;
    }

    PanelModel Panel;
    GpuPanel Gpu;
    GpuControls Shown{};
    std::vector<KyfAlgorithmType> Calls;
};

void Play(const std::string& event, const nlohmann::json& value, DialogRules& dialog) {
    if (event == "click_algorithm") {
        dialog.Panel.ClickAlgorithm(value);
    } else if (event == "click_complex") {
        dialog.Panel.ClickComplex(value.get<int>() != 0);
    } else if (event == "click_parameter_set") {
        dialog.Panel.ClickParameterSet(value);
    } else if (event == "click_plane") {
        dialog.Panel.ClickPlane(value);
    } else if (event == "click_auto_position") {
        dialog.Panel.ClickAutoPosition(value.get<int>() != 0);
    } else if (event == "select_speed") {
        dialog.Panel.SelectSpeed(value);
    } else if (event == "set_microscope_type") {
        dialog.Panel.SetMicroscopeType(value);
        dialog.Panel.Show();
    } else if (event == "manual_done") {
        dialog.Panel.TakeManual({value.at(0), value.at(1)});
    } else if (event == "detail_done") {
        dialog.Panel.TakeDetail(test::ReadDetailValues(value));
    } else if (event == "auto_positioning_done") {
        dialog.Panel.TakeAreas(test::ReadDialogAreas(value));
    } else if (event == "click_gpu_check") {
        dialog.Gpu.DisableCheck = value;
        dialog.Shown = SetEnableControls(dialog.Gpu);
    } else {
        FAIL() << "unknown event " << event;
    }
}

void ExpectState(const nlohmann::json& state, const DialogRules& dialog) {
    test::ExpectRecord(state.at("setting"), dialog.Panel.GetData().Get());
    EXPECT_EQ(dialog.Panel.Controls(), test::ReadPanelControls(state.at("controls")));
    EXPECT_EQ(state.at("states").size(), kPanelControls.size());
    for (const auto& [id, expected] : state.at("states").items())
        EXPECT_EQ(dialog.Panel.StateOf(test::ReadId(id)), test::ReadControlState(expected)) << id;
    const nlohmann::json& gpu = state.at("gpu");
    EXPECT_EQ(dialog.Gpu.DisableCheck, gpu.at("check").get<int>());
    EXPECT_EQ(dialog.Shown.CheckEnabled, gpu.at("check_enabled").get<int>() != 0);
    EXPECT_EQ(dialog.Shown.TextId, test::ReadId(gpu.at("text_id")));
    EXPECT_EQ(dialog.Calls, state.at("delegate_calls").get<std::vector<KyfAlgorithmType>>());
}

class RecordedPanels : public testing::TestWithParam<std::string> {};

TEST_P(RecordedPanels, GoThroughTheSameStates) {
    const nlohmann::json json = test::LoadCase("panel", GetParam()).Json;
    DialogRules dialog(json);
    ExpectState(json.at("start"), dialog);
    for (const nlohmann::json& step : json.at("events")) {
        SCOPED_TRACE(step.at("event").get<std::string>() + " " + step.at("value").dump());
        Play(step.at("event"), step.at("value"), dialog);
        ExpectState(step.at("state"), dialog);
    }
    test::ExpectRecord(json.at("ok"), dialog.Result());
}

INSTANTIATE_TEST_SUITE_P(Recorded, RecordedPanels, testing::ValuesIn(test::PanelCaseNames("panel")), test::CaseName);

class RecordedStateRules : public testing::TestWithParam<std::string> {};

bool Names(const nlohmann::json& list, int id) {
    return std::ranges::any_of(list, [id](const nlohmann::json& name) { return test::ReadId(name) == id; });
}

TEST_P(RecordedStateRules, ShowAndEnableTheSameControls) {
    const nlohmann::json json = test::LoadCase("panel", GetParam()).Json;
    EXPECT_FALSE(json.at("rows").empty());
    for (const nlohmann::json& row : json.at("rows")) {
        const PanelSituation situation = {row.at("auto_positioning_disabled"), row.at("ScopeType"),
                                          row.at("auto_position_check"), row.at("algorithm_radio"),
                                          row.at("CompParamSetType")};
        for (const int id : kPanelControls) {
            const ControlState expected = {Names(row.at("visible"), id), Names(row.at("enabled"), id)};
            EXPECT_EQ(StateOfPanelControl(id, situation), expected) << std::hex << id << " in " << row.dump();
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Recorded, RecordedStateRules, testing::ValuesIn(test::PanelCaseNames("show_controls")),
                         test::CaseName);

} // namespace

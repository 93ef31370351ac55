/// Cases of the panels and dialogs: numbers that are written as text, states, values.
#ifndef KYFOCUS_TESTS_UI_PANEL_JSON_H
#define KYFOCUS_TESTS_UI_PANEL_JSON_H

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "settings/setting_json.h"
#include "support/case_files.h"
#include "ui/rules/area_rules.h"
#include "ui/rules/detail_rules.h"
#include "ui/rules/panel_rules.h"

namespace test {

/// "0xFA1".
inline int ReadId(const std::string& text) { return std::stoi(text, nullptr, 16); }

inline kyfui::ControlState ReadControlState(const nlohmann::json& json) {
    return {json.at(0).get<int>() != 0, json.at(1).get<int>() != 0};
}

inline kyfui::PanelControls ReadPanelControls(const nlohmann::json& json) {
    return {.SpeedIndex = json.at("speed_index"),
            .AlgorithmRadio = json.at("algorithm_radio"),
            .ComplexCheck = json.at("complex_check"),
            .ParameterSetRadio = json.at("parameter_set_radio"),
            .PlaneRadio = json.at("plane_radio"),
            .AutoPositionCheck = json.at("auto_position_check")};
}

inline std::int32_t AutoPositioningDisabled(const nlohmann::json& json) {
    const nlohmann::json& disabled = json.at("auto_positioning_disabled");
    return disabled.is_null() ? 0 : disabled.get<std::int32_t>();
}

inline constexpr const char* kDetailNames[] = {"FocusingValueDetectionSensitivity", "ProjectionNoiseRemove",
                                               "D3ShapeSmoothing"};

inline kyfui::DetailField ReadDetailField(const std::string& name) {
    for (const kyfui::DetailField field : kyfui::kDetailFields)
        if (name == kDetailNames[static_cast<std::size_t>(field)]) return field;
    throw std::invalid_argument(name);
}

inline kyfui::DetailValues ReadDetailValues(const nlohmann::json& json) {
    return {.HalationMeasures = json.at("HalationMeasures"),
            .AdoptionPeakPosition = json.at("AdoptionPeakPosition"),
            .Fields = {json.at(kDetailNames[0]), json.at(kDetailNames[1]), json.at(kDetailNames[2])}};
}

/// A setting with the values of a detail case, which may lie outside their ranges.
inline CKyfFocusCompositionSetting DetailSetting(const nlohmann::json& json) {
    CKyfFocusCompositionSetting setting;
    kyfui::WriteDetail(ReadDetailValues(json), setting);
    return setting;
}

inline kyfui::Areas ReadDialogAreas(const nlohmann::json& json) {
    kyfui::Areas areas;
    areas.AreaNo = json.at("AreaNo");
    for (std::size_t i = 0; i < 4; ++i)
        areas.AreaPos[i] = {json.at("AreaPos").at(i).at(0), json.at("AreaPos").at(i).at(1)};
    return areas;
}

inline void ExpectDialogAreas(const nlohmann::json& json, const kyfui::Areas& areas) {
    EXPECT_EQ(areas.AreaNo, json.at("AreaNo").get<std::int32_t>());
    KyPoint places[4];
    std::copy(areas.AreaPos.begin(), areas.AreaPos.end(), places);
    ExpectAreas(json, places);
}

inline kyfui::PictureFrame ReadFrame(const nlohmann::json& json) {
    return {json.at(0), json.at(1), json.at(2), json.at(3)};
}

/// Names of the cases of one kind.
inline std::vector<std::string> PanelCaseNames(const std::string& kind) {
    std::vector<std::string> names;
    for (const std::string& name : CaseNames("panel"))
        if (LoadCase("panel", name).Json.at("kind") == kind) names.push_back(name);
    return names;
}

inline std::string CaseName(const testing::TestParamInfo<std::string>& info) { return info.param; }

} // namespace test

#endif

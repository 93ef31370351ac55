/// Parameter records of the test data.
#ifndef KYFOCUS_TESTS_SETTINGS_SETTING_JSON_H
#define KYFOCUS_TESTS_SETTINGS_SETTING_JSON_H

#include <cstdint>
#include <string>

#include <gtest/gtest.h>
#include <kyfocus/settings.h>
#include <nlohmann/json.hpp>

namespace test {

inline void ReadAreas(const nlohmann::json& json, KyPoint (&places)[4]) {
    for (std::size_t i = 0; i < 4; ++i) places[i] = {json.at("AreaPos").at(i).at(0), json.at("AreaPos").at(i).at(1)};
}

inline KyfFocusCompositionParameter ReadParameter(const nlohmann::json& json) {
    KyfFocusCompositionParameter parameter{};
    ReadAreas(json, parameter.AreaPos);
#define FIELD(name) parameter.name = json.at(#name)
    FIELD(ScopeType);
    FIELD(AlgType);
    FIELD(Speed);
    FIELD(AutoPos);
    FIELD(AreaNo);
    FIELD(CompParamSetType);
    FIELD(CompSize);
    FIELD(Smoothing);
    FIELD(PlaneType);
    FIELD(MatchingDetectType);
    FIELD(MatchingPositionType);
    FIELD(HalationMeasures);
    FIELD(AdoptionPeakPosition);
    FIELD(FocusingValueDetectionSensitivity);
    FIELD(ProjectionNoiseRemove);
    FIELD(D3ShapeSmoothing);
    FIELD(DisableGPU);
#undef FIELD
    return parameter;
}

inline void ExpectAreas(const nlohmann::json& json, const KyPoint (&places)[4]) {
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_EQ(places[i].x, json.at("AreaPos").at(i).at(0).get<std::int32_t>()) << "area " << i;
        EXPECT_EQ(places[i].y, json.at("AreaPos").at(i).at(1).get<std::int32_t>()) << "area " << i;
    }
}

#define EXPECT_FIELD(name) EXPECT_EQ(record.name, json.at(#name).get<std::int32_t>()) << #name

inline void ExpectRecord(const nlohmann::json& json, const KyfFocusCompositionParameter& record) {
    ExpectAreas(json, record.AreaPos);
    EXPECT_FIELD(ScopeType);
    EXPECT_FIELD(AlgType);
    EXPECT_FIELD(Speed);
    EXPECT_FIELD(AutoPos);
    EXPECT_FIELD(AreaNo);
    EXPECT_FIELD(CompParamSetType);
    EXPECT_FIELD(CompSize);
    EXPECT_FIELD(Smoothing);
    EXPECT_FIELD(PlaneType);
    EXPECT_FIELD(MatchingDetectType);
    EXPECT_FIELD(MatchingPositionType);
    EXPECT_FIELD(HalationMeasures);
    EXPECT_FIELD(AdoptionPeakPosition);
    EXPECT_FIELD(FocusingValueDetectionSensitivity);
    EXPECT_FIELD(ProjectionNoiseRemove);
    EXPECT_FIELD(D3ShapeSmoothing);
    EXPECT_FIELD(DisableGPU);
}

inline void ExpectRecord(const nlohmann::json& json, const KyfFocusComposition2DSelectionParameter& record) {
    ExpectAreas(json, record.AreaPos);
    EXPECT_FIELD(Speed);
    EXPECT_FIELD(CompSize);
    EXPECT_FIELD(Smoothing);
    EXPECT_FIELD(AutoPos);
    EXPECT_FIELD(AreaNo);
}

inline void ExpectRecord(const nlohmann::json& json, const KyfFocusComposition3DSelectionParameter& record) {
    ExpectAreas(json, record.AreaPos);
    EXPECT_FIELD(Speed);
    EXPECT_FIELD(PlaneType);
    EXPECT_FIELD(AutoPos);
    EXPECT_FIELD(AreaNo);
    EXPECT_FIELD(HalationMeasures);
    EXPECT_FIELD(AdoptionPeakPosition);
    EXPECT_FIELD(FocusingValueDetectionSensitivity);
    EXPECT_FIELD(D3ShapeSmoothing);
    EXPECT_FIELD(ProjectionNoiseRemove);
}

#undef EXPECT_FIELD

} // namespace test

#endif

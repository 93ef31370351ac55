// Recorded defaults and projections. The load and save cases of the same folder need the file calls.
#include <string>

#include <gtest/gtest.h>
#include <kyfocus/composition_setting.h>

#include "settings/setting_json.h"
#include "support/case_files.h"

namespace {

template <typename Projection> Projection TakeOut(const CKyfFocusCompositionSetting& setting) {
    Projection projection{};
    setting.TakeOut(projection);
    return projection;
}

void ExpectProjections(const nlohmann::json& json, const CKyfFocusCompositionSetting& setting) {
    test::ExpectRecord(json.at("two"), TakeOut<KyfFocusComposition2DSelectionParameter>(setting));
    test::ExpectRecord(json.at("three"), TakeOut<KyfFocusComposition3DSelectionParameter>(setting));
    KyfFocusComposition3DSelectionParameter three{};
    KyfSet3DSelectionParameter(&setting.Get(), &three);
    test::ExpectRecord(json.at("three"), three);
}

TEST(RecordedDefaults, AreThoseOfANewSetting) {
    const nlohmann::json json = test::LoadCase("settings", "defaults").Json;
    const CKyfFocusCompositionSetting setting;
    test::ExpectRecord(json.at("record"), setting.Get());
    ExpectProjections(json, setting);
    EXPECT_EQ(setting.GetAreaPosMaxCount(), json.at("GetAreaPosMaxCount").get<std::int32_t>());
}

class RecordedProjections : public testing::TestWithParam<std::string> {};

TEST_P(RecordedProjections, ComeFromTheRecordByName) {
    const nlohmann::json json = test::LoadCase("settings", GetParam()).Json;
    const CKyfFocusCompositionSetting setting(test::ReadParameter(json.at("record")));
    test::ExpectRecord(json.at("record"), setting.Get());
    ExpectProjections(json, setting);
}

std::string Name(const testing::TestParamInfo<std::string>& info) { return info.param; }

INSTANTIATE_TEST_SUITE_P(Recorded, RecordedProjections, testing::ValuesIn(test::CaseNames("settings", "projection")),
                         Name);

} // namespace

// Recorded defaults, projections and parameter files.
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <kyfocus/setting_persister.h>

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

/// Lines without their ends.
std::vector<std::string> ReadLines(const std::filesystem::path& file) {
    std::ifstream stream(file);
    std::vector<std::string> lines;
    for (std::string line; std::getline(stream, line);) {
        if (line.ends_with('\r')) line.pop_back();
        lines.push_back(line);
    }
    return lines;
}

/// The file of a case, or a path where nothing is.
std::wstring InputFile(const test::Case& recorded) {
    return recorded.File(recorded.Json.at("file").get<int>() != 0 ? "input.ini" : "missing.ini").wstring();
}

class RecordedLoads : public testing::TestWithParam<std::string> {};

TEST_P(RecordedLoads, GiveTheRecord) {
    const test::Case recorded = test::LoadCase("settings", GetParam());
    if (recorded.Json.at("kind") == "load") {
        KyfFocusCompositionParameter parameter;
        std::memset(&parameter, 0x5A, sizeof parameter);
        KyfLoadFocusCompositionParameter(&parameter, InputFile(recorded).c_str());
        test::ExpectRecord(recorded.Json.at("record"), parameter);
    } else {
        CKyfFocusCompositionSetting setting(test::ReadParameter(recorded.Json.at("before")));
        CKyfFocusCompositionSettingPersister::Load(InputFile(recorded), setting);
        test::ExpectRecord(recorded.Json.at("record"), setting.Get());
    }
}

INSTANTIATE_TEST_SUITE_P(Recorded, RecordedLoads, testing::ValuesIn(test::CaseNames("settings", "load_")), Name);

class RecordedSaves : public testing::TestWithParam<std::string> {};

TEST_P(RecordedSaves, GiveTheFile) {
    const test::Case recorded = test::LoadCase("settings", GetParam());
    const test::TemporaryFolder folder;
    const std::filesystem::path file = folder.Path() / "parameters.ini";
    if (recorded.Json.at("file").get<int>() != 0) std::filesystem::copy_file(recorded.File("before.ini"), file);
    const KyfFocusCompositionParameter parameter = test::ReadParameter(recorded.Json.at("record"));
    KyfSaveFocusCompositionParameter(&parameter, file.wstring().c_str());
    EXPECT_EQ(ReadLines(file), ReadLines(recorded.File("after.ini")));
    KyfFocusCompositionParameter reloaded{};
    KyfLoadFocusCompositionParameter(&reloaded, file.wstring().c_str());
    test::ExpectRecord(recorded.Json.at("reloaded"), reloaded);
}

INSTANTIATE_TEST_SUITE_P(Recorded, RecordedSaves, testing::ValuesIn(test::CaseNames("settings", "save_")), Name);

} // namespace

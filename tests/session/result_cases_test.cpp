// Recorded sessions: which result each call gives, scenario by scenario.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <map>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <kyfocus/file_composition.h>

#include "session/result_calls.h"

namespace {

using Json = nlohmann::json;

/// Set this when frames can go through the 3D pipeline: the scenarios that need it then run too.
constexpr bool kHas3DPipeline = true;

bool IsAdd(const std::string& call) { return call.starts_with("KyfFocusAddImage"); }

/// The mode that a step of a good session leaves behind.
std::int32_t ModeAfter(const Json& step, std::int32_t mode) {
    const std::string call = step.at("call");
    const Json& args = step.at("args");
    if (call == "host_sets_mode") return args.at("Mode");
    if (step.at("result") != KyfResultOk) return mode;
    if (call == "KyfFocusInitialize" || call == "KyfFocusStart2DSelection" || call == "KyfFocusStartGyre") return 0;
    if (call == "KyfFocusStart3DSafe") return 1;
    if (call == "KyfFocusStartComplexProcessing") return 2;
    if (call == "KyfFocusStart") return args.value("AlgType", 1);
    return mode;
}

/// Whether a frame reaches the 3D pipeline: mode 1 or 2 and something to give.
bool Needs3DPipeline(const Json& steps) {
    std::int32_t mode = 0;
    return std::any_of(steps.begin(), steps.end(), [&mode](const Json& step) {
        mode = ModeAfter(step, mode);
        return IsAdd(step.at("call")) && (mode == 1 || mode == 2) && !step.at("args").at("frame").is_null();
    });
}

bool IsKnown(const Json& step) { return test::IsCallKnown(step.at("call")); }

/// Calls that the library does not have yet may be left out where they are refused and so change nothing.
bool CanLeaveOut(const Json& step) { return step.at("result") != KyfResultOk; }

bool CanRun(const Json& json) {
    if (json.at("kind") != "session") return false;
    const Json& steps = json.at("steps");
    return (kHas3DPipeline || !Needs3DPipeline(steps)) &&
           std::all_of(steps.begin(), steps.end(), [](const Json& step) { return IsKnown(step) || CanLeaveOut(step); });
}

std::vector<std::string> CasesThatCanRun() {
    std::vector<std::string> names = test::CaseNames("results");
    std::erase_if(names, [](const std::string& name) { return !CanRun(test::LoadCase("results", name).Json); });
    return names;
}

class ResultCases : public testing::TestWithParam<std::string> {};

TEST_P(ResultCases, GiveTheRecordedResults) {
    const Json json = test::LoadCase("results", GetParam()).Json;
    test::RecordedSession session;
    std::size_t number = 0;
    for (const Json& step : json.at("steps")) {
        SCOPED_TRACE("step " + std::to_string(number++) + ": " + step.dump());
        if (IsKnown(step)) session.Run(step);
    }
}

std::string Name(const testing::TestParamInfo<std::string>& info) { return info.param; }

INSTANTIATE_TEST_SUITE_P(Recorded, ResultCases, testing::ValuesIn(CasesThatCanRun()), Name);

TEST(ResultCaseSelection, KnowsWhetherThe3DPipelineTakesFrames) {
    const test::TemporaryFolder folder;
    const test::Session session = test::MakeSession(folder.Path().wstring());
    session->Mode = KyfMode3DSafe;
    const test::Image frame = test::TexturedImage(48, 36, KyiFormatGray8, 1);
    EXPECT_EQ(KyfFocusAddImage(session.get(), frame.get(), 0, nullptr) == KyfResultOk, kHas3DPipeline);
}

TEST(ResultCaseSelection, KeepsTheScenariosOf2DSelection) {
    const std::vector<std::string> names = CasesThatCanRun();
    for (const char* name :
         {"session_selection_with_heights", "session_file_adds", "session_complex_fresh_height_calls",
          "session_null_session_where_it_is_tested", "session_selection_null_outputs"})
        EXPECT_TRUE(std::binary_search(names.begin(), names.end(), name)) << name;
}

/// Everything that one call on files is told, from a recorded case.
class RecordedFiles {
  public:
    explicit RecordedFiles(const Json& json) : m_tempFolder(m_owner.TempFolder(json)) {
        for (const Json& file : json.at("files")) m_paths.push_back(m_owner.FrameFile(file.at("frame")));
        for (std::size_t i = 0; i < m_paths.size(); ++i) {
            const Json& height = json.at("files").at(i).at("height");
            m_files.push_back({m_paths[i].c_str(), height.is_number() ? height.get<double>() : std::nan("")});
        }
        const KyfSpeed speed = json.at("Speed");
        m_parameter.Init.TempFolder = m_tempFolder.c_str();
        m_parameter.AlgType = json.at("AlgType");
        m_parameter.Param2D = test::Defaults<KyfFocusComposition2DSelectionParameter>(speed);
        m_parameter.Param3D = test::Defaults<KyfFocusComposition3DSelectionParameter>(speed);
        m_parameter.Files = m_files.data();
        m_parameter.FileCount = json.at("FileCount");
        m_parameter.WantHeightData = json.at("WantHeightData");
        m_parameter.WantDifferentiationMap = json.at("WantDifferentiationMap");
    }
    const KyfFileFocusCompositionParameter& Parameter() const { return m_parameter; }

  private:
    test::RecordedSession m_owner;
    std::wstring m_tempFolder;
    std::vector<std::wstring> m_paths;
    std::vector<KyfFocusCompositionFile> m_files;
    KyfFileFocusCompositionParameter m_parameter{};
};

Json Sizes(const void* rows, std::initializer_list<std::int32_t> sizes) { return rows ? Json(sizes) : Json(); }

/// What a result record holds, as the cases tell it.
Json Describe(const KyfFileFocusCompositionResult& result) {
    const KyiImageData* const image = result.Image;
    const KyfDifferentiationMap& map = result.DifferentiationMap;
    Json json;
    json["image"] = image != nullptr ? Json{image->Width, image->Height, image->Format} : Json();
    json["cutted_height_data"] = Sizes(result.CuttedHeightData, {result.CuttedHeightWidth, result.CuttedHeightHeight});
    json["cutted_ant_noise_height_data"] =
        Sizes(result.CuttedAntNoiseHeightData, {result.CuttedAntNoiseWidth, result.CuttedAntNoiseHeight});
    json["differentiation_map"] = Sizes(map.Rows, {map.Width, map.Height, map.Depth});
    return json;
}

class FileCases : public testing::TestWithParam<std::string> {};

TEST_P(FileCases, GiveTheRecordedResults) {
    const Json json = test::LoadCase("results", GetParam()).Json;
    ASSERT_EQ(json.at("kind"), "file_composition");
    const RecordedFiles files(json.at("parameter"));
    for (const KyiBool parallel : {0, 1}) {
        KyfFileFocusCompositionResult result{};
        const test::Progress progress = test::MakeProgress();
        EXPECT_EQ(KyfExecuteFileFocusComposition(&files.Parameter(), &result, parallel, progress.get()),
                  json.at("result").get<KyfResult>());
        Json outputs = Describe(result);
        if (json.at("result") != KyfResultOk) {
            EXPECT_EQ(outputs, Describe(KyfFileFocusCompositionResult{}));
            outputs = Json::object();
        }
        outputs["progress_completed"] = progress->Completed != 0;
        EXPECT_EQ(outputs, json.at("outputs"));
        KyfFreeFileFocusCompositionResult(&result);
    }
}

INSTANTIATE_TEST_SUITE_P(Recorded, FileCases, testing::ValuesIn(test::CaseNames("results", "file_")), Name);

/// Calls without a result by name; those that a build lacks are not in the table.
const std::map<std::string, std::function<void()>> kNullCalls = {
    {"KyfFreeFocusComposition", [] { KyfFreeFocusComposition(nullptr); }},
    {"KyfFocusTerminate", [] { KyfFocusTerminate(nullptr); }},
    {"KyfFreeFileFocusCompositionResult", [] { KyfFreeFileFocusCompositionResult(nullptr); }},
    {"KyfFreeDifferentiationMap8Bit", [] { KyfFreeDifferentiationMap8Bit(nullptr); }},
    {"KyfFreeProgress", [] { KyfFreeProgress(nullptr); }},
};
const std::map<std::string, std::function<void()>> kEmptyRecordCalls = {
    {"KyfFreeHeightData",
     [] {
         KyfImageData empty{};
         KyfFreeHeightData(&empty);
     }},
    {"KyfFreeDifferentiationMap",
     [] {
         KyfDifferentiationMap empty{};
         KyfFreeDifferentiationMap(&empty);
     }},
    {"KyfFreeFileFocusCompositionResult",
     [] {
         KyfFileFocusCompositionResult empty{};
         KyfFreeFileFocusCompositionResult(&empty);
     }},
};

std::size_t RunAll(const Json& names, const std::map<std::string, std::function<void()>>& calls) {
    std::size_t count = 0;
    for (const Json& name : names)
        if (const auto call = calls.find(name.get<std::string>()); call != calls.end()) {
            call->second();
            ++count;
        }
    return count;
}

TEST(FreeCalls, AcceptNullAndEmptyRecords) {
    const Json json = test::LoadCase("results", "free_calls_accept_null").Json;
    EXPECT_EQ(RunAll(json.at("null_accepted"), kNullCalls), kNullCalls.size());
    EXPECT_EQ(RunAll(json.at("empty_record_accepted"), kEmptyRecordCalls), kEmptyRecordCalls.size());
}

TEST(CreatedImages, ComeForTheRecordedFormats) {
    double values[] = {1.0, 2.0, 3.0, 4.0};
    double* rows[] = {values, values + 2};
    const KyfImageData heights{rows, 2, 2};
    const Json json = test::LoadCase("results", "create_image_formats").Json;
    for (const Json& row : json.at("formats")) {
        const test::Image image(KyfCreateImageDataFromHeightData(&heights, row.at(0), nullptr));
        EXPECT_EQ(image != nullptr, row.at(1).get<int>() != 0) << row;
    }
}

} // namespace

// Whole sessions against computed results: every table, every progress call.
#include <array>
#include <filesystem>
#include <map>
#include <span>
#include <string>
#include <type_traits>
#include <vector>

#include <gtest/gtest.h>
#include <omp.h>

#include "selection2d/selection2d.h"
#include "selection2d/session_run.h"
#include "support/arrays.h"
#include "support/case_files.h"

namespace {

using nlohmann::json;

test::Session StartCase(const json& parameters);

class SelectionCase : public testing::TestWithParam<std::string> {
  protected:
    void SetUp() override {
        m_case = test::LoadCase("selection2d", GetParam());
        m_frames = test::ReadInts(m_case.File("frames.npy"));
        KyfSetParallelProcImageSize(m_case.Json.at("parallel_image_size").get<std::uint32_t>());
        m_session = StartCase(m_case.Json);
    }
    void TearDown() override { KyfSetParallelProcImageSize(0); }

    std::int32_t Field(const char* name) const { return m_case.Json.at(name).get<std::int32_t>(); }
    std::size_t FrameCount() const { return m_frames.Shape[0]; }
    bool HasHeights() const { return !m_case.Json.at("heights").is_null(); }

    test::Image Frame(std::size_t i) const {
        return test::FromPlanes(static_cast<std::int32_t>(m_frames.Shape[3]),
                                static_cast<std::int32_t>(m_frames.Shape[2]), Field("Format"), m_frames.Entry(i));
    }
    KyfResult Add(std::size_t i, const test::ProgressLog& log, KyiBool& owned);
    void CheckAdd(std::size_t i);
    void CheckMake();
    void CheckTables(const json& checks) const;
    void CheckArrays(std::size_t entry) const;
    void CheckArray(const char* name, std::span<const std::int32_t> actual, std::size_t entry) const;
    void CheckArray(const char* name, std::span<const double> actual, std::size_t entry) const;
    template <typename T> void CheckWhereGiven(const char* name, const std::vector<T>& actual) const;
    std::map<std::string, std::string> TableHashes() const;

    test::Case m_case;
    test::Array<std::int32_t> m_frames;
    test::Session m_session;
};

test::Session StartCase(const json& parameters) {
    const auto field = [&](const char* name) { return parameters.at(name).get<std::int32_t>(); };
    test::Session session(KyfAllocFocusComposition());
    KyfFocusInitializeParameter initial{};
    initial.ScopeType = field("ScopeType");
    initial.MatchingDetectType = field("MatchingDetectType");
    initial.TrimInvalidBorder = field("TrimInvalidBorder");
    EXPECT_EQ(KyfFocusInitialize(session.get(), &initial), KyfResultOk);
    if (field("quick_start")) {
        EXPECT_EQ(KyfFocusStartGyre(session.get()), KyfResultOk);
        return session;
    }
    KyfFocusComposition2DSelectionParameter parameter{};
    parameter.Speed = field("Speed");
    parameter.CompSize = field("CompSize");
    parameter.Smoothing = field("Smoothing");
    parameter.AutoPos = field("AutoPos");
    parameter.AreaNo = field("AreaNo");
    for (std::size_t i = 0; i < 4; ++i)
        parameter.AreaPos[i] = {parameters.at("AreaPos")[i][0].get<std::int32_t>(),
                                parameters.at("AreaPos")[i][1].get<std::int32_t>()};
    EXPECT_EQ(KyfFocusStart2DSelection(session.get(), &parameter), KyfResultOk);
    return session;
}

// Frames that may be taken go in below the exported calls: these offer a frame only when they have loaded it
// themselves.
KyfResult SelectionCase::Add(std::size_t i, const test::ProgressLog& log, KyiBool& owned) {
    test::Image frame = Frame(i);
    const KyiBool parallel = Field("parallel");
    if (Field("take_ownership")) {
        const KyfResult result =
            kyf::Kyf2DSelectionAddImage(m_session.get(), frame.get(), 1, owned, parallel, log.Root());
        KyfProgressCompleteProc(log.Root());
        if (owned) (void)frame.release();
        return result;
    }
    if (!HasHeights()) return KyfFocusAddImage(m_session.get(), frame.get(), parallel, log.Root());
    return KyfFocusAddImageWithHeight(m_session.get(), frame.get(), m_case.Json["heights"][i].get<double>(), parallel,
                                      log.Root());
}

std::map<std::string, std::string> SelectionCase::TableHashes() const {
    const KyfCompositionState& state = m_session->State2D;
    std::map<std::string, std::string> hashes{
        {"BestFocusMap", test::Hash(std::span<const std::int32_t>(test::BestFocus(*m_session)))},
        {"BestFrameMap", test::Hash(std::span<const std::int32_t>(test::BestFrames(*m_session)))},
        {"BlendMask", test::Hash(std::span<const double>(test::Mask(*m_session)))},
        {"CompImage", test::Hash(std::span<const std::int32_t>(test::AllPlanes(*state.CompImage)))}};
    if (state.HeightDataMap)
        hashes["HeightDataMap"] =
            test::Hash(std::span<const double>(test::Flatten(state.HeightDataMap, state.MapWidth, state.MapHeight)));
    if (state.CuttedAntNoiseHeightDataMap)
        hashes["CuttedAntNoiseHeightDataMap"] = test::Hash(std::span<const double>(
            test::Flatten(state.CuttedAntNoiseHeightDataMap, state.CuttedWidth, state.CuttedHeight)));
    return hashes;
}

void SelectionCase::CheckTables(const json& checks) const {
    const std::map<std::string, std::string> hashes = TableHashes();
    for (const auto& [name, hash] : checks.items()) {
        ASSERT_TRUE(hashes.contains(name)) << name;
        EXPECT_EQ(hash.get<std::string>(), hashes.at(name)) << name;
    }
}

void SelectionCase::CheckArray(const char* name, std::span<const std::int32_t> actual, std::size_t entry) const {
    const auto file = m_case.File(std::string(name) + ".npy");
    EXPECT_TRUE(test::SameValues(test::ReadInts(file).Entry(entry), actual)) << name;
}

void SelectionCase::CheckArray(const char* name, std::span<const double> actual, std::size_t entry) const {
    const auto file = m_case.File(std::string(name) + ".npy");
    EXPECT_TRUE(test::SameValues(test::ReadDoubles(file).Entry(entry), actual)) << name;
}

// A table of one entry, which only some cases give number by number.
template <typename T> void SelectionCase::CheckWhereGiven(const char* name, const std::vector<T>& actual) const {
    const auto file = m_case.File(std::string(name) + ".npy");
    if (!std::filesystem::exists(file)) return;
    if constexpr (std::is_same_v<T, double>)
        EXPECT_TRUE(test::SameValues(test::ReadDoubles(file).Values, actual));
    else
        EXPECT_TRUE(test::SameValues(test::ReadInts(file).Values, actual));
}

void SelectionCase::CheckArrays(std::size_t entry) const {
    CheckArray("BestFocusMap", test::BestFocus(*m_session), entry);
    CheckArray("BestFrameMap", test::BestFrames(*m_session), entry);
    CheckArray("BlendMask", test::Mask(*m_session), entry);
    CheckArray("CompImage", test::AllPlanes(*m_session->State2D.CompImage), entry);
}

std::vector<test::ProgressCall> ExpectedCalls(const json& calls) {
    std::vector<test::ProgressCall> expected;
    for (const json& call : calls) expected.emplace_back(call[0], call[1], call[2]);
    return expected;
}

void SelectionCase::CheckAdd(std::size_t i) {
    const json& expected = m_case.Json.at("adds")[i];
    const test::ProgressLog log;
    KyiBool owned = 0;
    ASSERT_EQ(Add(i, log, owned), expected.at("result").get<KyfResult>());
    EXPECT_EQ(m_session->State2D.FrameCount, expected.at("FrameCount").get<std::int32_t>());
    EXPECT_EQ(owned, expected.value("owned", 0));
    EXPECT_EQ(log.Calls(), ExpectedCalls(expected.at("progress")));
    CheckTables(expected.at("checks"));
    const std::string arrays = m_case.Json.at("arrays_of");
    if (arrays == "each") CheckArrays(i);
    if (arrays == "last" && i + 1 == FrameCount()) CheckArrays(0);
}

std::vector<std::int32_t> CutPlanes(const std::vector<std::int32_t>& planes, const KyiImageData& whole,
                                    const std::array<std::int32_t, 4>& rectangle) {
    std::vector<std::int32_t> cut;
    const auto width = static_cast<std::size_t>(whole.Width);
    const std::size_t plane = width * static_cast<std::size_t>(whole.Height);
    for (std::size_t start = 0; start < planes.size(); start += plane)
        for (auto y = static_cast<std::size_t>(rectangle[1]); y < static_cast<std::size_t>(rectangle[3]); ++y)
            for (auto x = static_cast<std::size_t>(rectangle[0]); x < static_cast<std::size_t>(rectangle[2]); ++x)
                cut.push_back(planes[start + y * width + x]);
    return cut;
}

template <typename T> std::vector<T> CutTable(T* const* rows, const std::array<std::int32_t, 4>& rectangle) {
    std::vector<T> cut;
    for (std::int32_t y = rectangle[1]; y < rectangle[3]; ++y)
        cut.insert(cut.end(), rows[y] + rectangle[0], rows[y] + rectangle[2]);
    return cut;
}

void SelectionCase::CheckMake() {
    const json& expected = m_case.Json.at("make");
    KyfCompositionState& state = m_session->State2D;
    const auto rectangle = expected.at("rectangle").get<std::array<std::int32_t, 4>>();
    const std::vector<std::int32_t> composite =
        CutPlanes(test::AllPlanes(*state.CompImage), *state.CompImage, rectangle);
    const test::ProgressLog log;
    ASSERT_EQ(KyfFocusMakeCompImage(m_session.get(), Field("parallel"), log.Root()),
              expected.at("result").get<KyfResult>());
    EXPECT_EQ(log.Calls(), ExpectedCalls(expected.at("progress")));
    EXPECT_TRUE(test::SameValues(composite, test::AllPlanes(*state.CompImage)));
    for (const auto& [name, value] :
         std::map<std::string, std::int32_t>{{"BestFocusWidth", m_session->BestFocusWidth},
                                             {"BestFocusHeight", m_session->BestFocusHeight},
                                             {"MapWidth", state.MapWidth},
                                             {"MapHeight", state.MapHeight},
                                             {"CuttedWidth", state.CuttedWidth},
                                             {"CuttedHeight", state.CuttedHeight}})
        EXPECT_EQ(value, expected.at(name).get<std::int32_t>()) << name;
    if (expected.contains("checks")) CheckTables(expected.at("checks"));

    ASSERT_EQ(state.HeightDataMap != nullptr, expected.at("has_heights").get<int>() != 0);
    ASSERT_EQ(state.CuttedHeightDataMap != nullptr, state.HeightDataMap != nullptr);
    ASSERT_EQ(m_session->CuttedBestFocusMap != nullptr, state.HeightDataMap != nullptr);
    if (!state.HeightDataMap) return;
    const std::int32_t width = state.CuttedWidth;
    const std::int32_t height = state.CuttedHeight;
    EXPECT_TRUE(test::SameValues(test::Flatten(state.HeightDataMap, state.MapWidth, state.MapHeight),
                                 test::Flatten(state.AntNoiseHeightDataMap, state.MapWidth, state.MapHeight)));
    EXPECT_TRUE(test::SameValues(CutTable(state.HeightDataMap, rectangle),
                                 test::Flatten(state.CuttedHeightDataMap, width, height)));
    EXPECT_TRUE(test::SameValues(CutTable(m_session->BestFocusMap, rectangle),
                                 test::Flatten(m_session->CuttedBestFocusMap, width, height)));
    CheckWhereGiven("CuttedAntNoiseHeightDataMap", test::Flatten(state.CuttedAntNoiseHeightDataMap, width, height));
    CheckWhereGiven("HeightDataMap", test::Flatten(state.HeightDataMap, state.MapWidth, state.MapHeight));
    CheckWhereGiven("made_BestFocusMap", test::BestFocus(*m_session));
}

TEST_P(SelectionCase, GivesTheComputedTables) {
    if (m_case.Json.value("needs_processors", 1) > omp_get_num_procs()) GTEST_SKIP() << "too few processors";
    for (std::size_t i = 0; i < FrameCount(); ++i) {
        SCOPED_TRACE("frame " + std::to_string(i));
        CheckAdd(i);
        if (HasFatalFailure()) return;
    }
    const KyfCompositionState& state = m_session->State2D;
    EXPECT_EQ(state.WorkWidth, Field("WorkWidth"));
    EXPECT_EQ(state.WorkHeight, Field("WorkHeight"));
    EXPECT_EQ(state.SourceWidth, Field("SourceWidth"));
    EXPECT_EQ(state.SourceHeight, Field("SourceHeight"));
    EXPECT_EQ(state.SourceFormat, Field("Format"));
    EXPECT_EQ(m_session->BlendWindowSize, Field("BlendWindowSize"));
    CheckMake();
}

INSTANTIATE_TEST_SUITE_P(Vectors, SelectionCase, testing::ValuesIn(test::CaseNames("selection2d")),
                         [](const auto& chosen) { return chosen.param; });

} // namespace

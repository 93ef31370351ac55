// Whole sessions with the 3D pipeline against computed results: adds, make, every table and the steps in between.
#include <algorithm>
#include <array>
#include <filesystem>
#include <string>
#include <type_traits>
#include <vector>

#include <gtest/gtest.h>

#include "alignment/projection_shift.h"
#include "safe3d/compose_by_height.h"
#include "safe3d/map_stages.h"
#include "safe3d/maps.h"
#include "safe3d/peak_selection.h"
#include "safe3d/stack_session.h"
#include "safe3d/threads.h"

namespace {

using nlohmann::json;

/// Set this when edge strength can be taken on a graphics processor: the stacks that need one then run too.
constexpr bool kHasGraphicsProcessor = false;

/// Whether this build can run a stack.
bool CanRun(const json& stack) { return kHasGraphicsProcessor || stack.at("path").get<std::string>() == "cpu"; }

std::vector<std::string> CasesThatCanRun() {
    std::vector<std::string> names = test::CaseNames("heightmap");
    std::erase_if(names, [](const std::string& name) { return !CanRun(test::LoadCase("heightmap", name).Json); });
    return names;
}

class HeightMapCase {
  public:
    explicit HeightMapCase(const std::string& name) : m_case(test::LoadCase("heightmap", name)) {}

    std::int32_t Field(const char* name) const { return m_case.Json.at(name).get<std::int32_t>(); }
    std::int32_t Parameter(const char* name) const { return m_case.Json.at("parameters").at(name).get<std::int32_t>(); }
    KyfFocusComposition& Session() { return *m_session; }
    KyfCompositionState& State() { return m_session->State3D; }

    void Start();
    void AddFrames(KyiBool parallel);
    void CheckAlignment();
    void DeleteBitmaps();
    void CheckStages(KyiBool parallel);
    void Make(KyiBool parallel) {
        EXPECT_EQ(KyfFocusMakeCompImage(m_session.get(), parallel, nullptr), Field("make_result"));
    }
    void CheckResults();

  private:
    bool HasStages() const { return m_case.Json.contains("height16_Scale"); }
    template <typename T> void CheckMap(const std::string& name, const std::vector<T>& actual, std::size_t width);
    void CheckState(const std::string& name, const KyfCompositionState& state);
    void CheckTable(const std::string& name, double* const* rows, std::int32_t width, std::int32_t height);

    test::Case m_case;
    test::TemporaryFolder m_folder;
    test::Session m_session;
};

void HeightMapCase::Start() {
    test::StackSettings settings;
    settings.Mode = Field("Mode");
    settings.ScopeType = Parameter("ScopeType");
    settings.Speed = Parameter("Speed");
    settings.PlaneType = Parameter("PlaneType");
    settings.Adoption = Parameter("AdoptionPeakPosition");
    settings.Sensitivity = Parameter("FocusingValueDetectionSensitivity");
    settings.HalationMeasures = Parameter("HalationMeasures");
    settings.D3ShapeSmoothing = Parameter("D3ShapeSmoothing");
    settings.ProjectionNoiseRemove = Parameter("ProjectionNoiseRemove");
    settings.AutoPos = Parameter("AutoPos");
    settings.TrimInvalidBorder = Parameter("TrimInvalidBorder");
    m_session = test::StartStack(settings, m_folder.Path() / "made" / "on the way");
    m_session->MatchingDetectType = Parameter("MatchingDetectType");
    m_session->DisableGPU = m_case.Json.at("path").get<std::string>() == "cpu";
    if (!m_case.Json.contains("parameters2D")) return;
    const json& two = m_case.Json.at("parameters2D");
    m_session->CompSize = two.at("CompSize").get<std::int32_t>();
    m_session->Smoothing = two.at("Smoothing").get<std::int32_t>();
    if (!two.contains("AreaPos")) return;
    m_session->AreaNo = two.at("AreaNo").get<std::int32_t>();
    const auto places = two.at("AreaPos").get<std::vector<std::array<std::int32_t, 2>>>();
    for (std::size_t i = 0; i < places.size(); ++i) m_session->AreaPos[i] = {places[i][0], places[i][1]};
}

void HeightMapCase::AddFrames(KyiBool parallel) {
    const auto frames = test::ReadInts(m_case.File("frames.npy"));
    const json& heights = m_case.Json.at("HeightList");
    const json& results = m_case.Json.at("add_results");
    for (std::size_t i = 0; i < results.size(); ++i) {
        const test::Image frame = test::FromPlanes(Field("Width"), Field("Height"), Field("Format"), frames.Entry(i));
        const KyfResult result =
            heights.is_null()
                ? KyfFocusAddImage(m_session.get(), frame.get(), parallel, nullptr)
                : KyfFocusAddImageWithHeight(m_session.get(), frame.get(), heights[i].get<double>(), parallel, nullptr);
        EXPECT_EQ(result, results[i].get<KyfResult>()) << "frame " << i;
    }
}

// The frames as they went into their bitmaps, and the record of the method that has moved them.
void HeightMapCase::CheckAlignment() {
    if (std::filesystem::exists(m_case.File("frames_as_saved.npy"))) {
        std::vector<std::int32_t> planes;
        for (std::int32_t i = 1; i < State().FrameCount; ++i) {
            KyiImageData* image = nullptr;
            ASSERT_TRUE(KyiLoadImageData(m_session->TempFileMap[i], &image));
            const std::vector<std::int32_t> frame = test::ToPlanes(*test::Image(image));
            planes.insert(planes.end(), frame.begin(), frame.end());
        }
        const json hashes = m_case.Json.value("checksum", json::object());
        if (hashes.contains("frames_as_saved")) {
            EXPECT_EQ(hashes.at("frames_as_saved").get<std::string>(), test::Hash(planes));
        } else {
            EXPECT_TRUE(test::SameValues(test::ReadInts(m_case.File("frames_as_saved.npy")).Values, planes));
        }
    }
    if (m_case.Json.contains("Matching3D")) {
        const json& expected = m_case.Json.at("Matching3D");
        EXPECT_EQ(m_session->Matching3D.TotalShift, expected.at("TotalShift").get<std::int32_t>());
        EXPECT_EQ(m_session->Matching3D.MinShift, expected.at("MinShift").get<std::int32_t>());
        EXPECT_EQ(m_session->Matching3D.MaxShift, expected.at("MaxShift").get<std::int32_t>());
    }
    if (m_case.Json.contains("ProjectionShift")) {
        const json& expected = m_case.Json.at("ProjectionShift");
        ASSERT_NE(m_session->ProjectionShift, nullptr);
        EXPECT_EQ(m_session->ProjectionShift->TotalX, expected.at("TotalX").get<std::int32_t>());
        EXPECT_EQ(m_session->ProjectionShift->TotalY, expected.at("TotalY").get<std::int32_t>());
        EXPECT_EQ(m_session->ProjectionShift->MaxNegativeX, expected.at("MaxNegativeX").get<std::int32_t>());
        EXPECT_EQ(m_session->ProjectionShift->MaxPositiveY, expected.at("MaxPositiveY").get<std::int32_t>());
    }
}

void HeightMapCase::DeleteBitmaps() {
    for (const std::int32_t frame : m_case.Json.at("deleted_frames").get<std::vector<std::int32_t>>())
        EXPECT_TRUE(std::filesystem::remove(m_session->TempFileMap[frame]));
}

template <typename T>
void HeightMapCase::CheckMap(const std::string& name, const std::vector<T>& actual, std::size_t width) {
    std::vector<T> expected;
    if constexpr (std::is_same_v<T, double>)
        expected = test::ReadDoubles(m_case.File(name + ".npy")).Values;
    else
        expected = test::ReadInts(m_case.File(name + ".npy")).Values;
    const json& steps = m_case.Json.value("row_step", json::object());
    if (!steps.contains(name)) {
        EXPECT_TRUE(test::SameValues(expected, actual)) << name;
        return;
    }
    EXPECT_EQ(m_case.Json.at("checksum").at(name).get<std::string>(), test::Hash(actual)) << name;
    std::vector<T> rows;
    for (std::size_t y = 0; y * width < actual.size(); y += steps.at(name).get<std::size_t>())
        rows.insert(rows.end(), actual.begin() + static_cast<std::ptrdiff_t>(y * width),
                    actual.begin() + static_cast<std::ptrdiff_t>((y + 1) * width));
    EXPECT_TRUE(test::SameValues(expected, rows)) << name;
}

// The stages one by one, on the stack that the make will find.
void HeightMapCase::CheckStages(KyiBool parallel) {
    if (!HasStages()) return;
    EXPECT_EQ(Field("EdgeDataWidth"), m_session->EdgeDataWidth);
    EXPECT_EQ(Field("EdgeDataHeight"), m_session->EdgeDataHeight);
    const test::MapShape grid{m_session->EdgeDataWidth, m_session->EdgeDataHeight};
    const auto width = static_cast<std::size_t>(grid.Width);
    const kyf::DoubleImagePtr frameMap(kyf::AllocDoubleImage(grid.Width, grid.Height));
    const test::Image mask(KyiAllocMaskImageData(grid.Width, grid.Height));
    kyf::SelectPeaks(*m_session, *frameMap, *mask, parallel);
    CheckMap("frameMap", test::ToList(*frameMap), width);
    CheckMap("mask", test::ToPlanes(*mask), width);

    kyf::CProgressProcManager steps(nullptr, 0);
    kyf::GridMaps maps(*m_session, *frameMap, *mask);
    kyf::RepairMaps(*m_session, maps, *mask, parallel, steps);
    CheckMap("height16", test::ToList(maps.OfHeights()), width);
    EXPECT_EQ(m_case.Json.at("height16_Scale").get<double>(), maps.OfHeights().Scale);
    EXPECT_EQ(m_case.Json.at("height16_Offset").get<double>(), maps.OfHeights().Offset);

    const test::Uint16Image full(kyf::AllocUint16Image(State().SourceWidth, State().SourceHeight));
    kyf::MakeFullMap(maps, *full, parallel, steps);
    CheckMap("full16", test::ToList(*full), static_cast<std::size_t>(State().SourceWidth));
    EXPECT_EQ(m_case.Json.at("full16_Scale").get<double>(), full->Scale);
    EXPECT_EQ(m_case.Json.at("full16_Offset").get<double>(), full->Offset);
    EXPECT_EQ(Field("composite_result"), kyf::ComposeByHeight(*m_session, *full, parallel, nullptr));
}

void HeightMapCase::CheckTable(const std::string& name, double* const* rows, std::int32_t width, std::int32_t height) {
    const json same = m_case.Json.value("same_as", json::object());
    const std::string file = same.value(name, name);
    const bool isExpected = std::filesystem::exists(m_case.File(file + ".npy"));
    ASSERT_EQ(isExpected, rows != nullptr) << name;
    if (!isExpected) return;
    if (same.contains(name)) {
        const std::vector<double> values = test::Flatten(rows, width, height);
        if (!m_case.Json.value("row_step", json::object()).contains(file))
            EXPECT_TRUE(test::SameValues(test::ReadDoubles(m_case.File(file + ".npy")).Values, values)) << name;
        else
            EXPECT_EQ(m_case.Json.at("checksum").at(file).get<std::string>(), test::Hash(values)) << name;
        return;
    }
    CheckMap(name, test::Flatten(rows, width, height), static_cast<std::size_t>(width));
}

std::vector<std::int32_t> AllPlanes(const KyiImageData& image) {
    std::vector<std::int32_t> planes = test::ToPlanes(image);
    for (std::int32_t y = 0; image.PixelBytes == 4 && y < image.Height; ++y)
        for (std::int32_t x = 0; x < image.Width; ++x)
            planes.push_back(*static_cast<const std::uint8_t*>(KyiGetPixelAddress(&image, x, y)));
    return planes;
}

void HeightMapCase::CheckState(const std::string& name, const KyfCompositionState& state) {
    const json& sizes = m_case.Json.at(name);
    ASSERT_NE(state.CompImage, nullptr);
    EXPECT_EQ(sizes.at("CompImageWidth").get<std::int32_t>(), state.CompImage->Width);
    EXPECT_EQ(sizes.at("CompImageHeight").get<std::int32_t>(), state.CompImage->Height);
    EXPECT_EQ(sizes.at("CuttedWidth").get<std::int32_t>(), state.CuttedWidth);
    EXPECT_EQ(sizes.at("CuttedHeight").get<std::int32_t>(), state.CuttedHeight);
    CheckMap(name + "_CompImage", AllPlanes(*state.CompImage), static_cast<std::size_t>(state.CompImage->Width));
    CheckTable(name + "_HeightDataMap", state.HeightDataMap, state.MapWidth, state.MapHeight);
    CheckTable(name + "_CuttedHeightDataMap", state.CuttedHeightDataMap, state.CuttedWidth, state.CuttedHeight);
    CheckTable(name + "_CuttedAntNoiseHeightDataMap", state.CuttedAntNoiseHeightDataMap, state.CuttedWidth,
               state.CuttedHeight);
}

void HeightMapCase::CheckResults() {
    CheckState("State3D", State());
    if (Field("Mode") == KyfModeComplexProcessing) CheckState("State2D", m_session->State2D);
}

class HeightMapCases : public testing::TestWithParam<std::string> {};

// The stages come from a session of their own: the composite is blended in place.
TEST_P(HeightMapCases, GiveTheStagesOfTheModel) {
    for (const int threads : test::kThreadCounts) {
        SCOPED_TRACE(threads);
        const test::ThreadScope scope(threads);
        HeightMapCase run(GetParam());
        run.Start();
        const KyiBool parallel = threads == 0 ? run.Field("parallel") : 1;
        run.AddFrames(run.Field("parallel"));
        run.CheckAlignment();
        run.DeleteBitmaps();
        run.CheckStages(parallel);
    }
}

TEST_P(HeightMapCases, GiveTheMapsAndImagesOfTheModel) {
    for (const int threads : test::kThreadCounts) {
        SCOPED_TRACE(threads);
        const test::ThreadScope scope(threads);
        HeightMapCase run(GetParam());
        run.Start();
        run.AddFrames(run.Field("parallel"));
        run.DeleteBitmaps();
        run.Make(threads == 0 ? run.Field("parallel") : 1);
        run.CheckResults();
    }
}

INSTANTIATE_TEST_SUITE_P(Stacks, HeightMapCases, testing::ValuesIn(CasesThatCanRun()),
                         [](const auto& test) { return test.param; });

} // namespace

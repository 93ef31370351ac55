// What no dialog lets through and a host may still pass: heights and settings far from any use.
#include <cmath>
#include <cstdint>
#include <iterator>
#include <limits>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "safe3d/stack_session.h"
#include "safe3d/threads.h"
#include "support/trace_lines.h"

namespace {

constexpr std::int32_t kWidth = 70;
constexpr std::int32_t kHeight = 50;
constexpr std::int32_t kFrames = 9;
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kLargest = std::numeric_limits<double>::max();

/// Adds the stack with these heights and makes it; the map that comes out.
std::vector<double> Make(const test::StackSettings& settings, const std::vector<double>& heights, int threads) {
    const test::ThreadScope scope(threads);
    const test::TemporaryFolder folder;
    const test::Session session = test::StartStack(settings, folder.Path());
    const KyiBool parallel = threads != 0;
    for (std::int32_t i = 0; i < kFrames; ++i) {
        const test::Image frame = test::ReliefFrame(kWidth, kHeight, KyiFormatBgr24, i, kFrames, 1);
        EXPECT_EQ(KyfFocusAddImageWithHeight(session.get(), frame.get(), heights[static_cast<std::size_t>(i)], parallel,
                                             nullptr),
                  KyfResultOk);
    }
    EXPECT_EQ(KyfFocusMakeCompImage(session.get(), parallel, nullptr), KyfResultOk);
    EXPECT_EQ(session->State3D.CuttedWidth, kWidth);
    return test::Flatten(session->State3D.HeightDataMap, kWidth, kHeight);
}

std::vector<double> UsualHeights() {
    std::vector<double> heights;
    for (std::int32_t i = 0; i < kFrames; ++i) heights.push_back(10.0 * i);
    return heights;
}

class OddHeights : public testing::TestWithParam<std::vector<double>> {};

TEST_P(OddHeights, GiveTheSameInAnyNumberOfThreads) {
    for (const std::int32_t plane : {0, 1, 2}) {
        test::StackSettings settings;
        settings.PlaneType = plane;
        settings.Adoption = 1;
        const std::vector<double> alone = Make(settings, GetParam(), 0);
        ASSERT_EQ(alone.size(), static_cast<std::size_t>(kWidth * kHeight));
        for (const int threads : {1, 2, 5}) EXPECT_TRUE(test::SameValues(alone, Make(settings, GetParam(), threads)));
    }
}

INSTANTIATE_TEST_SUITE_P(
    Lists, OddHeights,
    testing::Values(std::vector<double>(kFrames, 0.0), std::vector<double>(kFrames, kNaN),
                    std::vector<double>(kFrames, kInfinity), std::vector<double>(kFrames, -kLargest),
                    std::vector<double>{0, kLargest, -kLargest, kLargest, -kLargest, kLargest, -kLargest, 1, 2},
                    std::vector<double>{0, kNaN, 2, -kInfinity, 4, kInfinity, 5e-324, -0.0, 1e308},
                    std::vector<double>{80, 70, 60, 50, 40, 30, 20, 10, 0}));

TEST(HostHeights, StandBetweenTheirNeighbours) { // a law: positions do not depend on the heights
    const std::vector<double> plain = Make({}, UsualHeights(), 0);
    std::vector<double> heights = UsualHeights();
    for (double& height : heights) height = 1e150 * height;
    const std::vector<double> scaled = Make({}, heights, 0);
    for (std::size_t i = 0; i < plain.size(); ++i) ASSERT_NEAR(scaled[i] / 1e150, plain[i], 1e-9);
}

/// One setting out of all bounds.
struct OddSetting {
    const char* Name;
    std::int32_t test::StackSettings::*Field;
    std::int32_t Value;
};

class OddSettings : public testing::TestWithParam<OddSetting> {};

TEST_P(OddSettings, MakeAMapAllTheSame) {
    for (const std::int32_t scope : {0, 2}) {
        test::StackSettings settings;
        settings.ScopeType = scope;
        settings.PlaneType = 0;
        settings.*GetParam().Field = GetParam().Value;
        const std::vector<double> alone = Make(settings, UsualHeights(), 0);
        for (const double height : alone) {
            ASSERT_GE(height, 0.0);
            ASSERT_LE(height, 10.0 * (kFrames - 1));
        }
        EXPECT_TRUE(test::SameValues(alone, Make(settings, UsualHeights(), 2)));
    }
}

std::vector<OddSetting> AllOddSettings() {
    using Settings = test::StackSettings;
    const std::vector<std::pair<const char*, std::int32_t Settings::*>> fields{
        {"PlaneType", &Settings::PlaneType},
        {"Adoption", &Settings::Adoption},
        {"Sensitivity", &Settings::Sensitivity},
        {"HalationMeasures", &Settings::HalationMeasures},
        {"D3ShapeSmoothing", &Settings::D3ShapeSmoothing},
        {"ProjectionNoiseRemove", &Settings::ProjectionNoiseRemove},
        {"Speed", &Settings::Speed}};
    std::vector<OddSetting> settings;
    for (const auto& [name, field] : fields)
        for (const std::int32_t value : {INT32_MIN, -1, 99, INT32_MAX}) settings.push_back({name, field, value});
    return settings;
}

std::string NameOf(const testing::TestParamInfo<OddSetting>& test) {
    const std::int32_t value = test.param.Value;
    std::string name = test.param.Name;
    name.append(value == INT32_MIN ? "Least" : value == INT32_MAX ? "Largest" : value < 0 ? "Below" : "Above");
    return name;
}

INSTANTIATE_TEST_SUITE_P(Fields, OddSettings, testing::ValuesIn(AllOddSettings()), NameOf);

TEST(HostSettings, CutTheSensitivityAt0And10) {
    const auto heightsAt = [](std::int32_t sensitivity) {
        test::StackSettings settings;
        settings.Sensitivity = sensitivity;
        return Make(settings, UsualHeights(), 0);
    };
    EXPECT_TRUE(test::SameValues(heightsAt(10), heightsAt(99)));
    EXPECT_TRUE(test::SameValues(heightsAt(0), heightsAt(-1)));
}

// ---- a first frame from a file belongs to the session

TEST(HostFiles, LeaveTheirFirstFrameToTheSessionAndGiveWhatImagesGive) {
    const test::TemporaryFolder folder;
    const test::Session files = test::StartStack({}, folder.Path() / "files");
    const test::Session images = test::StartStack({}, folder.Path() / "images");
    for (std::int32_t i = 0; i < kFrames; ++i) {
        const test::Image frame = test::ReliefFrame(kWidth, kHeight, KyiFormatBgr24, i, kFrames, 1);
        const std::wstring name = (folder.Path() / ("f" + std::to_string(i) + ".png")).wstring();
        ASSERT_TRUE(KyiSaveImageData(name.c_str(), frame.get(), 0));
        ASSERT_EQ(KyfFocusAddImageFileWidthHeight(files.get(), name.c_str(), 10.0 * i, 0, nullptr), KyfResultOk);
        ASSERT_EQ(KyfFocusAddImageWithHeight(images.get(), frame.get(), 10.0 * i, 0, nullptr), KyfResultOk);
        EXPECT_NE(images->State3D.CompImage, frame.get());
    }
    for (const test::Session* const session : {&files, &images})
        ASSERT_EQ(KyfFocusMakeCompImage(session->get(), 0, nullptr), KyfResultOk);
    EXPECT_TRUE(test::SameImage(*images->State3D.CompImage, *files->State3D.CompImage));
}

// ---- the trace of a make

void AppendMedians(std::vector<std::string>& lines, int passes) {
    static const char* const kPass[]{"Begin MiddleFilter( KyfImageDataUint16*, KyiImageData*, int, BOOL )",
                                     "Begin processing by CPU.", "End processing by CPU.",
                                     "End MiddleFilter( KyfImageDataUint16*, KyiImageData*, int, BOOL )"};
    for (int pass = 0; pass < passes; ++pass) lines.insert(lines.end(), std::begin(kPass), std::end(kPass));
}

TEST(MakeTrace, TellsItsMediansOnceAPass) {
    for (const std::int32_t plane : {0, 2}) {
        const test::TemporaryFolder folder;
        test::StackSettings settings;
        settings.PlaneType = plane;
        settings.ProjectionNoiseRemove = 3;
        const test::Session session = test::StartStack(settings, folder.Path());
        ASSERT_TRUE(test::AddRelief(*session, kWidth, kHeight, KyiFormatGray8, kFrames, 1));
        const test::TraceLines lines;
        ASSERT_EQ(KyfFocusMakeCompImage(session.get(), 0, nullptr), KyfResultOk);
        std::vector<std::string> expected{"Begin Kyf3DSafeMakeHeightData",
                                          "pFocusInfo->HeightList != nullptr && pFocusInfo->HeightDataMap == nullptr",
                                          "pFocusInfo->ProjectionNoiseRemove=3"};
        // The heights' medians; with a plane to fill, the composite has a map of its own and one median more.
        AppendMedians(expected, plane == 0 ? 3 + 1 + 3 : 3);
        expected.emplace_back("End Kyf3DSafeMakeHeightData");
        std::vector<std::string> actual;
        for (const std::string& line : lines.GetWithoutBackEnds()) // what the public call says around it is its own
            if (line.find("KyfFocusMakeCompImage") == std::string::npos) actual.push_back(line);
        EXPECT_EQ(expected, actual);
    }
}

} // namespace

// Makes of whole 3D stacks: what a host gets when frames, heights or files are not as they should be.
#include <algorithm>
#include <cmath>
#include <fstream>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "filters/double_image.h"
#include "safe3d/compose_by_height.h"
#include "safe3d/maps.h"
#include "safe3d/progress_reports.h"
#include "safe3d/safe3d.h"
#include "safe3d/stack_session.h"
#include "safe3d/threads.h"

namespace {

namespace fs = std::filesystem;

constexpr std::int32_t kWidth = 70;
constexpr std::int32_t kHeight = 50;
constexpr std::int32_t kFrames = 9;

class MakeStack : public testing::Test {
  protected:
    test::Session Stack(const test::StackSettings& settings = {}, std::int32_t format = KyiFormatBgr24) const {
        test::Session session = test::StartStack(settings, m_folder.Path());
        EXPECT_TRUE(test::AddRelief(*session, kWidth, kHeight, format, kFrames, 1));
        return session;
    }
    static std::vector<double> Heights(const KyfFocusComposition& session) {
        const KyfCompositionState& state = session.State3D;
        return test::Flatten(state.HeightDataMap, state.MapWidth, state.MapHeight);
    }
    /// What a make without mishaps gives.
    void RememberTheWhole() {
        const test::Session session = Stack();
        ASSERT_EQ(KyfFocusMakeCompImage(session.get(), 0, nullptr), KyfResultOk);
        m_heights = Heights(*session);
        m_composite = test::ToPlanes(*session->State3D.CompImage);
    }

    test::TemporaryFolder m_folder;
    std::vector<double> m_heights;
    std::vector<std::int32_t> m_composite;
};

TEST_F(MakeStack, FollowsTheSurface) {
    RememberTheWhole();
    double squares = 0.0;
    for (std::int32_t y = 0; y < kHeight; ++y)
        for (std::int32_t x = 0; x < kWidth; ++x) {
            const double surface =
                10.0 * (kFrames - 1) * (0.5 + 0.25 * std::sin(7.0 * x / kWidth) + 0.25 * std::cos(9.0 * y / kHeight));
            const double error = m_heights[static_cast<std::size_t>(y * kWidth + x)] - surface;
            squares += error * error;
        }
    EXPECT_LT(std::sqrt(squares / (kWidth * kHeight)), 10.0) << "a frame's distance is 10";
}

TEST_F(MakeStack, GivesTheSameInAnyNumberOfThreads) {
    for (const std::int32_t format : {KyiFormatGray8, KyiFormatGray16, KyiFormatBgr24, KyiFormatBgr48}) {
        for (const std::int32_t plane : {0, 2}) {
            std::vector<std::int32_t> composite;
            std::vector<double> heights;
            for (const int threads : test::kThreadCounts) {
                const test::ThreadScope scope(threads);
                test::StackSettings settings;
                settings.PlaneType = plane;
                settings.HalationMeasures = 1;
                const test::Session session = Stack(settings, format);
                ASSERT_EQ(KyfFocusMakeCompImage(session.get(), threads != 0, nullptr), KyfResultOk);
                if (threads == 0) {
                    composite = test::ToPlanes(*session->State3D.CompImage);
                    heights = Heights(*session);
                }
                EXPECT_TRUE(test::SameValues(composite, test::ToPlanes(*session->State3D.CompImage))) << threads;
                EXPECT_TRUE(test::SameValues(heights, Heights(*session))) << threads;
            }
        }
    }
}

TEST_F(MakeStack, WithoutHeightsFailsAfterTheCompositeHasBeenCut) {
    const test::Session session = test::StartStack({}, m_folder.Path());
    const test::Image frame = test::ReliefFrame(kWidth, kHeight, KyiFormatGray8, 0, 2, 1);
    ASSERT_EQ(KyfFocusAddImage(session.get(), frame.get(), 0, nullptr), KyfResultOk);
    const KyiImageData* const before = session->State3D.CompImage;
    EXPECT_EQ(KyfFocusMakeCompImage(session.get(), 0, nullptr), KyfResultFailAlloc);
    EXPECT_NE(session->State3D.CompImage, before);
    EXPECT_TRUE(test::SameImage(*frame, *session->State3D.CompImage));
    EXPECT_EQ(session->State3D.HeightDataMap, nullptr);
    EXPECT_EQ(session->State3D.CuttedWidth, 0);
}

TEST_F(MakeStack, ComputesNothingTheSecondTime) {
    const test::Session session = Stack();
    ASSERT_EQ(KyfFocusMakeCompImage(session.get(), 0, nullptr), KyfResultOk);
    double** const map = session->State3D.HeightDataMap;
    map[3][4] = -77.0;
    const std::vector<std::int32_t> composite = test::ToPlanes(*session->State3D.CompImage);
    fs::remove(m_folder.Path() / "MFocusTemp4.bmp");
    EXPECT_EQ(KyfFocusMakeCompImage(session.get(), 0, nullptr), KyfResultOk);
    EXPECT_EQ(session->State3D.HeightDataMap, map);
    EXPECT_EQ(session->State3D.CuttedHeightDataMap[3][4], -77.0);
    EXPECT_TRUE(test::SameValues(composite, test::ToPlanes(*session->State3D.CompImage)));
}

TEST_F(MakeStack, GivesTheHeightsAgainAfterTheyHaveBeenTaken) {
    RememberTheWhole();
    const test::Session session = Stack();
    ASSERT_EQ(KyfFocusMakeCompImage(session.get(), 0, nullptr), KyfResultOk);
    KyfImageData taken{};
    ASSERT_EQ(KyfFocusExtractHeightData(session.get(), &taken), KyfResultOk);
    KyfFreeHeightData(&taken);
    EXPECT_EQ(KyfFocusMakeCompImage(session.get(), 0, nullptr), KyfResultOk);
    EXPECT_TRUE(test::SameValues(m_heights, Heights(*session)));
}

TEST_F(MakeStack, BlendsNothingIntoACompositeThatHasBeenCut) {
    const test::Session session = Stack();
    const KyfRect part{5, 6, 40, 30};
    ASSERT_EQ(kyf::Kyf3DSafeMakeCompImage(session.get(), part, 0, nullptr), KyfResultOk);
    EXPECT_EQ(session->State3D.CuttedWidth, 35);
    EXPECT_EQ(session->State3D.CompImage->Height, 24);
    EXPECT_EQ(session->State3D.CuttedHeightDataMap[2][3], session->State3D.HeightDataMap[8][8]);
    kyf::FreeDoubleRows(std::exchange(session->State3D.HeightDataMap, nullptr));
    const std::vector<std::int32_t> composite = test::ToPlanes(*session->State3D.CompImage);
    EXPECT_EQ(kyf::Kyf3DSafeMakeHeightData(session.get(), 0, nullptr), KyfResultInvalidParameter);
    EXPECT_NE(session->State3D.HeightDataMap, nullptr);
    EXPECT_TRUE(test::SameValues(composite, test::ToPlanes(*session->State3D.CompImage)));
}

TEST_F(MakeStack, FailsForAnEmptyRectangle) {
    const test::Session session = Stack();
    EXPECT_EQ(kyf::Kyf3DSafeMakeCompImage(session.get(), {5, 6, 5, 30}, 0, nullptr), KyfResultFailAlloc);
}

TEST_F(MakeStack, OfOneFrameIsFlatAndKeepsTheFrame) {
    const test::Session session = test::StartStack({}, m_folder.Path());
    const test::Image frame = test::ReliefFrame(kWidth, kHeight, KyiFormatBgr24, 0, 2, 1);
    ASSERT_EQ(KyfFocusAddImageWithHeight(session.get(), frame.get(), 12.5, 0, nullptr), KyfResultOk);
    EXPECT_EQ(KyfFocusMakeCompImage(session.get(), 0, nullptr), KyfResultOk);
    EXPECT_EQ(std::vector<double>(kWidth * kHeight, 12.5), Heights(*session));
    EXPECT_TRUE(test::SameImage(*frame, *session->State3D.CompImage));
}

TEST_F(MakeStack, RefusesHeightsWithoutAStack) {
    KyfFocusComposition empty{};
    double height = 1.0;
    empty.HeightList = &height;
    EXPECT_EQ(kyf::Kyf3DSafeMakeHeightData(&empty, 0, nullptr), KyfResultInvalidParameter);
    empty.State3D.SourceWidth = empty.State3D.SourceHeight = 5;
    EXPECT_EQ(kyf::Kyf3DSafeMakeHeightData(&empty, 0, nullptr), KyfResultInvalidParameter);
    EXPECT_EQ(empty.State3D.HeightDataMap, nullptr);
    empty.HeightList = nullptr;
    EXPECT_EQ(kyf::Kyf3DSafeMakeHeightData(&empty, 0, nullptr), KyfResultOk);
}

/// Ways to lose a bitmap between its add and the make.
using Mishap = void (*)(const fs::path&);
struct NamedMishap {
    const char* Name;
    Mishap Happen;
};
void SaveOther(const fs::path& path, std::int32_t width, std::int32_t height, std::int32_t format) {
    const test::Image other = test::TexturedImage(width, height, format, 5);
    ASSERT_TRUE(KyiSaveImageData(path.wstring().c_str(), other.get(), 0));
}
/// A link to a picture of the same form, as somebody would plant who may write into the folder.
void PutLink(const fs::path& path) {
    static const test::TemporaryFolder elsewhere;
    const fs::path picture = elsewhere.Path() / "private.bmp";
    SaveOther(picture, kWidth, kHeight, KyiFormatBgr24);
    fs::remove(path);
    fs::create_symlink(picture, path);
}
const NamedMishap kMishaps[] = {
    {"Linked", PutLink},
    {"Deleted", [](const fs::path& path) { fs::remove(path); }},
    {"Truncated", [](const fs::path& path) { fs::resize_file(path, fs::file_size(path) / 2); }},
    {"Emptied", [](const fs::path& path) { fs::resize_file(path, 0); }},
    {"Overwritten", [](const fs::path& path) { std::ofstream(path) << "BM and no more"; }},
    {"Wider", [](const fs::path& path) { SaveOther(path, kWidth + 1, kHeight, KyiFormatBgr24); }},
    {"Narrower", [](const fs::path& path) { SaveOther(path, kWidth - 1, kHeight, KyiFormatBgr24); }},
    {"Taller", [](const fs::path& path) { SaveOther(path, kWidth, kHeight + 1, KyiFormatBgr24); }},
    {"Shorter", [](const fs::path& path) { SaveOther(path, kWidth, kHeight - 1, KyiFormatBgr24); }},
    {"Gray", [](const fs::path& path) { SaveOther(path, kWidth, kHeight, KyiFormatGray8); }},
    {"Deep", [](const fs::path& path) { SaveOther(path, kWidth, kHeight, KyiFormatBgr48); }},
    {"Folder",
     [](const fs::path& path) {
         fs::remove(path);
         fs::create_directory(path);
     }},
};

class LostBitmap : public MakeStack, public testing::WithParamInterface<NamedMishap> {
  protected:
    /// Every sample is as in the whole composite, or as the steps before the lost frame leave it: as in the first frame
    /// where none has come, as in the frame before the last one read where only the next step could have brought that.
    void ExpectBrokenOff(const std::vector<std::int32_t>& composite, const std::vector<std::int32_t>& first,
                         std::int32_t lost) const {
        const std::vector<std::int32_t> before =
            test::ToPlanes(*test::ReliefFrame(kWidth, kHeight, KyiFormatBgr24, lost - 2, kFrames, 1));
        ASSERT_EQ(composite.size(), m_composite.size());
        std::size_t reached = 0;
        std::size_t unreached = 0;
        for (std::size_t i = 0; i < composite.size(); ++i) {
            if (composite[i] == m_composite[i] && composite[i] != first[i]) ++reached;
            if (composite[i] == first[i] && composite[i] != m_composite[i]) ++unreached;
            ASSERT_TRUE(composite[i] == m_composite[i] || composite[i] == first[i] || composite[i] == before[i])
                << "sample " << i << ", lost " << lost;
        }
        EXPECT_GT(reached, 0U) << lost;
        EXPECT_GT(unreached, 0U) << lost;
    }
};

TEST_P(LostBitmap, EndsTheCompositeBeforeItAndLeavesTheHeights) {
    RememberTheWhole();
    for (const std::int32_t lost : {0, 1, 5, kFrames - 1}) {
        for (const int threads : {0, 2}) {
            const test::ThreadScope scope(threads);
            const test::Session session = Stack();
            const fs::path bitmap = m_folder.Path() / ("MFocusTemp" + std::to_string(lost) + ".bmp");
            GetParam().Happen(bitmap);
            const std::vector<std::int32_t> first = test::ToPlanes(*session->State3D.CompImage);
            ASSERT_EQ(KyfFocusMakeCompImage(session.get(), threads != 0, nullptr), KyfResultOk) << lost;
            EXPECT_TRUE(test::SameValues(m_heights, Heights(*session))) << lost;
            const std::vector<std::int32_t> composite = test::ToPlanes(*session->State3D.CompImage);
            EXPECT_NE(composite, m_composite);
            if (lost < 2)
                EXPECT_TRUE(test::SameValues(first, composite)) << lost; // no step has run
            else
                ExpectBrokenOff(composite, first, lost);
            fs::remove(bitmap); // a folder would outlast the sweep
            KyfFocusTerminate(session.get());
            EXPECT_TRUE(fs::is_empty(m_folder.Path()));
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Mishaps, LostBitmap, testing::ValuesIn(kMishaps),
                         [](const auto& test) { return test.param.Name; });

TEST_F(MakeStack, TellsOfABitmapThatIsGone) {
    const test::Session session = Stack();
    fs::remove(m_folder.Path() / "MFocusTemp3.bmp");
    EXPECT_EQ(kyf::Kyf3DSafeMakeHeightData(session.get(), 0, nullptr), KyfResultInvalidParameter);
}

// ---- the composite alone, against the frames on disk

class ComposedCases : public testing::TestWithParam<std::string> {};
TEST_P(ComposedCases, AreBlendedFromTheBitmaps) {
    const test::Case data = test::LoadCase("composite3d", GetParam());
    const auto frames = test::ReadInts(data.File("frames.npy"));
    const auto map = test::ReadInts(data.File("full16.npy"));
    const auto count = data.Json.at("FrameCount").get<std::int32_t>();
    const auto format = data.Json.at("Format").get<std::int32_t>();
    const test::MapShape shape{data.Json.at("Width").get<std::int32_t>(), data.Json.at("Height").get<std::int32_t>()};
    for (const int threads : test::kThreadCounts) {
        SCOPED_TRACE(threads);
        const test::ThreadScope scope(threads);
        const test::TemporaryFolder folder;
        const test::Session session = test::StartStack({}, folder.Path());
        for (std::int32_t i = 0; i < count; ++i) {
            const test::Image frame =
                test::FromPlanes(shape.Width, shape.Height, format, frames.Entry(static_cast<std::size_t>(i)));
            // The images of such small frames have no edge strength: only the bitmap is wanted.
            KyfFocusAddImage(session.get(), frame.get(), 0, nullptr);
            ASSERT_EQ(session->State3D.FrameCount, i + 1);
        }
        for (const auto missing : data.Json.at("missing_frames").get<std::vector<std::int32_t>>())
            fs::remove(session->TempFileMap[missing]);
        const test::Uint16Image full16 = test::NewUint16(shape, map.Values, data.Json.at("Scale").get<double>(),
                                                         data.Json.at("Offset").get<double>());
        EXPECT_EQ(data.Json.at("result").get<KyfResult>(),
                  kyf::ComposeByHeight(*session, *full16, threads != 0, nullptr));
        const test::Image expected =
            test::FromPlanes(shape.Width, shape.Height, format, test::ReadInts(data.File("CompImage.npy")).Values);
        EXPECT_TRUE(test::SameImage(*expected, *session->State3D.CompImage));
    }
}
INSTANTIATE_TEST_SUITE_P(Composites, ComposedCases, testing::ValuesIn(test::CaseNames("composite3d")),
                         [](const auto& test) { return test.param; });

// ---- progress
TEST_F(MakeStack, ReportsTheStagesAndLeavesTheNinthOpen) {
    const test::Session session = Stack();
    const test::ProgressReports progress;
    ASSERT_EQ(KyfFocusMakeCompImage(session.get(), 0, progress.Root()), KyfResultOk);
    // Five stages, the eight frames of the composite, three stages; the cut.
    const std::vector<std::string> expected{"/0 12",    "/0 24",   "/0 35",   "/0 46",   "/0 57",   "/0/5 13",
                                            "/0/5 26",  "/0/5 39", "/0/5 52", "/0/5 65", "/0/5 77", "/0/5 89",
                                            "/0/5 101", "/0 68",   "/0 79",   "/0 90",   " 90",     " 100"};
    EXPECT_EQ(progress.Lines(), expected);
    EXPECT_EQ(progress.Root()->SubList[0]->SubCount, 9);
    EXPECT_EQ(progress.Root()->SubList[0]->SubList[8]->Completed, 0);
}

} // namespace

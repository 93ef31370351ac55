// A stack of files in one call: what it hands over, what it leaves open, what it refuses.
#include <cmath>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>
#include <kyfocus/file_composition.h>

#include "gpu/gpu_switches.h"
#include "safe3d/threads.h"
#include "session/sessions.h"

namespace {

using Parameter = KyfFileFocusCompositionParameter;

constexpr std::int32_t kWidth = 56;
constexpr std::int32_t kHeight = 44;
constexpr int kFrames = 4;

struct Result : KyfFileFocusCompositionResult {
    Result() : KyfFileFocusCompositionResult{} {}
    ~Result() { KyfFreeFileFocusCompositionResult(this); }
    Result(const Result&) = delete;
    Result& operator=(const Result&) = delete;
};

/// Frames on disk and a parameter that names them.
class FileComposition : public testing::Test {
  protected:
    FileComposition() {
        std::filesystem::create_directory(TempFolder());
        for (int i = 0; i < kFrames; ++i) AddFile(kWidth, KyiFormatBgr24, 1.5 * i);
    }

    std::filesystem::path TempFolder() const { return m_folder.Path() / "temp"; }

    void AddFile(std::int32_t width, std::int32_t format, double height) {
        const auto seed = static_cast<std::uint32_t>(m_paths.size() + 1);
        AddImage(*test::TexturedImage(width, kHeight, format, seed), height);
    }
    void AddImage(const KyiImageData& image, double height) {
        const char* const extension = KyiGetMaxVal(image.Format) > 255 ? ".png" : ".bmp";
        const std::filesystem::path path = m_folder.Path() / ("frame" + std::to_string(m_paths.size()) + extension);
        ASSERT_TRUE(KyiSaveImageData(path.wstring().c_str(), &image, 0));
        m_paths.push_back(path.wstring());
        m_heights.push_back(height);
    }
    /// Others in the place of the frames that there are.
    void ReplaceFiles(const std::vector<test::Image>& images) {
        m_paths.clear();
        m_heights.clear();
        for (std::size_t i = 0; i < images.size(); ++i) AddImage(*images[i], 1.5 * static_cast<double>(i));
    }

    /// Everything wanted.
    Parameter MakeParameter(std::int32_t algType) {
        m_tempFolder = TempFolder().wstring();
        m_files.clear();
        for (std::size_t i = 0; i < m_paths.size(); ++i) m_files.push_back({m_paths[i].c_str(), m_heights[i]});
        Parameter parameter{};
        parameter.Init.TempFolder = m_tempFolder.c_str();
        parameter.AlgType = algType;
        parameter.Param2D = test::Defaults<KyfFocusComposition2DSelectionParameter>();
        parameter.Param3D = test::Defaults<KyfFocusComposition3DSelectionParameter>();
        parameter.Files = m_files.data();
        parameter.FileCount = static_cast<std::int32_t>(m_files.size());
        parameter.WantHeightData = 1;
        parameter.WantDifferentiationMap = 1;
        return parameter;
    }

    /// The same stack, made by a host step by step.
    test::Session ComposeByHand(const Parameter& parameter, KyiBool parallel = 0) const {
        test::Session session(KyfAllocFocusComposition());
        KyfFocusInitialize(session.get(), &parameter.Init);
        if (parameter.AlgType == 0) KyfFocusStart2DSelection(session.get(), &parameter.Param2D);
        if (parameter.AlgType == 1) KyfFocusStart3DSafe(session.get(), &parameter.Param3D);
        if (parameter.AlgType == 2)
            KyfFocusStartComplexProcessing(session.get(), &parameter.Param2D, &parameter.Param3D);
        for (std::int32_t i = 0; i < parameter.FileCount; ++i)
            EXPECT_EQ(KyfFocusAddImageFileWidthHeight(session.get(), parameter.Files[i].Path, parameter.Files[i].Height,
                                                      parallel, nullptr),
                      KyfResultOk);
        EXPECT_EQ(KyfFocusMakeCompImage(session.get(), parallel, nullptr), KyfResultOk);
        return session;
    }

    test::TemporaryFolder m_folder;
    std::vector<std::wstring> m_paths;
    std::vector<double> m_heights;
    std::vector<KyfFocusCompositionFile> m_files;
    std::wstring m_tempFolder;
};

void ExpectHeights(const KyfFocusComposition* session, const Result& result) {
    KyfHeightDataArray heights{};
    ASSERT_EQ(KyfFocusGetCuttedHeightData(session, &heights), KyfResultOk);
    ASSERT_EQ(heights.Width, result.CuttedHeightWidth);
    ASSERT_EQ(heights.Height, result.CuttedHeightHeight);
    ASSERT_NE(result.CuttedHeightData, nullptr);
    const auto width = static_cast<std::size_t>(heights.Width);
    for (std::int32_t y = 0; y < heights.Height; ++y)
        EXPECT_TRUE(test::SameValues(std::span(heights.Data + static_cast<std::size_t>(y) * width, width),
                                     std::span(result.CuttedHeightData[y], width)));
    KyfFreeHeightData16bit(&heights);
}

void ExpectMap(const KyfFocusComposition* session, const KyfDifferentiationMap& actual) {
    KyfDifferentiationMap map{};
    ASSERT_EQ(KyfFocusGetDifferentiationMap(session, KyiFormatBgr24, &map), KyfResultOk);
    ASSERT_EQ(map.Width, actual.Width);
    ASSERT_EQ(map.Height, actual.Height);
    EXPECT_EQ(map.Depth, actual.Depth);
    const auto width = static_cast<std::size_t>(map.Width);
    for (std::int32_t y = 0; y < map.Height; ++y)
        EXPECT_TRUE(test::SameValues(std::span(map.Rows[y], width), std::span(actual.Rows[y], width)));
    KyfFreeDifferentiationMap(&map);
}

class FileCompositionModes : public FileComposition, public testing::WithParamInterface<std::int32_t> {};

TEST_P(FileCompositionModes, GivesWhatTheStepsOfASessionGive) {
    const Parameter parameter = MakeParameter(GetParam());
    const test::Session session = ComposeByHand(parameter);
    KyiImageData* image = nullptr;
    KyfFocusGetCompImage(session.get(), &image);
    for (const KyiBool parallel : {0, 1}) {
        Result result;
        const test::Progress progress = test::MakeProgress();
        ASSERT_EQ(KyfExecuteFileFocusComposition(&parameter, &result, parallel, progress.get()), KyfResultOk);
        EXPECT_TRUE(test::SameImage(*image, *result.Image));
        ExpectHeights(session.get(), result);
        EXPECT_EQ(result.DifferentiationMap.Rows != nullptr, GetParam() == 0);
        if (GetParam() == 0) ExpectMap(session.get(), result.DifferentiationMap);
        EXPECT_EQ(result.CuttedAntNoiseHeightData, nullptr);
        EXPECT_EQ(KyfProgressGetPersent(progress.get()), 100);
        EXPECT_NE(progress->Completed, 0);
    }
}

TEST_P(FileCompositionModes, LeavesNoTemporaryBitmap) {
    const Parameter parameter = MakeParameter(GetParam());
    Result result;
    ASSERT_EQ(KyfExecuteFileFocusComposition(&parameter, &result, 1, nullptr), KyfResultOk);
    EXPECT_TRUE(std::filesystem::is_empty(TempFolder()));
}

INSTANTIATE_TEST_SUITE_P(Modes, FileCompositionModes, testing::Values(0, 1, 2, 5));

/// A wide texture seen through a window that moves to the right.
std::vector<test::Image> DriftingFrames() {
    constexpr std::int32_t kDrift = 2; // pixels a frame
    const test::Image wide = test::TexturedImage(kWidth + kFrames * kDrift, kHeight, KyiFormatBgr24, 7);
    std::vector<test::Image> frames;
    for (std::int32_t i = 0; i < kFrames; ++i) {
        test::Image frame(KyiAllocImageData(kWidth, kHeight, KyiFormatBgr24));
        for (std::int32_t y = 0; y < kHeight; ++y)
            std::memcpy(KyiGetPixelAddress(frame.get(), 0, y), KyiGetPixelAddress(wide.get(), i * kDrift, y),
                        static_cast<std::size_t>(kWidth * frame->PixelBytes));
        frames.push_back(std::move(frame));
    }
    return frames;
}

class FileCompositionInit : public FileComposition, public testing::WithParamInterface<std::int32_t> {};

TEST_P(FileCompositionInit, HandsTheWholeOfInitOn) {
    ReplaceFiles(DriftingFrames());
    Parameter parameter = MakeParameter(GetParam());
    Result plain;
    ASSERT_EQ(KyfExecuteFileFocusComposition(&parameter, &plain, 0, nullptr), KyfResultOk);
    EXPECT_EQ(plain.Image->Width, kWidth);
    parameter.Init.ScopeType = 1;
    parameter.Init.MatchingDetectType = 1;
    parameter.Init.TrimInvalidBorder = 1;
    parameter.Init.DisableGPU = 1;
    const test::Session session = ComposeByHand(parameter);
    KyiImageData* image = nullptr;
    KyfFocusGetCompImage(session.get(), &image);
    kyf::SetIsDisableGpu(0);
    Result result;
    ASSERT_EQ(KyfExecuteFileFocusComposition(&parameter, &result, 0, nullptr), KyfResultOk);
    EXPECT_TRUE(test::SameImage(*image, *result.Image));
    EXPECT_LT(result.Image->Width, kWidth); // lined up and cut
    ExpectHeights(session.get(), result);
    EXPECT_EQ(kyf::g_isDisableGpuCuda != 0, GetParam() != 0); // the 3D adds take the switch over
    EXPECT_EQ(kyf::g_isDisableGpuOpenCl != 0, GetParam() != 0);
}

INSTANTIATE_TEST_SUITE_P(Modes, FileCompositionInit, testing::Values(0, 1, 2));

TEST_F(FileComposition, HandsParallelOnToTheAdds) {
    const test::ThreadScope threads(2);
    std::vector<test::Image> frames;
    for (std::uint32_t i = 0; i < kFrames; ++i)
        frames.push_back(test::TexturedImage(kWidth, kHeight, KyiFormatBgr48, i + 1));
    ReplaceFiles(frames);
    Parameter parameter = MakeParameter(0);
    parameter.Param2D.Speed = 1; // where samples are cut at 255 without the flag
    test::Image composed[2];
    for (const KyiBool parallel : {0, 1}) {
        const test::Session session = ComposeByHand(parameter, parallel);
        KyiImageData* image = nullptr;
        KyfFocusGetCompImage(session.get(), &image);
        Result result;
        ASSERT_EQ(KyfExecuteFileFocusComposition(&parameter, &result, parallel, nullptr), KyfResultOk);
        EXPECT_TRUE(test::SameImage(*image, *result.Image)) << parallel;
        ExpectHeights(session.get(), result);
        composed[parallel].reset(std::exchange(result.Image, nullptr));
    }
    EXPECT_FALSE(test::SameImage(*composed[0], *composed[1]));
}

TEST_F(FileComposition, EachWantIsOneOfItsOwn) {
    for (const std::int32_t wantsHeights : {0, 1}) {
        Parameter parameter = MakeParameter(0);
        parameter.WantHeightData = wantsHeights;
        parameter.WantDifferentiationMap = 1 - wantsHeights;
        Result result;
        ASSERT_EQ(KyfExecuteFileFocusComposition(&parameter, &result, 0, nullptr), KyfResultOk);
        EXPECT_NE(result.Image, nullptr);
        EXPECT_EQ(result.CuttedHeightData != nullptr, wantsHeights == 1);
        EXPECT_EQ(result.CuttedHeightWidth, wantsHeights == 1 ? kWidth : 0);
        EXPECT_EQ(result.DifferentiationMap.Rows != nullptr, wantsHeights == 0);
        EXPECT_EQ(result.DifferentiationMap.Width, wantsHeights == 0 ? kWidth : 0);
    }
}

TEST_F(FileComposition, HandsOverOnlyWhatIsWanted) {
    Parameter parameter = MakeParameter(0);
    parameter.WantHeightData = 0;
    parameter.WantDifferentiationMap = 0;
    Result result;
    result.CuttedHeightWidth = -7;
    result.DifferentiationMap.Width = -8;
    ASSERT_EQ(KyfExecuteFileFocusComposition(&parameter, &result, 0, nullptr), KyfResultOk);
    EXPECT_NE(result.Image, nullptr);
    EXPECT_EQ(result.CuttedHeightData, nullptr);
    EXPECT_EQ(result.CuttedHeightWidth, -7);
    EXPECT_EQ(result.DifferentiationMap.Width, -8);
}

TEST_F(FileComposition, ANanHeightIsZero) {
    m_heights.assign(kFrames, std::numeric_limits<double>::quiet_NaN());
    const Parameter parameter = MakeParameter(2);
    const test::Progress progress = test::MakeProgress();
    Result result;
    ASSERT_EQ(KyfExecuteFileFocusComposition(&parameter, &result, 0, progress.get()), KyfResultOk);
    EXPECT_NE(result.Image, nullptr);
    EXPECT_EQ(result.CuttedHeightData, nullptr);
    EXPECT_EQ(progress->SubList[1]->SubCount, 1); // the 2D side alone was made
    m_heights[1] = 1.0;
    const Parameter mixed = MakeParameter(0);
    Result heights;
    ASSERT_EQ(KyfExecuteFileFocusComposition(&mixed, &heights, 0, nullptr), KyfResultOk);
    for (std::int32_t y = 0; y < heights.CuttedHeightHeight; ++y)
        for (std::int32_t x = 0; x < heights.CuttedHeightWidth; ++x)
            ASSERT_TRUE(std::isfinite(heights.CuttedHeightData[y][x]));
}

TEST_F(FileComposition, HangsANodeForTheAddsOneAFileAndOneForTheMake) {
    const Parameter parameter = MakeParameter(0);
    const test::Progress progress = test::MakeProgress();
    Result result;
    ASSERT_EQ(KyfExecuteFileFocusComposition(&parameter, &result, 0, progress.get()), KyfResultOk);
    ASSERT_EQ(progress->SubCount, 2);
    EXPECT_EQ(progress->SubList[0]->Weight, 51);
    EXPECT_EQ(progress->SubList[1]->Weight, 50);
    ASSERT_EQ(progress->SubList[0]->SubCount, kFrames);
    for (int i = 0; i < kFrames; ++i) EXPECT_NE(progress->SubList[0]->SubList[i]->Completed, 0);
    EXPECT_NE(progress->SubList[0]->Completed, 0);
    EXPECT_NE(progress->SubList[1]->Completed, 0);
}

/// A failing call: its result, a record that stays as it was, and which of the files' nodes are complete.
void ExpectFailure(const Parameter& parameter, KyfResult expected, const std::vector<bool>& fileCompleted) {
    KyfFileFocusCompositionResult result;
    std::memset(&result, 0x5A, sizeof result);
    const KyfFileFocusCompositionResult before = result;
    const test::Progress progress = test::MakeProgress();
    EXPECT_EQ(KyfExecuteFileFocusComposition(&parameter, &result, 1, progress.get()), expected);
    EXPECT_EQ(std::memcmp(&before, &result, sizeof result), 0);
    EXPECT_EQ(progress->Completed, 0);
    ASSERT_EQ(progress->SubCount, 2);
    EXPECT_EQ(progress->SubList[0]->Completed, 0);
    EXPECT_EQ(progress->SubList[1]->Completed, 0);
    ASSERT_EQ(progress->SubList[0]->SubCount, static_cast<std::int32_t>(fileCompleted.size()));
    for (std::size_t i = 0; i < fileCompleted.size(); ++i)
        EXPECT_EQ(progress->SubList[0]->SubList[i]->Completed != 0, fileCompleted[i]) << i;
}

TEST_F(FileComposition, AFileThatCannotBeReadEndsTheCallAndLeavesItsNodeOpen) {
    m_paths[2] += L"x";
    for (const std::int32_t algType : {0, 1, 2, 5}) {
        SCOPED_TRACE(algType);
        ExpectFailure(MakeParameter(algType), KyfResultFailFile, {true, true, false, false});
        EXPECT_TRUE(std::filesystem::is_empty(TempFolder()));
    }
    Parameter parameter = MakeParameter(0);
    m_files[0].Path = nullptr;
    ExpectFailure(parameter, KyfResultFailFile, {false, false, false, false});
}

TEST_F(FileComposition, AMisfitFrameEndsTheCallWithItsNodeComplete) {
    AddFile(kWidth + 1, KyiFormatBgr24, 0.0);
    AddFile(kWidth, KyiFormatBgr24, 0.0);
    for (const std::int32_t algType : {0, 1, 2, 5}) {
        SCOPED_TRACE(algType);
        ExpectFailure(MakeParameter(algType), KyfResultInvalidParameter, {true, true, true, true, true, false});
    }
    std::swap(m_paths[0], m_paths[4]);
    ExpectFailure(MakeParameter(0), KyfResultInvalidParameter, {true, true, false, false, false, false});
}

TEST_F(FileComposition, AMakeThatFailsLeavesTheRootOpenAndTheRecordAsItWas) {
    Parameter parameter = MakeParameter(0);
    parameter.Init.TrimInvalidBorder = 1;
    parameter.Param2D.AutoPos = 1;
    parameter.Param2D.AreaPos[0].x = 1000000; // far outside: nothing is common to all frames
    KyfFileFocusCompositionResult result;
    std::memset(&result, 0x5A, sizeof result);
    const KyfFileFocusCompositionResult before = result;
    const test::Progress progress = test::MakeProgress();
    EXPECT_EQ(KyfExecuteFileFocusComposition(&parameter, &result, 0, progress.get()), KyfResultFailAlloc);
    EXPECT_EQ(std::memcmp(&before, &result, sizeof result), 0);
    EXPECT_EQ(progress->Completed, 0);
    ASSERT_EQ(progress->SubCount, 2);
    EXPECT_NE(progress->SubList[0]->Completed, 0);
    EXPECT_NE(progress->SubList[1]->Completed, 0); // the make settles its own node, whatever comes of it
}

TEST_F(FileComposition, ASecondHandingOverFindsNothingLeft) {
    const std::int32_t wants[] = {1, 1};
    const test::Session session = ComposeByHand(MakeParameter(0));
    Result first;
    KyfGetFileFocusCompositionResult(session.get(), 0, wants, 1, &first);
    Result second;
    KyfGetFileFocusCompositionResult(session.get(), 0, wants, 1, &second);
    EXPECT_NE(first.Image, nullptr);
    EXPECT_EQ(second.Image, nullptr);
    EXPECT_EQ(second.CuttedHeightData, nullptr);
    EXPECT_EQ(second.CuttedAntNoiseHeightData, nullptr);
    EXPECT_EQ(second.DifferentiationMap.Rows, nullptr);
}

TEST_F(FileComposition, WithoutFilesThereIsNothingToDo) {
    Parameter parameter = MakeParameter(0);
    for (const std::int32_t count : {0, -1, std::numeric_limits<std::int32_t>::min()}) {
        parameter.FileCount = count;
        ExpectFailure(parameter, KyfResultInvalidParameter, {});
    }
    parameter.FileCount = 2;
    parameter.Files = nullptr;
    ExpectFailure(parameter, KyfResultInvalidParameter, {false, false});
}

TEST_F(FileComposition, AcceptsNull) {
    const Parameter parameter = MakeParameter(0);
    Result result;
    const test::Progress progress = test::MakeProgress();
    EXPECT_EQ(KyfExecuteFileFocusComposition(nullptr, &result, 0, progress.get()), KyfResultInvalidParameter);
    EXPECT_EQ(progress->SubList, nullptr);
    EXPECT_EQ(KyfExecuteFileFocusComposition(&parameter, nullptr, 0, nullptr), KyfResultOk);
    Parameter withoutFolder = MakeParameter(0);
    withoutFolder.Init.TempFolder = nullptr;
    EXPECT_EQ(KyfExecuteFileFocusComposition(&withoutFolder, &result, 0, nullptr), KyfResultOk);
}

TEST_F(FileComposition, HandsOverTheResultsOfAHostsOwnSession) {
    const std::int32_t wants[] = {1, 1};
    for (const std::int32_t algType : {0, 1, 2}) {
        SCOPED_TRACE(algType);
        const test::Session session = ComposeByHand(MakeParameter(algType));
        KyfCompositionState& image = algType == 1 ? session->State3D : session->State2D;
        KyfCompositionState& heights = algType == 0 ? session->State2D : session->State3D;
        const KyfCompositionState before = heights;
        const KyiImageData* const composed = image.CompImage;
        ASSERT_NE(before.CuttedAntNoiseHeightDataMap, nullptr);
        Result result;
        KyfGetFileFocusCompositionResult(session.get(), algType, wants, 1, &result);
        EXPECT_EQ(result.Image, composed);
        EXPECT_EQ(result.CuttedHeightData, before.CuttedHeightDataMap);
        EXPECT_EQ(result.CuttedAntNoiseHeightData, before.CuttedAntNoiseHeightDataMap);
        EXPECT_EQ(result.CuttedAntNoiseWidth, before.CuttedWidth);
        EXPECT_EQ(result.CuttedAntNoiseHeight, before.CuttedHeight);
        EXPECT_EQ(image.CompImage, nullptr);
        EXPECT_EQ(heights.CuttedHeightDataMap, nullptr);
        EXPECT_EQ(heights.CuttedAntNoiseHeightDataMap, nullptr);
    }
}

TEST_F(FileComposition, TakesTheSmoothedHeightsWithoutASignature) {
    const std::int32_t wants[] = {1, 1};
    const test::Session session = ComposeByHand(MakeParameter(0));
    session->Signature[2] = u'x';
    Result result;
    KyfGetFileFocusCompositionResult(session.get(), 0, wants, 1, &result);
    session->Signature[2] = u'F';
    EXPECT_EQ(result.Image, nullptr);
    EXPECT_EQ(result.CuttedHeightData, nullptr);
    EXPECT_EQ(result.DifferentiationMap.Rows, nullptr);
    EXPECT_NE(result.CuttedAntNoiseHeightData, nullptr);
    EXPECT_NE(session->State2D.CompImage, nullptr);
    KyfGetFileFocusCompositionResult(nullptr, 0, wants, 1, &result);
    KyfGetFileFocusCompositionResult(session.get(), 0, wants, 1, nullptr);
    EXPECT_NE(session->State2D.CompImage, nullptr);
    KyfGetFileFocusCompositionResult(session.get(), 0, nullptr, 0, &result);
    EXPECT_NE(result.Image, nullptr);
    EXPECT_EQ(result.CuttedHeightData, nullptr);
}

TEST_F(FileComposition, FreesARecordOnceAndLeavesItEmpty) {
    const Parameter parameter = MakeParameter(0);
    Result result;
    ASSERT_EQ(KyfExecuteFileFocusComposition(&parameter, &result, 0, nullptr), KyfResultOk);
    KyfFreeFileFocusCompositionResult(&result);
    EXPECT_EQ(result.Image, nullptr);
    EXPECT_EQ(result.CuttedHeightData, nullptr);
    EXPECT_EQ(result.DifferentiationMap.Rows, nullptr);
    KyfFreeFileFocusCompositionResult(&result);
    KyfFreeFileFocusCompositionResult(nullptr);
}

} // namespace

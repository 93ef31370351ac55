// Frames into the pipelines: results, progress nodes, heights, owners.
#include <cmath>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "alignment/drifting_stack.h"
#include "session/sessions.h"

namespace {

constexpr std::int32_t kWidth = 40;
constexpr std::int32_t kHeight = 24;

test::Image Frame(std::uint32_t seed, std::int32_t format = KyiFormatGray8, std::int32_t width = kWidth) {
    return test::TexturedImage(width, kHeight, format, seed);
}

KyfResult Add(KyfFocusComposition* session, std::uint32_t seed, KyfProgress* progress = nullptr) {
    const test::Image frame = Frame(seed);
    return KyfFocusAddImage(session, frame.get(), /*parallel=*/1, progress);
}

KyfResult AddWithHeight(KyfFocusComposition* session, std::uint32_t seed, double height,
                        KyfProgress* progress = nullptr) {
    const test::Image frame = Frame(seed);
    return KyfFocusAddImageWithHeight(session, frame.get(), height, /*parallel=*/1, progress);
}

std::vector<double> Heights(const KyfFocusComposition& session, std::int32_t count) {
    return {session.HeightList, session.HeightList + count};
}

TEST(AddImage, CountsTheFrameAndLeavesItTheCallers) {
    const test::Session session = test::Make2DSession();
    const test::Image frame = Frame(1);
    const std::vector<std::int32_t> before = test::ToPlanes(*frame);
    ASSERT_EQ(KyfFocusAddImage(session.get(), frame.get(), 0, nullptr), KyfResultOk);
    EXPECT_EQ(session->State2D.FrameCount, 1);
    EXPECT_EQ(session->State2D.SourceWidth, kWidth);
    EXPECT_NE(session->State2D.CompImage, frame.get());
    EXPECT_EQ(test::ToPlanes(*frame), before);
    EXPECT_EQ(session->HeightList, nullptr);
}

TEST(AddImage, RefusesFramesThatDoNotFitAndCompletesTheNode) {
    const test::Session session = test::Make2DSession();
    ASSERT_EQ(Add(session.get(), 1), KyfResultOk);
    const test::Progress progress = test::MakeProgress();
    const test::Image other = Frame(2, KyiFormatGray16);
    EXPECT_EQ(KyfFocusAddImage(session.get(), other.get(), 0, progress.get()), KyfResultInvalidParameter);
    EXPECT_NE(progress->Completed, 0);
    EXPECT_EQ(session->State2D.FrameCount, 1);
    const test::Progress second = test::MakeProgress();
    EXPECT_EQ(KyfFocusAddImage(session.get(), nullptr, 0, second.get()), KyfResultInvalidParameter);
    EXPECT_NE(second->Completed, 0);
    EXPECT_EQ(Add(session.get(), 3), KyfResultOk);
}

TEST(AddImage, LeavesTheNodeAloneOnABadSignatureUnlessAHeightComesAlong) {
    const test::Session raw(KyfAllocFocusComposition());
    for (KyfFocusComposition* const session : {raw.get(), static_cast<KyfFocusComposition*>(nullptr)}) {
        const test::Progress plain = test::MakeProgress();
        EXPECT_EQ(Add(session, 1, plain.get()), KyfResultInvalidParameter);
        EXPECT_EQ(plain->Completed, 0);
        const test::Progress withHeight = test::MakeProgress();
        EXPECT_EQ(AddWithHeight(session, 1, 2.0, withHeight.get()), KyfResultInvalidParameter);
        EXPECT_NE(withHeight->Completed, 0);
    }
}

TEST(AddImage, RefusesAnUnknownModeAndCompletesTheNode) {
    for (const std::int32_t mode : {-1, 3, 9}) {
        const test::Session session = test::Make2DSession();
        session->Mode = mode;
        const test::Progress progress = test::MakeProgress();
        EXPECT_EQ(AddWithHeight(session.get(), 1, 1.0, progress.get()), KyfResultInvalidParameter);
        EXPECT_NE(progress->Completed, 0);
        EXPECT_EQ(session->HeightList, nullptr);
    }
}

TEST(AddImage, HangsTheTenStepsOf2DBelowTheCallersNode) {
    const test::Session session = test::Make2DSession();
    const test::Progress progress = test::MakeProgress();
    ASSERT_EQ(Add(session.get(), 1, progress.get()), KyfResultOk);
    EXPECT_EQ(progress->SubCount, 10);
    EXPECT_EQ(KyfProgressGetPersent(progress.get()), 100);
}

TEST(AddImage, HalvesTheNodeBetweenThePipelinesExceptInThePlainForm) {
    const test::Session session = test::MakeComplexSession();
    const test::Progress plain = test::MakeProgress();
    Add(session.get(), 1, plain.get());
    EXPECT_NE(plain->Completed, 0);
    EXPECT_NE(plain->SubCount, 2);
    const test::Progress halved = test::MakeProgress();
    AddWithHeight(session.get(), 2, 1.0, halved.get());
    ASSERT_EQ(halved->SubCount, 2);
    EXPECT_EQ(halved->SubList[0]->Weight, 51);
    EXPECT_EQ(halved->SubList[0]->SubCount, 10);
    EXPECT_NE(halved->SubList[0]->Completed, 0);
    EXPECT_NE(halved->SubList[1]->Completed, 0);
    EXPECT_NE(halved->Completed, 0);
}

TEST(AddImage, NeedsNoNode) {
    const test::Session session = test::MakeComplexSession();
    Add(session.get(), 1);
    AddWithHeight(session.get(), 2, 1.0);
    EXPECT_EQ(session->State2D.FrameCount, 2);
}

// At a reduced working size the session may keep or free a frame that it is offered: only loaded files are.
TEST(AddImage, LeavesEveryFrameTheCallersAtAReducedSize) {
    for (const bool isComplex : {false, true}) {
        SCOPED_TRACE(isComplex);
        const test::Session session = isComplex ? test::MakeComplexSession() : test::Make2DSession();
        session->Speed = 1;
        for (std::uint32_t i = 0; i < 4; ++i) {
            const test::Image frame = Frame(i);
            const std::vector<std::int32_t> before = test::ToPlanes(*frame);
            if (i % 2 == 0)
                KyfFocusAddImage(session.get(), frame.get(), 1, nullptr);
            else
                KyfFocusAddImageWithHeight(session.get(), frame.get(), 1.0, 1, nullptr);
            EXPECT_EQ(test::ToPlanes(*frame), before);
        }
        EXPECT_EQ(session->State2D.FrameCount, 4);
    }
}

TEST(AddImage, CompletesBothHalvesWhenTheFirstRefuses) {
    const test::Session session = test::MakeComplexSession();
    Add(session.get(), 1);
    const test::Progress progress = test::MakeProgress();
    const test::Image other = Frame(2, KyiFormatGray8, kWidth + 2);
    EXPECT_EQ(KyfFocusAddImageWithHeight(session.get(), other.get(), 5.0, 0, progress.get()),
              KyfResultInvalidParameter);
    ASSERT_EQ(progress->SubCount, 2);
    EXPECT_NE(progress->SubList[0]->Completed, 0);
    EXPECT_NE(progress->SubList[1]->Completed, 0);
    EXPECT_NE(progress->Completed, 0);
    EXPECT_EQ(session->State2D.FrameCount, 1);
}

TEST(AddImageFile, ReportsAFileThatCannotBeReadBeforeAnythingElse) {
    const test::Session session = test::Make2DSession();
    const test::Session raw(KyfAllocFocusComposition());
    for (KyfFocusComposition* const tried : {session.get(), raw.get(), static_cast<KyfFocusComposition*>(nullptr)}) {
        const test::Progress progress = test::MakeProgress();
        EXPECT_EQ(KyfFocusAddImageFile(tried, L"no such file", 0, progress.get()), KyfResultFailFile);
        EXPECT_EQ(KyfFocusAddImageFile(tried, nullptr, 0, progress.get()), KyfResultFailFile);
        EXPECT_EQ(KyfFocusAddImageFileWidthHeight(tried, L"no such file", 1.0, 0, progress.get()), KyfResultFailFile);
        EXPECT_EQ(progress->Completed, 0);
    }
    EXPECT_EQ(session->State2D.FrameCount, 0);
}

TEST(AddImageFile, ComposesAsTheImagesDo) {
    const test::TemporaryFolder folder;
    const test::Session fromFiles = test::Make2DSession();
    const test::Session fromImages = test::Make2DSession();
    for (std::uint32_t i = 0; i < 4; ++i) {
        const test::Image frame = Frame(i);
        const std::wstring path = (folder.Path() / std::to_string(i).append(".bmp")).wstring();
        ASSERT_TRUE(KyiSaveImageData(path.c_str(), frame.get(), 0));
        const bool hasHeight = i % 2 == 1;
        ASSERT_EQ(hasHeight ? KyfFocusAddImageFileWidthHeight(fromFiles.get(), path.c_str(), 3.0, 1, nullptr)
                            : KyfFocusAddImageFile(fromFiles.get(), path.c_str(), 1, nullptr),
                  KyfResultOk);
        ASSERT_EQ(KyfFocusAddImage(fromImages.get(), frame.get(), 1, nullptr), KyfResultOk);
    }
    EXPECT_TRUE(test::SameImage(*fromImages->State2D.CompImage, *fromFiles->State2D.CompImage));
}

/// Started for a mode, with frames that are to be lined up.
test::Session AligningSession(KyfAlgorithmType mode, std::int32_t scopeType, const std::wstring& folder) {
    KyfFocusCompositionParameter parameter = CKyfFocusCompositionSetting().Get();
    parameter.AlgType = mode;
    parameter.ScopeType = scopeType;
    parameter.AutoPos = 1;
    parameter.CompSize = 20;
    parameter.DisableGPU = 1;
    test::Session session(KyfAllocFocusComposition());
    KyfFocusInitializeParameter initial{};
    initial.TempFolder = folder.c_str();
    initial.ScopeType = scopeType;
    initial.DisableGPU = 1;
    KyfFocusInitialize(session.get(), &initial);
    KyfFocusStart(session.get(), &parameter);
    return session;
}

void ExpectSameMoves(const KyfFocusComposition& expected, const KyfFocusComposition& actual) {
    EXPECT_EQ(expected.Matching2D.TotalShift, actual.Matching2D.TotalShift);
    EXPECT_EQ(expected.Matching3D.TotalShift, actual.Matching3D.TotalShift);
    ASSERT_EQ(expected.FrameShifts == nullptr, actual.FrameShifts == nullptr);
    if (expected.FrameShifts) {
        EXPECT_EQ(expected.FrameShifts[2].ShiftX, actual.FrameShifts[2].ShiftX);
    }
    ASSERT_EQ(expected.ProjectionShift == nullptr, actual.ProjectionShift == nullptr);
    if (expected.ProjectionShift) {
        EXPECT_EQ(expected.ProjectionShift->TotalX, actual.ProjectionShift->TotalX);
    }
}

TEST(AddImageFile, LinesFramesUpAsItDoesImages) {
    const std::vector<test::Image> frames =
        test::DriftingStack(160, 120, KyiFormatBgr24, test::Content::CrossedLines, {{5, 0}, {-8, 0}}, 1);
    for (const KyfAlgorithmType mode :
         {KyfAlgorithmType2DSelection, KyfAlgorithmType3DSafe, KyfAlgorithmTypeComplexProcessing})
        for (const std::int32_t scopeType : {0, 1}) {
            SCOPED_TRACE("mode " + std::to_string(mode) + ", scope " + std::to_string(scopeType));
            const test::TemporaryFolder files;
            const test::TemporaryFolder kept[2];
            const test::Session fromFiles = AligningSession(mode, scopeType, kept[0].Path().wstring());
            const test::Session fromImages = AligningSession(mode, scopeType, kept[1].Path().wstring());
            for (std::size_t i = 0; i < frames.size(); ++i) {
                const std::wstring path = (files.Path() / std::to_string(i).append(".bmp")).wstring();
                ASSERT_TRUE(KyiSaveImageData(path.c_str(), frames[i].get(), 0));
                const double height = 1.0 + static_cast<double>(i);
                ASSERT_EQ(KyfFocusAddImageFileWidthHeight(fromFiles.get(), path.c_str(), height, 1, nullptr),
                          KyfResultOk);
                const test::Image image(KyiDuplicateImageData(frames[i].get(), 0));
                ASSERT_EQ(KyfFocusAddImageWithHeight(fromImages.get(), image.get(), height, 1, nullptr), KyfResultOk);
            }
            const bool is2D = mode != KyfAlgorithmType3DSafe;
            const bool is3D = mode != KyfAlgorithmType2DSelection;
            if (scopeType == 1) {
                EXPECT_EQ(fromImages->Matching2D.TotalShift, is2D ? -3 : 0);
                EXPECT_EQ(fromImages->Matching3D.TotalShift, is3D ? -3 : 0);
            } else if (is3D) {
                EXPECT_EQ(fromImages->ProjectionShift->TotalX, -3);
            }
            ExpectSameMoves(*fromImages, *fromFiles);
            ASSERT_EQ(KyfFocusMakeCompImage(fromFiles.get(), 1, nullptr), KyfResultOk);
            ASSERT_EQ(KyfFocusMakeCompImage(fromImages.get(), 1, nullptr), KyfResultOk);
            const auto image = [&](const test::Session& session) -> const KyiImageData& {
                return mode == KyfAlgorithmType3DSafe ? *session->State3D.CompImage : *session->State2D.CompImage;
            };
            EXPECT_TRUE(test::SameImage(image(fromImages), image(fromFiles)));
        }
}

// What is freed twice or not at all ends the run or shows in the checked build.
TEST(AddImageFile, FreesItsFrameOnceAtAReducedSize) {
    const test::TemporaryFolder folder;
    const std::wstring path = (folder.Path() / "frame.bmp").wstring();
    ASSERT_TRUE(KyiSaveImageData(path.c_str(), Frame(1).get(), 0));
    for (const bool isComplex : {false, true}) {
        SCOPED_TRACE(isComplex);
        const test::Session session = isComplex ? test::MakeComplexSession() : test::Make2DSession();
        session->Speed = 1;
        for (int i = 0; i < 2; ++i) {
            KyfFocusAddImageFile(session.get(), path.c_str(), 1, nullptr);
            KyfFocusAddImageFileWidthHeight(session.get(), path.c_str(), 1.0, 1, nullptr);
        }
        EXPECT_EQ(session->State2D.FrameCount, 4);
    }
}

TEST(HeightList, GrowsByOneAFrame) {
    const test::Session session = test::Make2DSession();
    std::vector<double> expected;
    for (std::uint32_t i = 0; i < 6; ++i) {
        expected.push_back(10.5 - 3.0 * i);
        ASSERT_EQ(AddWithHeight(session.get(), i, expected.back()), KyfResultOk);
        EXPECT_EQ(Heights(*session, session->State2D.FrameCount), expected);
    }
}

TEST(HeightList, StaysAsItIsWhenAFrameIsRefused) {
    const test::Session session = test::Make2DSession();
    ASSERT_EQ(AddWithHeight(session.get(), 1, 4.0), KyfResultOk);
    const double* const list = session->HeightList;
    const test::Image other = Frame(2, KyiFormatGray8, kWidth + 2);
    EXPECT_EQ(KyfFocusAddImageWithHeight(session.get(), other.get(), 5.0, 0, nullptr), KyfResultInvalidParameter);
    EXPECT_EQ(session->HeightList, list);
    EXPECT_EQ(Heights(*session, 1), std::vector<double>{4.0});
}

TEST(HeightList, HasAnEntryForFramesThatCameWithoutAHeight) {
    const test::Session session = test::Make2DSession();
    ASSERT_EQ(Add(session.get(), 1), KyfResultOk);
    EXPECT_EQ(session->HeightList, nullptr);
    ASSERT_EQ(AddWithHeight(session.get(), 2, 2.0), KyfResultOk);
    ASSERT_EQ(Add(session.get(), 3), KyfResultOk);
    ASSERT_EQ(Add(session.get(), 4), KyfResultOk);
    ASSERT_EQ(AddWithHeight(session.get(), 5, 5.0), KyfResultOk);
    EXPECT_EQ(Heights(*session, 5), (std::vector<double>{0.0, 2.0, 0.0, 0.0, 5.0}));
}

TEST(HeightList, KeepsTheHeightsOfAStackThatAnotherModeInterrupts) {
    const test::Session session = test::Make2DSession();
    for (std::uint32_t i = 0; i < 3; ++i) ASSERT_EQ(AddWithHeight(session.get(), i, 1.0 + i), KyfResultOk);
    session->Mode = KyfMode3DSafe;
    Add(session.get(), 9);
    session->Mode = KyfMode2DSelection;
    ASSERT_EQ(AddWithHeight(session.get(), 10, 8.0), KyfResultOk);
    EXPECT_EQ(Heights(*session, 4), (std::vector<double>{1.0, 2.0, 3.0, 8.0}));
}

TEST(HeightList, TakesAnyNumber) {
    const test::Session session = test::Make2DSession();
    ASSERT_EQ(AddWithHeight(session.get(), 1, std::numeric_limits<double>::quiet_NaN()), KyfResultOk);
    ASSERT_EQ(AddWithHeight(session.get(), 2, -std::numeric_limits<double>::infinity()), KyfResultOk);
    EXPECT_TRUE(std::isnan(session->HeightList[0]));
    EXPECT_TRUE(std::isinf(session->HeightList[1]));
    EXPECT_EQ(KyfFocusMakeCompImage(session.get(), 1, nullptr), KyfResultOk);
}

} // namespace

// Results of a stack, by mode and heights.
#include <cstdint>
#include <limits>

#include <gtest/gtest.h>

#include "session/sessions.h"

namespace {

void AddFrames(KyfFocusComposition* session, bool withHeights) {
    for (std::uint32_t i = 0; i < 3; ++i) {
        const test::Image frame = test::TexturedImage(40, 24, KyiFormatBgr24, i);
        if (withHeights)
            KyfFocusAddImageWithHeight(session, frame.get(), 2.0 * i, 1, nullptr);
        else
            KyfFocusAddImage(session, frame.get(), 1, nullptr);
    }
}

TEST(MakeImage, RefusesASessionWithoutAnImageAndLeavesTheNodeAlone) {
    const test::Session session = test::Make2DSession();
    const test::Session raw(KyfAllocFocusComposition());
    for (KyfFocusComposition* const tried : {session.get(), raw.get(), static_cast<KyfFocusComposition*>(nullptr)}) {
        const test::Progress progress = test::MakeProgress();
        EXPECT_EQ(KyfFocusMakeCompImage(tried, 1, progress.get()), KyfResultInvalidParameter);
        EXPECT_EQ(progress->Completed, 0);
    }
}

TEST(MakeImage, LooksForTheImageOfTheModesPipeline) {
    const test::Session session = test::Make2DSession();
    AddFrames(session.get(), false);
    session->Mode = KyfMode3DSafe;
    EXPECT_EQ(KyfFocusMakeCompImage(session.get(), 1, nullptr), KyfResultInvalidParameter);
    session->Mode = KyfMode2DSelection;
    EXPECT_EQ(KyfFocusMakeCompImage(session.get(), 1, nullptr), KyfResultOk);
}

TEST(MakeImage, MakesHeightsFromTheHeightListAlone) {
    for (const bool withHeights : {false, true}) {
        SCOPED_TRACE(withHeights);
        const test::Session session = test::Make2DSession();
        AddFrames(session.get(), withHeights);
        const test::Progress progress = test::MakeProgress();
        ASSERT_EQ(KyfFocusMakeCompImage(session.get(), 1, progress.get()), KyfResultOk);
        EXPECT_NE(progress->Completed, 0);
        EXPECT_EQ(session->State2D.HeightDataMap != nullptr, withHeights);
        EXPECT_EQ(session->State2D.CuttedHeightDataMap != nullptr, withHeights);
    }
}

TEST(MakeImage, MakesThe2DImageAloneInOneStepWithoutHeights) {
    const test::Session session = test::MakeComplexSession();
    AddFrames(session.get(), false);
    const test::Progress progress = test::MakeProgress();
    ASSERT_EQ(KyfFocusMakeCompImage(session.get(), 1, progress.get()), KyfResultOk);
    ASSERT_EQ(progress->SubCount, 1);
    EXPECT_EQ(progress->SubList[0]->Weight, 101);
    EXPECT_NE(progress->SubList[0]->Completed, 0);
    EXPECT_NE(progress->Completed, 0);
    EXPECT_EQ(session->State2D.HeightDataMap, nullptr);
}

TEST(MakeImage, TakesTwoStepsWhenAHeightOf3DFramesIsNot0) {
    for (const double height : {0.0, -0.0, 1e-300, std::numeric_limits<double>::quiet_NaN()}) {
        SCOPED_TRACE(height);
        const test::Session session = test::MakeComplexSession();
        AddFrames(session.get(), false);
        delete[] session->HeightList;
        session->HeightList = new double[3]{0.0, height, 5.0};
        const std::int32_t frameCount = session->State3D.FrameCount;
        session->State3D.FrameCount = 2; // the 5 belongs to no frame of the 3D side
        const test::Progress progress = test::MakeProgress();
        KyfFocusMakeCompImage(session.get(), 1, progress.get());
        EXPECT_EQ(progress->SubCount, height != 0.0 ? 2 : 1);
        for (std::int32_t i = 0; i < progress->SubCount; ++i) EXPECT_NE(progress->SubList[i]->Completed, 0);
        EXPECT_NE(progress->Completed, 0);
        session->State3D.FrameCount = frameCount;
    }
}

/// Frames for both sides, of which the 2D side keeps (10, 40) to (60, 80) and the 3D side all but 32 pixels a side.
test::Session SessionWithTwoRectangles(bool withHeights) {
    test::Session session = test::MakeComplexSession();
    for (std::uint32_t i = 0; i < 2; ++i) {
        const test::Image frame = test::TexturedImage(100, 90, KyiFormatGray8, i);
        KyfFocusAddImage(session.get(), frame.get(), 1, nullptr);
    }
    session->State3D.SourceWidth = 100;
    session->State3D.SourceHeight = 90;
    session->State3D.FrameCount = 2;
    session->TrimInvalidBorder = 1;
    session->AutoPos = 1;
    session->CommonRect = {10, 40, 60, 80};
    if (withHeights) session->HeightList = new double[2]{1.0, 2.0};
    return session;
}

TEST(MakeImage, KeepsWhatBothSidesKeepWhenThereAreHeights) {
    for (const bool withHeights : {false, true}) {
        SCOPED_TRACE(withHeights);
        const test::Session session = SessionWithTwoRectangles(withHeights);
        const KyfRect kept = withHeights ? KyfRect{32, 40, 60, 58} : KyfRect{10, 40, 60, 80};
        const test::Image whole(KyiDuplicateImageData(session->State2D.CompImage, 0));
        KyfFocusMakeCompImage(session.get(), 1, nullptr);
        const KyiImageData* const cut = session->State2D.CompImage;
        ASSERT_EQ(cut->Width, kept.Right - kept.Left);
        ASSERT_EQ(cut->Height, kept.Bottom - kept.Top);
        for (std::int32_t y = 0; y < cut->Height; ++y)
            for (std::int32_t x = 0; x < cut->Width; ++x)
                ASSERT_EQ(
                    *static_cast<const std::uint8_t*>(KyiGetPixelAddress(cut, x, y)),
                    *static_cast<const std::uint8_t*>(KyiGetPixelAddress(whole.get(), kept.Left + x, kept.Top + y)));
    }
}

TEST(MakeImage, TellsTheFailureOfThe2DSideAndCompletesBothSteps) {
    const test::Session session = SessionWithTwoRectangles(/*withHeights=*/true);
    session->CommonRect = {70, 40, 90, 80}; // nothing that the 3D side keeps too
    const test::Progress progress = test::MakeProgress();
    EXPECT_EQ(KyfFocusMakeCompImage(session.get(), 1, progress.get()), KyfResultFailAlloc);
    ASSERT_EQ(progress->SubCount, 2);
    EXPECT_NE(progress->SubList[0]->Completed, 0);
    EXPECT_NE(progress->SubList[1]->Completed, 0);
    EXPECT_NE(progress->Completed, 0);
}

TEST(MakeImage, DoesNothingInAnUnknownModeAndCallsItDone) {
    const test::Session session = test::Make2DSession();
    AddFrames(session.get(), true);
    session->Mode = 9;
    const test::Progress progress = test::MakeProgress();
    EXPECT_EQ(KyfFocusMakeCompImage(session.get(), 1, progress.get()), KyfResultOk);
    EXPECT_NE(progress->Completed, 0);
    EXPECT_EQ(session->State2D.HeightDataMap, nullptr);
}

} // namespace
